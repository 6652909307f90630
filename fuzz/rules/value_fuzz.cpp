// Value texts: any text becomes a number or none, and what is shown is read back.
#include "fuzz/rules/fuzz_bytes.h"
#include "gui/value_parser.h"
#include "gui/value_text.h"

#include <cmath>

namespace {

constexpr const char *UNITS[] = {"", "Hz", "dB", "m", "k", "kHz"};

QString text_of(const PropertyDesc &desc, double value)
{
    QString text;
    QVariant icon;
    value_text(desc, value, true, &text, &icon);
    return text;
}

void check_text(const QString &text, const QString &unit)
{
    double value = -1;
    const bool is_number = parse_value_text(text, unit, &value);
    expect(is_number || value == 0.0, "what is no number is 0");
    double again = -1;
    expect(parse_value_text("  " + text + " ", unit, &again) == is_number
               && (again == value || std::isnan(value)),
           "blanks around a text change nothing");
    QString with_comma = text;
    with_comma.replace('.', ',');
    expect(parse_value_text(with_comma, unit, &again) == is_number
               && (again == value || std::isnan(value)),
           "a comma is a point");
    QString rest = text;
    if (strip_suffix(rest, unit))
        expect(rest + text.right(unit.size()) == text, "only the unit goes");
    else
        expect(rest == text, "without the unit nothing goes");
}

// "k" is a unit of the fuzzer only: the parser would take it for thousands of Hz.
void check_shown(double value, int decimals, const char *unit)
{
    PropertyDesc desc{.kind = PROP_FLOAT, .unit = unit, .decimals = decimals};
    const QString text = text_of(desc, value);
    double read = 0;
    expect(parse_value_text(text, unit, &read), "what is shown can be read");
    const double step = 0.5 * std::pow(10.0, -decimals);
    const double slack = std::abs(value) * 1e-15;
    expect(std::abs(read - value) <= step * (1 + 1e-9) + slack, "to the digits that are shown");
    if (std::abs(value) < 1e15)
        expect(text_of(desc, read) == text, "and shows the same again");
}

} // namespace

void fuzz_value(const uint8_t *data, size_t size)
{
    FuzzBytes bytes(data, size);
    const char *unit = UNITS[static_cast<size_t>(bytes.below(int{std::size(UNITS)}))];
    if (bytes.flag())
        check_shown(bytes.number(), bytes.below(4), unit);
    else
        check_text(QString::fromUtf8(bytes.rest()), unit);
}
