// Plays every fault that the simulator knows, at random.
#include "soak/fault_play.h"

#include "fuzz/mutation.h"
#include "model/json_path.h"
#include "model/meta.h"
#include "simulator/datagrams.h"
#include "simulator/draw_by_weight.h"
#include "soak/fleet_line.h"
#include "soak/odd_texts.h"

#include <QJsonDocument>
#include <QProcess>

#include <array>
#include <utility>

using namespace simulator;

namespace {

constexpr int FAULT_INTERVAL = 100; // ms from one fault to the next
constexpr int SPARE_ADDRESSES = 60; // 10.71.200.1 and up, beside those of the fleet

QString base64(const QByteArray &bytes)
{
    return QString::fromLatin1(bytes.toBase64());
}

QString identity_of(const QJsonValue &state)
{
    return state.toObject().value("device_id").toString();
}

QStringList path_of(const std::string &key)
{
    return QString::fromStdString(key).split('/');
}

QJsonObject nested(QStringList path, const QJsonValue &value)
{
    QJsonObject object{{path.takeLast(), value}};
    while (!path.isEmpty())
        object = {{path.takeLast(), object}};
    return object;
}

const std::string &any_key(RandomSource &random)
{
    const int place = random.below(static_cast<int>(catalogue().property_keys.size()));
    return catalogue().property_keys[static_cast<size_t>(place)];
}

QJsonArray random_sessions(RandomSource &random)
{
    QJsonArray list;
    for (int i = random.below(40); i > 0; --i)
        list.append(QJsonObject{{"n", odd_text(random)}, {"i", odd_text(random)}, {"c", i}});
    return list;
}

// A change of state that a device may well report.
QJsonObject plausible_state(RandomSource &random)
{
    switch (random.below(10)) {
    case 0:
        return {{"dsp", QJsonObject{{"error", odd_text(random)}}}};
    case 1:
        return {{"rtp", QJsonObject{{"lock", random.below(6)}}}};
    case 2:
        return {{"streams", QJsonObject{{"list", random_sessions(random)}}}};
    case 3:
        return {{"ui", QJsonObject{{"name", odd_text(random)}, {"order", random.below(400)}}}};
    case 4:
        return {{"dsp", QJsonObject{{"mute", random.happens(50)}, {"level", random.below(8)}}}};
    case 5: {
        const int row = random.below(static_cast<int>(catalogue().product_table.size()));
        return {{"product_id", catalogue().product_table[static_cast<size_t>(row)].product_id}};
    }
    case 6:
        return {{"firmware_version", random.happens(50) ? "1.1" : "v1.5.4.1d"}};
    case 7:
        return {{"firmware_update_error", odd_text(random)}};
    case 8:
        return {{"fw_magic", odd_value(random)}};
    default:
        return {{"ui", QJsonObject{{"memo", QString("memo ").repeated(random.below(800))}}}};
    }
}

// One that no healthy device reports: any type in any place.
QJsonObject broken_state(RandomSource &random)
{
    const std::string &key = any_key(random);
    QStringList path = path_of(key);
    if (random.happens(20))
        path = path.mid(0, 1); // a whole branch
    return nested(path, odd_value(random));
}

} // namespace

// `make` gives the members beside "fault" and "device"; `heal` names the fault that ends this one.
struct FaultPlay::Row
{
    const char *name = "";
    int weight = 0;
    const char *heal = nullptr;
    QJsonObject (FaultPlay::*make)() = nullptr;
    QJsonObject heal_members = {};
};

