// What is drawn for a device: no two are quite the same, and each is believable.
#include "model/json_path.h"
#include "model/meta.h"
#include "simulator/channel_levels.h"
#include "simulator/simulated_device.h"
#include "support/test_parts.h"

#include <QtTest>

#include <cstdlib>
#include <map>
#include <set>

using namespace simulator;

namespace {

// What so many loudspeakers say, and how many of them.
std::map<double, int> values_of(const std::vector<std::string> &path, int devices)
{
    std::map<double, int> found;
    for (int seed = 0; seed < devices; ++seed) {
        const SimulatedDevice device(0, {.product_id = 6}, static_cast<uint64_t>(seed));
        ++found[json_get_path(device.state, path).toDouble(-99)];
    }
    return found;
}

} // namespace

class StateDrawsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { build_catalogue(); }

    void the_gain_of_a_stream_is_mostly_0_and_else_3_db_less()
    {
        const std::map<double, int> gains = values_of({"stream", "gain_db"}, 300);
        QCOMPARE(gains.size(), size_t{2});
        QVERIFY2(gains.at(0) > 210 && gains.at(0) < 270, qPrintable(QString::number(gains.at(0))));
        QCOMPARE(gains.at(-3), 300 - gains.at(0));
    }

    void the_gain_of_a_band_is_any_half_db_up_to_6()
    {
        std::set<double> gains;
        for (const char *band : {"eq0", "eq1", "eq2", "eq3"})
            for (const auto &[gain, count] : values_of({"dsp", band, "gain"}, 300))
                gains.insert(gain);
        std::set<double> expected;
        for (int half = -12; half <= 12; ++half)
            expected.insert(half / 2.0);
        QCOMPARE(gains, expected);
    }

    // 0 to 8 where nothing plays, 34 to 56 where something does.
    void one_channel_of_eight_is_quiet()
    {
        RandomSource random(1);
        const ChannelLevels levels(4000, {}, random);
        std::set<int> quiet;
        std::set<int> loud;
        int quiet_channels = 0;
        for (const int peak : levels.peaks) {
            const bool is_quiet = peak < 20;
            (is_quiet ? quiet : loud).insert(peak);
            quiet_channels += is_quiet ? 1 : 0;
        }
        QCOMPARE(quiet.size(), size_t{9});
        QCOMPARE(*quiet.rbegin(), 8);
        QCOMPARE(loud.size(), size_t{23});
        QCOMPARE(*loud.begin(), 34);
        QCOMPARE(*loud.rbegin(), 56);
        QVERIFY2(quiet_channels > 400 && quiet_channels < 560,
                 qPrintable(QString::number(quiet_channels))); // 12 of 100
    }

    void levels_begin_where_they_are_wanted_and_without_overdrive()
    {
        RandomSource random(1);
        const ChannelLevels levels(4, {60, 5, 70}, random);
        QCOMPARE(levels.peaks, (std::vector<int>{60, 5, 70, 70}));
        QCOMPARE(levels.overdrive, (std::vector<int>{0, 0, 0, 0}));
    }

    void a_peak_drifts_back_and_jumps_with_the_beat_data()
    {
        QTest::addColumn<int>("mean");
        QTest::addColumn<bool>("has_beat");
        QTest::newRow("quiet") << 20 << false;
        QTest::newRow("audible") << 21 << true;
        QTest::newRow("usual") << 40 << true;
    }

    // Each step takes a third of the way back to the mean, up to 5 more or less, and with the beat
    // 12 more.
    void a_peak_drifts_back_and_jumps_with_the_beat()
    {
        QFETCH(int, mean);
        QFETCH(bool, has_beat);
        RandomSource random(2);
        ChannelLevels levels(1, {mean}, random);
        std::map<int, int> moves;
        int steps = 0;
        int beats = 0;
        for (int i = 0; i < 20'000; ++i) {
            const int before = levels.peaks[0];
            levels.step(random);
            const int now = levels.peaks[0];
            if (now == 0 || now == 70)
                continue; // the end of the scale
            const int move = now - before - (mean - before) / 3;
            ++moves[move];
            ++steps;
            beats += move > 5 ? 1 : 0;
        }
        QVERIFY(steps > 19'000);
        QCOMPARE(moves.begin()->first, -5);
        QCOMPARE(moves.rbegin()->first, has_beat ? 17 : 5);
        QCOMPARE(moves.count(6), size_t{0});
        QCOMPARE(moves.size(), size_t{has_beat ? 22U : 11U});
        const int expected = has_beat ? steps * 6 / 100 : 0;
        QVERIFY2(std::abs(beats - expected) <= steps / 100, qPrintable(QString::number(beats)));
    }

    void the_scale_ends_at_0_and_at_70()
    {
        RandomSource random(3);
        ChannelLevels levels(2, {0, 70}, random);
        std::set<int> low;
        std::set<int> high;
        int overdriven = 0;
        for (int i = 0; i < 5000; ++i) {
            levels.step(random);
            low.insert(levels.peaks[0]);
            high.insert(levels.peaks[1]);
            QCOMPARE(levels.overdrive[0], 0);
            overdriven += levels.overdrive[1];
        }
        QCOMPARE(*low.begin(), 0);
        QCOMPARE(*high.rbegin(), 70);
        QVERIFY2(overdriven > 1000 && overdriven < 4000, qPrintable(QString::number(overdriven)));
    }
};

TEST_PART(StateDrawsTest)
#include "simulator_state_test_draws.moc"
