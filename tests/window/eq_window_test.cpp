// The equaliser in the shown main window: drawn from the panel's rows, and dragged into them.
//
// With CURVE_PICTURES set to a folder, the pictures that are looked at are saved there.
#include "eq/band_tip.h"
#include "eq/curve_grid.h"
#include "eq/curve_widget.h"
#include "eq/eq_rows.h"
#include "eq/filter.h"
#include "support/curve_mouse.h"
#include "support/dialog_probe.h"
#include "support/panel_case.h"

#include <QRegularExpression>
#include <QSplitter>
#include <QToolTip>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <random>

namespace {

// Bands of all four types, the fourth one disabled.
QJsonObject all_types()
{
    return {{"dsp",
             QJsonObject{{"eq_en", true},
                         {"eq0", eq_band(EQ_LSHELF, 100, 1.0, 3.0)},
                         {"eq1", eq_band(EQ_PEQ, 300, 0.7, -6.0)},
                         {"eq2", eq_band(EQ_PEQ2, 1000, 4.0, 9.0)},
                         {"eq3", eq_band(EQ_PEQ, 3000, 1.0, 5.0, false)},
                         {"eq4", eq_band(EQ_HSHELF, 9000, 1.0, -3.0)}}}};
}

QJsonObject one_band(const QJsonObject &values)
{
    return {{"dsp", QJsonObject{{"eq_en", true}, {"eq0", values}}}};
}

bool same_number(double a, double b)
{
    return a == b || (std::isnan(a) && std::isnan(b));
}

// What the rows of the bands should hold, by key.
using BandNumbers = std::map<std::string, double>;

constexpr const char *NUMBERS[] = {"freq", "q", "gain"};

// A window with the curve on show, used by the mouse as the window system would.
struct EqCase : PanelCase
{
    EqCase()
    {
        QTest::mouseClick(gui->eq_button(), Qt::LeftButton);
        // A move to where the pointer stands already is none.
        QTest::mouseMove(gui->widget().windowHandle(), {1, 1});
    }

    CurveMouse mouse() const { return CurveMouse(gui.get()); }

    PanelRow band_row(int number, const char *name) { return row(eq_row_key(number - 1, name)); }

    // Confirm asks all devices for reports, which these give when the test says so.
    void confirm()
    {
        press_confirm();
        gui->discovery_timer().stop();
    }
};

} // namespace

class EqWindowTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<EqCase> window;
    std::mt19937 random;

    WindowHandle &gui() { return *window->gui; }
    CurveMouse mouse() { return window->mouse(); }
    CurveWidget &curve() { return *gui().curve(); }
    FakeDevice &device(int number) { return *window->devices[static_cast<std::size_t>(number)]; }

    int any(int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); }

    // One device with these parts, selected and drawn.
    FakeDevice &show_device(const QJsonObject &members, int product_id = 3)
    {
        FakeDevice &added = window->add(members, product_id);
        window->select({static_cast<int>(window->devices.size()) - 1});
        QCoreApplication::processEvents();
        return added;
    }

    // All that has come to a device: a last datagram marks it.
    QList<QJsonObject> sent_to(int number)
    {
        gui().send_to_device(device(number).record(), {{"command", "end"}}, false);
        QList<QJsonObject> commands;
        const bool arrived = QTest::qWaitFor([this, number, &commands] {
            commands = device(number).commands();
            return !commands.isEmpty() && commands.last().value("command") == QJsonValue("end");
        });
        if (!arrived)
            qFatal("no datagram came");
        const QJsonObject end = commands.last();
        commands.removeAll(end);
        return commands;
    }

    BandNumbers reported_values()
    {
        BandNumbers values;
        const QJsonObject dsp = device(0).state.value("dsp").toObject();
        for (int index = 0; index < 5; ++index)
            for (const char *name : NUMBERS)
                values[eq_row_key(index, name)]
                    = dsp.value(QString("eq%1").arg(index)).toObject().value(name).toDouble();
        return values;
    }

    void compare_rows(const BandNumbers &expected)
    {
        for (const auto &[key, value] : expected) {
            const QVariant actual = window->row(key).value;
            const QString told
                = QString("%1: %2, not %3")
                      .arg(QString::fromStdString(key), actual.toString(), QString::number(value));
            QVERIFY2(actual.isValid() && same_number(actual.toDouble(), value), qPrintable(told));
        }
    }

    // What a drag of this band leaves in its rows: whole Hz, q and gain as the band has them.
    static void note_band(const Filter *filter, BandNumbers &values)
    {
        const FilterParams params = params_of(filter);
        const int index = filter->number - 1;
        values[eq_row_key(index, "freq")] = static_cast<int>(params.freq);
        values[eq_row_key(index, "q")] = double{params.q};
        values[eq_row_key(index, "gain")] = double{params.gain};
    }

    // The values that Confirm has to send; none when the device has them all.
    static QJsonObject differences(const BandNumbers &rows, const BandNumbers &reported)
    {
        QJsonObject bands;
        for (const auto &[key, value] : rows) {
            if (value == reported.at(key) || !std::isfinite(value))
                continue;
            const QStringList path = QString::fromStdString(key).split('/');
            QJsonObject values = bands.value(path[1]).toObject();
            values.insert(path[2], value);
            bands.insert(path[1], values);
        }
        return bands;
    }

    // The device takes over what it was sent, within what can be reached by the mouse.
    void accept(const QJsonObject &bands)
    {
        for (auto it = bands.begin(); it != bands.end(); ++it) {
            QJsonObject values = device(0).state.value("dsp").toObject().value(it.key()).toObject();
            const QJsonObject sent = it.value().toObject();
            const auto take = [&values, &sent](const char *name, double least, double most) {
                if (sent.contains(name))
                    values.insert(name, std::clamp(sent.value(name).toDouble(), least, most));
            };
            take("freq", 30, 20000);
            take("q", 0.3, 10);
            take("gain", -18, 18);
            device(0).report("dsp", it.key(), values);
        }
    }

    void drag_at_random(BandNumbers &rows, int &moves_that_edited)
    {
        const Filter *filter = curve().filters.at(any(curve().filters.size()));
        QPoint position(filter->marker_x, filter->marker_y);
        if (any(3) == 0 || !curve().rect().contains(position))
            position = {any(curve().width()), any(curve().height())};
        mouse().press(position);
        const QList<Filter *> filters = curve().filters;
        for (int step = any(4); step > 0; --step) {
            // A move that goes nowhere is none.
            position += QPoint(any(2) ? 1 + any(40) : -1 - any(40), any(41) - 20);
            mouse().move(position);
            QCOMPARE(curve().filters, filters); // a drag that replaced its own band would crash
            const int active = curve().active_index;
            if (active >= 0 && drag_state(filters.at(active)) >= 2) {
                note_band(filters.at(active), rows);
                ++moves_that_edited;
            }
            compare_rows(rows);
            if (QTest::currentTestFailed())
                return;
        }
        mouse().release(position);
    }

private slots:
    void init() { window = std::make_unique<EqCase>(); }
    void cleanup() { window.reset(); }

    void the_curve_first_shows_in_half_of_the_room();
    void a_thousand_random_drags_reach_the_rows_and_the_device();
    void all_three_rows_count_as_edited_and_only_what_differs_goes_out();
    void a_float_that_differs_in_its_last_digit_is_sent();
    void a_dragged_shelf_sends_a_q_of_zero();
    void a_tip_tells_the_numbers_of_the_band_under_the_pointer();
    void stubs_pulled_together_send_no_q();
    void a_refresh_after_a_drag_takes_the_band_anew();
    void a_drag_is_not_followed_by_a_refresh();
    void an_edited_row_moves_its_band_before_confirm();
    void a_band_stays_hovered_while_reports_say_the_same();
    void a_changed_report_takes_the_hover();
    void devices_of_different_gain_share_no_band();
    void devices_of_different_switches_show_a_flat_line();
    void the_switch_off_shows_a_flat_line_without_bands();
    void a_device_without_equaliser_closes_the_view();
    void without_a_selection_the_curve_stays();
    void disabled_bands_and_bands_of_no_type_keep_their_numbers();
    void a_q_beyond_the_model_keeps_its_row();
    void a_drag_changes_the_band_of_the_device_that_is_selected();
    void a_hidden_row_still_draws_and_takes_nothing();
    void pressing_a_band_brings_its_rows_into_sight();
    void hints_count_presses_outside_an_edit();
    void hostile_reports_draw_no_harm_data();
    void hostile_reports_draw_no_harm();
    void odd_sizes_in_the_window_do_no_harm();
    void pictures_to_look_at();
};

