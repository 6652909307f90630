// The response of one band, the summed curves and the outlines made of them.
#include "eq/filter_response.h"
#include "support/eq_numbers.h"
#include "support/vectors.h"

#include <QtTest>

#include <cmath>
#include <random>

namespace {

Biquad design(const QJsonObject &band)
{
    const QString type = band["type"].toString();
    const float freq = as_float(band["freq"]);
    const float gain = as_float(band["gain"]);
    if (type == "hpf")
        return design_high_pass(freq, as_float(band["q"]));
    if (type.endsWith("shelf"))
        return design_shelf(freq, 12.0F, gain, type == "hshelf");
    return design_peak(freq, peak_width(freq, as_float(band["q"])).q, gain, type == "peq2");
}

Response response_of(const Biquad &biquad, const CurveGrid &grid)
{
    Response response;
    compute_biquad_response(biquad, grid, response.magnitude, response.phase);
    return response;
}

CurveLines sum_of(const CurveGrid &grid, const std::vector<Response> &responses)
{
    std::vector<ResponseView> views;
    for (const Response &response : responses)
        views.push_back({.magnitude = &response.magnitude, .phase = &response.phase});
    CurveLines lines;
    sum_curves(grid, views, lines);
    return lines;
}

bool is_same(float left, float right)
{
    return left == right || (std::isnan(left) && std::isnan(right));
}

// The number of points at which the quick response is not that of the plain arithmetic.
int count_differences(const Biquad &biquad, const CurveGrid &grid)
{
    const Response quick = response_of(biquad, grid);
    int differences = 0;
    for (size_t i = 0; i < quick.magnitude.size(); ++i) {
        const ResponsePoint plain = plain_response(biquad, grid.cos_w[i], grid.sin_w[i]);
        if (!is_same(plain.magnitude, quick.magnitude[i]) || !is_same(plain.phase, quick.phase[i]))
            ++differences;
    }
    return differences;
}

bool is_near(double actual, const QJsonValue &expected)
{
    return std::abs(actual - expected.toDouble()) <= 0.01;
}

} // namespace

class FilterResponseTest : public QObject
{
    Q_OBJECT

private slots:
    void golden_responses_data() { add_vector_rows("eq_filters"); }
    void golden_responses();
    void golden_curves_data() { add_vector_rows("eq_curves"); }
    void golden_curves();
    void golden_outlines_data() { add_vector_rows("eq_curves"); }
    void golden_outlines();
    void the_quick_response_equals_the_plain_one_to_the_last_float();
    void the_quick_response_equals_the_plain_one_for_odd_coefficients();
    void the_identity_is_exactly_flat();
    void a_nominal_gain_shows_twice_what_the_filter_has();
    void an_empty_sum_is_a_straight_line_in_the_middle();
    void lists_of_another_length_take_no_part();
    void an_area_below_the_view_closes_at_its_first_row();
    void broken_magnitudes_stay_in_reach_of_the_painter();
};

void FilterResponseTest::golden_responses()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    CurveGrid grid;
    grid.rebuild(input["width"].toInt(), 400);
    const Biquad biquad = design(input);
    const Response response = response_of(biquad, grid);
    QCOMPARE(response.magnitude.size(), static_cast<size_t>(grid.points));
    QCOMPARE(response.phase.size(), static_cast<size_t>(grid.points));
    for (const QJsonValue &triple : expect["response"].toArray()) {
        const auto i = static_cast<size_t>(triple[0].toInt());
        const double magnitude = triple[1].toDouble();
        QVERIFY(std::abs(response.magnitude[i] - magnitude) <= 1e-6 * magnitude);
        QVERIFY(std::abs(response.phase[i] - triple[2].toDouble()) <= 1e-4);
    }
    bool is_flat = true;
    for (size_t i = 0; i < response.magnitude.size(); ++i)
        is_flat = is_flat && std::abs(response.magnitude[i] - 1.0F) <= 1e-6F
            && std::abs(response.phase[i]) <= 1e-4F;
    QCOMPARE(is_flat, expect["flat"].toBool());
}

void FilterResponseTest::golden_curves()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    CurveGrid grid;
    grid.rebuild(input["width"].toInt(), input["height"].toInt());
    std::vector<Response> responses;
    for (const QJsonValue &band : input["filters"].toArray())
        responses.push_back(response_of(design(band.toObject()), grid));
    const CurveLines lines = sum_of(grid, responses);
    const QJsonArray columns = expect["columns"].toArray();
    for (int i = 0; i < columns.size(); ++i) {
        const auto column = static_cast<size_t>(columns[i].toInt());
        QCOMPARE(lines.magnitude[column].x(), static_cast<double>(column));
        QVERIFY(is_near(lines.magnitude[column].y(), expect.value("magnitude_y")[i]));
        QVERIFY(is_near(lines.phase[column].y(), expect.value("phase_y")[i]));
    }
}

void FilterResponseTest::golden_outlines()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    const QJsonArray bands = input["filters"].toArray();
    if (bands.isEmpty())
        return;
    CurveGrid grid;
    grid.rebuild(input["width"].toInt(), input["height"].toInt());
    const Response response = response_of(design(bands.first().toObject()), grid);
    const std::vector<QPointF> outline = response_outline(grid, response.magnitude);
    const QJsonArray columns = expect["columns"].toArray();
    for (int i = 0; i < columns.size(); ++i)
        QVERIFY(is_near(outline[static_cast<size_t>(columns[i].toInt())].y(),
                        expect.value("single")[i]));
    const std::vector<QPointF> closing = response_closing(grid, outline);
    QCOMPARE(closing.size(), size_t{3});
    for (int i = 0; i < 3; ++i) {
        QVERIFY(is_near(closing[static_cast<size_t>(i)].x(), expect.value("close")[i][0]));
        QVERIFY(is_near(closing[static_cast<size_t>(i)].y(), expect.value("close")[i][1]));
    }
}

