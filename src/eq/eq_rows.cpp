// Reads the bands of the user equaliser from the panel's rows, and says what a drag writes back.
#include "eq/eq_rows.h"

#include "model/error_value.h"
#include "support/text_format.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace {

// The model's limits. KEPT: the lower one lies above the row's own minimum.
constexpr float MODEL_Q_MIN = 0.3F;
constexpr float MODEL_Q_MAX = 20.0F;

enum class Reading
{
    COMPLETE,
    UNREADABLE,
    NO_ROW
};

struct BandValues
{
    Reading reading = Reading::COMPLETE;
    QVariant type = {};
    QVariant freq = {};
    QVariant q = {};
    QVariant gain = {};
    QVariant en = {};
};

// Stops at the first row that is missing or holds nothing readable: only a missing one that comes
// first ends the scan.
BandValues read_band_values(const RowValues &values, int index)
{
    BandValues band;
    const std::array<std::pair<const char *, QVariant *>, 5> parts{{{"type", &band.type},
                                                                    {"freq", &band.freq},
                                                                    {"q", &band.q},
                                                                    {"gain", &band.gain},
                                                                    {"en", &band.en}}};
    for (const auto &[name, part] : parts) {
        const std::optional<QVariant> value = values(eq_row_key(index, name));
        if (!value) {
            band.reading = Reading::NO_ROW;
            return band;
        }
        if (!value->isValid() || value->canConvert<ErrorValue>()) {
            band.reading = Reading::UNREADABLE;
            return band;
        }
        *part = *value;
    }
    return band;
}

EqBandType band_type(const QVariant &value)
{
    // A double out of an int's range has no defined conversion.
    if (!(std::abs(value.toDouble()) <= std::numeric_limits<int>::max()))
        return EQ_NONE;
    switch (value.toInt()) {
    case EQ_LSHELF:
        return EQ_LSHELF;
    case EQ_PEQ:
        return EQ_PEQ;
    case EQ_PEQ2:
        return EQ_PEQ2;
    case EQ_HSHELF:
        return EQ_HSHELF;
    default:
        return EQ_NONE;
    }
}

float model_q(float q)
{
    if (q > MODEL_Q_MAX)
        return MODEL_Q_MAX;
    return q <= MODEL_Q_MIN ? MODEL_Q_MIN : q;
}

} // namespace

std::string eq_row_key(int index, const char *name)
{
    return "dsp/eq" + std::to_string(index) + '/' + name;
}

std::vector<std::string> eq_band_keys(int number)
{
    const int index = number - 1;
    std::vector<std::string> keys{format_text("dummy/header/eq%d", index)};
    for (const char *name : {"type", "freq", "q", "gain", "en"})
        keys.push_back(eq_row_key(index, name));
    return keys;
}

std::vector<EqBand> read_eq_bands(const RowValues &values)
{
    const std::optional<QVariant> enable = values(EQ_ENABLE_KEY);
    if (!enable || !enable->toBool())
        return {};
    std::vector<EqBand> bands;
    for (int index = 0;; ++index) {
        const BandValues row = read_band_values(values, index);
        if (row.reading == Reading::NO_ROW)
            return bands;
        if (row.reading == Reading::UNREADABLE || !row.en.toBool())
            continue;
        const EqBandType type = band_type(row.type);
        if (type == EQ_NONE)
            continue;
        const FilterParams params{
            .freq = row.freq.toFloat(), .q = model_q(row.q.toFloat()), .gain = row.gain.toFloat()};
        bands.push_back({.number = index + 1, .type = type, .params = params});
    }
}

std::vector<std::pair<std::string, QVariant>> eq_row_edits(int number, const FilterParams &params)
{
    const int index = number - 1;
    const double limit = std::numeric_limits<int>::max();
    const double freq = std::isnan(params.freq) ? 0.0 : static_cast<double>(params.freq);
    return {
        {eq_row_key(index, "freq"), QVariant(static_cast<int>(std::clamp(freq, -limit, limit)))},
        {eq_row_key(index, "q"), QVariant(static_cast<double>(params.q))},
        {eq_row_key(index, "gain"), QVariant(static_cast<double>(params.gain))}};
}