void EqWindowTest::the_curve_first_shows_in_half_of_the_room()
{
    const auto halves = [this] {
        QCoreApplication::processEvents();
        const QList<int> sizes = gui().eq_splitter()->sizes();
        return sizes.size() == 2 && std::abs(sizes[0] - sizes[1]) <= 1 && sizes[0] > 100;
    };
    QVERIFY(curve().isVisible());
    QVERIFY(halves());
    QCOMPARE(gui().eq_splitter()->widget(1), &curve());
    QTest::mouseClick(gui().eq_button(), Qt::LeftButton);
    QVERIFY(!curve().isVisible());
    QCOMPARE(gui().eq_splitter()->count(), 1);
    QTest::mouseClick(gui().eq_button(), Qt::LeftButton);
    QVERIFY(curve().isVisible());
    QVERIFY(halves());
    // Restored before the window first shows.
    gui().close();
    window->start();
    gui().show();
    QVERIFY(curve().isVisible());
    QVERIFY(halves());
}

void EqWindowTest::a_thousand_random_drags_reach_the_rows_and_the_device()
{
    show_device(all_types());
    random.seed(4);
    BandNumbers reported = reported_values();
    BandNumbers rows = reported;
    int moves_that_edited = 0;
    QList<QJsonObject> expected_commands;
    window->press_edit();
    for (int drag = 1; drag <= 1000; ++drag) {
        drag_at_random(rows, moves_that_edited);
        if (QTest::currentTestFailed())
            return;
        if (drag % 25 != 0)
            continue;
        if (drag % 50 == 0) {
            window->press_cancel();
        } else {
            window->confirm();
            const QJsonObject bands = differences(rows, reported);
            if (!bands.isEmpty())
                expected_commands.append(set_params({{"dsp", bands}}));
            QCOMPARE(sent_to(0), expected_commands);
            accept(bands);
        }
        QCoreApplication::processEvents(); // the curve follows a report in the next round
        reported = reported_values();
        rows = reported;
        compare_rows(rows);
        QCOMPARE(mouse().numbers(), QList<int>({1, 2, 3, 5}));
        for (const Filter *filter : curve().filters) {
            const FilterParams params = params_of(filter);
            const int index = filter->number - 1;
            QCOMPARE(params.freq, static_cast<float>(rows[eq_row_key(index, "freq")]));
            QCOMPARE(params.gain, static_cast<float>(rows[eq_row_key(index, "gain")]));
        }
        window->press_edit();
    }
    QCOMPARE(sent_to(0), expected_commands);
    QVERIFY(expected_commands.size() >= 15);
    QVERIFY(moves_that_edited > 300);
}

void EqWindowTest::all_three_rows_count_as_edited_and_only_what_differs_goes_out()
{
    show_device(one_band(eq_band(EQ_PEQ, 1000, 1.0, 0.5)));
    window->press_edit();
    mouse().click(mouse().marker(1)); // its handles show
    const QPoint marker = mouse().marker(1);
    const QPoint strip = marker + QPoint(0, 60);
    const float gain_before = mouse().filter(1)->gain;
    mouse().drag(strip, strip + QPoint(30, 0));
    for (const char *name : NUMBERS)
        QVERIFY(window->band_row(1, name).edited);
    QVERIFY(!window->band_row(1, "type").edited);
    QVERIFY(!window->band_row(1, "en").edited);
    QCOMPARE(mouse().filter(1)->gain, gain_before);
    const int freq = window->band_row(1, "freq").value.toInt();
    QVERIFY(freq > 1000);
    window->confirm();
    const QJsonObject expected{{"eq0", QJsonObject{{"freq", freq}}}};
    QCOMPARE(sent_to(0), QList<QJsonObject>{set_params({{"dsp", expected}})});
}

