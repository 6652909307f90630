// Golden cases: tests/vectors/<topic>.json, computed independently of this code.
#include "support/vectors.h"

#include <QFile>
#include <QJsonDocument>
#include <QtTest>

QJsonObject vector_file(const QString &topic)
{
    QFile file(QStringLiteral(VECTOR_FOLDER "/%1.json").arg(topic));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("no golden cases at %s", qPrintable(file.fileName()));
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll());
    if (!document.isObject())
        qFatal("%s is not a JSON object", qPrintable(file.fileName()));
    return document.object();
}

QJsonArray vector_cases(const QString &topic)
{
    const QJsonArray cases = vector_file(topic).value("cases").toArray();
    if (cases.isEmpty())
        qFatal("no cases in topic %s", qPrintable(topic));
    return cases;
}

QVariant typed_value(const QJsonObject &typed)
{
    const QString type = typed.value("t").toString();
    const QJsonValue value = typed.value("v");
    if (type == "invalid")
        return {};
    if (type == "int")
        return QVariant(static_cast<int>(value.toDouble()));
    if (type == "double")
        return QVariant(value.toDouble());
    if (type == "bool")
        return QVariant(value.toBool());
    if (type == "string")
        return QVariant(value.toString());
    if (type == "uint64")
        return QVariant(static_cast<qulonglong>(value.toDouble()));
    if (type == "number")
        return value.toVariant();
    qFatal("unknown type of a golden value: %s", qPrintable(type));
}

void add_vector_rows(const QString &topic, const QString &op)
{
    QTest::addColumn<QJsonObject>("input");
    QTest::addColumn<QJsonObject>("expect");
    const QJsonArray cases = vector_cases(topic);
    int added = 0;
    for (int i = 0; i < cases.size(); ++i) {
        const QJsonObject one = cases.at(i).toObject();
        const QJsonObject input = one.value("input").toObject();
        if (!op.isEmpty() && input.value("op").toString() != op)
            continue;
        const QByteArray name = QByteArray::number(i) + " " + one.value("why").toString().toUtf8();
        QTest::newRow(name.constData()) << input << one.value("expect").toObject();
        ++added;
    }
    if (added == 0)
        qFatal("no cases of op %s in topic %s", qPrintable(op), qPrintable(topic));
}
