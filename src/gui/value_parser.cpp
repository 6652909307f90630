// Typed text to values: numbers with units, and IPv4 addresses.
#include "gui/value_parser.h"

#include <cstdint>
#include <cstdlib>

namespace {

// Cuts unit or multiplier from `text` and gives the factor. KEPT: the unit is tried first: it takes
// the tail of "2kHz" too and leaves "2k", which is no number. So only a bare k counts.
double strip_unit(QString &text, const QString &unit)
{
    if (!unit.isEmpty() && strip_suffix(text, unit))
        return 1.0;
    if (unit == "Hz" && (strip_suffix(text, "khz") || strip_suffix(text, "k")))
        return 1000.0;
    return 1.0;
}

} // namespace

bool parse_value_text(const QString &text, const QString &unit, double *value)
{
    QString number = text.simplified();
    const double factor = strip_unit(number, unit);
    number.replace(',', '.');

    bool is_number = false;
    const double converted = number.toDouble(&is_number);
    *value = is_number ? factor * converted : 0.0; // a number too large converts to an infinity
    return is_number;
}

bool strip_suffix(QString &text, const QString &suffix)
{
    if (!text.endsWith(suffix, Qt::CaseInsensitive))
        return false;
    text.chop(suffix.size());
    return true;
}

bool is_ipv4_text(const char *text)
{
    for (int part = 0; part < 4; ++part) {
        char *end = nullptr;
        const long number = std::strtol(text, &end, 0);
        if (end == text || static_cast<uint32_t>(number) > 255)
            return false;
        if (*end != (part < 3 ? '.' : '\0'))
            return false;
        text = end + 1;
    }
    return true;
}