void EqWindowTest::a_float_that_differs_in_its_last_digit_is_sent()
{
    show_device(one_band(eq_band(EQ_PEQ, 1000, 0.7, 0.5)));
    window->press_edit();
    mouse().click(mouse().marker(1));
    const QPoint strip = mouse().marker(1) + QPoint(0, 60);
    mouse().drag(strip, strip + QPoint(30, 0));
    window->confirm();
    const QJsonObject sent = sent_to(0).value(0).value("dsp").toObject().value("eq0").toObject();
    QCOMPARE(sent.keys(), QStringList({"freq", "q"}));
    QVERIFY(sent.value("q").toDouble() == double{0.7F});
    QVERIFY(sent.value("q").toDouble() != 0.7);
}

void EqWindowTest::a_tip_tells_the_numbers_of_the_band_under_the_pointer()
{
    show_device(all_types());
    std::map<std::string, Property> rows;
    const auto row_of = [this, &rows](const std::string &key) -> const Property * {
        rows[key] = gui().row(key);
        return &rows[key];
    };
    const auto expected = [&row_of](int number) { return band_tip(number, row_of); };
    mouse().move(mouse().marker(3));
    QTRY_VERIFY(QToolTip::isVisible());
    QCOMPARE(QToolTip::text(), expected(3));
    QVERIFY2(QRegularExpression("^Frequency: 1000(\\.0*)? Hz\nGain: 9(\\.0*)? dB\nQ: 4(\\.0*)?$")
                 .match(QToolTip::text())
                 .hasMatch(),
             qPrintable(QToolTip::text()));
    mouse().move(mouse().marker(1));
    QCOMPARE(QToolTip::text(), expected(1));
    mouse().move({curve().width() / 2, 3}); // no band
    QTRY_VERIFY(!QToolTip::isVisible());

    // In a drag it follows what the rows show, far from where the marker was.
    window->press_edit();
    const QPoint from = mouse().marker(2);
    mouse().move(from);
    mouse().press(from);
    mouse().move(from + QPoint(40, -30));
    QTRY_VERIFY(QToolTip::isVisible());
    const QString first = QToolTip::text();
    QCOMPARE(first, expected(2));
    mouse().move(from + QPoint(80, 50));
    QCOMPARE(QToolTip::text(), expected(2));
    QVERIFY(QToolTip::text() != first);
    mouse().release(from + QPoint(80, 50));
}

void EqWindowTest::a_dragged_shelf_sends_a_q_of_zero()
{
    DialogProbe probe;
    show_device(one_band(eq_band(EQ_LSHELF, 1000, 1.0, 0.0)));
    window->press_edit();
    const QPoint marker = mouse().marker(1);
    mouse().click(marker); // a drag by the marker itself would round the frequency
    const QPoint strip = marker + QPoint(100, 0);
    mouse().drag(strip, strip - QPoint(0, 40));
    QCOMPARE(window->band_row(1, "q").value, QVariant(0.0));
    QCOMPARE(window->band_row(1, "q").spinner->text(), QString("0.1"));
    const double gain = window->band_row(1, "gain").value.toDouble();
    QVERIFY(gain > 0);
    window->confirm();
    QVERIFY(probe.texts.isEmpty());
    const QJsonObject expected{{"eq0", QJsonObject{{"q", 0}, {"gain", gain}}}};
    QCOMPARE(sent_to(0), QList<QJsonObject>{set_params({{"dsp", expected}})});
}

void EqWindowTest::stubs_pulled_together_send_no_q()
{
    show_device(one_band(eq_band(EQ_PEQ, 1000, 1.0, 6.0)));
    window->press_edit();
    mouse().click(mouse().marker(1));
    auto *peak = dynamic_cast<FilterPEQ *>(mouse().filter(1));
    const QPoint stub(curve().grid->freq_to_x(peak->low_edge), mouse().marker(1).y() + 15);
    mouse().press(stub);
    QCOMPARE(peak->drag_state, 4);
    const QPoint beyond(mouse().marker(1).x() + 50, stub.y());
    mouse().move(beyond);
    mouse().release(beyond);
    QVERIFY(std::isinf(window->band_row(1, "q").value.toDouble()));
    const double gain = window->band_row(1, "gain").value.toDouble();
    QCOMPARE(gain, 6.0);
    window->confirm();
    QVERIFY(sent_to(0).isEmpty());
    QVERIFY(!gui().is_editing());
}

