// How a device answers a command.
#include "simulator/device_commands.h"

#include "simulator/loudspeaker_state.h"
#include "simulator/param_rules.h"

namespace simulator {

namespace {

constexpr int COMMANDS_KEPT = 1000;

struct CommandRow
{
    const char *command = "";
    // Returns why the device refuses.
    QString (*run)(SimulatedDevice &device, const QJsonObject &command) = nullptr;
};

QString set_params(SimulatedDevice &device, const QJsonObject &command)
{
    const QString refusal = apply_set_params(device.state, command, device.random);
    device.state_changed();
    return refusal;
}

QString blink_leds(SimulatedDevice &device, const QJsonObject & /*command*/)
{
    ++device.counters.blinks;
    return {};
}

QString sap_purge(SimulatedDevice &device, const QJsonObject & /*command*/)
{
    merge_members(device.state, {{"streams", QJsonObject{{"list", QJsonArray()}}}});
    device.state_changed();
    return {};
}

constexpr CommandRow COMMANDS[] = {
    {.command = "set_params", .run = set_params},
    {.command = "blink_leds", .run = blink_leds},
    {.command = "sap_purge", .run = sap_purge},
};

QString run_command(SimulatedDevice &device, const QString &name, const QJsonObject &command)
{
    for (const CommandRow &row : COMMANDS)
        if (name == QLatin1String(row.command))
            return row.run(device, command);
    return "unknown command";
}

void count_command(DeviceCounters &counters, const QJsonObject &command)
{
    ++counters.commands_received;
    if (counters.commands.size() < COMMANDS_KEPT)
        counters.commands.append(command);
}

} // namespace

QJsonObject answer_command(SimulatedDevice &device, const QJsonObject &command)
{
    count_command(device.counters, command);
    const QString name = command.value("command").toString();
    QJsonObject reply{{"command", name}, {"device_id", device.device_id()}, {"status", "ok"}};
    if (command.contains("seq"))
        reply.insert("seq", command.value("seq"));
    const QString refusal = run_command(device, name, command);
    if (!refusal.isEmpty()) {
        reply.insert("status", "error");
        reply.insert("error", refusal);
    }
    return reply;
}

QJsonObject answer_garbage(const SimulatedDevice &device)
{
    return {{"device_id", device.device_id()}, {"status", "error"}, {"error", "invalid JSON"}};
}

QJsonObject answer_oversize(const SimulatedDevice &device, int size)
{
    return {{"device_id", device.device_id()},
            {"status", "error"},
            {"error", QString("%1 bytes, and at most %2 are read").arg(size).arg(LARGEST_COMMAND)}};
}

bool is_from_device(const QJsonObject &object)
{
    return object.contains("status") || object.contains("product");
}

} // namespace simulator
