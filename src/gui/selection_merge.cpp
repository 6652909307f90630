// What a panel row shows for a selection of devices.
#include "gui/selection_merge.h"

#include "gui/choices.h"

#include <algorithm>
#include <numeric>

namespace {

// Entries of the same label and value multiply with each device, see below.
constexpr size_t MOST_SHARED_CHOICES = 1024;

enum class Agreement
{
    SAME,
    OTHER_VALUE,
    HIDDEN
};

std::vector<const PropertyChoice *> sorted_by_label(const std::vector<PropertyChoice> &choices)
{
    std::vector<const PropertyChoice *> sorted;
    sorted.reserve(choices.size());
    for (const PropertyChoice &choice : choices)
        sorted.push_back(&choice);
    std::sort(sorted.begin(), sorted.end(),
              [](const PropertyChoice *left, const PropertyChoice *right) {
                  return left->label < right->label;
              });
    return sorted;
}

struct LabelOrder
{
    bool operator()(const PropertyChoice *entry, const std::string &label) const
    {
        return entry->label < label;
    }
    bool operator()(const std::string &label, const PropertyChoice *entry) const
    {
        return label < entry->label;
    }
};

// How often each of `choices` occurs in `other`, by label and value; `data` is not compared.
std::vector<size_t> count_matches(const std::vector<PropertyChoice> &choices,
                                  const std::vector<PropertyChoice> &other)
{
    const std::vector<const PropertyChoice *> sorted = sorted_by_label(other);
    std::vector<size_t> counts;
    counts.reserve(choices.size());
    for (const PropertyChoice &choice : choices) {
        const auto [first, last]
            = std::equal_range(sorted.begin(), sorted.end(), choice.label, LabelOrder());
        const auto count = std::count_if(first, last, [&choice](const PropertyChoice *entry) {
            return entry->value == choice.value;
        });
        counts.push_back(static_cast<size_t>(count));
    }
    return counts;
}

// An entry stays as many times as `other` has it. A device that lists a session twice would so
// fill the memory once many are selected; beyond a limit each entry stays once.
void keep_shared_choices(std::vector<PropertyChoice> &choices,
                         const std::vector<PropertyChoice> &other)
{
    const std::vector<size_t> counts = count_matches(choices, other);
    if (std::all_of(counts.begin(), counts.end(), [](size_t count) { return count == 1; }))
        return;

    const size_t total = std::accumulate(counts.begin(), counts.end(), size_t{0});
    const bool too_many = total > std::max(MOST_SHARED_CHOICES, choices.size());
    std::vector<PropertyChoice> shared;
    for (size_t i = 0; i < choices.size(); ++i)
        shared.insert(shared.end(), too_many ? std::min<size_t>(counts[i], 1) : counts[i],
                      choices[i]);
    choices = std::move(shared);
}

// Narrows the row's descriptor to what `other` allows too; false when no editor serves both. The
// KEPT: the lower bound takes the smaller one as well, and so is not raised.
bool narrow(PropertyDesc &desc, const PropertyDesc &other)
{
    desc.max = std::min(desc.max, other.max);
    desc.min = std::min(desc.min, other.min);
    if (desc.min > desc.max)
        return false;
    if (desc.unit != other.unit || desc.decimals != other.decimals
        || desc.user_value != other.user_value)
        return false;
    if (desc.kind != PROP_CHOICE)
        return true;

    keep_shared_choices(desc.choices, other.choices);
    return !desc.choices.empty() || (desc.flags & PF_EMPTY_CHOICES_OK) != 0;
}

Agreement merge_device(MergedRow &row, const Device &device, const std::string &key,
                       bool is_leading, bool edited)
{
    // Pseudo rows never have a value; any other row needs the device's word, be it "no value".
    const auto value = device.values.find(key);
    const bool has_value = value != device.values.end();
    if (!has_value && !is_leading && row.desc.kind != PROP_DUMMY)
        return Agreement::HIDDEN;

    const auto property = device.properties.find(key);
    if (property == device.properties.end() || property->second.kind != row.desc.kind)
        return Agreement::HIDDEN;

    // KEPT: devices behind the first one that disagrees are not looked at.
    if (!edited && (has_value ? value->second : QVariant()) != row.value)
        return Agreement::OTHER_VALUE;
    return narrow(row.desc, property->second) ? Agreement::SAME : Agreement::HIDDEN;
}

// Nothing when the row is hidden for the leading device alone.
std::optional<MergedRow> leading_row(const Device &device, const std::string &key)
{
    const auto property = device.properties.find(key);
    if (property == device.properties.end())
        return std::nullopt;
    const PropertyDesc &desc = property->second;
    if (desc.kind == PROP_NONE || (desc.flags & PF_NO_ROW) != 0)
        return std::nullopt;
    return MergedRow{.desc = desc, .value = device.value(key), .uniform = true};
}

} // namespace

std::optional<MergedRow> merge_selection(const std::vector<Device *> &selection,
                                         const std::string &key, bool edited,
                                         const QVariant &edited_value, const PropertyLookup &lookup)
{
    if (selection.empty())
        return std::nullopt;
    std::optional<MergedRow> row = leading_row(*selection.front(), key);
    if (!row)
        return std::nullopt;
    if (edited)
        row->value = edited_value;

    for (const Device *device : selection) {
        const Agreement agreement
            = merge_device(*row, *device, key, device == selection.front(), edited);
        if (agreement == Agreement::HIDDEN)
            return std::nullopt;
        if (agreement == Agreement::OTHER_VALUE) {
            row->value = {};
            row->uniform = false;
            break;
        }
    }

    update_dynamic_choices(row->desc, lookup);
    return row;
}