void EqWindowTest::a_refresh_after_a_drag_takes_the_band_anew()
{
    show_device(one_band(eq_band(EQ_PEQ, 1000, 1.0, 6.0)));
    window->press_edit();
    mouse().click(mouse().marker(1));
    const QPoint strip = mouse().marker(1) + QPoint(0, 60);
    mouse().drag(strip, strip + QPoint(7, 0));
    QCOMPARE(curve().active_index, 0);
    const float freq = mouse().filter(1)->freq;
    QVERIFY(freq != std::trunc(freq));
    gui().refresh_eq_view();
    QCOMPARE(curve().active_index, -1);
    QCOMPARE(mouse().filter(1)->freq, std::trunc(freq));
}

void EqWindowTest::a_drag_is_not_followed_by_a_refresh()
{
    FakeDevice &shown = show_device(one_band(eq_band(EQ_PEQ, 1000, 1.0, 6.0)));
    window->press_edit();
    mouse().click(mouse().marker(1));
    const QList<Filter *> filters = curve().filters;
    const QPoint strip = mouse().marker(1) + QPoint(0, 60);
    mouse().press(strip);
    for (int step = 1; step <= 20; ++step) {
        mouse().move(strip + QPoint(step, 0));
        shown.report("dsp", "eq0", eq_band(EQ_PEQ, 1000 + step, 1.0, 3.0));
        QVERIFY(!gui().panel_timer().isActive());
        QCoreApplication::processEvents();
        QCOMPARE(curve().filters, filters);
        QCOMPARE(curve().active_index, 0);
    }
    mouse().release(strip);
    window->press_cancel();
    QCOMPARE(window->band_row(1, "freq").value, QVariant(1020));
    QCOMPARE(mouse().filter(1)->gain, 3.0F);
}

void EqWindowTest::an_edited_row_moves_its_band_before_confirm()
{
    show_device(one_band(eq_band(EQ_PEQ, 1000, 1.0, 6.0)));
    window->press_edit();
    window->type("dsp/eq0/gain", "-6");
    QCOMPARE(mouse().filter(1)->gain, -6.0F);
    window->type("dsp/eq0/freq", "2k");
    QCOMPARE(mouse().filter(1)->freq, 2000.0F);
    QVERIFY(sent_to(0).isEmpty());
    window->press_cancel();
    QCOMPARE(mouse().filter(1)->gain, 6.0F);
    QCOMPARE(mouse().filter(1)->freq, 1000.0F);
}

void EqWindowTest::a_band_stays_hovered_while_reports_say_the_same()
{
    FakeDevice &shown = show_device(all_types());
    mouse().move(mouse().marker(3));
    QCOMPARE(curve().hover_index, 2);
    const QList<Filter *> filters = curve().filters;
    const uint64_t responses = curve().grid->responses_computed;
    for (int i = 0; i < 200; ++i) {
        shown.report();
        QCoreApplication::processEvents();
    }
    shown.report("ui", "name", "Another name");
    QTRY_VERIFY(!gui().panel_timer().isActive());
    QCOMPARE(curve().hover_index, 2);
    QCOMPARE(curve().filters, filters);
    QCOMPARE(curve().grid->responses_computed, responses);
}

void EqWindowTest::a_changed_report_takes_the_hover()
{
    FakeDevice &shown = show_device(all_types());
    mouse().move(mouse().marker(3));
    QCOMPARE(curve().hover_index, 2);
    shown.report("dsp", "eq4", eq_band(EQ_HSHELF, 9000, 1.0, 2.0));
    QTRY_COMPARE(mouse().filter(5)->gain, 2.0F);
    QCOMPARE(curve().hover_index, -1);
}

