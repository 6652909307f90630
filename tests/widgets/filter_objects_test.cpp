// The bands as objects: what they take, what they give back, what they stay without a view.
#include "eq/curve_grid.h"
#include "eq/filter.h"
#include "eq/filter_list.h"
#include "support/eq_numbers.h"
#include "support/vectors.h"

#include <QMouseEvent>
#include <QPainter>
#include <QtTest>

#include <cmath>
#include <memory>

namespace {

bool is_same(float left, float right)
{
    return left == right || (std::isnan(left) && std::isnan(right));
}

std::unique_ptr<Filter> new_filter(const QString &type)
{
    if (type == "hpf")
        return std::make_unique<FilterHPF>(1, nullptr);
    if (type.endsWith("shelf"))
        return std::make_unique<FilterShelf>(1, type == "hshelf");
    auto filter = std::make_unique<FilterPEQ>(1, nullptr);
    filter->set_variant(type == "peq2");
    return filter;
}

FilterParams params_of(const Filter &filter)
{
    FilterParams params;
    filter.get_params(params);
    return params;
}

EqBand band(int number, EqBandType type, float gain = 6.0F)
{
    return {.number = number, .type = type, .params = {.freq = 1000.0F, .q = 2.0F, .gain = gain}};
}

// Deletes the filters of a list at the end of its scope.
struct OwnedFilters
{
    QList<Filter *> list = {};
    explicit OwnedFilters(const std::vector<EqBand> &bands)
        : list(make_filters(bands))
    {
    }
    ~OwnedFilters() { qDeleteAll(list); }
    OwnedFilters(const OwnedFilters &) = delete;
    OwnedFilters &operator=(const OwnedFilters &) = delete;
};

} // namespace

class FilterObjectsTest : public QObject
{
    Q_OBJECT

private slots:
    void golden_filters_data() { add_vector_rows("eq_filters"); }
    void golden_filters();
    void without_a_view_the_response_is_empty_and_the_params_stay();
    void a_peak_of_no_gain_keeps_its_edges();
    void a_disabled_filter_is_flat();
    void a_grid_that_is_not_ready_computes_nothing();
    void new_filters_start_idle();
    void of_handles_that_overlap_the_smaller_ones_win();
    void bands_become_objects();
    void lists_are_the_same_by_type_and_exact_params();
    void equal_bands_of_other_numbers_are_others();
    void no_number_is_never_the_same();
    void drawing_without_a_grid_does_nothing();
    void dragging_without_a_grid_does_nothing();
};

void FilterObjectsTest::golden_filters()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    const std::unique_ptr<Filter> filter = new_filter(input["type"].toString());
    filter->set_params({.freq = as_float(input["freq"]),
                        .q = as_float(input["q"]),
                        .gain = as_float(input["gain"])});
    QCOMPARE(filter->type_name(), expect["type_name"].toString());
    QCOMPARE(filter->name, expect["name"].toString());
    const FilterParams params = params_of(*filter);
    QVERIFY(is_same(params.freq, as_float(expect.value("params")[0])));
    QVERIFY(is_same(params.q, as_float(expect.value("params")[1])));
    QVERIFY(is_same(params.gain, as_float(expect.value("params")[2])));
    QVERIFY(filter->magnitude.empty());
    QVERIFY(filter->phase.empty());

    CurveGrid grid;
    grid.rebuild(input["width"].toInt(), 300);
    filter->grid = &grid;
    filter->compute_response();
    for (const QJsonValue &triple : expect["response"].toArray()) {
        const auto i = static_cast<size_t>(triple[0].toInt());
        const double magnitude = triple[1].toDouble();
        QVERIFY(std::abs(filter->magnitude[i] - magnitude) <= 1e-6 * magnitude);
        QVERIFY(std::abs(filter->phase[i] - triple[2].toDouble()) <= 1e-4);
    }
}

void FilterObjectsTest::without_a_view_the_response_is_empty_and_the_params_stay()
{
    FilterPEQ peak(2, nullptr);
    peak.set_params({.freq = 440.0F, .q = 3.0F, .gain = -2.0F});
    QVERIFY(peak.magnitude.empty());
    QVERIFY(peak.phase.empty());
    QVERIFY(same_params(params_of(peak), {.freq = 440.0F, .q = 3.0F, .gain = -2.0F}));
    QVERIFY(!peak.is_identity());
    peak.notify_edited(); // nobody to tell
}

