// The equaliser's curve in the real window, with simulated loudspeakers at the other end.
#include "eq/curve_grid.h"
#include "eq/eq_rows.h"
#include "support/curve_mouse.h"
#include "support/fleet_window.h"

#include <QPushButton>
#include <QToolButton>

#include <cmath>
#include <random>

class FleetEqTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<SimulatedFleet> fleet;
    std::unique_ptr<FleetWindow> window;

    WindowHandle &gui() { return *window->gui; }
    CurveMouse mouse() { return CurveMouse(window->gui.get()); }
    CurveWidget &curve() { return *gui().curve(); }

    void set_dsp(const QJsonObject &dsp)
    {
        fleet->fault(0, "set", {{"state", QJsonObject{{"dsp", dsp}}}});
    }

    QJsonObject simulated_dsp()
    {
        const QJsonArray states
            = fleet->ask({{"state", true}, {"device", 0}}).value("states").toArray();
        return states.at(0).toObject().value("dsp").toObject();
    }

    QJsonArray commands() { return fleet->stats().at(0).toObject().value("commands").toArray(); }

    int reports_sent() { return fleet->stats().at(0).toObject().value("reports_sent").toInt(); }

    // The curve follows the first device, whose bands are all of the types that there are.
    void show_first_device()
    {
        set_dsp({{"eq_en", true},
                 {"eq0", eq_band(EQ_LSHELF, 100, 1.0, 3.0)},
                 {"eq1", eq_band(EQ_PEQ, 300, 2.0, -6.0)},
                 {"eq2", eq_band(EQ_PEQ2, 1000, 4.0, 9.0)},
                 {"eq3", eq_band(EQ_PEQ, 3000, 1.0, 5.0, false)},
                 {"eq4", eq_band(EQ_HSHELF, 9000, 1.0, -3.0)}});
        window = std::make_unique<FleetWindow>(*fleet);
        QTest::mouseClick(gui().eq_button(), Qt::LeftButton);
        QTRY_COMPARE_WITH_TIMEOUT(window->online_count(), fleet->count, 10000);
        window->select({window->device(0)});
        QTRY_COMPARE_WITH_TIMEOUT(mouse().numbers(), QList<int>({1, 2, 3, 5}), 5000);
        QTest::mouseMove(gui().widget().windowHandle(), {1, 1});
    }

private slots:
    void initTestCase() { fleet = std::make_unique<SimulatedFleet>(QStringList{"--count", "3"}); }
    void cleanup() { window.reset(); }
    void cleanupTestCase() { fleet.reset(); }

    void a_hovered_band_survives_reports_without_news();
    void drags_reach_the_device_at_confirm_and_not_before();
    void cancel_shows_what_the_device_has();
    void hostile_values_in_reports_are_survived();
};

void FleetEqTest::a_hovered_band_survives_reports_without_news()
{
    show_first_device();
    mouse().move(mouse().marker(2));
    QCOMPARE(curve().hover_index, 1);
    const QList<Filter *> filters = curve().filters;
    const uint64_t responses = curve().grid->responses_computed;
    const int before = reports_sent();
    const auto many_came = [this, before] { return reports_sent() >= before + 50; };
    for (int i = 0; i < 50; ++i) {
        fleet->fault(0, "report");
        QCoreApplication::processEvents();
    }
    // What is no news for the curve changes the panel and the list.
    fleet->fault(0, "set", {{"state", QJsonObject{{"ui", QJsonObject{{"name", "Hovered"}}}}}});
    QTRY_COMPARE(window->cell(window->device(0), "ui/name"), QString("Hovered"));
    QTRY_VERIFY(many_came());
    QCOMPARE(curve().hover_index, 1);
    QCOMPARE(curve().filters, filters);
    QCOMPARE(curve().grid->responses_computed, responses);

    set_dsp({{"eq1", eq_band(EQ_PEQ, 300, 2.0, -7.0)}});
    QTRY_COMPARE_WITH_TIMEOUT(curve().hover_index, -1, 5000);
}