void FilterResponseTest::the_quick_response_equals_the_plain_one_to_the_last_float()
{
    std::mt19937 random(20);
    std::uniform_real_distribution<float> log_freq(std::log(16.0F), std::log(25000.0F));
    std::uniform_real_distribution<float> any_q(0.3F, 20.0F);
    std::uniform_real_distribution<float> any_gain(-20.0F, 20.0F);
    CurveGrid grid;
    int differences = 0;
    for (int round = 0; round < 400; ++round) {
        grid.rebuild(400 + round * 4, 500);
        const float freq = std::exp(log_freq(random));
        const float q = any_q(random);
        const float gain = any_gain(random);
        for (const Biquad &biquad :
             {design_peak(freq, q, gain, false), design_peak(freq, q, gain, true),
              design_shelf(freq, 12.0F, gain, false), design_shelf(freq, 12.0F, gain, true),
              design_high_pass(freq, q)})
            differences += count_differences(biquad, grid);
    }
    QCOMPARE(differences, 0);
}

void FilterResponseTest::the_quick_response_equals_the_plain_one_for_odd_coefficients()
{
    const float odd[]
        = {0.0F, -1.0F, 1e-30F, 1e30F, -1e30F, 1e38F, INF, -INF, 400.0F, 5e4F, NO_NUMBER, 1e-6F};
    CurveGrid grid;
    grid.rebuild(97, 50);
    for (const float freq : odd)
        for (const float q : odd)
            for (const float gain : odd) {
                QCOMPARE(count_differences(design_high_pass(freq, q), grid), 0);
                for (const bool flag : {false, true}) {
                    QCOMPARE(count_differences(design_peak(freq, q, gain, flag), grid), 0);
                    QCOMPARE(count_differences(design_shelf(freq, 12.0F, gain, flag), grid), 0);
                }
            }
}

void FilterResponseTest::the_identity_is_exactly_flat()
{
    CurveGrid grid;
    grid.rebuild(500, 100);
    const Response response = response_of(Biquad(), grid);
    QVERIFY(response.magnitude == std::vector<float>(500, 1.0F));
    QVERIFY(response.phase == std::vector<float>(500, 0.0F));
    QCOMPARE(count_differences(Biquad(), grid), 0);
}

void FilterResponseTest::a_nominal_gain_shows_twice_what_the_filter_has()
{
    CurveGrid grid;
    grid.rebuild(1000, 400);
    for (const bool variant : {false, true}) {
        const std::vector<Response> responses{
            response_of(design_peak(1000.0F, 1.0F, 6.0F, variant), grid)};
        const auto peak = static_cast<size_t>(grid.freq_to_x(1000.0F));
        QVERIFY(std::abs(responses[0].magnitude[peak] - std::pow(10.0, 6.0 / 40.0)) < 1e-3);
        QVERIFY(std::abs(sum_of(grid, responses).magnitude[peak].y() - (200.0 - 6.0 * 10.0)) < 0.1);
    }
}

void FilterResponseTest::an_empty_sum_is_a_straight_line_in_the_middle()
{
    CurveGrid grid;
    grid.rebuild(300, 101);
    const CurveLines lines = sum_of(grid, {});
    QCOMPARE(lines.magnitude.size(), size_t{300});
    for (const QPointF &point : lines.magnitude)
        QCOMPARE(point.y(), 50.0);
    for (const QPointF &point : lines.phase)
        QCOMPARE(point.y(), 75.0); // 0 degrees at three quarters of the height
}

void FilterResponseTest::lists_of_another_length_take_no_part()
{
    CurveGrid grid;
    grid.rebuild(100, 100);
    const CurveLines lines = sum_of(grid, {Response(), Response{.magnitude = {2.0F}, .phase = {}}});
    QCOMPARE(lines.magnitude.size(), size_t{100});
    QCOMPARE(lines.magnitude[0].y(), 50.0);
}

void FilterResponseTest::an_area_below_the_view_closes_at_its_first_row()
{
    CurveGrid grid;
    grid.rebuild(10, 100);
    const std::vector<QPointF> inside = response_outline(grid, std::vector<float>(10, 0.5F));
    QVERIFY(response_closing(grid, inside)[2] == QPointF(0.0, 50.0));
    const std::vector<QPointF> below = response_outline(grid, std::vector<float>(10, 0.1F));
    QVERIFY(below[0].y() > 100.0);
    QVERIFY(response_closing(grid, below)[2] == QPointF(10.0, below[0].y()));
    const std::vector<QPointF> on_the_edge(10, QPointF(0.0, 100.0));
    QVERIFY(response_closing(grid, on_the_edge)[2] == QPointF(10.0, 100.0));
}

void FilterResponseTest::broken_magnitudes_stay_in_reach_of_the_painter()
{
    CurveGrid grid;
    grid.rebuild(4, 100);
    const std::vector<float> broken{0.0F, INF, NO_NUMBER, 1.0F};
    const std::vector<QPointF> outline = response_outline(grid, broken);
    const CurveLines lines
        = sum_of(grid, {Response{.magnitude = broken, .phase = {0.0F, INF, NO_NUMBER, -1e38F}}});
    for (const std::vector<QPointF> *line : {&outline, &lines.magnitude, &lines.phase})
        for (const QPointF &point : *line)
            QVERIFY(std::abs(point.y()) <= 32000.0);
    QCOMPARE(outline[2].y(), 50.0); // no number is drawn flat
    QVERIFY(outline[0].y() > 100.0);
    QVERIFY(outline[1].y() < 0.0);
}

QTEST_GUILESS_MAIN(FilterResponseTest)
#include "filter_response_test.moc"