const std::vector<FaultPlay::Row> &FaultPlay::rows()
{
    static const std::vector<Row> all = {
        {.name = "silent", .weight = 6, .heal = "return"},
        {.name = "drop_replies", .weight = 5, .heal = "keep_replies"},
        {.name = "drop_reports", .weight = 4, .heal = "keep_reports"},
        {.name = "drop_frames", .weight = 3, .heal = "keep_frames"},
        {.name = "wrong_checksum", .weight = 4, .heal = "right_checksum"},
        {.name = "no_checksum", .weight = 3, .heal = "right_checksum"},
        {.name = "delay",
         .weight = 5,
         .heal = "delay",
         .make = &FaultPlay::come_late,
         .heal_members = {{"ms", 0}}},
        {.name = "loss",
         .weight = 6,
         .heal = "loss",
         .make = &FaultPlay::lose_datagrams,
         .heal_members = {{"percent", 0}}},
        {.name = "change_address", .weight = 3, .make = &FaultPlay::move_address},
        {.name = "reboot", .weight = 3},
        {.name = "set", .weight = 14, .make = &FaultPlay::set_state},
        {.name = "identity", .weight = 2, .make = &FaultPlay::take_identity},
        {.name = "remove", .weight = 5, .make = &FaultPlay::remove_member},
        {.name = "report", .weight = 3},
        {.name = "send_raw", .weight = 20, .make = &FaultPlay::raw_datagram},
        {.name = "log", .weight = 8, .make = &FaultPlay::log_fault},
        {.name = "tftp", .weight = 8, .make = &FaultPlay::tftp_fault},
        {.name = "options", .weight = 1, .make = &FaultPlay::options},
    };
    return all;
}

FaultPlay::FaultPlay(FleetLine &its_fleet, QJsonArray states, const FaultPlan &its_plan)
    : fleet(its_fleet)
    , healthy(std::move(states))
    , plan(its_plan)
    , random(plan.seed)
{
    connect(&timer, &QTimer::timeout, this, &FaultPlay::play_one);
}

void FaultPlay::start()
{
    timer.start(FAULT_INTERVAL);
}

void FaultPlay::stop()
{
    timer.stop();
}

void FaultPlay::play_one()
{
    if (random.happens(0.05))
        pull_cable();
    strike(draw_by_weight(rows(), random));
}

void FaultPlay::strike(const Row &row)
{
    devices = some_devices();
    const QJsonObject members = row.make ? (this->*row.make)() : QJsonObject();
    send(members, row.name);
    if (row.heal)
        heal(devices, row.heal, row.heal_members);
}

void FaultPlay::send(QJsonObject request, const QString &name)
{
    ++counts[name];
    if (!request.contains("options")) {
        request.insert("device", devices);
        if (!request.contains("fault"))
            request.insert("fault", name);
    }
    fleet.tell(request);
}

void FaultPlay::heal(const QJsonValue &whom, const QString &name, QJsonObject more)
{
    more.insert("device", whom);
    more.insert("fault", name);
    more.insert("after", 0.1 * random.between(3, 10 * plan.longest));
    fleet.tell(more);
}

// Mostly one; a circuit's breaker or a whole site now and then.
QJsonValue FaultPlay::some_devices()
{
    if (random.happens(0.5))
        return "all";
    if (random.happens(85))
        return random.below(fleet.count);
    QJsonArray list;
    for (int i = random.between(2, 12); i > 0; --i)
        list.append(random.below(fleet.count));
    return list;
}

QJsonObject FaultPlay::come_late()
{
    return {{"ms", random.between(1, 400 * plan.longest)}};
}

QJsonObject FaultPlay::lose_datagrams()
{
    const std::array directions = {"in", "out", "both"};
    return {{"percent", random.between(5, 90)},
            {"direction", directions[static_cast<size_t>(random.below(3))]}};
}

QJsonObject FaultPlay::set_state()
{
    const int device = random.below(fleet.count);
    devices = device;
    const bool is_broken = random.happens(40);
    if (is_broken || random.happens(70))
        heal(devices, "set", {{"state", healthy.at(device)}});
    return {{"state", is_broken ? broken_state(random) : plausible_state(random)}};
}

QJsonObject FaultPlay::remove_member()
{
    const int device = random.below(fleet.count);
    devices = device;
    heal(devices, "set", {{"state", healthy.at(device)}});
    const std::string &key = any_key(random);
    return {{"path", path_of(key).mid(0, random.between(1, 2)).join('/')}};
}

