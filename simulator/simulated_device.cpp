// One simulated device: its state, its faults and what it has counted.
#include "simulator/simulated_device.h"

#include "model/meta.h"
#include "simulator/loudspeaker_state.h"

#include <QJsonDocument>

#include <utility>

namespace simulator {

namespace {

QByteArray between_quotes(const QString &text)
{
    const QByteArray list = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
    return list.mid(2, list.size() - 4); // without [" and "]
}

} // namespace

SimulatedDevice::SimulatedDevice(int index_, DevicePlan plan_, uint64_t seed)
    : index(index_)
    , plan(std::move(plan_))
    , random(seed)
    , state(make_device_state(plan, random))
    , levels(find_product(plan.product_id).channels, plan.levels, random)
{
    log_text = boot_log(plan.firmware_version);
    state_changed();
}

QString SimulatedDevice::device_id() const
{
    return state.value("device_id").toString();
}

QString SimulatedDevice::name() const
{
    return state.value("ui").toObject().value("name").toString();
}

uint32_t SimulatedDevice::fw_magic() const
{
    const double magic = state.value("fw_magic").toDouble();
    if (!(magic >= 0 && magic <= UINT32_MAX))
        return 0;
    return static_cast<uint32_t>(magic);
}

void SimulatedDevice::state_changed()
{
    cached_report.clear();
    cached_id = between_quotes(device_id());
    is_logging = state.value("logging").toObject().value("en").toBool();
    const auto channels
        = static_cast<size_t>(find_product(state.value("product_id").toInt()).channels);
    if (levels.peaks.size() != channels)
        levels = ChannelLevels(static_cast<int>(channels), plan.levels, random);
}

Checksum SimulatedDevice::checksum() const
{
    return wants_checksum ? faults.checksum : Checksum::NONE;
}

QByteArray SimulatedDevice::report()
{
    if (checksum() == Checksum::WRONG)
        return json_datagram(state, Checksum::WRONG);
    if (cached_report.isEmpty())
        cached_report = json_datagram(state, Checksum::RIGHT);
    if (checksum() == Checksum::NONE)
        return cached_report.chopped(TRAILER_SIZE);
    return cached_report;
}

} // namespace simulator
