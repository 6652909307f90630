// Mouse editing on the shown view: golden sequences, random drags, and the rows that follow them.
#include "eq/curve_grid.h"
#include "eq/curve_widget.h"
#include "eq/filter.h"
#include "eq/filter_list.h"
#include "support/curve_view_mouse.h"
#include "support/eq_numbers.h"
#include "support/vectors.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QTimer>
#include <QtTest>

#include <cmath>
#include <map>
#include <random>

namespace {

Filter *new_filter(const QJsonObject &band, int number)
{
    const QString type = band["type"].toString();
    Filter *filter = nullptr;
    if (type == "hpf")
        filter = new FilterHPF(number, nullptr);
    else if (type.endsWith("shelf"))
        filter = new FilterShelf(number, type == "hshelf");
    else
        filter = new FilterPEQ(number, nullptr);
    filter->set_variant(type == "peq2");
    filter->set_params(
        {.freq = as_float(band["freq"]), .q = as_float(band["q"]), .gain = as_float(band["gain"])});
    return filter;
}

QList<Filter *> new_filters(const QJsonArray &bands)
{
    QList<Filter *> filters;
    for (const QJsonValue &band : bands)
        filters.append(new_filter(band.toObject(), filters.size() + 1));
    return filters;
}

int drag_state(const Filter *filter)
{
    if (const auto *peak = dynamic_cast<const FilterPEQ *>(filter))
        return peak->drag_state;
    if (const auto *shelf = dynamic_cast<const FilterShelf *>(filter))
        return shelf->drag_state;
    return 0;
}

FilterParams params_of(const Filter *filter)
{
    FilterParams params;
    filter->get_params(params);
    return params;
}

// A view that shows one band, and has been painted.
class OneBand : public CurveWidget
{
public:
    OneBand()
        : CurveWidget(nullptr,
                      make_filters({{1, EQ_PEQ, {.freq = 300.0F, .q = 1.0F, .gain = -6.0F}}}))
    {
        resize(600, 300);
        set_has_curve(true);
        grab();
    }
};

// Confirms hint boxes while it lives, and counts them.
class HintProbe : public QObject
{
public:
    HintProbe()
    {
        connect(&timer, &QTimer::timeout, this, &HintProbe::confirm);
        timer.start(0);
    }
    int count = 0;
    QString title = {};
    QString text = {};

private:
    void confirm()
    {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!box)
            return;
        ++count;
        title = box->windowTitle();
        text = box->text();
        box->button(QMessageBox::Ok)->click();
    }
    QTimer timer;
};

void play(CurveWidget &view, const QJsonArray &event)
{
    const QString kind = event[0].toString();
    if (kind == "editable") {
        view.set_editable(event[1].toBool());
        return;
    }
    const QPoint position(event[1].toInt(), event[2].toInt());
    if (kind == "press")
        press(view, position);
    else if (kind == "move")
        drag_to(view, position);
    else if (kind == "hover")
        hover(view, position);
    else if (kind == "release")
        release(view, position);
    else if (kind == "right_press")
        press(view, position, Qt::RightButton);
    else if (kind == "right_move")
        drag_to(view, position, Qt::RightButton);
    else
        QFAIL(qPrintable("unknown event " + kind));
}

// The settings that an event changed are as expected, all others as they were.
void compare_params(const CurveWidget &view, const QJsonObject &expected,
                    std::vector<FilterParams> &last, const std::vector<int> &states)
{
    for (int i = 0; i < view.filters.size(); ++i) {
        const FilterParams actual = params_of(view.filters.at(i));
        FilterParams &wanted = last[static_cast<size_t>(i)];
        const QJsonValue change = expected[QString::number(i)];
        if (change.isArray())
            wanted = {
                .freq = as_float(change[0]), .q = as_float(change[1]), .gain = as_float(change[2])};
        QVERIFY(actual.freq == wanted.freq);
        QVERIFY(actual.gain == wanted.gain);
        const bool is_width_drag = states[static_cast<size_t>(i)] == 4
            && view.filters.at(i)->type_name().startsWith("peq");
        const float slack = is_width_drag ? 2e-6F * (1.0F + wanted.q) : 0.0F;
        QVERIFY(actual.q == wanted.q || std::abs(actual.q - wanted.q) <= slack);
        wanted.q = actual.q;
    }
}

} // namespace

