// A device's state as it stands in its report, and how commands change it.
#include "simulator/loudspeaker_state.h"

#include "link/packet_kind.h"
#include "model/json_path.h"
#include "model/meta.h"
#include "simulator/fleet_mix.h"
#include "simulator/param_rules.h"
#include "simulator/property_values.h"

#include <QHostAddress>

namespace simulator {

namespace {

constexpr int API_VERSION = 6;
constexpr uint32_t LOUDSPEAKER_MAGIC = 0x354A2936;
constexpr uint32_t BRIDGE_MAGIC = 0x354A2937;

QJsonObject member(const QJsonObject &object, const char *name)
{
    return object.value(QLatin1String(name)).toObject();
}

QString hexadecimal(uint64_t value, int digits)
{
    return QString("%1").arg(value, 16, 16, QChar('0')).right(digits);
}

// A locally administered address, so that it collides with nothing that was sold.
QString draw_mac(RandomSource &random)
{
    const QString digits = hexadecimal(random.next(), 6);
    return QString("02:4b:56:%1:%2:%3").arg(digits.mid(0, 2), digits.mid(2, 2), digits.mid(4, 2));
}

// What happened to the device lately, as its report lists it.
QJsonArray history(RandomSource &random)
{
    QJsonArray events;
    int time = random.between(0, 900);
    for (const char *text :
         {"boot, reset cause power", "link up, 1000 Mbit/s full duplex", "address obtained",
          "sync source selected, servo locked", "stream subscribed, buffer filled",
          "preset loaded, output enabled", "network time set"}) {
        events.append(QJsonObject{{"t", time}, {"level", "info"}, {"text", text}});
        time += random.between(20, 4000);
    }
    return events;
}

// What a device has counted since it was switched on. The numbers stand still: a device that
// rests reports the same again and again.
QJsonObject statistics(RandomSource &random)
{
    return {
        {"rx_packets", random.between(100'000, 90'000'000)},
        {"tx_packets", random.between(10'000, 900'000)},
        {"rx_multicast", random.between(10'000, 80'000'000)},
        {"igmp_queries", random.between(10, 4000)},
        {"sap_received", random.between(100, 90'000)},
        {"sap_expired", random.between(0, 20)},
        {"ptp_sync", random.between(10'000, 900'000)},
        {"ptp_timeouts", random.between(0, 12)},
        {"underruns", random.below(4)},
        {"overruns", random.below(4)},
        {"commands", random.between(0, 5000)},
        {"bad_datagrams", random.below(3)},
        {"boots", random.between(1, 400)},
        {"hours", random.between(20, 20'000)},
    };
}

// What a device tells beside its properties.
QJsonObject particulars(RandomSource &random)
{
    const QString serial
        = QString("%1-%2").arg(random.between(2019, 2025)).arg(random.between(10000, 99999));
    return {
        {"net",
         QJsonObject{{"mac", draw_mac(random)},
                     {"ip", "0.0.0.0"},
                     {"mask", "255.255.0.0"},
                     {"gateway", "0.0.0.0"},
                     {"igmp", 3},
                     {"dscp_audio", 34},
                     {"dscp_clock", 46},
                     {"mode", "auto"},
                     {"hostname", "velmark-" + hexadecimal(random.next(), 6)}}},
        {"link_state",
         QJsonObject{{"up", true},
                     {"speed", 1000},
                     {"duplex", "full"},
                     {"ports", QJsonArray{"up", "down"}},
                     {"crc_errors", 0},
                     {"drops", random.below(3)}}},
        {"rtp", QJsonObject{{"late", 0}, {"lost", 0}, {"reordered", 0}, {"buffer_us", 1000}}},
        {"ptp",
         QJsonObject{{"domain", 0},
                     {"state", "slave"},
                     {"master", "02-4B-56-FF-FE-00-00-01"},
                     {"offset_ns", random.between(-60, 60)},
                     {"path_delay_ns", random.between(700, 1900)},
                     {"priority1", 128},
                     {"priority2", 128}}},
        {"hw",
         QJsonObject{{"board", "KV81"},
                     {"revision", random.between(2, 5)},
                     {"serial", serial},
                     {"flash_kb", 8192},
                     {"ram_kb", 1024}}},
        {"amp",
         QJsonObject{{"state", "on"},
                     {"temp_c", random.between(31, 52)},
                     {"supply_v", random.between(226, 236)},
                     {"fan", random.between(0, 3)},
                     {"limiter", false},
                     {"protect", false}}},
        {"stats", statistics(random)},
        {"history", history(random)},
        {"streams", QJsonObject{{"blocked", false}}},
        {"logging", QJsonObject{{"en", false}, {"level", 3}}},
        {"firmware_update_error", ""},
    };
}

// The envelope of a report and what identifies the device.
QJsonObject identity(const DevicePlan &plan, RandomSource &random)
{
    const QString drawn_id = hexadecimal(random.next(), 16) + hexadecimal(random.next(), 8);
    return {
        {"product", FAMILY},
        {"seq", 0},
        {"api_version", API_VERSION},
        {"device_id", plan.device_id.isEmpty() ? drawn_id : plan.device_id},
        {"firmware_version", plan.firmware_version},
        {"fw_magic", static_cast<qint64>(plan.fw_magic.value_or(usual_fw_magic(plan.product_id)))},
    };
}

DevicePlan plan_for_product(const QJsonObject &state, int32_t product_id)
{
    const QJsonObject ui = member(state, "ui");
    const QJsonObject streams = member(state, "streams");
    return {.product_id = product_id,
            .device_id = state.value("device_id").toString(),
            .name = ui.value("name").toString(),
            .location = ui.value("loc").toString(),
            .memo = ui.value("memo").toString(),
            .order = ui.value("order").toInt(),
            .firmware_version = state.value("firmware_version").toString(),
            .fw_magic = static_cast<uint32_t>(state.value("fw_magic").toDouble()),
            .sessions = streams.value("list").toArray()};
}

// The product that the command chooses for a device that has none yet; 0 when it chooses none.
int32_t chosen_product(const QJsonObject &state, const QJsonObject &command)
{
    if (state.value("product_id").toInt() != 0)
        return 0;
    return command.value("product_id").toInt(0);
}

void become_product(QJsonObject &state, int32_t product_id, RandomSource &random)
{
    const QJsonObject before = state;
    state = make_device_state(plan_for_product(before, product_id), random);
    for (const char *kept : {"net", "hw", "logging", "firmware_update_error", "fw_magic"})
        state.insert(QLatin1String(kept), before.value(QLatin1String(kept)));
}

} // namespace

uint32_t usual_fw_magic(int32_t product_id)
{
    const bool is_bridge = product_id == 2000 || product_id == 2001 || product_id < 0;
    return is_bridge ? BRIDGE_MAGIC : LOUDSPEAKER_MAGIC;
}

QJsonObject make_device_state(const DevicePlan &plan, RandomSource &random)
{
    QJsonObject state = identity(plan, random);
    merge_members(state, particulars(random));
    const QJsonArray sessions = plan.sessions.value_or(usual_sessions());
    write_property_values(state, plan, sessions, random);
    merge_members(state, {{"streams", QJsonObject{{"list", sessions}}}});
    // A processor without a fault says so.
    if (state.contains("dsp"))
        merge_members(state, {{"dsp", QJsonObject{{"error", ""}}}});
    merge_members(state, plan.state);
    return state;
}

void set_state_address(QJsonObject &state, uint32_t address)
{
    const QString text = QHostAddress(address).toString();
    merge_members(state, {{"net", QJsonObject{{"ip", text}}}});
}

void merge_members(QJsonObject &target, const QJsonObject &changes)
{
    for (auto change = changes.begin(); change != changes.end(); ++change) {
        const QJsonValue before = target.value(change.key());
        if (!change.value().isObject() || !before.isObject()) {
            target.insert(change.key(), change.value());
            continue;
        }
        QJsonObject inner = before.toObject();
        merge_members(inner, change.value().toObject());
        target.insert(change.key(), inner);
    }
}

QString apply_set_params(QJsonObject &state, const QJsonObject &command, RandomSource &random)
{
    QJsonObject changed = state;
    const int32_t product_id = chosen_product(state, command);
    if (product_id != 0)
        become_product(changed, product_id, random);
    const ParamCheck check = check_params(command, changed.value("product_id").toInt());
    if (!check.refusal.isEmpty())
        return check.refusal;
    merge_members(changed, check.taken);
    const QString refusal = report_refusal(changed);
    if (refusal.isEmpty())
        state = changed;
    return refusal;
}

} // namespace simulator
