// How a device answers a command.
#include "simulator/device_commands.h"

#include "simulator/loudspeaker_state.h"

namespace {

constexpr int COMMANDS_KEPT = 1000;

struct CommandRow
{
    const char *command = "";
    void (*run)(SimulatedDevice &device, const QJsonObject &command) = nullptr;
};

void set_params(SimulatedDevice &device, const QJsonObject &command)
{
    apply_set_params(device.state, command, device.random);
    device.state_changed();
}

void blink_leds(SimulatedDevice &device, const QJsonObject & /*command*/)
{
    ++device.counters.blinks;
}

void sap_purge(SimulatedDevice &device, const QJsonObject & /*command*/)
{
    merge_members(device.state, {{"streams", QJsonObject{{"list", QJsonArray()}}}});
    device.state_changed();
}

constexpr CommandRow COMMANDS[] = {
    {.command = "set_params", .run = set_params},
    {.command = "blink_leds", .run = blink_leds},
    {.command = "sap_purge", .run = sap_purge},
};

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
    for (const CommandRow &row : COMMANDS) {
        if (name != QLatin1String(row.command))
            continue;
        row.run(device, command);
        return reply;
    }
    reply.insert("status", "error");
    reply.insert("error", "unknown command");
    return reply;
}

QJsonObject answer_garbage(const SimulatedDevice &device)
{
    return {{"device_id", device.device_id()}, {"status", "error"}, {"error", "invalid JSON"}};
}

bool is_from_device(const QJsonObject &object)
{
    return object.contains("status") || object.contains("product");
}