void FleetEqTest::drags_reach_the_device_at_confirm_and_not_before()
{
    show_first_device();
    const int commands_before = commands().size();
    std::mt19937 random(5);
    const auto any = [&random](int limit) {
        return static_cast<int>(random() % static_cast<unsigned>(limit));
    };
    QTest::mouseClick(gui().edit_button(), Qt::LeftButton);
    for (int drag = 0; drag < 40; ++drag) {
        const int number = curve().filters.at(any(4))->number;
        QPoint position = mouse().marker(number);
        mouse().press(position);
        for (int step = 0; step < 3; ++step)
            mouse().move(position += QPoint(1 + any(9), any(21) - 10));
        mouse().release(position);
    }
    QCOMPARE(commands().size(), commands_before);

    QJsonObject expected;
    const QJsonObject had = simulated_dsp();
    for (const auto &[key, row] : gui().rows()) {
        if (!row.edited)
            continue;
        const QStringList path = QString::fromStdString(key).split('/');
        QJsonObject values = expected.value(path[1]).toObject();
        const double value = row.value.toDouble();
        if (had.value(path[1]).toObject().value(path[2]).toDouble() != value)
            values.insert(path[2], value);
        expected.insert(path[1], values);
    }
    QVERIFY(expected.size() >= 3);
    QTest::mouseClick(gui().confirm_button(), Qt::LeftButton);
    QTRY_COMPARE_WITH_TIMEOUT(commands().size(), commands_before + 1, 5000);
    const QJsonObject command = commands().last().toObject();
    QCOMPARE(command.value("command").toString(), QString("set_params"));
    QCOMPARE(command.value("dsp").toObject(), expected);
}

void FleetEqTest::cancel_shows_what_the_device_has()
{
    show_first_device();
    QTest::mouseClick(gui().edit_button(), Qt::LeftButton);
    const QPoint marker = mouse().marker(3);
    mouse().drag(marker, marker + QPoint(60, 30));
    QVERIFY(mouse().filter(3)->freq > 1000.0F);
    // Changed at the device meanwhile.
    set_dsp({{"eq1", eq_band(EQ_PEQ, 400, 2.0, -6.0)}});
    Device *device = window->device(0);
    const auto reported = [device] {
        const QJsonObject dsp = device->last_report.value("dsp").toObject();
        return dsp.value("eq1").toObject().value("freq").toInt();
    };
    QTRY_COMPARE_WITH_TIMEOUT(reported(), 400, 5000);
    QCOMPARE(mouse().filter(2)->freq, 300.0F);
    QTest::mouseClick(gui().cancel_button(), Qt::LeftButton);
    QCOMPARE(mouse().filter(3)->freq, 1000.0F);
    QCOMPARE(mouse().filter(3)->gain, 9.0F);
    QCOMPARE(mouse().filter(2)->freq, 400.0F);
}

void FleetEqTest::hostile_values_in_reports_are_survived()
{
    show_first_device();
    const QJsonValue odd[] = {0,          -1, 1e38, -1e30, 1e-30,        1e308,
                              2147483647, 99, -7,   "nan", QJsonValue(), QJsonArray{1}};
    int round = 0;
    for (const QJsonValue &value : odd) {
        QJsonObject dsp{{"eq_en", true}};
        for (int band = 0; band < 5; ++band) {
            QJsonObject values = eq_band(band, 1000, 1.0, 6.0);
            // Another member each time, or all at once.
            const char *const members[] = {"freq", "q", "gain", "type"};
            if (band == 4)
                values
                    = {{"freq", value}, {"q", value}, {"gain", value}, {"type", 2}, {"en", true}};
            else
                values.insert(members[band], value);
            dsp.insert(QString("eq%1").arg(band), values);
        }
        dsp.insert("level", ++round % 7);
        set_dsp(dsp);
        fleet->fault(0, "report");
        const auto has_come = [this, round] {
            return window->device(0)->value("dsp/level") == QVariant(round % 7);
        };
        QTRY_VERIFY_WITH_TIMEOUT(has_come(), 5000);
        curve().repaint();
        for (const QPointF &point : curve().lines.magnitude)
            QVERIFY(std::abs(point.y()) < 32767.0);
    }
}

WINDOW_TEST_MAIN(FleetEqTest)
#include "fleet_eq_test.moc"
