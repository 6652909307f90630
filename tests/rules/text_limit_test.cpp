// What senders may write on the terminal.
#include "link/text_limit.h"

#include <QtTest>

class TextLimitTest : public QObject
{
    Q_OBJECT

private slots:
    void a_sender_has_five_lines_a_second_whatever_others_say()
    {
        TextLimit limit;
        const QHostAddress loud("10.0.0.1");
        const QHostAddress quiet("10.0.0.2");
        for (int i = 0; i < 5; ++i)
            QVERIFY(limit.allows(loud, 7000 + i * 200));
        QVERIFY(!limit.allows(loud, 7999));
        QVERIFY(limit.allows(quiet, 7999));
        QVERIFY(limit.allows(loud, 8000));
    }

    void ever_new_senders_are_not_heard_beyond_a_number()
    {
        TextLimit limit;
        int allowed = 0;
        for (quint32 address = 1; address <= 5000; ++address)
            allowed += limit.allows(QHostAddress(address), 7000);
        QCOMPARE(allowed, 1024);
        QVERIFY(limit.allows(QHostAddress(quint32(1)), 7999)); // one of those that were heard
        QVERIFY(!limit.allows(QHostAddress(quint32(5000)), 7999));
        QVERIFY(limit.allows(QHostAddress(quint32(5000)), 8000));
    }

    void texts_are_quoted_and_what_no_terminal_should_print_is_escaped_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("line");
        QTest::newRow("plain") << "too hot"
                               << "\"too hot\"";
        QTest::newRow("umlauts stay")
            << QString::fromUtf8("zu heiß") << QString::fromUtf8("\"zu heiß\"");
        QTest::newRow("a line end") << "a\nb"
                                    << "\"a\\nb\"";
        QTest::newRow("a new title for the terminal") << "\x1b]0;x\a"
                                                      << "\"\\u001B]0;x\\u0007\"";
        QTest::newRow("C1 control") << QString(QChar(0x9b)) << "\"\\u009B\"";
        QTest::newRow("writing direction") << QString(QChar(0x202e)) << "\"\\u202E\"";
        QTest::newRow("quotes") << "\""
                                << "\"\\\"\"";
    }
    void texts_are_quoted_and_what_no_terminal_should_print_is_escaped()
    {
        QFETCH(QString, text);
        QFETCH(QString, line);
        QCOMPARE(terminal_text(text), line);
    }

    void a_long_text_is_cut()
    {
        QCOMPARE(terminal_text(QString(512, 'x')), "\"" + QString(512, 'x') + "\"");
        QCOMPARE(terminal_text(QString(60000, 'x')), "\"" + QString(512, 'x') + "\"...");
    }
};

QTEST_GUILESS_MAIN(TextLimitTest)
#include "text_limit_test.moc"