// Two devices with one id, or one that nobody has heard of.
QJsonObject FaultPlay::take_identity()
{
    const int device = random.below(fleet.count);
    devices = device;
    const QString own = identity_of(healthy.at(device));
    const QString other = identity_of(healthy.at(random.below(fleet.count)));
    heal(devices, "set", {{"state", QJsonObject{{"device_id", own}}}});
    const QString taken
        = random.happens(70) ? other : "stranger " + QString::number(random.below(1000));
    return {{"fault", "set"}, {"state", QJsonObject{{"device_id", taken}}}};
}

QJsonObject FaultPlay::move_address()
{
    devices = random.below(fleet.count);
    if (random.happens(30)) // another device's, or its own again
        return {{"address", QString("10.71.0.%1").arg(10 + random.below(qMin(fleet.count, 200)))}};
    return {{"address", QString("10.71.200.%1").arg(1 + random.below(SPARE_ADDRESSES))}};
}

QByteArray FaultPlay::some_datagram(int device)
{
    const QJsonObject state = healthy.at(device).toObject();
    const QString id = state.value("device_id").toString();
    switch (random.below(6)) {
    case 0:
        return metering_datagram(id.toUtf8(), {10, 20, 70, 0}, {0, 1, 1, 0}, Checksum::RIGHT);
    case 1:
        return log_datagram(id,
                            {.position = static_cast<uint32_t>(random.next()),
                             .overflow = random.happens(20),
                             .bytes = "a line\n\x1B[31mred\x1B[0m\n",
                             .length_error = random.happens(20) ? random.between(-30, 30) : 0},
                            Checksum::RIGHT);
    case 2:
        return json_datagram({{"command", "set_params"}, {"device_id", id}, {"status", "ok"}},
                             Checksum::RIGHT);
    case 3:
        return json_datagram({{"error", odd_text(random)}, {"warning", odd_value(random)}},
                             Checksum::NONE);
    default:
        return json_datagram(state, Checksum::RIGHT);
    }
}

QJsonObject FaultPlay::raw_datagram()
{
    devices = random.below(fleet.count);
    const QByteArray bytes = damaged(
        some_datagram(random.happens(50) ? devices.toInt() : random.below(fleet.count)), random);
    const int times = random.happens(3) ? random.between(2, 200) : 1;
    return {{"base64", base64(bytes)},
            {"to", "10.71.0.1"},
            {"port", random.happens(80) ? 7054 : 7055},
            {"times", times}};
}

QJsonObject FaultPlay::log_fault()
{
    heal(devices, "log", {{"clear", true}, {"rate", -1}});
    switch (random.below(9)) {
    case 0:
        return {{"rate", random.between(0, 400)}};
    case 1:
        return {{"text", odd_text(random) + '\n'}};
    case 2:
        return {{"lose", random.between(1, 20)}};
    case 3:
        return {{"loss", random.between(1, 60)}};
    case 4:
        return {{"overflow", random.between(1, 5)}};
    case 5:
        return {{"split_escapes", true}, {"nul", random.below(5)}};
    case 6:
        return {{"lie", random.between(1, 10)}, {"length_error", random.between(-300, 300)}};
    case 7:
        return {{"padding", random.below(300)}};
    default:
        return {{"pos", static_cast<double>(static_cast<uint32_t>(random.next()))}};
    }
}

QJsonObject FaultPlay::tftp_fault()
{
    const std::array strikes
        = {"lose", "double", "wrong_ack", "late", "error", "raw", "offline", "none"};
    heal(devices, "tftp", {{"clear", true}});
    if (random.happens(15))
        return {{"silent", true}};
    if (random.happens(15))
        return {{"ack_delay", random.between(1, 40)}};
    if (random.happens(15))
        return {{"refuse", "refused: " + odd_text(random)}};
    heal(devices, "return"); // after a strike that takes it offline
    return {{"strike", strikes[static_cast<size_t>(random.below(int{strikes.size()}))]},
            {"at_block", random.between(0, 300)},
            {"times", random.between(1, 3)},
            {"offset", random.between(-3, 3)},
            {"ms", random.between(1, 300 * plan.longest)},
            {"code", random.below(9)},
            {"text", QString(QChar(random.below(8))) + odd_text(random)}};
}

