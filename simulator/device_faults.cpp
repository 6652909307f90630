// Faults and interventions that concern one device alone, as they are asked for in JSON.
#include "simulator/device_faults.h"

#include "simulator/loudspeaker_state.h"
#include "simulator/param_rules.h"

#include <climits>
#include <utility>

namespace simulator {

namespace {

constexpr int LONGEST_DELAY = 600'000; // ms
constexpr int MANY = 1'000'000;

struct FaultRow
{
    const char *name = "";
    QString (*apply)(SimulatedDevice &device, MemberReader &request) = nullptr;
};

struct StrikeRow
{
    const char *name = "";
    TftpStrike strike = TftpStrike::NONE;
};

constexpr StrikeRow STRIKES[] = {
    {.name = "none", .strike = TftpStrike::NONE},
    {.name = "lose", .strike = TftpStrike::LOSE},
    {.name = "double", .strike = TftpStrike::DOUBLE},
    {.name = "wrong_ack", .strike = TftpStrike::WRONG_ACK},
    {.name = "late", .strike = TftpStrike::LATE},
    {.name = "error", .strike = TftpStrike::ERROR_SENT},
    {.name = "raw", .strike = TftpStrike::RAW},
    {.name = "offline", .strike = TftpStrike::OFFLINE},
};

// A fault that is one member of DeviceFaults taking one value.
template<auto Member, auto Value>
QString put(SimulatedDevice &device, MemberReader &request)
{
    const QString error = request.finish();
    if (error.isEmpty())
        device.faults.*Member = Value;
    return error;
}

QString set_delay(SimulatedDevice &device, MemberReader &request)
{
    const int delay = request.whole("ms", 0, 0, LONGEST_DELAY);
    const QString error = request.finish();
    if (error.isEmpty())
        device.faults.delay = delay;
    return error;
}

QString set_loss(SimulatedDevice &device, MemberReader &request)
{
    const double percent = request.number("percent", 0, 0, 100);
    const QString direction = request.text("direction", "both");
    if (!QStringList{"in", "out", "both"}.contains(direction))
        request.complain("\"direction\" must be \"in\", \"out\" or \"both\"");
    const QString error = request.finish();
    if (!error.isEmpty())
        return error;
    if (direction != "out")
        device.faults.loss_in = percent;
    if (direction != "in")
        device.faults.loss_out = percent;
    return {};
}

QString set_state(SimulatedDevice &device, MemberReader &request)
{
    const QJsonObject changes = request.members("state");
    const QString error = request.finish();
    if (!error.isEmpty())
        return error;
    QJsonObject changed = device.state;
    merge_members(changed, changes);
    const QString refusal = report_refusal(changed);
    if (!refusal.isEmpty())
        return refusal;
    device.state = changed;
    device.state_changed();
    return {};
}

void remove_member(QJsonObject &object, QStringList path)
{
    const QString name = path.takeFirst();
    if (path.isEmpty()) {
        object.remove(name);
        return;
    }
    if (!object.value(name).isObject())
        return;
    QJsonObject inner = object.value(name).toObject();
    remove_member(inner, path);
    object.insert(name, inner);
}

QString remove_from_state(SimulatedDevice &device, MemberReader &request)
{
    const QString path = request.text("path");
    if (path.isEmpty())
        request.complain("\"path\" must name a member, such as \"ui/memo\"");
    const QString error = request.finish();
    if (!error.isEmpty())
        return error;
    remove_member(device.state, path.split('/'));
    device.state_changed();
    return {};
}

// Members that the request leaves out stay as they are.
LogFaults read_log_faults(LogFaults faults, MemberReader &request)
{
    faults.lose = request.whole("lose", faults.lose, 0, MANY);
    faults.loss_percent = request.number("loss", faults.loss_percent, 0, 100);
    faults.overflow = request.whole("overflow", faults.overflow, 0, MANY);
    faults.split_escapes = request.flag("split_escapes", faults.split_escapes);
    faults.nul = request.whole("nul", faults.nul, 0, MANY);
    faults.lie = request.whole("lie", faults.lie, 0, MANY);
    faults.length_error = request.whole("length_error", faults.length_error, -65535, 65535);
    faults.padding = request.whole("padding", faults.padding, 0, 1024);
    return faults;
}

QString set_log(SimulatedDevice &device, MemberReader &request)
{
    LogFaults faults = read_log_faults(device.log.faults, request);
    const double rate = request.number("rate", device.log_rate, -1, MANY);
    const double position = request.number("pos", device.log.position, 0, UINT32_MAX);
    const QString text = request.text("text");
    if (request.flag("clear", false))
        faults = {};
    const QString error = request.finish();
    if (!error.isEmpty())
        return error;
    device.log.faults = faults;
    device.log_rate = rate;
    device.log.position = static_cast<uint32_t>(position);
    device.log_text += text.toUtf8();
    return {};
}

TftpStrike read_strike(TftpStrike before, MemberReader &request)
{
    if (!request.has("strike"))
        return before;
    const QString name = request.text("strike");
    for (const StrikeRow &row : STRIKES)
        if (name == QLatin1String(row.name))
            return row.strike;
    request.complain(QString("unknown strike \"%1\"").arg(name));
    return before;
}

TftpFaults read_tftp_faults(TftpFaults faults, MemberReader &request)
{
    faults.silent = request.flag("silent", faults.silent);
    faults.ack_delay = request.whole("ack_delay", faults.ack_delay, 0, LONGEST_DELAY);
    faults.refuse = request.text("refuse", faults.refuse);
    faults.strike = read_strike(faults.strike, request);
    faults.at_block
        = request.whole("at_block", request.has("strike") ? -1 : faults.at_block, -1, MANY);
    faults.times = request.whole("times", request.has("strike") ? 1 : faults.times, 0, MANY);
    faults.offset = request.whole("offset", faults.offset, -65535, 65535);
    faults.late = request.whole("ms", faults.late, 0, LONGEST_DELAY);
    faults.code = request.whole("code", faults.code, 0, 65535);
    const QByteArray bytes = request.base64("base64");
    const QByteArray text = request.text("text").toUtf8();
    if (request.has("strike"))
        faults.bytes = bytes + text;
    return faults;
}

QString set_tftp(SimulatedDevice &device, MemberReader &request)
{
    TftpFaults faults = read_tftp_faults(device.tftp.faults, request);
    if (request.flag("clear", false))
        faults = {};
    const QString error = request.finish();
    if (error.isEmpty())
        device.tftp.faults = faults;
    return error;
}

constexpr FaultRow FAULTS[] = {
    {.name = "silent", .apply = put<&DeviceFaults::silent, true>},
    {.name = "return", .apply = put<&DeviceFaults::silent, false>},
    {.name = "drop_replies", .apply = put<&DeviceFaults::drop_replies, true>},
    {.name = "keep_replies", .apply = put<&DeviceFaults::drop_replies, false>},
    {.name = "drop_reports", .apply = put<&DeviceFaults::drop_reports, true>},
    {.name = "keep_reports", .apply = put<&DeviceFaults::drop_reports, false>},
    {.name = "drop_frames", .apply = put<&DeviceFaults::drop_frames, true>},
    {.name = "keep_frames", .apply = put<&DeviceFaults::drop_frames, false>},
    {.name = "wrong_checksum", .apply = put<&DeviceFaults::checksum, Checksum::WRONG>},
    {.name = "right_checksum", .apply = put<&DeviceFaults::checksum, Checksum::RIGHT>},
    {.name = "no_checksum", .apply = put<&DeviceFaults::checksum, Checksum::NONE>},
    {.name = "delay", .apply = set_delay},
    {.name = "loss", .apply = set_loss},
    {.name = "set", .apply = set_state},
    {.name = "remove", .apply = remove_from_state},
    {.name = "log", .apply = set_log},
    {.name = "tftp", .apply = set_tftp},
};

const FaultRow *find_fault(const QString &name)
{
    for (const FaultRow &row : FAULTS)
        if (name == QLatin1String(row.name))
            return &row;
    return nullptr;
}

} // namespace

bool is_device_fault(const QString &name)
{
    return find_fault(name) != nullptr;
}

QString apply_device_fault(SimulatedDevice &device, const QString &name, MemberReader &request)
{
    const FaultRow *row = find_fault(name);
    if (row == nullptr)
        return QString("unknown fault \"%1\"").arg(name);
    return row->apply(device, request);
}

} // namespace simulator
