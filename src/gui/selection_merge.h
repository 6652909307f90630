// What a panel row shows for a selection of devices.
#pragma once

#include "gui/property_row.h"
#include "model/device.h"

#include <optional>
#include <string>
#include <vector>

struct MergedRow
{
    PropertyDesc desc = {};
    QVariant value = {}; // invalid when the devices disagree, or when none has said
    bool uniform = false;
};

// Merges one property over `selection`, in its order; the first device leads. Nothing means that
// the row is hidden: no device, a device without the property, or descriptors that can't share an
// editor. An edited row shows `edited_value` for all, whatever they have. `lookup` gives the other
// rows of the panel, which presets and source channels follow.
std::optional<MergedRow> merge_selection(const std::vector<Device *> &selection,
                                         const std::string &key, bool edited,
                                         const QVariant &edited_value,
                                         const PropertyLookup &lookup);