void EqWindowTest::devices_of_different_gain_share_no_band()
{
    QJsonObject other = all_types().value("dsp").toObject();
    other.insert("eq0", eq_band(EQ_LSHELF, 100, 1.0, 4.0));
    window->add(all_types());
    window->add({{"dsp", other}});
    window->select({0, 1});
    QVERIFY(!window->band_row(1, "gain").value.isValid());
    QCOMPARE(mouse().numbers(), QList<int>({2, 3, 5}));
    window->select({0});
    QCOMPARE(mouse().numbers(), QList<int>({1, 2, 3, 5}));
}

void EqWindowTest::devices_of_different_switches_show_a_flat_line()
{
    QJsonObject other = all_types().value("dsp").toObject();
    other.insert("eq_en", false);
    window->add(all_types());
    window->add({{"dsp", other}});
    window->select({0, 1});
    QVERIFY(curve().has_curve);
    QVERIFY(curve().filters.isEmpty());
}

void EqWindowTest::the_switch_off_shows_a_flat_line_without_bands()
{
    FakeDevice &shown = show_device(all_types());
    QCOMPARE(curve().filters.size(), 4);
    shown.report("dsp", "eq_en", false);
    QTRY_VERIFY(curve().filters.isEmpty());
    QVERIFY(curve().has_curve);
    for (const QPointF &point : curve().lines.magnitude)
        QCOMPARE(point.y(), std::trunc(double{curve().grid->center_y}));
    QVERIFY(!curve().lines.magnitude.empty());
}

void EqWindowTest::a_device_without_equaliser_closes_the_view()
{
    window->add(all_types());
    window->add({}, 1000);
    window->select({0});
    QVERIFY(curve().has_curve);
    QVERIFY(curve().isVisible());
    window->select({1});
    QVERIFY(!curve().has_curve);
    QVERIFY(!gui().eq_button()->isChecked());
    QCOMPARE(gui().eq_splitter()->count(), 1);
    gui().close();
    QCOMPARE(gui().settings().value("eq_visible").toBool(), false);
}

void EqWindowTest::without_a_selection_the_curve_stays()
{
    show_device(all_types());
    const QList<Filter *> filters = curve().filters;
    gui().view()->clearSelection();
    QVERIFY(gui().selected_devices().empty());
    gui().refresh_eq_view();
    QVERIFY(curve().has_curve);
    QVERIFY(gui().eq_button()->isChecked());
    QCOMPARE(curve().filters, filters);
}

void EqWindowTest::disabled_bands_and_bands_of_no_type_keep_their_numbers()
{
    QJsonObject parts = all_types().value("dsp").toObject();
    parts.insert("eq1", eq_band(EQ_PEQ, 300, 1.0, -6.0, false));
    parts.insert("eq2", eq_band(EQ_NONE, 1000, 1.0, -6.0));
    parts.insert("eq3", eq_band(EQ_PEQ, 3000, 1.0, 5.0));
    show_device({{"dsp", parts}});
    QCOMPARE(mouse().numbers(), QList<int>({1, 4, 5}));
}

void EqWindowTest::a_q_beyond_the_model_keeps_its_row()
{
    FakeDevice &shown = show_device(one_band(eq_band(EQ_PEQ, 1000, 25.0, 6.0)));
    QCOMPARE(params_of(mouse().filter(1)).q, 20.0F);
    QCOMPARE(window->band_row(1, "q").value, QVariant(25.0));
    shown.report("dsp", "eq0", eq_band(EQ_PEQ, 1000, 0.1, 6.0));
    QTRY_COMPARE(params_of(mouse().filter(1)).q, 0.3F);
    QCOMPARE(window->band_row(1, "q").value, QVariant(0.1));
}

