// Online, offline, and "Broken net".
#include "model/presence.h"

#include <QtTest>

class PresenceTest : public QObject
{
    Q_OBJECT

private slots:
    void a_live_report_brings_a_device_online()
    {
        Device device;
        device.upload_error = "not updating";
        note_report(device, true, 5000, 7);
        QVERIFY(device.online);
        QCOMPARE(device.last_seen, qint64(5000));
        QCOMPARE(device.fw_magic, 7U);
        QCOMPARE(device.upload_error, QString());
    }

    void an_error_of_ours_survives_further_reports()
    {
        Device device;
        note_report(device, true, 1, 7);
        device.upload_error = "invalid image";
        note_report(device, true, 2, 7);
        QCOMPARE(device.upload_error, QString("invalid image"));
    }

    void a_cached_report_brings_only_the_firmware_number()
    {
        Device device;
        device.upload_error = "kept";
        note_report(device, false, 5000, 9);
        QVERIFY(!device.online);
        QCOMPARE(device.last_seen, qint64(0));
        QCOMPARE(device.fw_magic, 9U);
        QCOMPARE(device.upload_error, QString("kept"));
    }

    void a_made_up_report_takes_an_online_device_offline()
    {
        Device device;
        note_report(device, true, 5000, 9);
        note_report(device, false, 6000, 9);
        QVERIFY(!device.online);
        QCOMPARE(device.last_seen, qint64(5000));
    }

    void silence_of_2000_ms_is_too_long()
    {
        Device device;
        note_report(device, true, 10000, 9);
        QVERIFY(!has_gone_silent(device, 11999));
        QVERIFY(has_gone_silent(device, 12000));
        device.online = false;
        QVERIFY(!has_gone_silent(device, 99999));
    }

    void a_clock_set_back_delays_silence_by_nothing_but_the_limit()
    {
        Device device;
        note_report(device, true, 10000000, 9);
        const qint64 hour_before = 10000000 - 3600000;
        QVERIFY(!has_gone_silent(device, hour_before));
        QVERIFY(has_gone_silent(device, hour_before + 2000));
    }

    void two_reports_without_a_reply_break_the_net()
    {
        Device device;
        note_report(device, true, 1, 9);
        note_command_sent(device);
        note_report(device, true, 2, 9);
        QVERIFY(!device.broken_net && device.awaiting_reply);
        note_report(device, true, 3, 9);
        QVERIFY(device.broken_net && !device.awaiting_reply);
        note_report(device, true, 4, 9);
        QVERIFY(device.broken_net);
        QVERIFY(note_reply(device));
        QVERIFY(!device.broken_net);
        QVERIFY(!note_reply(device));
    }

    void a_reply_in_time_keeps_the_net_whole()
    {
        Device device;
        note_report(device, true, 1, 9);
        note_command_sent(device);
        note_report(device, true, 2, 9);
        note_reply(device);
        note_report(device, true, 3, 9);
        note_report(device, true, 4, 9);
        QVERIFY(!device.broken_net);
    }

    void a_new_command_starts_the_count_again_and_leaves_it_broken()
    {
        Device device;
        note_report(device, true, 1, 9);
        note_command_sent(device);
        note_report(device, true, 2, 9);
        note_command_sent(device);
        note_report(device, true, 3, 9);
        QVERIFY(!device.broken_net);
        note_report(device, true, 4, 9);
        QVERIFY(device.broken_net);
        note_command_sent(device);
        QVERIFY(device.broken_net && device.awaiting_reply);
        QCOMPARE(device.reports_without_reply, 0);
    }

    void cached_reports_count_as_no_answer_missed()
    {
        Device device;
        note_command_sent(device);
        note_report(device, false, 1, 9);
        note_report(device, false, 2, 9);
        note_report(device, false, 3, 9);
        QVERIFY(!device.broken_net);
    }
};

QTEST_GUILESS_MAIN(PresenceTest)
#include "presence_test.moc"
