// A fleet that changes nothing for minutes: nobody flickers, and nothing is kept of what was heard.
//
// With STEADY_SECONDS in the environment it takes so long, with 1,000 devices.
#include "support/fleet_window.h"

#include <QStandardItemModel>

#include <malloc.h>

namespace {

constexpr int SHORT_SECONDS = 6;
constexpr int FEW = 60;
constexpr int MANY = 1000;
constexpr double MOST_GROWTH = 1.0; // MB from the end of the first fifth on

int seconds_from_environment()
{
    return qEnvironmentVariableIntValue("STEADY_SECONDS");
}

// What is allocated now; nothing where a sanitizer allocates.
double heap_megabytes()
{
    return static_cast<double>(mallinfo2().uordblks) / 1e6;
}

// The kernel remembers about a thousand neighbours: beyond, all goes by way of the first device.
void route_by_the_first_device()
{
    shell("ip address del 10.71.0.1/16 dev loudspeakers;"
          "ip address add 10.71.0.1/16 broadcast + noprefixroute dev loudspeakers;"
          "ip route add 10.71.0.10 dev loudspeakers;"
          "ip route add 10.71.0.0/16 via 10.71.0.10 dev loudspeakers");
}

} // namespace

class FleetSteadinessTest : public QObject
{
    Q_OBJECT

private slots:
    void a_steady_fleet_neither_flickers_nor_fills_the_memory()
    {
        const bool is_long = seconds_from_environment() > 0;
        const int seconds = is_long ? seconds_from_environment() : SHORT_SECONDS;
        const int count = is_long ? MANY : FEW;
        SimulatedFleet fleet({"--count", QString::number(count), "--metering-rate", "10"});
        if (is_long)
            route_by_the_first_device();
        FleetWindow window(fleet);
        QVERIFY(runs_until([&window, count] { return window.online_count() == count; }, 60000));
        const int status = window.column("status");
        int flickers = 0;
        int written = 0;
        QStandardItemModel &model = window.gui->model();
        connect(&model, &QStandardItemModel::dataChanged, this,
                [&flickers, &written, &model, status](const QModelIndex &first,
                                                      const QModelIndex &last) {
                    ++written;
                    for (int row = first.row(); row <= last.row(); ++row)
                        flickers += model.item(row, status)->text().startsWith("Offline");
                });
        qint64 reports = 0;
        const auto run_seconds = [](double length) {
            QElapsedTimer elapsed;
            elapsed.start();
            runs_until([&elapsed, length] { return elapsed.hasExpired(qint64(length * 1000)); },
                       static_cast<int>(length * 2000) + 1000);
        };
        run_seconds(seconds / 5.0);
        fleet.ask({{"stats", true}, {"reset", true}});
        const double before = heap_megabytes();
        run_seconds(seconds * 4 / 5.0);
        const double after = heap_megabytes();
        for (const QJsonValue &device : fleet.stats())
            reports += device.toObject().value("reports_sent").toInt();
        disconnect(&model, nullptr, this, nullptr);
        qInfo("%d devices, %d s: %d times offline, %d rows written; heap %.2f MB after a fifth of "
              "the "
              "time, %.2f MB at the end, %lld reports later",
              count, seconds, flickers, written, before, after, reports);
        QVERIFY(reports > count * seconds); // two a second, for most of the time
        QCOMPARE(flickers, 0);
        QCOMPARE(window.online_count(), count);
        QVERIFY(after - before < MOST_GROWTH);
    }
};

WINDOW_TEST_MAIN(FleetSteadinessTest)
#include "fleet_steadiness_test.moc"