void EqWindowTest::a_drag_changes_the_band_of_the_device_that_is_selected()
{
    const QJsonObject on = eq_band(EQ_PEQ, 1000, 1.0, 6.0);
    const QJsonObject off = eq_band(EQ_PEQ, 1000, 1.0, 6.0, false);
    const auto bands = [](const QJsonObject &first, const QJsonObject &second) {
        return QJsonObject{{"dsp", QJsonObject{{"eq_en", true}, {"eq0", first}, {"eq1", second}}}};
    };
    show_device(bands(on, off));
    QCOMPARE(mouse().numbers(), QList<int>({1}));
    show_device(bands(off, on)); // equal values in another band
    QCOMPARE(mouse().numbers(), QList<int>({2}));
    window->press_edit();
    mouse().click(mouse().marker(2));
    const QPoint strip = mouse().marker(2) + QPoint(0, 60);
    mouse().drag(strip, strip + QPoint(30, 0));
    const int freq = window->band_row(2, "freq").value.toInt();
    QVERIFY(freq > 1000);
    window->confirm();
    const QJsonObject expected{{"eq1", QJsonObject{{"freq", freq}}}};
    QCOMPARE(sent_to(1), QList<QJsonObject>{set_params({{"dsp", expected}})});
    QVERIFY(sent_to(0).isEmpty());
}

void EqWindowTest::a_hidden_row_still_draws_and_takes_nothing()
{
    FakeDevice &shown = show_device(one_band(eq_band(EQ_PEQ, 1000, 1.0, 6.0)));
    window->press_edit();
    shown.record()->properties.at("dsp/eq0/q").flags |= PF_NO_ROW;
    gui().panel().update_property("dsp/eq0/q");
    QVERIFY(!window->is_shown("dsp/eq0/q"));
    gui().refresh_eq_view();
    QCoreApplication::processEvents();
    QCOMPARE(mouse().numbers(), QList<int>({1}));
    const QPoint marker = mouse().marker(1);
    mouse().drag(marker, marker + QPoint(30, 10));
    QVERIFY(!window->band_row(1, "q").edited);
    QVERIFY(window->band_row(1, "freq").edited);
    QVERIFY(window->band_row(1, "gain").edited);
}

void EqWindowTest::pressing_a_band_brings_its_rows_into_sight()
{
    QJsonObject bands{{"eq_en", true}};
    for (int index = 0; index < 5; ++index)
        bands.insert(QString("eq%1").arg(index), eq_band(EQ_PEQ, 100 << index, 1.0, 6.0));
    show_device({{"dsp", bands}});
    QScrollArea *panel = gui().property_scroll();
    const auto is_in_sight = [this, panel](const std::string &key) {
        const QWidget *holder = window->row(key).holder;
        const QRect place(holder->mapTo(panel->viewport(), QPoint(0, 0)), holder->size());
        return panel->viewport()->rect().contains(place);
    };
    for (const bool is_editing : {false, true}) {
        if (is_editing)
            window->press_edit();
        gui().view()->setFocus();
        for (const int number : {5, 1, 4}) {
            QTest::mouseMove(gui().widget().windowHandle(), {1, 1});
            mouse().move(mouse().marker(number)); // a press is where the pointer stands
            mouse().click(mouse().marker(number));
            for (const char *name : {"type", "freq", "q", "gain", "en"})
                QVERIFY2(is_in_sight(eq_row_key(number - 1, name)), name);
            QVERIFY(is_in_sight(QString("dummy/header/eq%1").arg(number - 1).toStdString()));
            QCOMPARE(panel->horizontalScrollBar()->value(), 0);
            QCOMPARE(QApplication::focusWidget(), gui().view());
            if (is_editing)
                mouse().click({3, 3}); // lets the band go
            curve().click_count = 0;   // no hint
        }
    }
}

void EqWindowTest::hints_count_presses_outside_an_edit()
{
    DialogProbe probe;
    show_device(all_types());
    const QPoint marker = mouse().marker(2);
    for (int i = 0; i < 8; ++i)
        mouse().drag(marker, marker + QPoint(20, 20));
    QCOMPARE(probe.titles, QStringList({"Hint", "Hint"}));
    QCOMPARE(curve().active_index, -1);
    QCOMPARE(window->band_row(2, "freq").value, QVariant(300));
    QVERIFY(!window->band_row(2, "freq").edited);
}

