// The curve view's state: ownership of filters, what is computed when, odd sizes and settings.
#include "eq/curve_grid.h"
#include "eq/curve_widget.h"
#include "eq/filter.h"
#include "eq/filter_list.h"
#include "support/curve_picture.h"
#include "support/curve_view_mouse.h"

#include <QtTest>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr float INF = std::numeric_limits<float>::infinity();
constexpr float NO_NUMBER = std::numeric_limits<float>::quiet_NaN();

class CountedFilter : public FilterPEQ
{
public:
    explicit CountedFilter(int &counter)
        : FilterPEQ(1, nullptr)
        , living(counter)
    {
        ++living;
    }
    ~CountedFilter() override { --living; }

private:
    int &living;
};

} // namespace

class CurveWidgetTest : public QObject
{
    Q_OBJECT

private slots:
    void filters_are_owned_and_replaced();
    void new_filters_get_the_view_and_its_grid();
    void new_filters_end_hover_and_activity();
    void a_resize_computes_every_response_once();
    void only_the_left_button_drags();
    void a_press_tells_its_band_in_an_edit_and_outside();
    void painting_computes_no_response();
    void an_unchanged_band_list_keeps_the_hover();
    void a_view_without_a_size_draws_nothing();
    void it_has_no_size_hint();
    void the_mouse_is_tracked();
    void a_drag_tells_where_the_mouse_points();
    void odd_settings_are_drawn_data();
    void odd_settings_are_drawn();
    void odd_sizes_are_drawn_data();
    void odd_sizes_are_drawn();
    void other_products_bands_far_outside_stay_in_reach_of_the_painter();
};

void CurveWidgetTest::filters_are_owned_and_replaced()
{
    int living = 0;
    {
        CurveWidget view(nullptr, {new CountedFilter(living), new CountedFilter(living)});
        QCOMPARE(living, 2);
        view.set_filters({new CountedFilter(living)});
        QCOMPARE(living, 1);
        view.set_filters({});
        QCOMPARE(living, 0);
        view.set_filters({new CountedFilter(living)});
    }
    QCOMPARE(living, 0);
}

void CurveWidgetTest::new_filters_get_the_view_and_its_grid()
{
    CurveWidget view(nullptr, make_filters(BANDS));
    for (const Filter *filter : view.filters) {
        QCOMPARE(filter->widget, &view);
        QCOMPARE(filter->grid, view.grid.get());
        QVERIFY(filter->magnitude.empty()); // no size yet
    }
    view.resize(320, 200);
    view.grab();
    for (const Filter *filter : view.filters)
        QCOMPARE(filter->magnitude.size(), size_t{320});
    QCOMPARE(view.lines.magnitude.size(), size_t{320});
    QCOMPARE(view.lines.phase.size(), size_t{320});
}

void CurveWidgetTest::new_filters_end_hover_and_activity()
{
    CurveWidget view(nullptr, make_filters(BANDS));
    view.hover_index = 3;
    view.active_index = 2;
    view.set_filters(make_filters(BANDS));
    QCOMPARE(view.hover_index, -1);
    QCOMPARE(view.active_index, -1);
}

void CurveWidgetTest::a_resize_computes_every_response_once()
{
    CurveWidget view(nullptr, make_filters(BANDS));
    view.resize(400, 200);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    const uint64_t before = view.grid->responses_computed;
    view.resize(500, 220);
    QTRY_COMPARE(view.grid->points, 500);
    QCOMPARE(view.grid->responses_computed - before, uint64_t{5});
    QCOMPARE(view.lines.magnitude.size(), size_t{500});
}

void CurveWidgetTest::only_the_left_button_drags()
{
    CurveWidget view(nullptr, make_filters(BANDS));
    view.set_has_curve(true);
    view.set_editable(true);
    view.resize(400, 200);
    view.show();
    view.grab();
    const QPoint marker = marker_of(view, 2);
    press(view, marker, Qt::RightButton);
    drag_to(view, marker + QPoint(30, 30), Qt::RightButton);
    QCOMPARE(marker_of(view, 2), marker);
    FilterParams params;
    view.filters.at(2)->get_params(params);
    QVERIFY(same_params(params, BANDS[2].params));
    drag_to(view, marker + QPoint(30, 30));
    view.filters.at(2)->get_params(params);
    QVERIFY(!same_params(params, BANDS[2].params));
}

