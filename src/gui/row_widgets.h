// The widgets of one row of the property panel. What a kind of property has not is null.
#pragma once

#include <vector>

class ModifiedComboBox;
class MeterWidget;
class QCheckBox;
class QHBoxLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QWidget;
class RowCaption;
class RowEditor;
class ValueSpinner;

struct RowWidgets
{
    int grid_row = 0;
    RowCaption *caption = nullptr; // null, as are the next two, until the row first shows
    QWidget *holder = nullptr;
    QHBoxLayout *row_layout = nullptr;
    RowEditor *editor = nullptr; // what made all below
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