void EqWindowTest::hostile_reports_draw_no_harm_data()
{
    QTest::addColumn<QJsonValue>("type");
    for (const int type : {0, 1, 2, 3, 4, 5, -1, 99})
        QTest::addRow("type %d", type) << QJsonValue(type);
    QTest::newRow("huge type") << QJsonValue(1e300);
    QTest::newRow("broken type") << QJsonValue(2.5);
    QTest::newRow("text for a type") << QJsonValue("2");
    QTest::newRow("switch for a type") << QJsonValue(true);
    QTest::newRow("list for a type") << QJsonValue(QJsonArray{2});
    QTest::newRow("no type") << QJsonValue();
}

// Every band of the device gets the same odd values; each is drawn, hovered and dragged.
void EqWindowTest::hostile_reports_draw_no_harm()
{
    QFETCH(QJsonValue, type);
    FakeDevice &shown = show_device(all_types());
    const QJsonValue frequencies[] = {0, -1, 1, 2147483647, -2147483648.0, 1e38, 0.5, "nan", {}};
    const QJsonValue widths[] = {0, 1e-30, -1, 1e38, 1e300, "inf", {}};
    const QJsonValue gains[] = {1e30, -1e30, 1e-30, 1e308, "nan", true};
    QJsonObject dsp = shown.state.value("dsp").toObject();
    random.seed(7);
    for (int round = 0; round < 40; ++round) {
        for (int index = 0; index < 5; ++index) {
            const QJsonObject values{{"type", type},
                                     {"freq", frequencies[any(9)]},
                                     {"q", widths[any(7)]},
                                     {"gain", gains[any(6)]},
                                     {"en", true}};
            dsp.insert(QString("eq%1").arg(index), values);
        }
        shown.state.insert("dsp", dsp);
        shown.report();
        QCoreApplication::processEvents();
        for (const std::vector<QPointF> *line : {&curve().lines.magnitude, &curve().lines.phase})
            for (const QPointF &point : *line)
                QVERIFY(std::abs(point.y()) < 32767.0);
        if (round % 8 != 0)
            continue;
        window->press_edit();
        for (int i = 0; i < curve().filters.size(); ++i) {
            const QPoint place(any(curve().width()), any(curve().height()));
            mouse().drag(i % 2 ? place : QPoint(0, place.y()), {any(curve().width()), 20});
        }
        window->press_cancel();
    }
    for (int index = 0; index < 5; ++index) {
        const QString name = QString("eq%1").arg(index);
        shown.report("dsp", name, all_types().value("dsp").toObject().value(name));
    }
    QTRY_COMPARE(mouse().numbers(), QList<int>({1, 2, 3, 5}));
}

void EqWindowTest::odd_sizes_in_the_window_do_no_harm()
{
    FakeDevice &shown = show_device(all_types());
    window->press_edit();
    mouse().press(mouse().marker(3));
    for (const QSize size : {QSize(8000, 2), QSize(1, 2000), QSize(1, 1), QSize(0, 0)}) {
        curve().resize(size);
        curve().repaint();
        mouse().move({3, 3});
        shown.report();
        QCoreApplication::processEvents();
    }
    mouse().release({0, 0});
    window->press_cancel();
    gui().eq_splitter()->setSizes({1000, 0});
    shown.report("dsp", "eq0", eq_band(EQ_PEQ, 50, 1.0, 6.0));
    QTRY_COMPARE(mouse().filter(1)->freq, 50.0F);
    gui().eq_splitter()->setSizes({1000, 1000});
    QCoreApplication::processEvents();
    QCOMPARE(curve().lines.magnitude.size(), static_cast<std::size_t>(curve().width()));
}

void EqWindowTest::pictures_to_look_at()
{
    const QString folder = qEnvironmentVariable("CURVE_PICTURES");
    const auto save = [this, folder](const QString &name) {
        QCoreApplication::processEvents();
        const QPixmap picture = gui().widget().grab();
        QVERIFY(!picture.isNull());
        if (!folder.isEmpty())
            QVERIFY(picture.save(folder + "/window-" + name + ".png"));
    };
    show_device(all_types());
    save("bands");
    mouse().move(mouse().marker(3));
    save("hovered");
    window->press_edit();
    mouse().click(mouse().marker(2));
    save("handles");
}

WINDOW_TEST_MAIN(EqWindowTest)
#include "eq_window_test.moc"