void CurveWidgetTest::a_press_tells_its_band_in_an_edit_and_outside()
{
    CurveWidget view(nullptr, make_filters(BANDS));
    view.set_has_curve(true);
    view.resize(400, 200);
    view.show();
    view.grab();
    QList<int> pressed;
    connect(&view, &CurveWidget::on_band_pressed, this,
            [&pressed](int number) { pressed.append(number); });
    hover(view, marker_of(view, 2));
    press(view, marker_of(view, 2));
    QCOMPARE(pressed, QList<int>({3}));
    view.set_editable(true);
    press(view, marker_of(view, 3));
    QCOMPARE(pressed, QList<int>({3, 4}));
    // Nothing is told of the band that is held while nothing is dragged.
    int pointed = -1;
    connect(&view, &CurveWidget::on_band_pointed, this,
            [&pointed](int number, const QPoint &) { pointed = number; });
    hover(view, marker_of(view, 3));
    QCOMPARE(pointed, 0);
    release(view, marker_of(view, 3));
    view.set_editable(false);
    hover(view, {1, 1});
    press(view, {1, 1});
    QCOMPARE(pressed.size(), 2);
}

void CurveWidgetTest::painting_computes_no_response()
{
    CurveWidget view(nullptr, make_filters(BANDS));
    view.resize(800, 400);
    view.set_has_curve(true);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    const uint64_t before = view.grid->responses_computed;
    for (int i = 0; i < 5; ++i) {
        view.hover_index = i;
        view.repaint();
        view.active_index = i;
        view.repaint();
        view.active_index = -1;
        view.set_has_curve(false);
        view.set_has_curve(true);
        view.repaint();
    }
    QCOMPARE(view.grid->responses_computed, before);
    view.set_filters(make_filters(BANDS));
    QCOMPARE(view.grid->responses_computed - before, uint64_t{5});
}

void CurveWidgetTest::an_unchanged_band_list_keeps_the_hover()
{
    CurveWidget view(nullptr, make_filters(BANDS));
    view.resize(800, 400);
    view.set_has_curve(true);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    hover(view, {view.filters[1]->marker_x, view.filters[1]->marker_y});
    const uint64_t before = view.grid->responses_computed;
    for (int report = 0; report < 100; ++report) {
        const QList<Filter *> filters = make_filters(BANDS);
        QVERIFY(same_filters(filters, view.filters));
        qDeleteAll(filters);
    }
    QCOMPARE(view.hover_index, 1);
    QCOMPARE(view.grid->responses_computed, before);
}

void CurveWidgetTest::a_view_without_a_size_draws_nothing()
{
    CurveWidget view(nullptr, make_filters(BANDS));
    view.set_has_curve(true);
    view.resize(0, 0);
    view.grab();
    view.update_curves();
    hover(view, {0, 0});
    QCOMPARE(view.hover_index, -1);
}

void CurveWidgetTest::it_has_no_size_hint()
{
    // A splitter that is told nothing else gives it the half of its room.
    const CurveWidget view(nullptr, {});
    QVERIFY(!view.sizeHint().isValid());
    QVERIFY(!view.minimumSizeHint().isValid());
}

void CurveWidgetTest::the_mouse_is_tracked()
{
    const CurveWidget view(nullptr, {});
    QVERIFY(view.hasMouseTracking());
    QVERIFY(!view.editable);
    QVERIFY(!view.has_curve);
    QCOMPARE(view.click_count, 0);
}

void CurveWidgetTest::odd_settings_are_drawn_data()
{
    QTest::addColumn<float>("freq");
    QTest::addColumn<float>("q");
    QTest::addColumn<float>("gain");
    const float frequencies[] = {0.0F, -1000.0F, NO_NUMBER, 1e38F, INF, 1000.0F};
    const float gains[] = {1e30F, -1e30F, INF, -INF, NO_NUMBER, 6.0F};
    for (const float freq : frequencies)
        for (const float gain : gains)
            for (const float q : {0.0F, 1e-30F, NO_NUMBER, INF, 1.0F})
                QTest::addRow("%g Hz %g dB q %g", double{freq}, double{gain}, double{q})
                    << freq << q << gain;
}

