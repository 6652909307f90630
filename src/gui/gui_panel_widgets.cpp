// The editors of the property panel's rows: one set per kind of property.
#include "gui/choices.h"
#include "gui/disabled_click_filter.h"
#include "gui/gui.h"
#include "gui/modified_combo_box.h"
#include "gui/value_spinner.h"
#include "gui/value_text.h"
#include "meter/meter_widget.h"
#include "support/fatal_assert.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScopedValueRollback>

namespace {

constexpr int BUTTON_GAP = 10; // pixels in front of a row's button

// Widgets come with the first selection that has the row: until then nobody sees them, and making
// all of them would take as long as the rest of the window.
void make_row_widgets(Property *prop, QGridLayout *grid)
{
    prop->caption = new QLabel(QString::fromStdString(prop->desc.key));
    prop->holder = new QWidget;
    prop->holder->setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Minimum);
    prop->holder->setAutoFillBackground(true);
    prop->row_layout = new QHBoxLayout(prop->holder);
    prop->row_layout->setSpacing(0);
    grid->addWidget(prop->caption, prop->grid_row, 0);
    grid->addWidget(prop->holder, prop->grid_row, 1);
}

// The row may be rebuilt from within an event of one of its editors, which must outlive it.
template<typename Widget>
void retire(Widget *&widget)
{
    if (!widget)
        return;
    widget->blockSignals(true);
    widget->hide();
    widget->deleteLater();
    widget = nullptr;
}

void clear_row(Property *prop)
{
    while (QLayoutItem *item = prop->row_layout->takeAt(0))
        delete item;
    for (QWidget *&widget : prop->extra_widgets)
        retire(widget);
    prop->extra_widgets.clear();
    retire(prop->line_edit);
    retire(prop->spinner);
    retire(prop->check_box);
    retire(prop->combo);
    retire(prop->button);
    retire(prop->text_label);
    retire(prop->meter_widget);
}

void add_editor(Property *prop, QWidget *editor)
{
    editor->setAccessibleName(QString::fromStdString(prop->desc.label));
    prop->caption->setBuddy(editor);
    prop->row_layout->addWidget(editor);
}

QPushButton *add_button(Property *prop, const QString &text)
{
    auto *button = new QPushButton(text, prop->holder);
    prop->row_layout->addSpacing(BUTTON_GAP);
    prop->row_layout->addWidget(button);
    return button;
}

void start_edit_on_click(Gui *gui, QWidget *editor)
{
    auto *filter = new DisabledClickFilter(editor);
    QObject::connect(filter, &DisabledClickFilter::onClick, gui,
                     [gui] { gui->set_edit_mode(true); });
}

void add_line_edit(Gui *gui, Property *prop)
{
    prop->line_edit = new QLineEdit(prop->holder);
    add_editor(prop, prop->line_edit);
    QObject::connect(prop->line_edit, &QLineEdit::textEdited, gui,
                     [gui, prop] { gui->on_row_edited(prop); });
}

void add_firmware(Gui *gui, Property *prop)
{
    add_line_edit(gui, prop);
    prop->button = add_button(prop, "Update");
    QObject::connect(prop->button, &QPushButton::clicked, gui,
                     [gui] { gui->upload_file("firmware.bin"); });
}

void add_check_box(Gui *gui, Property *prop)
{
    prop->check_box = new QCheckBox(prop->holder);
    add_editor(prop, prop->check_box);
    QObject::connect(prop->check_box, &QCheckBox::clicked, gui,
                     [gui, prop] { gui->on_row_edited(prop); });
}

// A mixed field stands at its minimum: when exactly that is typed, or the dots are typed over it,
// its value stays and only the text tells.
void on_spinner_text(Gui *gui, Property *prop)
{
    const bool has_value = !prop->spinner->mixed;
    if (!prop->spinner_setting && has_value != prop->value.isValid())
        gui->on_row_edited(prop);
}

void on_spinner_value(Gui *gui, Property *prop)
{
    if (!prop->spinner_setting)
        gui->on_row_edited(prop);
}

