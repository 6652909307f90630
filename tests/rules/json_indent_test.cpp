// Compact JSON is spread over lines just as the toolkit does it.
#include "model/json_indent.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

namespace {

// The toolkit ends the text with a line end.
QByteArray toolkits_own(const QByteArray &json)
{
    const QByteArray text = QJsonDocument::fromJson(json).toJson();
    return text.left(text.size() - 1);
}

QByteArray compact(const QByteArray &json)
{
    return QJsonDocument::fromJson(json).toJson(QJsonDocument::Compact);
}

QByteArray indented(const QByteArray &json, int depth = 0)
{
    QByteArray text;
    append_indented(text, compact(json), depth);
    return text;
}

} // namespace

class JsonIndentTest : public QObject
{
    Q_OBJECT

private slots:
    void it_is_the_toolkits_own_layout_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::newRow("empty object") << QByteArray("{}");
        QTest::newRow("empty array") << QByteArray("[]");
        QTest::newRow("empty inside") << QByteArray(R"({"a":{},"b":[],"c":[[],{}]})");
        QTest::newRow("numbers and words") << QByteArray(R"([1,-2.5e300,true,false,null])");
        QTest::newRow("marks in texts") << QByteArray("{\"a{\":\"}],:\\\"{\",\"b\\\\\":\"\\\\\"}");
        QTest::newRow("odd texts")
            << QByteArray("[\"\\u0000\",\"\\ud800\",\"ü\",\"\\n\",\"\",\"\\\\\\\"\"]");
        QTest::newRow("nested") << QByteArray(R"({"a":[{"b":[1,[2,{"c":3}]]},4]})");
    }
    void it_is_the_toolkits_own_layout()
    {
        QFETCH(QByteArray, json);
        QCOMPARE(indented(json), toolkits_own(json));
    }

    void all_lines_but_the_first_begin_deeper()
    {
        QCOMPARE(
            indented(R"({"a":[1]})", 2),
            QByteArray("{\n            \"a\": [\n                1\n            ]\n        }"));
    }

    void the_size_is_that_of_the_text_data() { it_is_the_toolkits_own_layout_data(); }
    void the_size_is_that_of_the_text()
    {
        QFETCH(QByteArray, json);
        for (const int depth : {0, 3}) {
            const int size = indented(json, depth).size();
            QCOMPARE(indented_size(compact(json), depth, size), size);
            QVERIFY(indented_size(compact(json), depth, size - 1) > size);
        }
    }

    void what_cannot_be_read_again_has_no_size()
    {
        const auto nested
            = [](int depth) { return QByteArray(depth, '[') + QByteArray(depth, ']'); };
        QVERIFY(indented_size(nested(500), 0, 1 << 30) < 1 << 30);
        QVERIFY(indented_size(nested(600), 0, 1 << 30) > 1 << 30);
    }

    // A text that was no JSON must harm nobody.
    void broken_texts_come_to_an_end()
    {
        for (const char *json : {"\"", "\"\\", "]]]]", "{\"a", ",:,", ""}) {
            QByteArray text;
            append_indented(text, json, 1);
            QCOMPARE(indented_size(json, 1, 1000), text.size());
            QVERIFY(text.simplified().startsWith(QByteArray(json).left(1)));
        }
    }
};

QTEST_GUILESS_MAIN(JsonIndentTest)
#include "json_indent_test.moc"
