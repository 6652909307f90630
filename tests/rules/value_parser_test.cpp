// Typed text to values.
#include "gui/value_parser.h"
#include "support/vectors.h"

#include <QtTest>

class ValueParserTest : public QObject
{
    Q_OBJECT

private slots:
    void number_is_as_computed_elsewhere_data() { add_vector_rows("parse_value", "parse"); }
    void number_is_as_computed_elsewhere();
    void suffix_is_as_computed_elsewhere_data() { add_vector_rows("parse_value", "strip"); }
    void suffix_is_as_computed_elsewhere();
    void address_is_as_computed_elsewhere_data() { add_vector_rows("ipv4"); }
    void address_is_as_computed_elsewhere();
    void edge_cases_data();
    void edge_cases();
    void addresses_data();
    void addresses();
};

void ValueParserTest::number_is_as_computed_elsewhere()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    double value = -1.0;
    const bool ok
        = parse_value_text(input.value("text").toString(), input.value("unit").toString(), &value);
    QCOMPARE(ok, expect.value("ok").toBool());
    const double expected = expect.value("value").toDouble();
    QVERIFY(qAbs(value - expected) <= 1e-12 * qAbs(expected));
}

void ValueParserTest::suffix_is_as_computed_elsewhere()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    QString text = input.value("text").toString();
    QCOMPARE(strip_suffix(text, input.value("suffix").toString()),
             expect.value("removed").toBool());
    QCOMPARE(text, expect.value("text").toString());
}

void ValueParserTest::address_is_as_computed_elsewhere()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    QCOMPARE(is_ipv4_text(input.value("text").toString().toUtf8().constData()),
             expect.value("ok").toBool());
}

void ValueParserTest::edge_cases_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("unit");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<double>("value");
    QTest::newRow("comma and unit") << "3,5 dB"
                                    << "dB" << true << 3.5;
    QTest::newRow("comma") << "3,5"
                           << "dB" << true << 3.5;
    QTest::newRow("unit in other letters") << "3,5 DB"
                                           << "dB" << true << 3.5;
    QTest::newRow("bare k") << "2k"
                            << "Hz" << true << 2000.0;
    QTest::newRow("bare K after a blank") << "2 K"
                                          << "Hz" << true << 2000.0;
    QTest::newRow("kHz never parses") << "2kHz"
                                      << "Hz" << false << 0.0;
    QTest::newRow("no multiplier without unit") << "2k"
                                                << "" << false << 0.0;
    QTest::newRow("no multiplier beside another unit") << "2k"
                                                       << "m" << false << 0.0;
    QTest::newRow("blanks around") << " 12 "
                                   << "" << true << 12.0;
    QTest::newRow("no thousands comma") << "1,234.5"
                                        << "m" << false << 0.0;
    QTest::newRow("number too long for a double") << QString(400, '9') << "m" << false << 0.0;
    QTest::newRow("number too large for a double") << "1e999"
                                                   << "Hz" << false << 0.0;
    QTest::newRow("number too small for a double") << "-1e999"
                                                   << "" << false << 0.0;
    QTest::newRow("infinity by name") << "inf"
                                      << "" << true << std::numeric_limits<double>::infinity();
}

void ValueParserTest::edge_cases()
{
    QFETCH(QString, text);
    QFETCH(QString, unit);
    double value = -1.0;
    QTEST(parse_value_text(text, unit, &value), "ok");
    QTEST(value, "value");
}

void ValueParserTest::addresses_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("ok");
    QTest::newRow("plain") << QByteArray("10.0.0.1") << true;
    QTest::newRow("hexadecimal") << QByteArray("0x0a.0.0.1") << true;
    QTest::newRow("octal") << QByteArray("010.0.0.1") << true;
    QTest::newRow("no octal digit") << QByteArray("08.0.0.1") << false;
    QTest::newRow("leading blank and plus") << QByteArray(" +1. 2.3.4") << true;
    QTest::newRow("wraps around 32 bits, which stays") << QByteArray("4294967297.0.0.1") << true;
    QTest::newRow("beyond a long") << QByteArray("99999999999999999999.0.0.1") << false;
    QTest::newRow("three parts") << QByteArray("1.2.3") << false;
    QTest::newRow("five parts") << QByteArray("1.2.3.4.5") << false;
    QTest::newRow("256") << QByteArray("256.0.0.1") << false;
    QTest::newRow("negative") << QByteArray("-1.0.0.1") << false;
    QTest::newRow("blank behind") << QByteArray("1.2.3.4 ") << false;
    QTest::newRow("empty") << QByteArray("") << false;
    QTest::newRow("dots") << QByteArray("...") << false;
}

void ValueParserTest::addresses()
{
    QFETCH(QByteArray, text);
    QTEST(is_ipv4_text(text.constData()), "ok");
}

QTEST_GUILESS_MAIN(ValueParserTest)
#include "value_parser_test.moc"
