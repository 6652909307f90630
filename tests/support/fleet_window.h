// A shown window at the near end of the cable, and what tests ask of the devices at its far end.
#pragma once

#include "gui/device_list_view.h"
#include "support/fleet.h"
#include "support/window_main.h"

#include <QElapsedTimer>
#include <QTimer>

#include <vector>

// Waits for events and handles them, late deletions too, which wait for a loop that is not there.
inline void let_run()
{
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

// Lets the program run until the condition holds. Unlike the macros of the test library this takes
// no naps between events, with which an upload would take a nap per block.
template<typename Condition>
bool runs_until(Condition condition, int timeout = 20000)
{
    QTimer pulse;
    pulse.start(20);
    QElapsedTimer elapsed;
    elapsed.start();
    while (!condition()) {
        if (elapsed.hasExpired(timeout))
            return false;
        let_run();
    }
    return true;
}

struct FleetWindow : WindowCase
{
    SimulatedFleet &fleet;

    explicit FleetWindow(SimulatedFleet &its_fleet)
        : fleet(its_fleet)
    {
        gui->resize(1100, 700);
        gui->show();
        gui->widget().activateWindow();
    }

    int online_count() const
    {
        int count = 0;
        for (const auto &[id, device] : gui->all_devices())
            count += device->online;
        return count;
    }

    // All devices are listed as online, and none is about to restart after an upload.
    bool is_settled()
    {
        for (const QJsonValue &value : fleet.stats()) {
            const QJsonObject device = value.toObject();
            int flashed = 0;
            for (const QJsonValue &upload : device.value("uploads").toArray())
                flashed += upload.toObject().value("ok").toBool();
            if (!device.value("reachable").toBool() || device.value("reboots").toInt() < flashed)
                return false;
        }
        return online_count() == fleet.count;
    }

    // The record of the simulator's device number `index`.
    Device *device(int index)
    {
        const QString id = fleet.stats().at(index).toObject().value("device_id").toString();
        Device *found = gui->find_device(id);
        if (!found)
            qFatal("device %d is not in the list", index);
        return found;
    }

    std::vector<Device *> devices(const QList<int> &indexes)
    {
        std::vector<Device *> found;
        const QJsonArray stats = fleet.stats();
        for (const int index : indexes)
            found.push_back(
                gui->find_device(stats.at(index).toObject().value("device_id").toString()));
        return found;
    }

    QString status(Device *device) const { return cell(device, "status"); }

    void select(const std::vector<Device *> &wanted)
    {
        gui->view()->clearSelection();
        for (Device *one : wanted)
            gui->view()->selectionModel()->select(gui->model().index(gui->row_of(one), 0),
                                                  QItemSelectionModel::Select
                                                      | QItemSelectionModel::Rows);
    }

    // Files that a device has got since the start, oldest first.
    QJsonArray uploads(int index)
    {
        return fleet.stats().at(index).toObject().value("uploads").toArray();
    }
};