void add_spinner(Gui *gui, Property *prop)
{
    prop->spinner = new ValueSpinner(prop->holder);
    prop->spinner->unit = QString::fromStdString(prop->desc.unit);
    prop->spinner->setDecimals(prop->desc.decimals);
    prop->spinner->setMinimum(prop->desc.min);
    prop->spinner->setMaximum(prop->desc.max);
    prop->spinner->setStepType(QAbstractSpinBox::AdaptiveDecimalStepType);
    add_editor(prop, prop->spinner);
    QObject::connect(prop->spinner, qOverload<double>(&QDoubleSpinBox::valueChanged), gui,
                     [gui, prop] { on_spinner_value(gui, prop); });
    QObject::connect(prop->spinner->lineEdit(), &QLineEdit::textChanged, gui,
                     [gui, prop] { on_spinner_text(gui, prop); });
}

void add_combo(Gui *gui, Property *prop)
{
    prop->combo = new ModifiedComboBox(prop->holder);
    for (const PropertyChoice &choice : prop->desc.choices)
        prop->combo->addItem(QString::fromStdString(choice.label), choice.value);
    add_editor(prop, prop->combo);
    QObject::connect(prop->combo, qOverload<int>(&QComboBox::activated), gui,
                     [gui, prop] { gui->on_row_edited(prop); });
}

void add_meter(Property *prop)
{
    prop->meter_widget = new MeterWidget(prop->holder);
    prop->meter_widget->setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Minimum);
    add_editor(prop, prop->meter_widget);
}

void add_header(Property *prop)
{
    prop->text_label
        = new QLabel("<b>" + QString::fromStdString(prop->desc.label) + "</b>\n", prop->holder);
    prop->text_label->setStyleSheet("padding-top: 10px;");
    prop->text_label->setAlignment(Qt::AlignCenter);
    prop->row_layout->addWidget(prop->text_label);
    prop->caption->setText(QString());
    prop->holder->setAutoFillBackground(false);
}

void add_load_restore(Gui *gui, Property *prop)
{
    const auto mask = static_cast<uint32_t>(prop->desc.user_value.toInt());
    QPushButton *save = add_button(prop, "Save");
    QPushButton *load = add_button(prop, "Load");
    prop->extra_widgets = {save, load};
    QObject::connect(save, &QPushButton::clicked, gui, &Gui::save_backup);
    QObject::connect(load, &QPushButton::clicked, gui, [gui, mask] { gui->load_backup(mask); });
}

void add_pseudo_row(Gui *gui, Property *prop)
{
    FATAL_ASSERT("gui.cpp", prop->desc.path.size() >= 3);
    FATAL_ASSERT("gui.cpp", prop->desc.path[0] == "dummy");
    if (prop->desc.path[1] == "header") {
        add_header(prop);
    } else if (prop->desc.path[1] == "load_restore") {
        add_load_restore(gui, prop);
    } else {
        // In no layout, and never seen, which stays.
        prop->text_label = new QLabel("error", prop->holder);
        prop->text_label->hide();
    }
}

bool is_filled(const Property *prop)
{
    return prop->uniform && prop->value.isValid();
}

void show_text(const Property *prop)
{
    QString text;
    QIcon icon;
    value_text(prop->desc, prop->value, prop->uniform, &text, &icon);
    if (prop->text_label)
        prop->text_label->setText(text);
    // The same text set again would move the cursor.
    if (prop->line_edit && prop->line_edit->text() != text)
        prop->line_edit->setText(text);
}

// Leaving the third state checks a box, so the state comes after it.
void show_check(const Property *prop)
{
    prop->check_box->setTristate(!is_filled(prop));
    if (is_filled(prop))
        prop->check_box->setChecked(prop->value.toBool());
    else
        prop->check_box->setCheckState(Qt::PartiallyChecked);
}

