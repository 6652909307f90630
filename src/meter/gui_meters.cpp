// Live levels: from the metering frame to the bars in the list.
#include "gui/gui.h"
#include "meter/meter_report.h"

void Gui::take_metering(Device *device, const QJsonObject &message)
{
    const MeterReport report = read_meter_report(message);
    device->meter.set_levels(report.peaks, report.overdrive);
}

// Every bar falls a step; then the meter cells in view are painted again, and nothing else.
void Gui::on_meter_tick()
{
    for (const auto &[id, device] : devices)
        device->meter.tick();
    table.repaint_meters();
}