class CurveDragTest : public QObject
{
    Q_OBJECT

private slots:
    void golden_sessions_data() { add_vector_rows("eq_drag"); }
    void golden_sessions();
    void rows_follow_a_thousand_random_drags();
    void a_drag_computes_one_response_per_move();
    void the_hint_comes_on_the_third_and_eighth_press();
    void a_press_tells_its_band_before_the_hint();
    void leaving_the_view_keeps_the_hover();
    void a_release_in_read_only_mode_does_nothing();
    void a_narrowed_band_goes_flat_and_keeps_its_gain();
    void an_edge_dragged_to_zero_falls_back_to_the_identity();
    void drags_at_odd_sizes_end_well_data();
    void drags_at_odd_sizes_end_well();
};

void CurveDragTest::golden_sessions()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    CurveWidget view(nullptr, new_filters(input["filters"].toArray()));
    view.resize(input["width"].toInt(), input["height"].toInt());
    view.set_has_curve(true);
    view.set_editable(input["editable"].toBool());
    view.grab();
    QJsonArray edited;
    connect(&view, &CurveWidget::on_filter_edited, this,
            [&edited](Filter *filter) { edited.append(filter->number); });
    HintProbe hints;
    std::vector<FilterParams> params;
    for (const Filter *filter : view.filters)
        params.push_back(params_of(filter));

    const QJsonArray events = input["events"].toArray();
    for (int i = 0; i < events.size(); ++i) {
        edited = {};
        play(view, events[i].toArray());
        view.grab();
        const QJsonObject wanted = expect.value("events")[i].toObject();
        QCOMPARE(view.active_index, wanted["active"].toInt());
        QCOMPARE(view.hover_index, wanted["hover"].toInt());
        QCOMPARE(edited, wanted["edited"].toArray());
        QCOMPARE(hints.count, wanted["hints"].toInt(hints.count));
        QJsonArray drag;
        std::vector<int> states;
        for (const Filter *filter : view.filters) {
            states.push_back(drag_state(filter));
            drag.append(states.back());
        }
        QCOMPARE(drag, wanted["drag"].toArray());
        compare_params(view, wanted["params"].toObject(), params, states);
        if (QTest::currentTestFailed())
            return;
    }
}

// What the panel holds: the rows that a drag writes.
using Rows = std::map<std::string, QVariant>;

void CurveDragTest::rows_follow_a_thousand_random_drags()
{
    CurveWidget view(nullptr,
                     make_filters({{1, EQ_LSHELF, {.freq = 100.0F, .q = 0.0F, .gain = 3.0F}},
                                   {2, EQ_PEQ, {.freq = 300.0F, .q = 1.0F, .gain = -6.0F}},
                                   {3, EQ_PEQ2, {.freq = 1000.0F, .q = 4.0F, .gain = 9.0F}},
                                   {5, EQ_HSHELF, {.freq = 9000.0F, .q = 0.0F, .gain = -3.0F}}}));
    view.resize(900, 400);
    view.set_has_curve(true);
    view.set_editable(true);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    Rows rows;
    connect(&view, &CurveWidget::on_filter_edited, this, [&rows](Filter *filter) {
        for (const auto &[key, value] : eq_row_edits(filter->number, params_of(filter)))
            rows[key] = value;
    });
    std::mt19937 random(4);
    const auto any = [&random](int limit) {
        return static_cast<int>(random() % static_cast<unsigned>(limit));
    };
    int moves_that_edited = 0;
    for (int drag = 0; drag < 1000; ++drag) {
        Filter *filter = view.filters.at(any(view.filters.size()));
        QPoint position(filter->marker_x, filter->marker_y);
        if (any(3) == 0)
            position = {any(900), any(400)};
        press(view, position);
        for (int step = any(4); step > 0; --step) {
            position += QPoint(any(81) - 40, any(41) - 20);
            rows.clear();
            drag_to(view, position);
            if (!rows.empty()) {
                const Filter *active = view.filters.at(view.active_index);
                const FilterParams params = params_of(active);
                const int index = active->number - 1;
                QCOMPARE(rows.size(), size_t{3});
                QCOMPARE(rows[eq_row_key(index, "freq")].toInt(), static_cast<int>(params.freq));
                QVERIFY(std::isnan(params.q)
                        || rows[eq_row_key(index, "q")].toDouble() == double{params.q});
                QVERIFY(rows[eq_row_key(index, "gain")].toDouble() == double{params.gain});
                ++moves_that_edited;
            }
        }
        release(view, position);
        QCoreApplication::processEvents();
        if (any(20) == 0) { // bands that ran away come back
            view.filters.at(1)->set_params({.freq = 300.0F, .q = 1.0F, .gain = -6.0F});
            view.filters.at(2)->set_params({.freq = 1000.0F, .q = 4.0F, .gain = 9.0F});
            view.update_curves();
        }
    }
    QVERIFY(moves_that_edited > 300);
}

