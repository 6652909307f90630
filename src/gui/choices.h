// Choices that depend on other rows or come from the device, and how a combo box shows a value.
#pragma once

#include "gui/property_row.h"
#include "model/sessions.h"

#include <QString>
#include <QVariant>

#include <vector>

// Recomputes the choices of a row that depends on other rows: preset names follow product and
// bank, source channels follow the stream. `lookup` gives those other rows (or one device's state);
// any other row stays as it is.
void update_dynamic_choices(PropertyDesc &desc, const PropertyLookup &lookup);

// What a combo box holds behind the items of its choices.
struct ComboState
{
    int current = 0;        // index of the item to make current
    bool has_extra = false; // one more item stands behind the choices, at index choices.size()
    QString extra_text = {};
    QVariant extra_data = {}; // the value that it stands for; invalid for "..."
};

// A value that is none of the choices, and no single value at all, get an item of their own.
ComboState combo_state(const PropertyDesc &desc, const QVariant &value, bool uniform);
