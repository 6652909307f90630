// The real simulator at the far end of a cable: what it is asked, and what it sends.
#pragma once

#include "support/heard.h"
#include "support/private_network.h"
#include "support/tftp_packets.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkDatagram>
#include <QProcess>
#include <QTemporaryDir>
#include <QUdpSocket>
#include <QtTest>

#include <algorithm>

inline const QHostAddress MANAGER("10.71.0.1");
constexpr int DEVICES = 6;

constexpr const char *FLEET = R"({"devices": [
    {"product": "Y6", "name": "One", "levels": 50},
    {"product": 1000, "name": "Two"},
    {"product": 0, "name": "Three", "firmware_version": "1.1"},
    {"product": "e5", "name": "Four", "faults": [{"fault": "no_checksum"}]},
    {"product": "e5", "name": "Five", "fw_magic": 1},
    {"product": 2001, "name": "Six"}]})";

inline void run_ip(const QString &arguments)
{
    if (QProcess::execute("ip", arguments.split(' ')) != 0)
        qFatal("ip %s failed", qPrintable(arguments));
}

inline QByteArray output_of(const QString &command)
{
    QProcess process;
    process.start("/bin/sh", {"-c", command});
    process.waitForFinished();
    return process.readAllStandardOutput();
}

class SimulatorCase : public QObject
{
protected:
    QTemporaryDir folder;
    QProcess simulator;
    QUdpSocket socket;
    QUdpSocket tftp;
    QList<QJsonObject> lines; // from the simulator's standard output
    QList<Heard> heard;
    int next_id = 0;

    // Starts the fleet on the far end of a cable whose near end is "loudspeakers".
    void start_fleet()
    {
        QFile file(folder.filePath("fleet.json"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(FLEET);
        file.close();
        const char *script = "ip link set lo up\n"
                             "ip link add fleet type veth peer name loudspeakers netns \"$1\"\n"
                             "ip link set fleet up\n"
                             "exec \"${@:2}\"\n";
        const QString own_pid = QString::number(QCoreApplication::applicationPid());
        const QString options = "--interface fleet --burst --flash-time 50 --reboot-time 200 "
                                "--log-rate 200 --prefix-length 24 --exit-with-stdin";
        simulator.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        simulator.start("unshare",
                        QStringList{"--net", "--", "bash", "-c", script, "fleet", own_pid,
                                    SIMULATOR_PATH, "--fleet", file.fileName(), "--store",
                                    folder.filePath("store")}
                            + options.split(' '));
        QTRY_VERIFY(!lines.isEmpty());
        QCOMPARE(lines[0], (QJsonObject{{"ready", true}, {"devices", DEVICES}, {"tftp", true}}));
    }

    void read_lines()
    {
        while (simulator.canReadLine())
            lines.append(QJsonDocument::fromJson(simulator.readLine()).object());
    }

    void read_datagrams()
    {
        while (socket.hasPendingDatagrams()) {
            const QNetworkDatagram datagram = socket.receiveDatagram();
            heard.append(take_apart(datagram.senderAddress(), datagram.data()));
        }
    }

    QJsonObject line_with(const char *member, const QJsonValue &value) const
    {
        for (const QJsonObject &line : lines)
            if (line.value(QLatin1String(member)) == value)
                return line;
        return {};
    }

    int events(const char *event) const
    {
        return static_cast<int>(
            std::count_if(lines.begin(), lines.end(), [event](const auto &line) {
                return line.value("event") == QLatin1String(event);
            }));
    }

    QJsonObject ask(QJsonObject request)
    {
        const int id = ++next_id;
        request.insert("id", id);
        simulator.write(QJsonDocument(request).toJson(QJsonDocument::Compact) + '\n');
        if (!QTest::qWaitFor([this, id] { return !line_with("id", id).isEmpty(); }))
            qFatal("the simulator gave no answer");
        return line_with("id", id);
    }

    void fault(const QJsonValue &device, const char *name, QJsonObject members = {})
    {
        members.insert("fault", name);
        members.insert("device", device);
        const QJsonObject answer = ask(members);
        QVERIFY2(answer.value("ok").toBool(), qPrintable(answer.value("error").toString()));
    }

    QJsonObject stats(int device)
    {
        return ask({{"stats", true}, {"device", device}})
            .value("stats")
            .toArray()
            .first()
            .toObject();
    }

    void send(const char *to, const QByteArray &bytes)
    {
        QCOMPARE(socket.writeDatagram(bytes, QHostAddress(QString(to)), 7054), bytes.size());
    }

    void request_reports(const char *to = "10.71.0.255")
    {
        send(to, R"({"command":"device_info","add_crc":true,"metering":true})");
    }

    QList<Heard> heard_from(const QHostAddress &from) const
    {
        QList<Heard> found;
        for (const Heard &one : heard)
            if (one.from == from)
                found.append(one);
        return found;
    }

    QJsonObject last_report(const QHostAddress &from) const
    {
        QJsonObject report;
        for (const Heard &one : heard_from(from))
            if (one.is_report())
                report = one.object;
        return report;
    }

    QList<Heard> log_messages(const QHostAddress &from) const
    {
        QList<Heard> found;
        for (const Heard &one : heard_from(from))
            if (one.is_log())
                found.append(one);
        return found;
    }

    int count(const QHostAddress &from, bool (Heard::*is_kind)() const) const
    {
        int found = 0;
        for (const Heard &one : heard_from(from))
            found += (one.*is_kind)() ? 1 : 0;
        return found;
    }

    // When the last device has answered, all have: the fleet answers in one burst, in order.
    void wait_for_all()
    {
        const QHostAddress last("10.71.0.15");
        const int before = count(last, &Heard::is_report);
        request_reports();
        QTRY_VERIFY(count(last, &Heard::is_report) > before);
    }

    QByteArray tftp_exchange(const char *to, const QByteArray &packet)
    {
        tftp.writeDatagram(packet, QHostAddress(QString(to)), 69);
        if (!tftp.hasPendingDatagrams() && !tftp.waitForReadyRead(5000))
            return "no answer";
        const QNetworkDatagram answer = tftp.receiveDatagram();
        return answer.senderPort() == 69 ? answer.data() : QByteArray("another port");
    }

    void upload(const char *to, const QByteArray &file)
    {
        QCOMPARE(tftp_exchange(to, write_request()), ack(0));
        for (int block = 1; block <= last_block(file); ++block)
            QCOMPARE(tftp_exchange(to, block_of(file, block)), ack(block));
    }
};
