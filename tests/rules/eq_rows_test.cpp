// Which bands the panel's rows describe, and what a drag writes back.
#include "eq/eq_rows.h"
#include "model/error_value.h"

#include <QtTest>

#include <cmath>
#include <limits>
#include <map>

namespace {

using Rows = std::map<std::string, QVariant>;

void add_band(Rows &rows, int index, const QVariant &type, double freq = 1000.0, double q = 1.0,
              double gain = 3.0, bool is_enabled = true)
{
    rows[eq_row_key(index, "type")] = type;
    rows[eq_row_key(index, "freq")] = freq;
    rows[eq_row_key(index, "q")] = q;
    rows[eq_row_key(index, "gain")] = gain;
    rows[eq_row_key(index, "en")] = is_enabled;
}

Rows enabled_rows()
{
    return {{EQ_ENABLE_KEY, true}};
}

std::vector<EqBand> read(const Rows &rows)
{
    return read_eq_bands([&rows](const std::string &key) -> std::optional<QVariant> {
        const auto found = rows.find(key);
        return found == rows.end() ? std::nullopt : std::optional(found->second);
    });
}

std::vector<int> numbers(const std::vector<EqBand> &bands)
{
    std::vector<int> result;
    for (const EqBand &band : bands)
        result.push_back(band.number);
    return result;
}

using Numbers = std::vector<int>;

} // namespace

class EqRowsTest : public QObject
{
    Q_OBJECT

private slots:
    void keys_count_from_zero_and_numbers_from_one();
    void types_name_the_bands();
    void types_out_of_range_are_no_band_and_the_scan_goes_on_data();
    void types_out_of_range_are_no_band_and_the_scan_goes_on();
    void the_switch_off_leaves_no_band();
    void a_disabled_band_keeps_its_number_free();
    void a_mixed_row_drops_its_band_alone();
    void a_refused_input_drops_its_band_alone();
    void a_missing_row_ends_the_scan();
    void an_unreadable_row_before_a_missing_one_goes_on();
    void q_is_limited_for_the_model_only();
    void odd_numbers_pass_through();
    void edits_come_in_order_and_unrounded();
    void frequencies_out_of_range_are_brought_into_it();
};

void EqRowsTest::keys_count_from_zero_and_numbers_from_one()
{
    QCOMPARE(eq_row_key(4, "gain"), std::string("dsp/eq4/gain"));
    Rows rows = enabled_rows();
    for (int index = 0; index < 5; ++index)
        add_band(rows, index, EQ_PEQ, 100.0 * (index + 1), 0.7, index - 2.0);
    const std::vector<EqBand> bands = read(rows);
    QCOMPARE(numbers(bands), (Numbers{1, 2, 3, 4, 5}));
    QVERIFY(bands[2].params.freq == 300.0F);
    QVERIFY(bands[2].params.q == 0.7F);
    QVERIFY(bands[4].params.gain == 2.0F);
}

void EqRowsTest::types_name_the_bands()
{
    Rows rows = enabled_rows();
    for (int index = 0; index < 5; ++index)
        add_band(rows, index, index);
    const std::vector<EqBand> bands = read(rows);
    QCOMPARE(numbers(bands), (Numbers{2, 3, 4, 5})); // type 0 is no band, and the scan goes on
    QCOMPARE(bands[0].type, EQ_LSHELF);
    QCOMPARE(bands[1].type, EQ_PEQ);
    QCOMPARE(bands[2].type, EQ_PEQ2);
    QCOMPARE(bands[3].type, EQ_HSHELF);
}

void EqRowsTest::types_out_of_range_are_no_band_and_the_scan_goes_on_data()
{
    QTest::addColumn<QVariant>("type");
    QTest::newRow("-1") << QVariant(-1);
    QTest::newRow("5") << QVariant(5);
    QTest::newRow("largest int") << QVariant(std::numeric_limits<int>::max());
    QTest::newRow("1e30") << QVariant(1e30);
    QTest::newRow("-1e300") << QVariant(-1e300);
    QTest::newRow("infinite") << QVariant(std::numeric_limits<double>::infinity());
    QTest::newRow("no number") << QVariant(std::numeric_limits<double>::quiet_NaN());
    QTest::newRow("64 bits") << QVariant(Q_INT64_C(4294967298));
    QTest::newRow("text") << QVariant("PEQ");
    QTest::newRow("null") << QVariant::fromValue(nullptr);
}

void EqRowsTest::types_out_of_range_are_no_band_and_the_scan_goes_on()
{
    QFETCH(QVariant, type);
    Rows rows = enabled_rows();
    add_band(rows, 0, type);
    add_band(rows, 1, EQ_PEQ);
    QCOMPARE(numbers(read(rows)), Numbers{2});
}

