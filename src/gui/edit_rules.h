// From editors to values, and from edited rows to what a device is sent.
#pragma once

#include "gui/property_row.h"
#include "model/device.h"

#include <QJsonObject>
#include <QMetaType>
#include <QString>
#include <QVariant>

#include <optional>
#include <string>

// What a row's editor holds; only what the row's kind has is looked at.
struct EditorState
{
    QString text = {};                                 // line edit
    Qt::CheckState check_state = Qt::PartiallyChecked; // check box
    double number = 0.0;                               // number field
    bool mixed = false;                                // number field without a single value
    QVariant data = {};                                // user data of a combo box's current item
};

// The editor's value: invalid for none, an ErrorValue for a refused input. `uniform` is the row's.
// KEPT: only where devices disagree, "..." stands for no value.
QVariant editor_value(const PropertyDesc &desc, bool uniform, const EditorState &editor);

// The reason in an ErrorValue; empty for any other value.
QString refusal(const QVariant &value);

// Whether Confirm must look at this row's editor.
bool needs_validation(const Property &row);

// The text of the "Value error" box.
QString value_error_text(const std::string &label, const QString &error);

// Whether an edited row changes its property at this device. Values that JSON can't hold (infinite,
// not a number) and what the device has for reading only change nothing.
bool changes_device(const Property &row, const std::string &key, const Device &device);

// What the edited rows change at this device: for an online one a "set_params" with exactly the
// values that differ, for an offline one its last report with them. Nothing when none differs.
std::optional<QJsonObject> device_changes(const PropertyRows &rows, const Device &device);

// What a Confirm came to.
struct ConfirmResult
{
    int devices = 0;   // in the edit
    int differing = 0; // to which there was something to say
    int sent = 0;      // told, without an error
};
Q_DECLARE_METATYPE(ConfirmResult)

// What ends the "Network error" box when changes went to offline devices, as rich text.
QString offline_notice();
