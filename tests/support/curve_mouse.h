// The mouse over the equaliser's curve in a shown main window, as the window system would bring it.
#pragma once

#include "eq/curve_widget.h"
#include "eq/filter.h"
#include "support/window_main.h"

#include <QWindow>
#include <QtTest>

class CurveMouse
{
public:
    explicit CurveMouse(WindowHandle *its_window)
        : window(its_window)
    {
    }

    CurveWidget &curve() const { return *window->curve(); }

    // Positions are the curve's own.
    void press(QPoint position) const
    {
        QTest::mousePress(window->widget().windowHandle(), Qt::LeftButton, {}, in_window(position));
    }
    void move(QPoint position) const
    {
        QTest::mouseMove(window->widget().windowHandle(), in_window(position));
    }
    void release(QPoint position) const
    {
        QTest::mouseRelease(window->widget().windowHandle(), Qt::LeftButton, {},
                            in_window(position));
    }
    void click(QPoint position) const
    {
        press(position);
        release(position);
    }
    void drag(QPoint from, QPoint to) const
    {
        press(from);
        move(to);
        release(to);
    }

    // The band of this number; null when it is not drawn.
    Filter *filter(int number) const
    {
        for (Filter *one : curve().filters)
            if (one->number == number)
                return one;
        return nullptr;
    }

    QPoint marker(int number) const
    {
        const Filter *band = filter(number);
        if (!band)
            qFatal("band %d is not drawn", number);
        return {band->marker_x, band->marker_y};
    }

    QList<int> numbers() const
    {
        QList<int> all;
        for (const Filter *one : curve().filters)
            all.append(one->number);
        return all;
    }

private:
    QPoint in_window(QPoint position) const { return curve().mapTo(&window->widget(), position); }

    WindowHandle *window;
};

inline int drag_state(const Filter *filter)
{
    if (const auto *peak = dynamic_cast<const FilterPEQ *>(filter))
        return peak->drag_state;
    const auto *shelf = dynamic_cast<const FilterShelf *>(filter);
    return shelf ? shelf->drag_state : 0;
}

inline FilterParams params_of(const Filter *filter)
{
    FilterParams params;
    filter->get_params(params);
    return params;
}

// A band as a device reports it.
inline QJsonObject eq_band(int type, int freq, double q, double gain, bool en = true)
{
    return {{"type", type}, {"freq", freq}, {"q", q}, {"gain", gain}, {"en", en}};
}
