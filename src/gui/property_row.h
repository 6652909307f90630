// One row of the property panel: what it stands for. Its widgets are the panel's.
#pragma once

#include "model/meta.h"

#include <QVariant>

#include <functional>
#include <map>
#include <string>

struct Property
{
    PropertyDesc desc = {}; // as it applies to the selection; kind PROP_NONE while hidden
    QVariant value = {};    // the device's, or what the operator has set; invalid when mixed
    bool edited = false;    // set by the operator during this edit
    bool uniform = false;   // all selected devices agree on `value`
    bool needs_update = false;
};

// Another row, or a device's property, that a row's choices depend on. Both are null when there is
// none.
struct OtherRow
{
    const PropertyDesc *desc = nullptr;
    const QVariant *value = nullptr;
};

// Finds another row by its key.
using PropertyLookup = std::function<OtherRow(const std::string &key)>;

// The panel's rows by key.
using PropertyRows = std::map<std::string, Property>;