void EqRowsTest::the_switch_off_leaves_no_band()
{
    Rows rows = enabled_rows();
    add_band(rows, 0, EQ_PEQ);
    QCOMPARE(read(rows).size(), size_t{1});
    rows[EQ_ENABLE_KEY] = false;
    QVERIFY(read(rows).empty());
    rows[EQ_ENABLE_KEY] = QVariant(); // devices that disagree
    QVERIFY(read(rows).empty());
    rows.erase(EQ_ENABLE_KEY);
    QVERIFY(read(rows).empty());
}

void EqRowsTest::a_disabled_band_keeps_its_number_free()
{
    Rows rows = enabled_rows();
    add_band(rows, 0, EQ_PEQ);
    add_band(rows, 1, EQ_PEQ, 200.0, 1.0, 3.0, false);
    add_band(rows, 2, EQ_PEQ);
    QCOMPARE(numbers(read(rows)), (Numbers{1, 3}));
}

void EqRowsTest::a_mixed_row_drops_its_band_alone()
{
    for (const char *name : {"type", "freq", "q", "gain", "en"}) {
        Rows rows = enabled_rows();
        add_band(rows, 0, EQ_PEQ);
        add_band(rows, 1, EQ_HSHELF);
        rows[eq_row_key(0, name)] = QVariant();
        QCOMPARE(numbers(read(rows)), Numbers{2});
    }
}

void EqRowsTest::a_refused_input_drops_its_band_alone()
{
    Rows rows = enabled_rows();
    add_band(rows, 0, EQ_PEQ);
    add_band(rows, 1, EQ_PEQ);
    rows[eq_row_key(0, "freq")] = QVariant::fromValue(ErrorValue{.reason = "Broken"});
    QCOMPARE(numbers(read(rows)), Numbers{2});
}

void EqRowsTest::a_missing_row_ends_the_scan()
{
    for (const char *name : {"type", "freq", "q", "gain", "en"}) {
        Rows rows = enabled_rows();
        for (int index = 0; index < 3; ++index)
            add_band(rows, index, EQ_PEQ);
        rows.erase(eq_row_key(1, name));
        QCOMPARE(numbers(read(rows)), Numbers{1});
    }
}

void EqRowsTest::an_unreadable_row_before_a_missing_one_goes_on()
{
    Rows rows = enabled_rows();
    add_band(rows, 0, QVariant());
    rows.erase(eq_row_key(0, "en"));
    add_band(rows, 1, EQ_PEQ);
    QCOMPARE(numbers(read(rows)), Numbers{2});
}

void EqRowsTest::q_is_limited_for_the_model_only()
{
    const std::map<double, float> limited{{25.0, 20.0F}, {20.0, 20.0F}, {0.1, 0.3F},
                                          {0.3, 0.3F},   {0.31, 0.31F}, {-1e30, 0.3F}};
    for (const auto &[q, expected] : limited) {
        Rows rows = enabled_rows();
        add_band(rows, 0, EQ_PEQ, 1000.0, q);
        QVERIFY(read(rows)[0].params.q == expected);
    }
}

void EqRowsTest::odd_numbers_pass_through()
{
    Rows rows = enabled_rows();
    add_band(rows, 0, EQ_PEQ, -1e38, std::nan(""), 1e300);
    const std::vector<EqBand> bands = read(rows);
    QVERIFY(bands[0].params.freq == -1e38F);
    QVERIFY(std::isnan(bands[0].params.q));
    QVERIFY(std::isinf(bands[0].params.gain));
}

void EqRowsTest::edits_come_in_order_and_unrounded()
{
    const auto edits = eq_row_edits(3, {.freq = 1234.9F, .q = 0.7F, .gain = -2.1F});
    QCOMPARE(edits.size(), size_t{3});
    QCOMPARE(edits[0].first, std::string("dsp/eq2/freq"));
    QCOMPARE(edits[1].first, std::string("dsp/eq2/q"));
    QCOMPARE(edits[2].first, std::string("dsp/eq2/gain"));
    QCOMPARE(edits[0].second.userType(), int{QMetaType::Int});
    QCOMPARE(edits[0].second.toInt(), 1234);
    QCOMPARE(edits[1].second.userType(), int{QMetaType::Double});
    QVERIFY(edits[1].second.toDouble() == 0.699999988079071044921875); // the float's own digits
    QVERIFY(edits[2].second.toDouble() == static_cast<double>(-2.1F));
}

void EqRowsTest::frequencies_out_of_range_are_brought_into_it()
{
    const auto freq_of
        = [](float freq) { return eq_row_edits(1, {.freq = freq})[0].second.toInt(); };
    QCOMPARE(freq_of(-0.9F), 0);
    QCOMPARE(freq_of(-20.7F), -20);
    QCOMPARE(freq_of(1e38F), std::numeric_limits<int>::max());
    QCOMPARE(freq_of(-std::numeric_limits<float>::infinity()), -std::numeric_limits<int>::max());
    QCOMPARE(freq_of(std::numeric_limits<float>::quiet_NaN()), 0);
}

QTEST_GUILESS_MAIN(EqRowsTest)
#include "eq_rows_test.moc"