void FilterObjectsTest::a_peak_of_no_gain_keeps_its_edges()
{
    CurveGrid grid;
    grid.rebuild(100, 100);
    FilterPEQ peak(1, &grid);
    peak.set_band(1000.0F, 1.0F, 0.0F);
    QVERIFY(peak.magnitude == std::vector<float>(100, 1.0F));
    QVERIFY(peak.phase == std::vector<float>(100, 0.0F));
    QVERIFY(peak.low_edge < 700.0F && peak.low_edge > 500.0F);
    QVERIFY(peak.high_edge > 1500.0F && peak.high_edge < 2000.0F);
}

void FilterObjectsTest::a_disabled_filter_is_flat()
{
    CurveGrid grid;
    grid.rebuild(100, 100);
    FilterPEQ peak(1, &grid);
    peak.enabled = false;
    peak.set_band(1000.0F, 1.0F, 6.0F);
    QVERIFY(peak.magnitude == std::vector<float>(100, 1.0F));
    QVERIFY(peak.phase == std::vector<float>(100, 0.0F));
}

void FilterObjectsTest::a_grid_that_is_not_ready_computes_nothing()
{
    CurveGrid grid;
    FilterPEQ peak(1, &grid);
    peak.set_band(1000.0F, 1.0F, 6.0F);
    QVERIFY(peak.magnitude.empty());
    QCOMPARE(grid.responses_computed, uint64_t{0});
    grid.rebuild(10, 10);
    peak.compute_response();
    QCOMPARE(grid.responses_computed, uint64_t{1});
    QVERIFY(!peak.magnitude.empty());
    grid.ready = false; // nothing of the view before it stays
    peak.compute_response();
    QVERIFY(peak.magnitude.empty() && peak.phase.empty());
}

void FilterObjectsTest::new_filters_start_idle()
{
    FilterShelf shelf(3, true);
    QCOMPARE(shelf.drag_state, 0);
    QCOMPARE(shelf.label_flags, 0);
    QCOMPARE(shelf.slope, 12.0F);
    QVERIFY(!shelf.grid);
    FilterPEQ peak(3, nullptr);
    QCOMPARE(peak.drag_state, 0);
    QCOMPARE(peak.label_flags, 0);
    QVERIFY(peak.enabled);
    QVERIFY(!peak.widget);
}

// In small views strips and stubs reach beyond the marker where they cross.
void FilterObjectsTest::of_handles_that_overlap_the_smaller_ones_win()
{
    const QRect everywhere(0, 0, 100, 100);
    const auto held_by = [](auto &filter) {
        filter.drag_state = 1;
        QMouseEvent event(QEvent::MouseButtonPress, QPointF(50, 50), Qt::LeftButton, Qt::LeftButton,
                          Qt::NoModifier);
        filter.mouse_press(&event);
        return filter.drag_state;
    };
    FilterPEQ peak(1, nullptr);
    const std::vector<std::pair<QRect FilterPEQ::*, int>> of_peak{{&FilterPEQ::center_rect, 3},
                                                                  {&FilterPEQ::low_rect, 4},
                                                                  {&FilterPEQ::high_rect, 4},
                                                                  {&FilterPEQ::freq_band, 5},
                                                                  {&FilterPEQ::gain_band, 6}};
    for (const auto &[rect, state] : of_peak)
        peak.*rect = everywhere;
    for (const auto &[rect, state] : of_peak) {
        QCOMPARE(held_by(peak), state);
        peak.*rect = QRect();
    }
    QCOMPARE(held_by(peak), 0);
    FilterShelf shelf(1, true);
    const std::vector<std::pair<QRect FilterShelf::*, int>> of_shelf{
        {&FilterShelf::center_rect, 3}, {&FilterShelf::freq_band, 4}, {&FilterShelf::gain_band, 5}};
    for (const auto &[rect, state] : of_shelf)
        shelf.*rect = everywhere;
    for (const auto &[rect, state] : of_shelf) {
        QCOMPARE(held_by(shelf), state);
        shelf.*rect = QRect();
    }
    QCOMPARE(held_by(shelf), 0);
}

