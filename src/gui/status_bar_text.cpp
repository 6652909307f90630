// The words of the status bar.
#include "gui/status_bar_text.h"

namespace {

QString count_of(int count, const QString &thing, const QString &things)
{
    return QString::number(count) + " " + (count == 1 ? thing : things);
}

QString devices_text(int count)
{
    return count_of(count, "device", "devices");
}

} // namespace

QString counts_text(const DeviceCounts &counts)
{
    QString text = devices_text(counts.devices) + ", " + QString::number(counts.online) + " online";
    if (counts.selected > 0)
        text += ", " + QString::number(counts.selected) + " selected";
    if (counts.hidden > 0)
        text += ", " + QString::number(counts.hidden) + " hidden by the search";
    return text;
}

QString editing_text(int devices, int unshared)
{
    QString text = "Editing " + devices_text(devices) + ". Nothing is sent before Confirm.";
    if (unshared > 0)
        text += " " + count_of(unshared, "property is", "properties are") + " not shared by all.";
    return text;
}

QString confirmed_text(int sent, int devices, bool has_changes)
{
    if (has_changes)
        return "Sent to " + QString::number(sent) + " of " + devices_text(devices) + ".";
    return devices == 1
        ? QString("Nothing sent: the device has these values already.")
        : "Nothing sent: all " + devices_text(devices) + " have these values already.";
}

QString identify_text(int devices)
{
    return "Asked " + devices_text(devices)
        + (devices == 1 ? " to identify itself." : " to identify themselves.");
}

QString purge_text(int devices)
{
    return "Asked " + devices_text(devices)
        + (devices == 1 ? " to purge its sessions." : " to purge their sessions.");
}

QString second_copy_text()
{
    return "Another copy is running: this one saves nothing.";
}
