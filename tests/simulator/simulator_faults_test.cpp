// Faults that are switched on one simulated device.
#include "model/meta.h"
#include "simulator/device_faults.h"

#include <QtTest>

using namespace simulator;

namespace {

QString apply(SimulatedDevice &device, const char *name, const QJsonObject &members = {})
{
    MemberReader reader(members);
    reader.allow({"fault"});
    return apply_device_fault(device, name, reader);
}

} // namespace

class SimulatorFaultsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { build_catalogue(); }

    void switches_go_on_and_off()
    {
        SimulatedDevice device(0, {.product_id = 6}, 1);
        QVERIFY(device.is_reachable());
        QCOMPARE(apply(device, "silent"), QString());
        QVERIFY(!device.is_reachable());
        QCOMPARE(apply(device, "return"), QString());
        QVERIFY(device.is_reachable());
        apply(device, "drop_replies");
        apply(device, "drop_reports");
        apply(device, "drop_frames");
        QVERIFY(device.faults.drop_replies && device.faults.drop_reports
                && device.faults.drop_frames);
        apply(device, "keep_replies");
        apply(device, "keep_reports");
        apply(device, "keep_frames");
        QVERIFY(!device.faults.drop_replies && !device.faults.drop_reports
                && !device.faults.drop_frames);
    }

    void checksums_go_wrong_and_right_again()
    {
        SimulatedDevice device(0, {.product_id = 6}, 1);
        const QByteArray right = device.report();
        apply(device, "wrong_checksum");
        QVERIFY(device.report() != right);
        QCOMPARE(device.report().chopped(8), right.chopped(8));
        apply(device, "no_checksum");
        QCOMPARE(device.report(), right.chopped(12));
        apply(device, "right_checksum");
        QCOMPARE(device.report(), right);
        device.wants_checksum = false;
        QCOMPARE(device.report(), right.chopped(12));
    }

    void loss_has_a_direction()
    {
        SimulatedDevice device(0, {.product_id = 6}, 1);
        QCOMPARE(apply(device, "loss", {{"percent", 5}}), QString());
        QCOMPARE(device.faults.loss_in, 5.0);
        QCOMPARE(device.faults.loss_out, 5.0);
        apply(device, "loss", {{"percent", 0}, {"direction", "in"}});
        QCOMPARE(device.faults.loss_in, 0.0);
        QCOMPARE(device.faults.loss_out, 5.0);
        QVERIFY(!apply(device, "loss", {{"percent", 101}}).isEmpty());
        for (const char *direction : {"up", "", "IN"})
            QVERIFY(!apply(device, "loss", {{"direction", direction}}).isEmpty());
        QCOMPARE(device.faults.loss_out, 5.0);
    }

    void loss_out_leaves_the_way_in()
    {
        SimulatedDevice device(0, {.product_id = 6}, 1);
        apply(device, "loss", {{"percent", 5}, {"direction", "out"}});
        QCOMPARE(device.faults.loss_in, 0.0);
        QCOMPARE(device.faults.loss_out, 5.0);
    }

    void each_number_has_bounds_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<double>("lowest");
        QTest::addColumn<double>("highest");
        QTest::newRow("ms") << "delay" << 0.0 << 600'000.0;
        QTest::newRow("percent") << "loss" << 0.0 << 100.0;
        for (const char *count : {"lose", "overflow", "nul", "lie"})
            QTest::newRow(count) << "log" << 0.0 << 1'000'000.0;
        QTest::newRow("loss") << "log" << 0.0 << 100.0;
        QTest::newRow("length_error") << "log" << -65'535.0 << 65'535.0;
        QTest::newRow("padding") << "log" << 0.0 << 1024.0;
        QTest::newRow("rate") << "log" << -1.0 << 1'000'000.0;
        QTest::newRow("pos") << "log" << 0.0 << 4'294'967'295.0;
        QTest::newRow("ack_delay") << "tftp" << 0.0 << 600'000.0;
        QTest::newRow("ms of a late one") << "tftp" << 0.0 << 600'000.0;
        QTest::newRow("at_block") << "tftp" << -1.0 << 1'000'000.0;
        QTest::newRow("times") << "tftp" << 0.0 << 1'000'000.0;
        QTest::newRow("offset") << "tftp" << -65'535.0 << 65'535.0;
        QTest::newRow("code") << "tftp" << 0.0 << 65'535.0;
    }

    void each_number_has_bounds()
    {
        QFETCH(QString, name);
        QFETCH(double, lowest);
        QFETCH(double, highest);
        SimulatedDevice device(0, {.product_id = 6}, 1);
        const QString member = QString(QTest::currentDataTag()).section(' ', 0, 0);
        const auto complaint = [&device, name, member](double value) {
            return apply(device, name.toLatin1().constData(), {{member, value}});
        };
        QCOMPARE(complaint(lowest), QString());
        QCOMPARE(complaint(highest), QString());
        QVERIFY(complaint(lowest - 1).contains(member));
        QVERIFY(complaint(highest + 1).contains(member));
    }

    void state_is_set_and_removed()
    {
        SimulatedDevice device(0, {.product_id = 6}, 1);
        apply(device, "set",
              {{"state", QJsonObject{{"dsp", QJsonObject{{"error", "hot"}}}, {"fw_magic", "x"}}}});
        QCOMPARE(device.state.value("dsp").toObject().value("error").toString(), QString("hot"));
        QVERIFY(device.state.value("dsp").toObject().contains("mute"));
        QVERIFY(device.report().contains("\"error\":\"hot\""));
        QCOMPARE(apply(device, "remove", {{"path", "dsp/mute"}}), QString());
        QVERIFY(!device.report().contains("\"mute\""));
        QVERIFY(!device.state.value("dsp").toObject().contains("mute"));
        QCOMPARE(apply(device, "remove", {{"path", "dsp/none/such"}}), QString());
        QVERIFY(!device.state.value("dsp").toObject().contains("none"));
        apply(device, "remove", {{"path", "dsp"}});
        QVERIFY(!device.state.contains("dsp"));
        QVERIFY(!apply(device, "remove").isEmpty());
    }

    void log_faults_change_only_what_is_named()
    {
        SimulatedDevice device(0, {.product_id = 6}, 1);
        QCOMPARE(apply(device, "log", {{"lose", 3}, {"rate", 50}, {"text", "hello"}}), QString());
        QCOMPARE(apply(device, "log", {{"split_escapes", true}, {"pos", 4'294'967'290.0}}),
                 QString());
        QCOMPARE(device.log.faults.lose, 3);
        QVERIFY(device.log.faults.split_escapes);
        QCOMPARE(device.log.position, 4'294'967'290U);
        QCOMPARE(device.log_rate, 50.0);
        QVERIFY(device.log_text.endsWith("hello")); // behind what the boot left
        QCOMPARE(apply(device, "log", {{"clear", true}}), QString());
        QCOMPARE(device.log.faults.lose, 0);
        QVERIFY(!device.log.faults.split_escapes);
        QVERIFY(!apply(device, "log", {{"pos", -1}}).isEmpty());
        QVERIFY(!apply(device, "log", {{"pos", 1e300}}).isEmpty());
    }

    void each_member_of_log_and_tftp_is_kept()
    {
        SimulatedDevice device(0, {.product_id = 6}, 1);
        QCOMPARE(apply(device, "log",
                       {{"lose", 1},
                        {"loss", 2.5},
                        {"overflow", 3},
                        {"split_escapes", true},
                        {"nul", 4},
                        {"lie", 5},
                        {"length_error", -6},
                        {"padding", 7}}),
                 QString());
        const auto check_log = [&device] {
            const LogFaults &log = device.log.faults;
            QCOMPARE(log.lose, 1);
            QCOMPARE(log.loss_percent, 2.5);
            QCOMPARE(log.overflow, 3);
            QVERIFY(log.split_escapes);
            QCOMPARE(log.nul, 4);
            QCOMPARE(log.lie, 5);
            QCOMPARE(log.length_error, -6);
            QCOMPARE(log.padding, 7);
        };
        check_log();
        apply(device, "log", {{"text", "x"}}); // names none of them
        check_log();
        QCOMPARE(apply(device, "tftp",
                       {{"silent", true},
                        {"ack_delay", 1},
                        {"refuse", "no"},
                        {"strike", "late"},
                        {"at_block", 2},
                        {"times", 3},
                        {"offset", -4},
                        {"ms", 5},
                        {"code", 6}}),
                 QString());
        const auto check_tftp = [&device] {
            const TftpFaults &tftp = device.tftp.faults;
            QVERIFY(tftp.silent);
            QCOMPARE(tftp.ack_delay, 1);
            QCOMPARE(tftp.refuse, QString("no"));
            QCOMPARE(tftp.strike, TftpStrike::LATE);
            QCOMPARE(tftp.at_block, 2);
            QCOMPARE(tftp.times, 3);
            QCOMPARE(tftp.offset, -4);
            QCOMPARE(tftp.late, 5);
            QCOMPARE(tftp.code, 6);
        };
        check_tftp();
        apply(device, "tftp");
        check_tftp();
        apply(device, "tftp", {{"silent", false}});
        QVERIFY(!device.tftp.faults.silent);
    }

    void a_strike_starts_from_the_usual_values_and_other_requests_leave_it()
    {
        SimulatedDevice device(0, {.product_id = 6}, 1);
        const TftpFaults &faults = device.tftp.faults;
        apply(device, "tftp", {{"strike", "lose"}, {"at_block", 4}, {"times", 3}, {"text", "x"}});
        apply(device, "tftp", {{"ack_delay", 7}, {"text", "not of a strike"}});
        QCOMPARE(faults.strike, TftpStrike::LOSE);
        QCOMPARE(faults.at_block, 4);
        QCOMPARE(faults.times, 3);
        QCOMPARE(faults.bytes, QByteArray("x"));
        apply(device, "tftp", {{"strike", "double"}});
        QCOMPARE(faults.at_block, -1);
        QCOMPARE(faults.times, 1);
        QCOMPARE(faults.bytes, QByteArray());
        QCOMPARE(faults.ack_delay, 7);
    }

    void each_strike_has_its_name_data()
    {
        QTest::addColumn<int>("strike");
        QTest::newRow("none") << int(TftpStrike::NONE);
        QTest::newRow("lose") << int(TftpStrike::LOSE);
        QTest::newRow("double") << int(TftpStrike::DOUBLE);
        QTest::newRow("wrong_ack") << int(TftpStrike::WRONG_ACK);
        QTest::newRow("late") << int(TftpStrike::LATE);
        QTest::newRow("error") << int(TftpStrike::ERROR_SENT);
        QTest::newRow("raw") << int(TftpStrike::RAW);
        QTest::newRow("offline") << int(TftpStrike::OFFLINE);
    }

    void each_strike_has_its_name()
    {
        QFETCH(int, strike);
        SimulatedDevice device(0, {.product_id = 6}, 1);
        device.tftp.faults.strike = strike == 0 ? TftpStrike::LOSE : TftpStrike::NONE;
        QCOMPARE(apply(device, "tftp", {{"strike", QTest::currentDataTag()}}), QString());
        QCOMPARE(int(device.tftp.faults.strike), strike);
    }

    void tftp_faults_are_read()
    {
        SimulatedDevice device(0, {.product_id = 6}, 1);
        TftpFaults &faults = device.tftp.faults;
        QCOMPARE(apply(device, "tftp",
                       {{"strike", "error"}, {"at_block", 9}, {"code", 1}, {"text", "no"}}),
                 QString());
        QCOMPARE(faults.strike, TftpStrike::ERROR_SENT);
        QCOMPARE(faults.at_block, 9);
        QCOMPARE(faults.times, 1);
        QCOMPARE(faults.code, 1);
        QCOMPARE(faults.bytes, QByteArray("no"));
        QCOMPARE(apply(device, "tftp", {{"ack_delay", 5}, {"refuse", "worn out"}}), QString());
        QCOMPARE(faults.strike, TftpStrike::ERROR_SENT);
        QCOMPARE(faults.ack_delay, 5);
        QCOMPARE(faults.refuse, QString("worn out"));
        QCOMPARE(apply(device, "tftp", {{"strike", "raw"}, {"base64", "AAQ="}}), QString());
        QCOMPARE(faults.bytes, QByteArray("\0\4", 2));
        QCOMPARE(faults.at_block, -1); // a new strike starts from the usual values
        QCOMPARE(apply(device, "tftp", {{"clear", true}}), QString());
        QCOMPARE(faults.strike, TftpStrike::NONE);
        QCOMPARE(faults.ack_delay, 0);
        QVERIFY(!apply(device, "tftp", {{"strike", "lightning"}}).isEmpty());
    }

    void a_wrong_request_changes_nothing()
    {
        SimulatedDevice device(0, {.product_id = 6}, 1);
        QCOMPARE(apply(device, "silent", {{"ms", 5}}), QString("unknown member \"ms\""));
        QVERIFY(device.is_reachable());
        QVERIFY(!apply(device, "delay", {{"ms", "5"}}).isEmpty());
        QCOMPARE(device.faults.delay, 0);
        QCOMPARE(apply(device, "sulk"), QString("unknown fault \"sulk\""));
        QVERIFY(is_device_fault("silent"));
        QVERIFY(!is_device_fault("sulk"));
    }
};

QTEST_GUILESS_MAIN(SimulatorFaultsTest)
#include "simulator_faults_test.moc"