void CurveWidgetTest::odd_settings_are_drawn()
{
    QFETCH(float, freq);
    QFETCH(float, q);
    QFETCH(float, gain);
    std::vector<EqBand> bands;
    int number = 0;
    for (const EqBandType type : {EQ_LSHELF, EQ_PEQ, EQ_PEQ2, EQ_HSHELF})
        bands.push_back({++number, type, {.freq = freq, .q = q, .gain = gain}});
    QList<Filter *> filters = make_filters(bands);
    auto *high_pass = new FilterHPF(5, nullptr);
    high_pass->set_band(freq, q);
    filters.append(high_pass);
    CurveWidget view(nullptr, filters);
    view.resize(200, 100);
    view.set_has_curve(true);
    view.grab();
    for (int i = 0; i < view.filters.size(); ++i) {
        view.hover_index = i;
        view.grab();
        view.active_index = i;
        view.grab();
        view.active_index = -1;
    }
    for (const std::vector<QPointF> *line : {&view.lines.magnitude, &view.lines.phase})
        for (const QPointF &point : *line)
            QVERIFY(std::abs(point.y()) < 32767.0);
}

void CurveWidgetTest::odd_sizes_are_drawn_data()
{
    QTest::addColumn<QSize>("size");
    for (const QSize size : {QSize(0, 0), QSize(1, 1), QSize(1, 2000), QSize(8000, 2), QSize(2, 1),
                             QSize(0, 50), QSize(50, 0), QSize(63, 7), QSize(64, 64), QSize(65, 9)})
        QTest::addRow("%dx%d", size.width(), size.height()) << size;
}

void CurveWidgetTest::odd_sizes_are_drawn()
{
    QFETCH(QSize, size);
    CurveWidget view(nullptr, make_filters(BANDS));
    view.set_has_curve(true);
    view.resize(size);
    view.grab();
    for (int i = 0; i < view.filters.size(); ++i) {
        view.hover_index = i;
        view.grab();
        view.active_index = i;
        view.grab();
        view.active_index = -1;
    }
    if (!size.isEmpty())
        QCOMPARE(view.lines.magnitude.size(), static_cast<size_t>(size.width()));
}

// The raster painter's own coordinates end at 32767.
void CurveWidgetTest::other_products_bands_far_outside_stay_in_reach_of_the_painter()
{
    std::vector<EqBand> bands;
    for (int number = 1; number <= 5; ++number)
        bands.push_back({number, EQ_PEQ, {.freq = 1000.0F, .q = 20.0F, .gain = 1e4F}});
    CurveWidget view(nullptr, make_filters(bands));
    view.resize(1900, 500);
    view.set_has_curve(true);
    view.grab();
    QCOMPARE(view.lines.magnitude.size(), size_t{1900});
    double furthest = 0;
    for (const QPointF &point : view.lines.magnitude) {
        QVERIFY(std::isfinite(point.y()));
        furthest = std::max(furthest, std::abs(point.y()));
    }
    QVERIFY2(furthest > 10 * view.height() && furthest < 32767,
             qPrintable(QString::number(furthest)));
}

void CurveWidgetTest::a_drag_tells_where_the_mouse_points()
{
    CurveWidget view(nullptr, make_filters(BANDS));
    view.resize(600, 300);
    view.set_has_curve(true);
    view.set_editable(true);
    view.grab(); // places the markers
    const QPoint marker(view.filters.at(2)->marker_x, view.filters.at(2)->marker_y);
    QTest::mousePress(&view, Qt::LeftButton, {}, marker);
    std::vector<std::pair<int, QPoint>> pointed;
    connect(&view, &CurveWidget::on_band_pointed, this,
            [&pointed](int number, const QPoint &place) { pointed.emplace_back(number, place); });
    const QPoint place = marker + QPoint(20, -10);
    drag_to(view, place);
    QCOMPARE(pointed.size(), size_t{1});
    QCOMPARE(pointed.front().first, 3);
    QCOMPARE(pointed.front().second, place);
}

PARTS_TEST_MAIN(CurveWidgetTest)
#include "curve_widget_test.moc"
