// A clock that is set while the program runs: devices that answer stay or come back, those that
// fall silent are still noticed.
#include "support/fleet_window.h"

#include <QDateTime>

#include <algorithm>
#include <ctime>
#include <sys/time.h>

namespace {

constexpr int DEVICES = 24;
constexpr qint64 HOUR = 3600; // s

qint64 set_by = 0; // s that the clock of this process was set by

} // namespace

// The toolkit asks this for the time of day. Timers and the simulator have clocks of their own.
extern "C" int gettimeofday(timeval *now, void *) noexcept
{
    timespec real{};
    clock_gettime(CLOCK_REALTIME, &real);
    now->tv_sec = real.tv_sec + set_by;
    now->tv_usec = real.tv_nsec / 1000;
    return 0;
}

class FleetClockTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<SimulatedFleet> fleet;
    std::unique_ptr<FleetWindow> window;

    WindowHandle &gui() { return *window->gui; }

    // Over some milliseconds. A device may be silent for 2000.
    int least_online_for(int milliseconds)
    {
        int least = DEVICES;
        const auto watch = [this, &least] {
            least = std::min(least, window->online_count());
            return false;
        };
        runs_until(watch, milliseconds);
        return least;
    }

private slots:
    void initTestCase()
    {
        fleet = std::make_unique<SimulatedFleet>(QStringList{"--count", QString::number(DEVICES)});
    }
    void init()
    {
        set_by = 0;
        window = std::make_unique<FleetWindow>(*fleet);
        QVERIFY(runs_until([this] { return window->online_count() == DEVICES; }));
    }
    void cleanup() { window.reset(); }
    void cleanupTestCase() { fleet.reset(); }

    void the_clock_of_this_test_can_be_set()
    {
        const qint64 before = QDateTime::currentMSecsSinceEpoch();
        set_by = -HOUR;
        const qint64 after = QDateTime::currentMSecsSinceEpoch();
        QVERIFY(after < before - HOUR * 1000 + 60000);
    }

    void set_back_it_takes_no_device_offline()
    {
        set_by = -HOUR;
        QCOMPARE(least_online_for(2500), DEVICES);
        for (const auto &[id, device] : gui().all_devices())
            QVERIFY(device->last_seen <= QDateTime::currentMSecsSinceEpoch());
    }

    void set_back_it_still_shows_who_falls_silent()
    {
        Device *device = window->device(3);
        // Silent at once: no report of the new time may come to its help.
        fleet->fault(3, "silent");
        set_by = -HOUR;
        QVERIFY(runs_until([device] { return !device->online; }, 5000));
        QVERIFY(window->status(device).startsWith("Offline"));
        QCOMPARE(window->online_count(), DEVICES - 1);
        fleet->fault(3, "return");
        QVERIFY(runs_until([this] { return window->online_count() == DEVICES; }, 3000));
    }

    void set_forward_it_has_all_devices_back_within_two_rounds()
    {
        set_by = HOUR;
        gui().discover(); // all seem to have been silent for an hour
        QVERIFY(runs_until([this] { return window->online_count() == DEVICES; }, 2000));
        QCOMPARE(least_online_for(2500), DEVICES);
        set_by = 0;
        QCOMPARE(least_online_for(2500), DEVICES);
    }
};

WINDOW_TEST_MAIN(FleetClockTest)
#include "fleet_clock_test.moc"
