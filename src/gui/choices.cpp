// Choices that depend on other rows or come from the device, and how a combo box shows a value.
#include "gui/choices.h"

#include "gui/value_text.h"

#include <algorithm>
#include <limits>
#include <optional>

namespace {

// Counts come from the network. No stream has this many channels, and a row must not be able to
// fill the memory.
constexpr int MOST_CHANNELS = 1024;

// A whole number that fits an int. Devices may report a product or a channel as any JSON value.
std::optional<int> int_of(const QVariant &value)
{
    bool is_number = false;
    const double number = value.toDouble(&is_number);
    const bool fits
        = number >= std::numeric_limits<int>::min() && number <= std::numeric_limits<int>::max();
    if (!is_number || !fits)
        return std::nullopt;
    const int whole = value.toInt(&is_number);
    return is_number ? std::optional<int>(whole) : std::nullopt;
}

std::vector<PropertyChoice> preset_choices(const QVariant &product, const QVariant &bank)
{
    const std::optional<int> product_id = int_of(product);
    if (!product_id)
        return {};

    // KEPT: without a known bank the first one's names show.
    const std::vector<std::vector<std::string>> &banks = find_product(*product_id).preset_names;
    const size_t number = static_cast<size_t>(std::max(int_of(bank).value_or(1), 1));
    const size_t index = number <= banks.size() ? number - 1 : 0;
    if (index >= banks.size())
        return {};

    std::vector<PropertyChoice> choices;
    choices.reserve(banks[index].size());
    for (const std::string &name : banks[index])
        choices.push_back({.value = static_cast<int>(choices.size()), .label = name, .data = {}});
    return choices;
}

QVariant value_of(const OtherRow &row)
{
    return row.value ? *row.value : QVariant();
}

int session_channels(const PropertyDesc &session, const QVariant &value)
{
    const PropertyChoice *choice = find_choice(session.choices, value);
    return choice ? choice->data.value<session_item>().channels : 0;
}

int source_channel_count(const PropertyLookup &lookup)
{
    if (value_of(lookup("stream/rtp/en")).toBool())
        return int_of(value_of(lookup("stream/rtp/cc"))).value_or(0);
    const OtherRow session = lookup("stream/name");
    if (!session.desc || session.desc->kind == PROP_NONE)
        return 0;
    return session_channels(*session.desc, value_of(session));
}

// Doubles, unlike the ints of the destination channels: they are compared as numbers anyway, and a
// device gets back what it reports.
std::vector<PropertyChoice> source_channel_choices(int count)
{
    std::vector<PropertyChoice> choices;
    for (int channel = 0; channel < std::min(count, MOST_CHANNELS); ++channel)
        choices.push_back({.value = static_cast<double>(channel),
                           .label = std::to_string(channel + 1),
                           .data = {}});
    choices.push_back({.value = -1.0, .label = "Disabled", .data = {}});
    return choices;
}

QString not_found_text(const PropertyDesc &desc, const QVariant &value)
{
    QString text = value.toString();
    bool is_number = false;
    const double number = text.toDouble(&is_number);
    // Channels count from zero on the wire and from one on the screen.
    if (is_number && (desc.flags & PF_SOURCE_CHANNEL) != 0)
        text = QVariant(number + 1).toString();
    return text + " (not found)";
}

} // namespace

void update_dynamic_choices(PropertyDesc &desc, const PropertyLookup &lookup)
{
    if (desc.key == "dsp/preset")
        desc.choices = preset_choices(value_of(lookup("product_id")), value_of(lookup("dsp/bank")));

    const bool is_source_channel = (desc.flags & PF_SOURCE_CHANNEL) != 0;
    if (is_source_channel && int_of(desc.user_value))
        desc.choices = source_channel_choices(source_channel_count(lookup));
}

ComboState combo_state(const PropertyDesc &desc, const QVariant &value, bool uniform)
{
    const int behind_choices = static_cast<int>(desc.choices.size());
    if (!uniform || !value.isValid())
        return {.current = behind_choices, .has_extra = true, .extra_text = "..."};

    if (const PropertyChoice *choice = find_choice(desc.choices, value))
        return {.current = static_cast<int>(choice - desc.choices.data())};
    return {.current = behind_choices,
            .has_extra = true,
            .extra_text = not_found_text(desc, value),
            .extra_data = value};
}