QJsonObject FaultPlay::options()
{
    return {{"options",
             QJsonObject{{"metering_rate", random.between(0, 20)},
                         {"spread", random.happens(30) ? 0 : random.between(50, 500)},
                         {"reports_change", random.between(0, 60)},
                         {"reboot_time", random.between(200, 500 * plan.longest)},
                         {"flash_time", random.between(100, 2000)}}}};
}

void FaultPlay::pull_cable()
{
    ++counts["cable pulled"];
    const QString seconds = QString::number(random.between(1, plan.longest - 1));
    QProcess::startDetached(
        "/bin/sh",
        {"-c",
         "ip link set loudspeakers down; sleep " + seconds + "; ip link set loudspeakers up"});
}

void FaultPlay::clear_all()
{
    run_shell("ip link set loudspeakers up");
    const std::array<QJsonObject, 9> remedies = {{{{"fault", "return"}},
                                                  {{"fault", "keep_replies"}},
                                                  {{"fault", "keep_reports"}},
                                                  {{"fault", "keep_frames"}},
                                                  {{"fault", "right_checksum"}},
                                                  {{"fault", "delay"}, {"ms", 0}},
                                                  {{"fault", "loss"}, {"percent", 0}},
                                                  {{"fault", "log"}, {"clear", true}, {"rate", -1}},
                                                  {{"fault", "tftp"}, {"clear", true}}}};
    for (QJsonObject request : remedies) {
        request.insert("device", "all");
        fleet.tell(request);
    }
    restore_identities();
    fleet.tell({{"options",
                 QJsonObject{{"metering_rate", 10},
                             {"spread", 250},
                             {"reports_change", 0},
                             {"reboot_time", 1000},
                             {"flash_time", 500}}}});
}

// Without its name and number a device would be none.
void FaultPlay::restore_identities()
{
    for (int device = 0; device < fleet.count; ++device)
        fleet.tell({{"fault", "set"},
                    {"device", device},
                    {"state",
                     QJsonObject{{"product", "KESTA"},
                                 {"seq", 0},
                                 {"device_id", identity_of(healthy.at(device))}}}});
}

// But for the product: a device that never named one has other properties than one that did once,
// which stays, so that a fresh window would rightly show another list.
void FaultPlay::leave_traces()
{
    for (int device = 0; device < fleet.count; ++device) {
        const bool is_plausible = random.happens(40);
        QJsonObject request{{"fault", "set"}, {"state", plausible_state(random)}};
        if (!is_plausible && random.happens(50))
            request = {{"fault", "set"}, {"state", broken_state(random)}};
        else if (!is_plausible)
            request = {{"fault", "remove"}, {"path", path_of(any_key(random)).join('/')}};
        request.insert("device", device);
        fleet.tell(request);
        const QJsonValue product = healthy.at(device).toObject().value("product_id");
        if (!is_plausible)
            fleet.tell({{"fault", "set"},
                        {"device", device},
                        {"state", QJsonObject{{"product_id", product}}}});
    }
    restore_identities();
}

// What is not there at the start goes with the branch that it hangs on.
void FaultPlay::heal_states()
{
    for (int device = 0; device < fleet.count; ++device) {
        const QJsonObject state = healthy.at(device).toObject();
        for (const char *branch : {"dsp", "ui", "streams", "rtp", "stream", "net"})
            fleet.tell({{"fault", "remove"}, {"device", device}, {"path", branch}});
        fleet.tell({{"fault", "set"}, {"device", device}, {"state", state}});
    }
}