void CurveDragTest::a_drag_computes_one_response_per_move()
{
    CurveWidget view(nullptr,
                     make_filters({{1, EQ_PEQ, {.freq = 300.0F, .q = 1.0F, .gain = -6.0F}},
                                   {2, EQ_PEQ, {.freq = 3000.0F, .q = 1.0F, .gain = 6.0F}}}));
    view.resize(600, 300);
    view.set_has_curve(true);
    view.set_editable(true);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    const QPoint marker(view.filters.at(0)->marker_x, view.filters.at(0)->marker_y);
    press(view, marker);
    const uint64_t before = view.grid->responses_computed;
    const std::vector<QPointF> curve = view.lines.magnitude;
    for (int step = 1; step <= 10; ++step) {
        drag_to(view, marker + QPoint(step, step));
        view.grab();
    }
    QCOMPARE(view.grid->responses_computed - before, uint64_t{10});
    QVERIFY(view.lines.magnitude != curve);
}

void CurveDragTest::the_hint_comes_on_the_third_and_eighth_press()
{
    CurveWidget view(nullptr, {});
    view.resize(300, 200);
    HintProbe hints;
    std::vector<int> counts;
    for (int click = 1; click <= 13; ++click) {
        press(view, {10, 10});
        release(view, {10, 10});
        counts.push_back(hints.count);
    }
    QCOMPARE(counts, (std::vector<int>{0, 0, 1, 1, 1, 1, 1, 2, 2, 2, 2, 2, 3}));
    QCOMPARE(hints.title, QString("Hint"));
    QCOMPARE(hints.text,
             QString("Press the <b>Edit</b> button on the top right<br> if you want to "
                     "make changes."));
}

// The box would stand over the rows that come into sight.
void CurveDragTest::a_press_tells_its_band_before_the_hint()
{
    OneBand view;
    hover(view, marker_of(view, 0));
    HintProbe hints;
    QList<int> hints_before;
    connect(&view, &CurveWidget::on_band_pressed, this,
            [&hints_before, &hints] { hints_before.append(hints.count); });
    for (int click = 0; click < 3; ++click)
        press(view, marker_of(view, 0));
    QCOMPARE(hints_before, QList<int>({0, 0, 0}));
    QCOMPARE(hints.count, 1);
}

void CurveDragTest::leaving_the_view_keeps_the_hover()
{
    OneBand view;
    hover(view, marker_of(view, 0));
    QCOMPARE(view.hover_index, 0);
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(&view, &leave);
    QCOMPARE(view.hover_index, 0);
}

