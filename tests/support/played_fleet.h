// A fleet without a network: the test hands it datagrams, moves its clock, and looks at what it
// would send.
#pragma once

#include "link/datagram.h"
#include "model/meta.h"
#include "simulator/fleet.h"
#include "simulator/fleet_file.h"
#include "support/heard.h"

#include <QJsonArray>
#include <QtTest>

#include <algorithm>

// Two devices, and where the first two of a fleet are.
constexpr const char *TWO = R"({"product": "Y6", "name": "One", "device_id": "id1"},
    {"product": "Y6", "name": "Two", "device_id": "id2"})";
constexpr const char *FIRST = "10.71.0.10";
constexpr const char *SECOND = "10.71.0.11";

// What left the fleet, and when.
struct Sent
{
    int64_t time = 0;  // ms of the test's clock
    int64_t exact = 0; // µs of it
    uint32_t to = 0;
    uint16_t port = 0;
    QByteArray bytes = {};
    Heard heard = {};
};

inline uint32_t ip(const char *text)
{
    return QHostAddress(QString(text)).toIPv4Address();
}

class PlayedFleet
{
public:
    static constexpr const char *MANAGER = "10.71.0.1";

    // The devices as in a fleet file; the first is 10.71.0.10. The answers leave at once, and
    // nobody logs by himself, unless the options say so.
    explicit PlayedFleet(const QByteArray &devices, simulator::SimulatorOptions options = quiet())
        : fleet(options, plans_of(devices))
    {
        QObject::connect(&fleet, &simulator::Fleet::happened, &fleet,
                         [this](const QJsonObject &event) { events.append(event); });
        fleet.set_time(clock);
        start_error = fleet.take_addresses();
        if (start_error.isEmpty())
            start_error = fleet.start_faults();
    }

    static simulator::SimulatorOptions quiet()
    {
        return {.first_address = ip("10.71.0.10"), .spread = 0, .log_rate = 0};
    }

    QJsonObject ask(const QJsonObject &request)
    {
        const QJsonObject answer = fleet.answer(request);
        collect();
        return answer;
    }

    // The result is empty when the fault is on.
    QString fault(const QJsonValue &device, const char *name, QJsonObject members = {})
    {
        members.insert("fault", name);
        members.insert("device", device);
        const QJsonObject answer = ask(members);
        return answer.contains("ok") ? QString() : answer.value("error").toString("no error told");
    }

    QJsonObject stats(int device)
    {
        const QJsonObject answer = ask({{"stats", true}, {"device", device}});
        return answer.value("stats").toArray().at(0).toObject();
    }

    int told(int device, const char *member)
    {
        return stats(device).value(QLatin1String(member)).toInt(-1);
    }

    QJsonObject state(int device)
    {
        const QJsonObject answer = ask({{"state", true}, {"device", device}});
        return answer.value("states").toArray().at(0).toObject();
    }

    void hear(const char *to, const QByteArray &bytes, const char *from = MANAGER,
              int interface_index = 0)
    {
        fleet.hear({.from = ip(from),
                    .from_port = MANAGER_PORT,
                    .to = ip(to),
                    .is_broadcast = QByteArray(to).endsWith(".255"),
                    .interface_index = interface_index,
                    .bytes = bytes.constData(),
                    .size = bytes.size()});
        collect();
    }

    // What a manager says twice a second, to all or to one.
    void request_reports(const char *to = "10.71.255.255", const char *from = MANAGER)
    {
        hear(to, R"({"command":"device_info","add_crc":true,"metering":true})", from);
    }

    void log_from(const char *to, bool on = true)
    {
        hear(to,
             QByteArray(R"({"command":"set_params","seq":1,"logging":{"en":)")
                 + (on ? "true}}" : "false}}"));
    }

    // The answers to a packet that goes to the port for uploads.
    QList<QByteArray> upload_packet(const char *to, const QByteArray &bytes)
    {
        uploads.clear();
        fleet.hear_upload({.from = ip(MANAGER),
                           .from_port = 50'000,
                           .to = ip(to),
                           .bytes = bytes.constData(),
                           .size = bytes.size()});
        collect();
        QList<QByteArray> answers;
        for (const Sent &one : uploads)
            answers.append(one.bytes);
        return answers;
    }

    // Lets so many ms pass; what falls due runs at its time. The result is how often something did.
    int pass(int64_t ms)
    {
        const int64_t end = clock + ms * 1000;
        int rounds = 0;
        for (; fleet.next_due() <= end; ++rounds) {
            clock = std::max(clock, fleet.next_due());
            fleet.set_time(clock);
            fleet.run_due();
            collect();
        }
        clock = end;
        fleet.set_time(clock);
        return rounds;
    }

    QList<Sent> sent_by(const char *from, bool (Heard::*is_kind)() const) const
    {
        QList<Sent> found;
        for (const Sent &one : sent)
            if (one.heard.from == QHostAddress(QString(from)) && (one.heard.*is_kind)())
                found.append(one);
        return found;
    }

    int count(const char *from, bool (Heard::*is_kind)() const) const
    {
        return sent_by(from, is_kind).size();
    }

    QByteArray log_text(const char *from) const
    {
        QByteArray text;
        for (const Sent &one : sent_by(from, &Heard::is_log))
            text += one.heard.attachment.mid(2); // behind the length
        return text;
    }

    QStringList event_names() const
    {
        QStringList names;
        for (const QJsonObject &event : events)
            names.append(event.value("event").toString());
        return names;
    }

    simulator::Fleet fleet;
    QString start_error = {};
    int64_t clock = 5'000'000; // µs
    QList<Sent> sent = {};
    QList<Sent> uploads = {}; // what left the port for uploads since the last packet to it
    QList<QJsonObject> events = {};

private:
    static std::vector<simulator::DevicePlan> plans_of(const QByteArray &devices)
    {
        build_catalogue();
        const simulator::FleetFile file
            = simulator::parse_fleet(R"({"devices": [)" + devices + "]}");
        if (!file.error.isEmpty())
            qFatal("%s", qPrintable(file.error));
        return file.plans;
    }

    void collect()
    {
        take(fleet.outgoing, sent);
        take(fleet.outgoing_uploads, uploads);
    }

    void take(std::vector<simulator::OutgoingPacket> &packets, QList<Sent> &into) const
    {
        for (const simulator::OutgoingPacket &packet : packets)
            into.append({.time = clock / 1000,
                         .exact = clock,
                         .to = packet.to,
                         .port = packet.to_port,
                         .bytes = packet.bytes,
                         .heard = take_apart(QHostAddress(packet.from), packet.bytes)});
        packets.clear();
    }
};