void show_number(Property *prop)
{
    FATAL_ASSERT("gui.cpp", !prop->spinner_setting);
    const QScopedValueRollback<bool> setting(prop->spinner_setting, true);
    prop->spinner->mixed_allowed = !is_filled(prop);
    prop->spinner->mixed = !is_filled(prop);
    prop->spinner->setValue(is_filled(prop) ? prop->value.toDouble() : prop->spinner->minimum());
}

// An open popup is disturbed by any change of the items, so what is right already stays.
void show_choice(const Property *prop)
{
    ModifiedComboBox *combo = prop->combo;
    const int extra = static_cast<int>(prop->desc.choices.size());
    const ComboState state = combo_state(prop->desc, prop->value, prop->uniform);
    const bool keeps_extra = state.has_extra && combo->itemText(extra) == state.extra_text
        && combo->itemData(extra) == state.extra_data;
    if (!keeps_extra) {
        combo->removeItem(extra);
        if (state.has_extra)
            combo->addItem(state.extra_text, state.extra_data);
    }
    combo->setCurrentIndex(state.current);
}

} // namespace

void Gui::rebuild_row_widgets(Property *prop)
{
    if (!prop->holder)
        make_row_widgets(prop, panel_grid);
    clear_row(prop);
    prop->caption->setText(QString::fromStdString(prop->desc.label));
    switch (prop->desc.kind) {
    case PROP_NONE:
        break;
    case PROP_DUMMY:
        add_pseudo_row(this, prop);
        break;
    case PROP_TEXT:
    case PROP_IP:
        add_line_edit(this, prop);
        start_edit_on_click(this, prop->line_edit);
        break;
    case PROP_FIRMWARE:
        add_firmware(this, prop);
        break;
    case PROP_BOOL:
        add_check_box(this, prop);
        start_edit_on_click(this, prop->check_box);
        break;
    case PROP_INT:
    case PROP_FLOAT:
        add_spinner(this, prop);
        start_edit_on_click(this, prop->spinner);
        break;
    case PROP_CHOICE:
        add_combo(this, prop);
        start_edit_on_click(this, prop->combo);
        break;
    case PROP_LOCK_STATUS:
        prop->text_label = new QLabel(prop->holder);
        add_editor(prop, prop->text_label);
        break;
    case PROP_METER:
        add_meter(prop);
        break;
    }
    has_new_editors = true;
}

// New editors join the tab order at its very end; each must follow the one that is read before it.
void Gui::order_tab_stops()
{
    if (!has_new_editors)
        return;
    has_new_editors = false;
    QWidget *before = nullptr;
    for (const std::string &key : property_keys) {
        const QHBoxLayout *layout = property_row(key)->row_layout;
        for (int i = 0; layout && i < layout->count(); ++i) {
            QWidget *widget = layout->itemAt(i)->widget();
            if (!widget || widget->focusPolicy() == Qt::NoFocus)
                continue;
            QWidget::setTabOrder(before, widget);
            before = widget;
        }
    }
}

void Gui::set_row_value(Property *prop, const QVariant &value, bool uniform)
{
    prop->value = value;
    prop->uniform = uniform;
    switch (prop->desc.kind) {
    case PROP_TEXT:
    case PROP_IP:
    case PROP_FIRMWARE:
    case PROP_LOCK_STATUS:
        show_text(prop);
        break;
    case PROP_BOOL:
        show_check(prop);
        break;
    case PROP_INT:
    case PROP_FLOAT:
        // A field that is being typed in and reads so already keeps its text: "2." is on its way.
        if (!editing || !prop->spinner->hasFocus() || read_row_value(prop) != value)
            show_number(prop);
        break;
    case PROP_CHOICE:
        show_choice(prop);
        break;
    case PROP_NONE:
    case PROP_DUMMY:
    case PROP_METER:
        break;
    }
}

void Gui::set_row_enabled(Property *prop, bool enabled)
{
    for (QWidget *editor : std::initializer_list<QWidget *>{prop->line_edit, prop->spinner,
                                                            prop->check_box, prop->combo})
        if (editor)
            editor->setEnabled(enabled);
}
