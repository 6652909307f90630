// Display texts of values.
#include "gui/value_text.h"
#include "support/vectors.h"

#include <QtTest>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

class ValueTextTest : public QObject
{
    Q_OBJECT

private slots:
    void text_is_as_computed_elsewhere_data() { add_vector_rows("value_text"); }
    void text_is_as_computed_elsewhere();
    void value_that_is_no_choice_is_shown_not_refused();
    void lock_status_looks_at_two_bits_only_data();
    void lock_status_looks_at_two_bits_only();
    void huge_and_broken_numbers_have_a_text();
    void decimal_mark_is_a_point_in_every_locale();
    void null_out_pointer_ends_the_process();
};

namespace {

QString text_of(const PropertyDesc &desc, const QVariant &value, bool uniform = true)
{
    QString text = "untouched";
    QVariant icon = "untouched";
    value_text(desc, value, uniform, &text, &icon);
    if (icon != "untouched")
        return "an icon";
    return text;
}

} // namespace

void ValueTextTest::text_is_as_computed_elsewhere()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    PropertyDesc desc{.kind = static_cast<PropertyKind>(input.value("kind").toInt()),
                      .unit = input.value("unit").toString().toStdString(),
                      .decimals = input.value("decimals").toInt()};
    for (const QJsonValue &choice : input.value("choices").toArray())
        desc.choices.push_back({.value = typed_value(choice.toArray().at(0).toObject()),
                                .label = choice.toArray().at(1).toString().toStdString(),
                                .data = {}});

    const QVariant value = typed_value(input.value("value").toObject());
    QCOMPARE(text_of(desc, value, input.value("uniform").toBool()),
             expect.value("text").toString());
}

void ValueTextTest::value_that_is_no_choice_is_shown_not_refused()
{
    const PropertyDesc desc{
        .flags = PF_SOURCE_CHANNEL,
        .kind = PROP_CHOICE,
        .choices = {{.value = 0.0, .label = "1", .data = {}}},
    };
    QCOMPARE(text_of(desc, 4.0), QString("4 (not found)")); // a list cell does not add one
    QCOMPARE(text_of(desc, QVariantMap()), QString(" (not found)"));
}

void ValueTextTest::lock_status_looks_at_two_bits_only_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("text");
    QTest::newRow("3") << 3 << "locked";
    QTest::newRow("2") << 2 << "locked, no PTP";
    QTest::newRow("1") << 1 << "no lock";
    QTest::newRow("0") << 0 << "no lock";
    QTest::newRow("6") << 6 << "locked, no PTP";
    QTest::newRow("-1") << -1 << "locked";
}

void ValueTextTest::lock_status_looks_at_two_bits_only()
{
    QFETCH(int, status);
    QFETCH(QString, text);
    QCOMPARE(text_of({.kind = PROP_LOCK_STATUS}, status), text);
}

void ValueTextTest::huge_and_broken_numbers_have_a_text()
{
    const PropertyDesc desc{.kind = PROP_FLOAT, .unit = "m", .decimals = 3};
    QCOMPARE(text_of(desc, 1e300).size(), 301 + 4 + 2);
    QCOMPARE(text_of(desc, -std::numeric_limits<double>::max()).size(), 1 + 309 + 4 + 2);
    QCOMPARE(text_of(desc, qQNaN()), QString("nan m"));
    QCOMPARE(text_of(desc, 0.0005), QString("0.001 m")); // the double lies above the half
    QCOMPARE(text_of(desc, 0.0625), QString("0.062 m")); // a true half goes to the even digit
}

void ValueTextTest::decimal_mark_is_a_point_in_every_locale()
{
    const QByteArray old = setlocale(LC_NUMERIC, nullptr);
    if (!setlocale(LC_NUMERIC, "de_DE.UTF-8"))
        qInfo("no German locale here: only the C locale is tested");
    QCOMPARE(text_of({.kind = PROP_FLOAT, .decimals = 1}, 1.5), QString("1.5"));
    setlocale(LC_NUMERIC, old.constData());
}

void ValueTextTest::null_out_pointer_ends_the_process()
{
    int ends[2] = {-1, -1};
    QCOMPARE(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDERR_FILENO);
        value_text({}, 1, true, nullptr, nullptr);
        _exit(0);
    }
    close(ends[1]);
    int status = 0;
    QCOMPARE(waitpid(child, &status, 0), child);
    QVERIFY(WIFSIGNALED(status) || WEXITSTATUS(status) != 0);
    QByteArray said(1000, '\0');
    said.resize(static_cast<int>(std::max<ssize_t>(read(ends[0], said.data(), 1000), 0)));
    close(ends[0]);
    QVERIFY2(said.contains(": assertion failed: "), said.constData());
}

QTEST_GUILESS_MAIN(ValueTextTest)
#include "value_text_test.moc"