void CurveDragTest::a_release_in_read_only_mode_does_nothing()
{
    OneBand view;
    view.set_editable(true);
    const QPoint marker = marker_of(view, 0);
    press(view, marker);
    drag_to(view, marker + QPoint(9, 9));
    const FilterParams dragged = params_of(view.filters[0]);
    view.set_editable(false);
    QCOMPARE(view.active_index, -1);
    QCOMPARE(drag_state(view.filters[0]), 0);
    drag_to(view, marker + QPoint(50, 50));
    release(view, marker + QPoint(50, 50));
    QVERIFY(same_params(params_of(view.filters[0]), dragged));
}

void CurveDragTest::a_narrowed_band_goes_flat_and_keeps_its_gain()
{
    CurveWidget view(nullptr,
                     make_filters({{1, EQ_PEQ, {.freq = 1000.0F, .q = 0.7F, .gain = 6.0F}}}));
    view.resize(800, 411);
    view.set_has_curve(true);
    view.set_editable(true);
    view.grab();
    auto *peak = dynamic_cast<FilterPEQ *>(view.filters[0]);
    const QPoint marker(peak->marker_x, peak->marker_y);
    press(view, marker);
    release(view, marker);
    view.grab();
    const QPoint stub(view.grid->freq_to_x(peak->low_edge), marker.y() + 20);
    press(view, stub);
    QCOMPARE(peak->drag_state, 4);
    drag_to(view, stub + QPoint(400, 0));
    QVERIFY(std::isinf(peak->q));
    QCOMPARE(peak->gain, 6.0F);
    for (const float ratio : peak->magnitude)
        QVERIFY(std::abs(ratio - 1.0F) < 1e-6F);
    view.grab();
    release(view, stub);
}

void CurveDragTest::an_edge_dragged_to_zero_falls_back_to_the_identity()
{
    CurveWidget view(nullptr,
                     make_filters({{1, EQ_PEQ, {.freq = 1000.0F, .q = 0.7F, .gain = 6.0F}}}));
    view.resize(800, 411);
    view.set_has_curve(true);
    view.set_editable(true);
    view.grab();
    auto *peak = dynamic_cast<FilterPEQ *>(view.filters[0]);
    const QPoint marker(peak->marker_x, peak->marker_y);
    press(view, marker);
    release(view, marker);
    view.grab();
    const QPoint stub(view.grid->freq_to_x(peak->low_edge), marker.y() + 20);
    press(view, stub);
    peak->press_low_edge = view.grid->x_to_freq(stub.x()) - view.grid->x_to_freq(stub.x() - 10);
    drag_to(view, stub - QPoint(10, 0));
    QVERIFY(std::isnan(peak->q));
    QVERIFY(peak->is_identity());
    view.grab();
    drag_to(view, {0, 0}); // below zero: a width again, by the same formula
    QVERIFY(std::isfinite(peak->q));
    view.grab();
}

void CurveDragTest::drags_at_odd_sizes_end_well_data()
{
    QTest::addColumn<QSize>("size");
    for (const QSize size : {QSize(0, 0), QSize(1, 1), QSize(1, 2000), QSize(8000, 2), QSize(2, 2)})
        QTest::addRow("%dx%d", size.width(), size.height()) << size;
}

void CurveDragTest::drags_at_odd_sizes_end_well()
{
    QFETCH(QSize, size);
    CurveWidget view(nullptr,
                     make_filters({{1, EQ_PEQ, {.freq = 1000.0F, .q = 0.7F, .gain = 6.0F}},
                                   {2, EQ_LSHELF, {.freq = 50.0F, .q = 0.0F, .gain = 1e30F}}}));
    view.resize(size);
    view.set_has_curve(true);
    view.set_editable(true);
    view.grab();
    for (Filter *filter : view.filters) {
        const QPoint marker(filter->marker_x, filter->marker_y);
        for (int click = 0; click < 3; ++click) {
            press(view, marker);
            drag_to(view, marker + QPoint(3, 3));
            drag_to(view, {100000, -100000});
            view.grab();
            release(view, marker);
            view.grab();
        }
        view.set_editable(false);
        view.set_editable(true);
    }
    QCOMPARE(view.active_index, -1);
}

QTEST_MAIN(CurveDragTest)
#include "curve_drag_test.moc"
