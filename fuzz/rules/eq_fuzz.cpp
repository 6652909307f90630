// Rows of the equaliser into filters: whatever stands in them, what reaches the painter is finite.
#include "eq/curve_grid.h"
#include "eq/drag_rules.h"
#include "eq/eq_rows.h"
#include "eq/filter_design.h"
#include "eq/filter_response.h"
#include "fuzz/rules/fuzz_bytes.h"

#include <QVariant>

#include <cmath>
#include <map>
#include <optional>

namespace {

// Those without a value are not there.
using Rows = std::map<std::string, std::optional<QVariant>>;

QVariant any_value(FuzzBytes &bytes)
{
    switch (bytes.u8() % 8) {
    case 0:
        return bytes.text();
    case 1:
        return {};
    case 2:
        return bytes.flag();
    case 3:
        return static_cast<int>(bytes.u32());
    case 4:
        return bytes.any_double();
    case 5:
        return bytes.u8() / 10.0;
    default:
        return bytes.number();
    }
}

constexpr int MOST_BANDS = 3;

// The names of one band's rows, made once.
struct BandKeys
{
    std::string type = {};
    std::string freq = {};
    std::string q = {};
    std::string gain = {};
    std::string en = {};
};

const BandKeys &keys_of(int index)
{
    static const std::vector<BandKeys> keys = [] {
        std::vector<BandKeys> made;
        for (int i = 0; i < MOST_BANDS; ++i)
            made.push_back({.type = eq_row_key(i, "type"),
                            .freq = eq_row_key(i, "freq"),
                            .q = eq_row_key(i, "q"),
                            .gain = eq_row_key(i, "gain"),
                            .en = eq_row_key(i, "en")});
        return made;
    }();
    return keys[static_cast<size_t>(index)];
}

// A few bands, now and then with a row that is missing. The names of rows are kept between inputs.
Rows &any_rows(FuzzBytes &bytes)
{
    static Rows rows;
    for (auto &[key, value] : rows)
        value.reset();
    rows[EQ_ENABLE_KEY] = bytes.u8() % 16 != 0;
    const int bands = bytes.below(MOST_BANDS + 1);
    for (int index = 0; index < bands; ++index) {
        const BandKeys &keys = keys_of(index);
        rows[keys.type] = bytes.below(5);
        rows[keys.freq] = static_cast<int>(bytes.u16());
        rows[keys.q] = any_value(bytes);
        rows[keys.gain] = any_value(bytes);
        rows[keys.en] = bytes.u8() % 8 != 0;
        if (bytes.u8() % 8 == 0)
            rows[keys.freq] = any_value(bytes);
        if (bytes.u8() % 8 == 0)
            rows[keys.type] = any_value(bytes);
        if (bytes.u8() % 32 == 0)
            rows[keys.q].reset();
    }
    return rows;
}

std::vector<EqBand> read(const Rows &rows)
{
    return read_eq_bands([&rows](const std::string &key) -> std::optional<QVariant> {
        const auto row = rows.find(key);
        return row == rows.end() ? std::nullopt : row->second;
    });
}

Biquad design(const EqBand &band)
{
    const FilterParams &params = band.params;
    switch (band.type) {
    case EQ_PEQ:
    case EQ_PEQ2:
        return design_peak(params.freq, params.q, params.gain, band.type == EQ_PEQ2);
    case EQ_LSHELF:
    case EQ_HSHELF:
        return design_shelf(params.freq, 12.0F, params.gain, band.type == EQ_HSHELF);
    case EQ_NONE:
        break;
    }
    return {};
}

void check_bands(const std::vector<EqBand> &bands)
{
    int number = 0;
    for (const EqBand &band : bands) {
        expect(band.number > number, "bands come in order");
        number = band.number;
        expect(band.type != EQ_NONE, "only known types are drawn");
        expect(std::isnan(band.params.q) || (band.params.q >= 0.3F && band.params.q <= 20.0F),
               "q has the model's bounds");
    }
}

// What a drag would write is what is read again.
void check_written(Rows &rows, const EqBand &band)
{
    for (const auto &[key, value] : eq_row_edits(band.number, band.params))
        rows[key] = value;
    for (const EqBand &again : read(rows)) {
        if (again.number != band.number)
            continue;
        const bool is_whole
            = std::trunc(band.params.freq) == band.params.freq && std::abs(band.params.freq) < 2e9F;
        expect(!is_whole || again.params.freq == band.params.freq, "a whole frequency stays");
        expect(again.params.gain == band.params.gain || std::isnan(band.params.gain),
               "a gain stays");
        expect(again.params.q == band.params.q || std::isnan(band.params.q), "a q stays");
    }
}

void expect_paintable(const std::vector<QPointF> &line, const CurveGrid &grid)
{
    expect(line.size() == static_cast<size_t>(grid.points), "a point per column");
    for (const QPointF &point : line)
        expect(std::isfinite(point.x()) && std::isfinite(point.y())
                   && std::abs(point.y()) <= ROW_LIMIT,
               "nothing that is not finite reaches the painter");
}

void check_lines(const std::vector<EqBand> &bands, const CurveGrid &grid)
{
    std::vector<Response> responses(bands.size());
    std::vector<ResponseView> views;
    for (size_t i = 0; i < bands.size(); ++i) {
        compute_biquad_response(design(bands[i]), grid, responses[i].magnitude, responses[i].phase);
        views.push_back({.magnitude = &responses[i].magnitude, .phase = &responses[i].phase});
        expect_paintable(response_outline(grid, responses[i].magnitude), grid);
        const int row = grid.gain_to_row(bands[i].params.gain);
        expect(std::abs(row) <= ROW_LIMIT, "a marker has a row");
        const int column = grid.freq_to_x(bands[i].params.freq);
        expect(column >= -1 && column < 2 * grid.points, "a marker has a column");
        peak_width(bands[i].params.freq, bands[i].params.q);
    }
    CurveLines lines;
    sum_curves(grid, views, lines);
    expect_paintable(lines.magnitude, grid);
    expect_paintable(lines.phase, grid);
}

} // namespace

void fuzz_eq(const uint8_t *data, size_t size)
{
    static const CurveGrid grid = [] {
        CurveGrid made;
        made.rebuild(8, 30);
        return made;
    }();
    FuzzBytes bytes(data, size);
    Rows &rows = any_rows(bytes);
    const std::vector<EqBand> bands = read(rows);
    check_bands(bands);
    if (!bands.empty() && is_one_in(2, data, size))
        check_written(rows, bands.back());
    check_lines(bands, grid);
}