void FilterObjectsTest::bands_become_objects()
{
    const OwnedFilters filters(
        {band(1, EQ_LSHELF), band(2, EQ_PEQ), band(4, EQ_PEQ2), band(5, EQ_HSHELF)});
    QStringList names;
    for (const Filter *filter : filters.list)
        names += filter->type_name() + QString::number(filter->number);
    QCOMPARE(names, QStringList({"lshelf1", "peq2", "peq24", "hshelf5"}));
    // The second kind is known before the design is made.
    const Biquad second = design_peak(1000.0F, 2.0F, 6.0F, true);
    QCOMPARE(filters.list[2]->a2, second.a2);
    QCOMPARE(params_of(*filters.list[0]).q, 0.0F);
    QCOMPARE(make_filters({band(1, EQ_NONE)}).size(), 0);
}

void FilterObjectsTest::lists_are_the_same_by_type_and_exact_params()
{
    const OwnedFilters one({band(1, EQ_PEQ), band(2, EQ_LSHELF)});
    const OwnedFilters equal({band(1, EQ_PEQ), band(2, EQ_LSHELF)});
    QVERIFY(same_filters(one.list, equal.list));
    const OwnedFilters shorter({band(1, EQ_PEQ)});
    QVERIFY(!same_filters(one.list, shorter.list));
    QVERIFY(!same_filters(shorter.list, one.list));
    const OwnedFilters other_kind({band(1, EQ_PEQ2), band(2, EQ_LSHELF)});
    QVERIFY(!same_filters(one.list, other_kind.list));
    const OwnedFilters swapped({band(2, EQ_LSHELF), band(1, EQ_PEQ)});
    QVERIFY(!same_filters(one.list, swapped.list));
    const OwnedFilters nearly({band(1, EQ_PEQ, std::nextafter(6.0F, 7.0F)), band(2, EQ_LSHELF)});
    QVERIFY(!same_filters(one.list, nearly.list));
    EqBand other_q = band(2, EQ_LSHELF);
    other_q.params.q = 9.0F; // a shelf has none
    const OwnedFilters unread({band(1, EQ_PEQ), other_q});
    QVERIFY(same_filters(one.list, unread.list));
}

void FilterObjectsTest::equal_bands_of_other_numbers_are_others()
{
    const OwnedFilters one({band(1, EQ_PEQ)});
    const OwnedFilters renumbered({band(3, EQ_PEQ)});
    QVERIFY(!same_filters(one.list, renumbered.list));
}

void FilterObjectsTest::no_number_is_never_the_same()
{
    const OwnedFilters one({band(1, EQ_PEQ, NO_NUMBER)});
    QVERIFY(!same_filters(one.list, one.list));
}

void FilterObjectsTest::drawing_without_a_grid_does_nothing()
{
    QImage image(10, 10, QImage::Format_RGB32);
    image.fill(Qt::black);
    const QImage before = image;
    QPainter painter(&image);
    for (const char *type : {"hpf", "peq", "lshelf"}) {
        const std::unique_ptr<Filter> filter = new_filter(type);
        filter->draw_marker(&painter, true);
        filter->draw_handles(&painter);
        filter->draw_response(&painter);
    }
    painter.end();
    QCOMPARE(image, before);
}

void FilterObjectsTest::dragging_without_a_grid_does_nothing()
{
    QMouseEvent event(QEvent::MouseMove, QPointF(50, 50), Qt::NoButton, Qt::LeftButton,
                      Qt::NoModifier);
    for (const char *type : {"peq", "lshelf"}) {
        const std::unique_ptr<Filter> filter = new_filter(type);
        filter->set_params({.freq = 440.0F, .q = 3.0F, .gain = -2.0F});
        const FilterParams before = params_of(*filter);
        filter->mouse_press(&event);
        filter->mouse_move(&event);
        QVERIFY(same_params(params_of(*filter), before));
    }
}

QTEST_MAIN(FilterObjectsTest)
#include "filter_objects_test.moc"
