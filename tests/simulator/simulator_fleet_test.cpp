// The real simulator over a real cable: one end is the fleet's, in a network of its own.
#include "support/simulator_case.h"

class SimulatorFleetTest : public SimulatorCase
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        connect(&simulator, &QProcess::readyReadStandardOutput, this,
                &SimulatorFleetTest::read_lines);
        connect(&socket, &QUdpSocket::readyRead, this, &SimulatorFleetTest::read_datagrams);
        start_fleet();
        run_ip("address add 10.71.0.1/24 broadcast + dev loudspeakers");
        run_ip("link set loudspeakers up");
        QVERIFY(socket.bind(MANAGER, 7054));
        QVERIFY(tftp.bind(MANAGER, 69));
    }

    // What a test has asked for is answered before the next one begins.
    void init()
    {
        if (simulator.state() == QProcess::NotRunning)
            return;
        for (const char *back : {"return", "keep_replies", "keep_reports", "right_checksum"})
            fault("all", back);
        wait_for_all();
        lines.clear();
        heard.clear();
    }

    void every_device_answers_from_its_own_address()
    {
        request_reports();
        QSet<QString> ids;
        for (int i = 0; i < DEVICES; ++i) {
            const QHostAddress address(QHostAddress("10.71.0.10").toIPv4Address()
                                       + static_cast<quint32>(i));
            QTRY_COMPARE(count(address, &Heard::is_report), 1);
            const QJsonObject report = last_report(address);
            QCOMPARE(report.value("net").toObject().value("ip").toString(), address.toString());
            ids.insert(report.value("device_id").toString());
        }
        QCOMPARE(ids.size(), DEVICES);
        for (const Heard &one : heard)
            QVERIFY(one.has_checksum && one.is_right);
    }

    void what_a_device_refuses_makes_an_event_and_it_goes_on()
    {
        const QHostAddress address("10.71.0.10");
        const QString text = QString("x").repeated(40'000);
        for (const QJsonObject &ui : {QJsonObject{{"name", text}}, QJsonObject{{"memo", text}},
                                      QJsonObject{{"memo", "x"}, {"colour", "red"}}}) {
            const QJsonObject command{{"command", "set_params"}, {"seq", 1}, {"ui", ui}};
            send("10.71.0.10", QJsonDocument(command).toJson(QJsonDocument::Compact));
        }
        QTRY_COMPARE(count(address, &Heard::is_reply), 3);
        for (const Heard &one : heard_from(address))
            if (one.is_reply())
                QCOMPARE(one.object.value("status").toString(), QString("error"));
        QTRY_COMPARE(events("refused"), 3);
        request_reports("10.71.0.10");
        QTRY_COMPARE(count(address, &Heard::is_report), 1);
        QVERIFY(last_report(address).value("ui").toObject().value("memo") != "x");
    }

    // Whoever switches the faults may ask for what fits no datagram.
    void a_state_that_fits_no_report_is_refused()
    {
        const QJsonObject state{{"ui", QJsonObject{{"memo", QString("x").repeated(66'000)}}}};
        QVERIFY(ask({{"fault", "set"}, {"device", 0}, {"state", state}})
                    .value("error")
                    .toString()
                    .contains("datagram"));
        request_reports("10.71.0.10");
        QTRY_COMPARE(count(QHostAddress("10.71.0.10"), &Heard::is_report), 1);
    }

    void bytes_that_fit_no_datagram_make_an_event()
    {
        const QByteArray bytes(66'000, 'x');
        fault(0, "send_raw", {{"base64", QString::fromLatin1(bytes.toBase64())}});
        QTRY_COMPARE(events("too_large"), 1);
    }

    void answers_can_be_spread()
    {
        ask({{"options", QJsonObject{{"spread", 30}}}});
        request_reports();
        for (int last = 10; last < 10 + DEVICES; ++last)
            QTRY_COMPARE(count(QHostAddress(QString("10.71.0.%1").arg(last)), &Heard::is_report),
                         1);
        ask({{"options", QJsonObject{{"spread", 0}}}});
    }

    void every_report_can_show_a_change()
    {
        const QHostAddress address("10.71.0.10");
        const auto lock = [this, &address] {
            return last_report(address).value("rtp").toObject().value("lock").toInt();
        };
        ask({{"options", QJsonObject{{"reports_change", 100}}}});
        wait_for_all();
        const int before = lock();
        wait_for_all();
        QCOMPARE(before + lock(), 5); // 2 and 3 in turn
        ask({{"options", QJsonObject{{"reports_change", 0}}}});
        wait_for_all();
        const int after = lock();
        wait_for_all();
        QCOMPARE(lock(), after);
    }

    void without_add_crc_there_is_no_trailer()
    {
        send("10.71.0.10", R"({"command":"device_info"})");
        const QHostAddress address("10.71.0.10");
        QTRY_COMPARE(count(address, &Heard::is_report), 1);
        for (const Heard &one : heard_from(address))
            if (one.is_report())
                QVERIFY(!one.has_checksum);
    }

    void a_request_to_one_is_answered_by_one()
    {
        request_reports("10.71.0.12");
        QTRY_COMPARE(count(QHostAddress("10.71.0.12"), &Heard::is_report), 1);
        QCOMPARE(count(QHostAddress("10.71.0.10"), &Heard::is_report), 0);
    }

    void a_command_is_answered_and_shows_in_the_next_report()
    {
        const QHostAddress address("10.71.0.10");
        send("10.71.0.10", R"({"command":"set_params","seq":1,"ui":{"name":"Changed"}})");
        QTRY_COMPARE(count(address, &Heard::is_reply), 1);
        for (const Heard &one : heard_from(address))
            if (one.is_reply())
                QCOMPARE(one.object.value("seq").toInt(), 1);
        request_reports();
        QTRY_COMPARE(count(address, &Heard::is_report), 1);
        QCOMPARE(last_report(address).value("ui").toObject().value("name").toString(),
                 QString("Changed"));
        const QJsonArray commands = stats(0).value("commands").toArray();
        QCOMPARE(commands.last().toObject().value("ui").toObject().value("name").toString(),
                 QString("Changed"));
    }

    void a_blinking_device_says_so_on_standard_output()
    {
        send("10.71.0.11", R"({"command":"blink_leds","seq":1})");
        QTRY_VERIFY(!line_with("event", "blink").isEmpty());
        QCOMPARE(line_with("event", "blink").value("index").toInt(), 1);
    }

    void garbage_is_answered_and_ends_nothing()
    {
        for (const QByteArray &bytes : {QByteArray("{"), QByteArray(), QByteArray("[1]"),
                                        QByteArray(60'000, '['), QByteArray("\xff\xfe\0x", 4)})
            send("10.71.0.10", bytes);
        QTRY_COMPARE(count(QHostAddress("10.71.0.10"), &Heard::is_reply), 5);
        // What a device says gets no answer, so that two fleets leave each other alone.
        send("10.71.0.10", R"({"command":"set_params","status":"ok"})");
        send("10.71.0.255", R"({"command":"blink_leds"})");
        wait_for_all();
        QCOMPARE(count(QHostAddress("10.71.0.10"), &Heard::is_reply), 5);
    }

    void metering_frames_come_to_the_asker()
    {
        request_reports();
        const auto frame_from = [this](const char *address) {
            for (const Heard &one : heard_from(QHostAddress(QString(address))))
                if (one.is_frame())
                    return one.object.value("metering").toObject();
            return QJsonObject();
        };
        QTRY_COMPARE(frame_from("10.71.0.10").value("channel_peaks").toArray().size(), 1);
        QTRY_COMPARE(frame_from("10.71.0.15").value("channel_peaks").toArray().size(), 32);
        QTRY_COMPARE(frame_from("10.71.0.11").value("channel_overdrive").toArray().size(), 8);
    }

    void a_silent_device_returns()
    {
        const QHostAddress address("10.71.0.11");
        fault("Two", "silent");
        wait_for_all();
        QCOMPARE(count(address, &Heard::is_report), 0);
        fault(1, "return");
        request_reports();
        QTRY_COMPARE(count(address, &Heard::is_report), 1);
    }

    void a_fault_can_come_later()
    {
        const QHostAddress address("10.71.0.10");
        fault(0, "silent");
        fault(0, "return", {{"after", 0.05}});
        QTRY_VERIFY(stats(0).value("reachable").toBool());
    }

    void dropped_replies_leave_the_reports()
    {
        const QHostAddress address("10.71.0.10");
        fault(0, "drop_replies");
        send("10.71.0.10", R"({"command":"blink_leds","seq":1})");
        wait_for_all();
        QCOMPARE(count(address, &Heard::is_reply), 0);
        QCOMPARE(count(address, &Heard::is_report), 1);
        QCOMPARE(stats(0).value("commands_received").toInt() > 0, true);
    }

    void a_wrong_checksum_is_wrong()
    {
        fault(0, "wrong_checksum");
        request_reports("10.71.0.10");
        const QHostAddress address("10.71.0.10");
        QTRY_COMPARE(count(address, &Heard::is_report), 1);
        for (const Heard &one : heard_from(address))
            QVERIFY(!one.is_report() || (one.has_checksum && !one.is_right));
    }

    void a_changed_address_is_a_new_address()
    {
        fault(0, "change_address", {{"address", "10.71.0.77"}});
        request_reports();
        QTRY_COMPARE(count(QHostAddress("10.71.0.77"), &Heard::is_report), 1);
        request_reports("10.71.0.77");
        QTRY_COMPARE(count(QHostAddress("10.71.0.77"), &Heard::is_report), 2);
        QCOMPARE(count(QHostAddress("10.71.0.10"), &Heard::is_report), 0);
        fault(0, "change_address", {{"address", "10.71.0.10"}});
    }

    void two_devices_can_share_an_address()
    {
        fault(0, "change_address", {{"address", "10.71.0.11"}});
        request_reports("10.71.0.11");
        QTRY_COMPARE(count(QHostAddress("10.71.0.11"), &Heard::is_report), 2);
        fault(0, "change_address", {{"address", "10.71.0.10"}});
    }

    void raw_bytes_are_sent_as_they_are()
    {
        request_reports(); // the fleet has to know whom
        QTRY_VERIFY(count(QHostAddress("10.71.0.10"), &Heard::is_report) == 1);
        fault(0, "send_raw", {{"base64", "eyJzdGF0dXMiOiJyYXcifQ=="}, {"times", 3}});
        QTRY_COMPARE(count(QHostAddress("10.71.0.10"), &Heard::is_reply), 3);
        for (const Heard &one : heard_from(QHostAddress("10.71.0.10")))
            if (one.is_reply())
                QCOMPARE(one.object.value("status").toString(), QString("raw"));
    }

    void a_log_streams_while_logging_is_on()
    {
        const QHostAddress address("10.71.0.10");
        send("10.71.0.10", R"({"command":"set_params","seq":1,"logging":{"en":true}})");
        QTRY_VERIFY(log_messages(address).size() >= 20);
        qint64 position = log_messages(address).first().object.value("pos").toInt();
        for (const Heard &message : log_messages(address)) {
            QCOMPARE(message.object.value("pos").toInt(), int(position));
            const int length = static_cast<uint8_t>(message.attachment[0])
                + 256 * static_cast<uint8_t>(message.attachment[1]);
            QCOMPARE(length, message.attachment.size() - 2);
            position += length;
        }
        QVERIFY(log_messages(address).first().attachment.contains("boot"));
        send("10.71.0.10", R"({"command":"set_params","seq":1,"logging":{"en":false}})");
        QTRY_VERIFY(!stats(0).value("logging").toBool());
    }

    void a_reboot_ends_logging_and_starts_the_stream_anew()
    {
        const QHostAddress address("10.71.0.10");
        send("10.71.0.10", R"({"command":"set_params","seq":1,"logging":{"en":true}})");
        QTRY_VERIFY(stats(0).value("log_bytes_sent").toInt() > 0);
        fault(0, "reboot");
        QTRY_VERIFY(!line_with("event", "boot").isEmpty());
        request_reports();
        QTRY_VERIFY(!last_report(address).isEmpty());
        const QJsonObject logging = last_report(address).value("logging").toObject();
        QCOMPARE(logging.value("en"), QJsonValue(false));
        heard.clear();
        send("10.71.0.10", R"({"command":"set_params","seq":1,"logging":{"en":true}})");
        QTRY_VERIFY(!log_messages(address).isEmpty());
        QCOMPARE(log_messages(address).first().object.value("pos").toInt(), 0);
        fault(0, "set", {{"state", QJsonObject{{"logging", QJsonObject{{"en", false}}}}}});
        QVERIFY(!stats(0).value("logging").toBool());
    }

    void firmware_is_stored_and_runs_after_a_reboot()
    {
        QFile file(STAND_IN_IMAGE);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray image = file.readAll();
        fault(2, "set", {{"state", QJsonObject{{"firmware_version", "1.1"}}}});
        upload("10.71.0.12", image);
        QTRY_VERIFY(!line_with("event", "boot").isEmpty());
        const QJsonObject event = line_with("event", "upload");
        QVERIFY(event.value("ok").toBool());
        QFile stored(event.value("stored").toString());
        QVERIFY(stored.open(QIODevice::ReadOnly));
        QCOMPARE(stored.readAll(), image);
        request_reports("10.71.0.12");
        QTRY_COMPARE(last_report(QHostAddress("10.71.0.12")).value("firmware_version").toString(),
                     QString("v1.5.5.8d"));
    }

    void a_wrong_image_is_refused_in_the_report()
    {
        QFile file(STAND_IN_IMAGE);
        QVERIFY(file.open(QIODevice::ReadOnly));
        upload("10.71.0.14", file.readAll()); // its "fw_magic" is 1
        request_reports("10.71.0.14");
        const QHostAddress address("10.71.0.14");
        QTRY_COMPARE(last_report(address).value("firmware_update_error").toString(),
                     QString("image is for another module"));
        QVERIFY(stats(4).value("reachable").toBool());
    }

    void an_upload_can_be_struck_by_an_error()
    {
        fault(3, "tftp", {{"strike", "error"}, {"at_block", 0}, {"code", 2}, {"text", "x"}});
        QCOMPARE(tftp_exchange("10.71.0.13", write_request()), error_packet(2, "x"));
        fault(3, "tftp", {{"clear", true}});
    }

    void wrong_requests_are_answered_with_an_error()
    {
        QVERIFY(ask({{"fault", "silent"}, {"device", 99}}).contains("error"));
        QVERIFY(ask({{"fault", "silent"}}).contains("error"));
        QVERIFY(ask({{"fault", "sulk"}, {"device", 0}}).contains("error"));
        QVERIFY(ask({{"nothing", 1}}).contains("error"));
        QVERIFY(ask({{"options", QJsonObject{{"spread", -1}}}}).contains("error"));
        QVERIFY(ask({{"options", QJsonObject{{"spread", 0}}}}).contains("ok"));
        simulator.write("no json\n[1]\n\n");
        QTRY_COMPARE(lines.size(), 8);
        QCOMPARE(lines[6], (QJsonObject{{"error", "illegal value"}}));
        QCOMPARE(lines[7], (QJsonObject{{"error", "not a JSON object"}}));
    }

    void the_state_can_be_asked_for()
    {
        const QJsonObject answer = ask({{"state", true}, {"device", QJsonArray{0, "Two"}}});
        const QJsonArray states = answer.value("states").toArray();
        QCOMPARE(states.size(), 2);
        QCOMPARE(states.last().toObject().value("ui").toObject().value("name").toString(),
                 QString("Two"));
    }

    // From here on the fleet is gone.
    void the_end_of_standard_input_ends_it()
    {
        simulator.write(R"({"state":true,"device":0,"id":"the last line needs no end"})");
        simulator.closeWriteChannel();
        QTRY_COMPARE(simulator.state(), QProcess::NotRunning);
        QCOMPARE(simulator.exitCode(), 0);
        QVERIFY(!line_with("id", "the last line needs no end").isEmpty());
    }

    void without_the_port_for_uploads_it_plays_on_and_says_so()
    {
        socket.close();
        QProcess process;
        process.start(SIMULATOR_PATH, {"--count", "1", "--addresses-exist"});
        process.write("{\"quit\":true}\n");
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitCode(), 0);
        QCOMPARE(process.readAllStandardError(),
                 QByteArray("loudspeaker-simulator: no uploads: UDP port 69: Address already in "
                            "use\n"));
        QCOMPARE(process.readAllStandardOutput(),
                 QByteArray("{\"devices\":1,\"ready\":true,\"tftp\":false}\n{\"ok\":true}\n"));
    }

    void its_addresses_go_with_it()
    {
        tftp.close();
        run_ip("link add spare type veth peer name other");
        run_ip("link set spare up");
        run_ip("address add 10.72.0.5/16 dev spare");
        const char *listing = "ip route show table local dev spare; ip -o address show spare";
        const QByteArray before = output_of(listing);
        for (const bool has_network : {true, false}) {
            QProcess process;
            const QString first = has_network ? "10.72.0.5" : "10.73.0.5";
            process.start(SIMULATOR_PATH,
                          {"--count", "300", "--interface", "spare", "--first-address", first});
            QVERIFY(process.waitForReadyRead());
            const QByteArray during = output_of(listing);
            QVERIFY2(during.contains(has_network ? "10.72.0.6/31" : "10.73.0.6/31"),
                     during.constData());
            process.write(R"({"fault":"change_address","device":0,"address":"10.74.0.9"})");
            process.write("\n");
            QVERIFY(process.waitForReadyRead());
            QVERIFY(output_of(listing).contains("10.74.0.9"));
            process.terminate();
            QVERIFY(process.waitForFinished());
            QCOMPARE(process.exitCode(), 0);
            QCOMPARE(output_of(listing), before);
        }
    }

    void what_cannot_start_says_why_data()
    {
        QTest::addColumn<QString>("arguments");
        QTest::addColumn<QString>("error");
        QTest::addColumn<int>("exit_code");
        QTest::newRow("nothing to play") << ""
                                         << "say which devices" << 2;
        QTest::newRow("no such file") << "--fleet /nowhere --addresses-exist"
                                      << "/nowhere: No such file" << 1;
        QTest::newRow("no such interface") << "--count 1 --interface none"
                                           << "no network interface \"none\"" << 1;
        QTest::newRow("port taken")
            << "--count 1 --addresses-exist"
            << "UDP port 7054: Address already in use (does the manager run" << 1;
    }

    void what_cannot_start_says_why()
    {
        QFETCH(QString, arguments);
        QFETCH(QString, error);
        QFETCH(int, exit_code);
        QUdpSocket other;
        QVERIFY(other.bind(QHostAddress(), 7054));
        QProcess process;
        process.start(SIMULATOR_PATH, arguments.split(' ', Qt::SkipEmptyParts));
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitCode(), exit_code);
        const QString complaint = QString::fromLocal8Bit(process.readAllStandardError());
        QVERIFY2(complaint.contains(error), qPrintable(complaint));
        QVERIFY(process.readAllStandardOutput().isEmpty());
    }
};

int main(int argc, char **argv)
{
    std::string reason;
    if (!enter_private_network(&reason))
        qFatal("no private network: %s", reason.c_str());
    QCoreApplication application(argc, argv);
    SimulatorFleetTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "simulator_fleet_test.moc"
