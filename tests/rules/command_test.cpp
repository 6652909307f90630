// What goes out to devices: the request to all of them, commands to one, and their line in a log.
#include "link/command.h"

#include <QtTest>

class CommandTest : public QObject
{
    Q_OBJECT

private slots:
    void the_request_asks_for_a_checksum_and_for_levels()
    {
        const QJsonObject request = discovery_request();
        QCOMPARE(request.value("command"), QJsonValue("device_info"));
        QCOMPARE(request.value("add_crc"), QJsonValue(true));
        QCOMPARE(request.value("metering"), QJsonValue(true));
    }

    void every_command_has_number_1()
    {
        for (const char *name : {"identify", "reboot"}) {
            const QJsonObject wanted{{"command", name}, {"seq", 1}};
            QCOMPARE(device_command(name), wanted);
        }
    }

    void a_log_is_switched_by_set_params()
    {
        for (const bool on : {true, false}) {
            const QJsonObject wanted{
                {"command", "set_params"}, {"seq", 1}, {"logging", QJsonObject{{"en", on}}}};
            QCOMPARE(logging_command(on), wanted);
        }
    }

    void traffic_is_one_line_that_ends_at_a_nul()
    {
        const QJsonObject object{{"a", QJsonObject{{"b", 1}}}};
        QCOMPARE(traffic_line("Sending JSON: ", object),
                 QString("Sending JSON: {\"a\":{\"b\":1}}\n"));
        QCOMPARE(traffic_line(QString("cut") + QChar(0) + "off", object), QString("cut"));
        QCOMPARE(traffic_line("", {{"a", QString(QChar(0))}}), QString("{\"a\":\"\\u0000\"}\n"));
    }
};

QTEST_GUILESS_MAIN(CommandTest)

#include "command_test.moc"
