// What the tool tip of a band says, from rows that the test makes.
#include "eq/band_tip.h"

#include <QtTest>

#include <map>

namespace {

Property row_of(const char *label, PropertyKind kind, const QVariant &value, const char *unit)
{
    Property row{.value = value, .uniform = true};
    row.desc.label = label;
    row.desc.kind = kind;
    row.desc.unit = unit;
    row.desc.decimals = kind == PROP_FLOAT ? 2 : 0;
    return row;
}

} // namespace

class BandTipTest : public QObject
{
    Q_OBJECT

    std::map<std::string, Property> rows;

    QString tip_of(int number) const
    {
        return band_tip(number, [this](const std::string &key) -> const Property * {
            const auto found = rows.find(key);
            return found == rows.end() ? nullptr : &found->second;
        });
    }

private slots:
    void init()
    {
        rows.clear();
        rows["dsp/eq0/gain"] = row_of("Gain", PROP_FLOAT, 1.5, "dB"); // of another band
        rows["dsp/eq1/q"] = row_of("Q", PROP_FLOAT, 0.75, "");
        rows["dsp/eq1/freq"] = row_of("Frequency", PROP_INT, 440, "Hz");
        rows["dsp/eq1/gain"] = row_of("Gain", PROP_FLOAT, -3.5, "dB");
    }

    void it_tells_three_numbers_in_the_rows_own_texts()
    {
        QCOMPARE(tip_of(2), QString("Frequency: 440 Hz\nGain: -3.50 dB\nQ: 0.75"));
    }

    void rows_that_are_missing_are_left_out()
    {
        rows.erase("dsp/eq1/gain");
        QCOMPARE(tip_of(2), QString("Frequency: 440 Hz\nQ: 0.75"));
        QCOMPARE(tip_of(1), QString("Gain: 1.50 dB"));
        QCOMPARE(tip_of(3), QString());
    }

    // A band of which the devices say several things is not drawn, but may still be under the
    // pointer.
    void what_the_devices_disagree_on_is_told_as_the_row_tells_it()
    {
        rows["dsp/eq1/gain"].uniform = false;
        rows["dsp/eq1/gain"].value = QVariant();
        QCOMPARE(tip_of(2), QString("Frequency: 440 Hz\nGain: ...\nQ: 0.75"));
    }
};

QTEST_GUILESS_MAIN(BandTipTest)
#include "band_tip_test.moc"
