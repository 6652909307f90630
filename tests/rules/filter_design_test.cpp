// The filter designs: coefficients against golden cases, and what they make of odd settings.
#include "eq/filter_design.h"
#include "support/eq_numbers.h"
#include "support/vectors.h"

#include <QtTest>

#include <cmath>

namespace {

Biquad design(const QString &type, float freq, float q, float gain)
{
    if (type == "hpf")
        return design_high_pass(freq, q);
    if (type.endsWith("shelf"))
        return design_shelf(freq, 12.0F, gain, type == "hshelf");
    return design_peak(freq, q, gain, type == "peq2");
}

// Within 1e-12 absolute plus 1e-9 relative.
bool is_close(double actual, const QJsonValue &expected)
{
    const double wanted = expected.toDouble();
    return std::abs(actual - wanted) <= 1e-12 + 1e-9 * std::abs(wanted);
}

bool is_close_edge(float actual, const QJsonValue &expected)
{
    const float wanted = as_float(expected);
    if (std::isnan(wanted))
        return std::isnan(actual);
    return actual == wanted || std::abs(actual - wanted) <= 1e-6F * std::abs(wanted);
}

} // namespace

class FilterDesignTest : public QObject
{
    Q_OBJECT

private slots:
    void golden_coefficients_data() { add_vector_rows("eq_filters"); }
    void golden_coefficients();
    void golden_widths_data() { add_vector_rows("eq_filters"); }
    void golden_widths();
    void the_low_shelf_rounds_two_terms_and_the_high_shelf_none();
    void no_gain_is_the_identity();
    void a_high_pass_without_q_is_the_identity();
    void no_number_is_the_identity();
    void a_small_q_becomes_a_hundredth();
    void an_infinite_q_has_no_width();
    void params_compare_exactly_and_no_number_differs_from_itself();
};

void FilterDesignTest::golden_coefficients()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    const QString type = input["type"].toString();
    float q = as_float(input["q"]);
    if (type.startsWith("peq"))
        q = peak_width(as_float(input["freq"]), q).q;
    const Biquad biquad = design(type, as_float(input["freq"]), q, as_float(input["gain"]));
    const QJsonObject wanted = expect["coefficients"].toObject();
    QCOMPARE(biquad.a0, 1.0);
    QVERIFY(is_close(biquad.a1, wanted["a1"]));
    QVERIFY(is_close(biquad.a2, wanted["a2"]));
    QVERIFY(is_close(biquad.b0, wanted["b0"]));
    QVERIFY(is_close(biquad.b1, wanted["b1"]));
    QVERIFY(is_close(biquad.b2, wanted["b2"]));
}

void FilterDesignTest::golden_widths()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    if (!expect.contains("bandwidth"))
        return;
    const PeakWidth width = peak_width(as_float(input["freq"]), as_float(input["q"]));
    QVERIFY(is_close_edge(width.bandwidth, expect["bandwidth"]));
    QVERIFY(is_close_edge(width.low_edge, expect["low_edge"]));
    QVERIFY(is_close_edge(width.high_edge, expect["high_edge"]));
    QVERIFY(is_close_edge(width.q, expect.value("params")[1]));
}

void FilterDesignTest::the_low_shelf_rounds_two_terms_and_the_high_shelf_none()
{
    // The sums of a shelf's coefficients at 0 Hz give its gain there: A, and 1 for the other one.
    const auto gain_at_zero = [](const Biquad &biquad) {
        return (biquad.b0 + biquad.b1 + biquad.b2) / (1.0 + biquad.a1 + biquad.a2);
    };
    const double A = std::pow(10.0, 6.0 * 0.25 / 20.0);
    const Biquad low = design_shelf(16.0F, 12.0F, 6.0F, false);
    QVERIFY(std::abs(gain_at_zero(low) - A * A) > 1e-3);
    const Biquad high = design_shelf(16.0F, 12.0F, 6.0F, true);
    QVERIFY(std::abs(gain_at_zero(high) - 1.0) < 1e-6);
}

void FilterDesignTest::no_gain_is_the_identity()
{
    for (const char *type : {"peq", "peq2", "lshelf", "hshelf"})
        for (const float gain : {0.0F, -0.0F})
            QVERIFY(design(type, 500.0F, 2.0F, gain).is_identity());
    QVERIFY(!design_peak(500.0F, 2.0F, 1e-3F, false).is_identity());
}

void FilterDesignTest::a_high_pass_without_q_is_the_identity()
{
    QVERIFY(design_high_pass(100.0F, 0.0F).is_identity());
    QVERIFY(!design_high_pass(100.0F, 1e-30F).is_identity());
}

void FilterDesignTest::no_number_is_the_identity()
{
    for (const char *type : {"hpf", "peq", "peq2", "lshelf", "hshelf"})
        QVERIFY2(design(type, NO_NUMBER, 1.0F, 6.0F).is_identity(), type);
    for (const char *type : {"peq", "peq2", "lshelf", "hshelf"})
        QVERIFY2(design(type, 1000.0F, 1.0F, NO_NUMBER).is_identity(), type);
    for (const char *type : {"hpf", "peq"})
        QVERIFY2(design(type, 1000.0F, NO_NUMBER, 6.0F).is_identity(), type);
    QVERIFY(design_peak(INF, 1.0F, 6.0F, false).is_identity());
}

void FilterDesignTest::a_small_q_becomes_a_hundredth()
{
    for (const float q : {0.0F, -3.0F, 1e-30F, 0.01F, -INF}) {
        const PeakWidth width = peak_width(1000.0F, q);
        QVERIFY(width.q == 0.01F);
        QVERIFY(width.bandwidth == 13.288F);
    }
    const PeakWidth above = peak_width(1000.0F, std::nextafter(0.01F, 1.0F));
    QVERIFY(above.q > 0.01F);
}

void FilterDesignTest::an_infinite_q_has_no_width()
{
    const PeakWidth width = peak_width(1234.0F, INF);
    QCOMPARE(width.bandwidth, 0.0F);
    QCOMPARE(width.low_edge, 1234.0F);
    QCOMPARE(width.high_edge, 1234.0F);
}

void FilterDesignTest::params_compare_exactly_and_no_number_differs_from_itself()
{
    const FilterParams params{.freq = 1000.0F, .q = 0.7F, .gain = 3.0F};
    QVERIFY(same_params(params, params));
    FilterParams other = params;
    other.q = std::nextafter(other.q, 1.0F);
    QVERIFY(!same_params(params, other));
    FilterParams broken = params;
    broken.gain = NO_NUMBER;
    QVERIFY(!same_params(broken, broken));
}

QTEST_GUILESS_MAIN(FilterDesignTest)
#include "filter_design_test.moc"
