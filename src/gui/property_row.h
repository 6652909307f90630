// One row of the property panel.
#pragma once

#include "model/meta.h"

#include <QVariant>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

class MeterWidget;
class ModifiedComboBox;
class QCheckBox;
class QHBoxLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QWidget;
class ValueSpinner;

struct Property
{
    PropertyDesc desc = {}; // as it applies to the selection; kind PROP_NONE while hidden
    QVariant value = {};    // the device's, or what the operator has set; invalid when mixed
    bool edited = false;    // set by the operator during this edit
    bool uniform = false;   // all selected devices agree on `value`
    bool needs_update = false;
    int grid_row = 0;
    QLabel *caption = nullptr; // null, as are `holder` and `row_layout`, until the row first shows
    QWidget *holder = nullptr;
    QHBoxLayout *row_layout = nullptr;
    QLineEdit *line_edit = nullptr;
    ValueSpinner *spinner = nullptr;
    bool spinner_setting = false; // code, not the operator, sets `spinner`
    QCheckBox *check_box = nullptr;
    ModifiedComboBox *combo = nullptr;
    QPushButton *button = nullptr;
    QLabel *text_label = nullptr;
    MeterWidget *meter_widget = nullptr;
    std::vector<QWidget *> extra_widgets = {};
};

// Another row by its key: at least `desc` and `value`; a default Property when there is none.
using PropertyLookup = std::function<Property(const std::string &key)>;

// The panel's rows by key.
using PropertyRows = std::map<std::string, std::unique_ptr<Property>>;
