// The display text of a property's value, for panel rows and list cells alike.
#include "gui/value_text.h"

#include "support/fatal_assert.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace {

// List cells are written thousands of times a second, so a number and its unit are put together
// in a short string that needs no heap. to_chars knows no locale: a desktop with a decimal comma
// must read the same text.
std::string fixed_text(double number, int decimals)
{
    std::array<char, 512> text;
    const std::to_chars_result result
        = std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed,
                        std::clamp(decimals, 0, 100));
    return std::string(text.data(), result.ptr);
}

QString choice_text(const PropertyDesc &desc, const QVariant &value)
{
    if (const PropertyChoice *choice = find_choice(desc.choices, value))
        return QString::fromStdString(choice->label);
    return value.toString() + QStringLiteral(" (not found)");
}

QString float_text(const PropertyDesc &desc, const QVariant &value)
{
    std::string text = fixed_text(value.toDouble(), desc.decimals);
    if (!desc.unit.empty())
        text.append(1, ' ').append(desc.unit);
    return QString::fromStdString(text);
}

// The upper bits carry other states of the clock.
QString lock_text(const QVariant &value)
{
    switch (value.toInt() & 3) {
    case 3:
        return QStringLiteral("locked");
    case 2:
        return QStringLiteral("locked, no PTP");
    default:
        return QStringLiteral("no lock");
    }
}

QString plain_text(const PropertyDesc &desc, const QVariant &value)
{
    QString text = value.toString();
    if (!desc.unit.empty())
        text.append(QLatin1Char(' ')).append(QString::fromStdString(desc.unit));
    return text;
}

QString text_by_kind(const PropertyDesc &desc, const QVariant &value)
{
    switch (desc.kind) {
    case PROP_CHOICE:
        return choice_text(desc, value);
    case PROP_BOOL:
        return value.toBool() ? QStringLiteral("\U0001F5F8") : QStringLiteral("\U0001F5F4");
    case PROP_FLOAT:
        return float_text(desc, value);
    case PROP_LOCK_STATUS:
        return lock_text(value);
    case PROP_NONE:
    case PROP_DUMMY:
    case PROP_TEXT:
    case PROP_INT:
    case PROP_IP:
    case PROP_FIRMWARE:
    case PROP_METER:
        break;
    }
    return plain_text(desc, value);
}

} // namespace

void value_text(const PropertyDesc &desc, const QVariant &value, bool uniform, QString *out_str,
                QVariant *out_icon)
{
    FATAL_ASSERT("value_text.cpp", out_str && out_icon);

    if (!uniform)
        *out_str = QStringLiteral("...");
    else if (!value.isValid())
        *out_str = QStringLiteral("?");
    else
        *out_str = text_by_kind(desc, value);
}

const PropertyChoice *find_choice(const std::vector<PropertyChoice> &choices, const QVariant &value)
{
    const auto found
        = std::find_if(choices.begin(), choices.end(),
                       [&value](const PropertyChoice &choice) { return choice.value == value; });
    return found == choices.end() ? nullptr : &*found;
}
