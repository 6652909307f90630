// A window with the equaliser on show, and the bands of the device that is selected.
#pragma once

#include "eq/curve_widget.h"
#include "eq/eq_rows.h"
#include "eq/filter.h"
#include "support/curve_mouse.h"
#include "support/panel_case.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <random>

// Bands of all four types, the fourth one disabled.
inline QJsonObject all_types()
{
    return {{"dsp",
             QJsonObject{{"eq_en", true},
                         {"eq0", eq_band(EQ_LSHELF, 100, 1.0, 3.0)},
                         {"eq1", eq_band(EQ_PEQ, 300, 0.7, -6.0)},
                         {"eq2", eq_band(EQ_PEQ2, 1000, 4.0, 9.0)},
                         {"eq3", eq_band(EQ_PEQ, 3000, 1.0, 5.0, false)},
                         {"eq4", eq_band(EQ_HSHELF, 9000, 1.0, -3.0)}}}};
}

inline QJsonObject one_band(const QJsonObject &values)
{
    return {{"dsp", QJsonObject{{"eq_en", true}, {"eq0", values}}}};
}

inline bool same_number(double a, double b)
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

class EqWindowCase : public QObject
{
protected:
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

    QList<QJsonObject> sent_to(int number) { return window->sent_to(number); }

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
};
