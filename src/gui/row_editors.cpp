// The editors of the panel's rows: one class per kind of property, made by one table.
#include "gui/row_editors.h"

#include "gui/choices.h"
#include "gui/disabled_click_filter.h"
#include "gui/mixed_text_filter.h"
#include "gui/modified_combo_box.h"
#include "gui/row_caption.h"
#include "gui/value_spinner.h"
#include "gui/value_text.h"
#include "meter/meter_widget.h"
#include "support/fatal_assert.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScopedValueRollback>

#include <algorithm>

namespace {

constexpr int BUTTON_GAP = 10;                // pixels in front of a row's button
constexpr int BUTTON_MARGIN = 8;              // pixels on either side of its text, at least
constexpr int LINE_EDIT_INSET = 2;            // pixels: its text begins where those of boxes do
constexpr int LABEL_INSET = 5;                // pixels: as if it had a frame
constexpr int FEWEST_COMBO_CHARS = 6;         // that a list keeps however narrow the panel is
constexpr auto NARROWEST_NUMBER = "20000 Hz"; // that a number box always has room for

bool is_filled(const Property &row)
{
    return row.uniform && row.value.isValid();
}

QString text_of(const Property &row)
{
    QString text;
    QVariant icon;
    value_text(row.desc, row.value, row.uniform, &text, &icon);
    return text;
}

class TextEditor : public RowEditor
{
public:
    using RowEditor::RowEditor;

    void build() override
    {
        add_line_edit();
        start_edit_on_click(widgets.line_edit);
    }

    // The same text set again would move the cursor. A text that is too long for its field shows
    // its beginning.
    void show_value() override
    {
        const QString text = text_of(row);
        if (widgets.line_edit->text() == text)
            return;
        widgets.line_edit->setText(text);
        widgets.line_edit->setCursorPosition(0);
    }

    EditorState state() const override { return {.text = widgets.line_edit->text()}; }
    QWidget *input() const override { return widgets.line_edit; }

protected:
    void add_line_edit()
    {
        widgets.line_edit = new QLineEdit(widgets.holder);
        widgets.line_edit->setTextMargins(LINE_EDIT_INSET, 0, 0, 0);
        new MixedTextFilter(widgets.line_edit, widgets.line_edit);
        add(widgets.line_edit);
        connect(widgets.line_edit, &QLineEdit::textEdited, this, &RowEditor::edited);
    }
};

class FirmwareEditor : public TextEditor
{
public:
    using TextEditor::TextEditor;

    void build() override
    {
        add_line_edit();
        widgets.button
            = add_button("Update", "Sends an image from a file to each of the selected devices");
        connect(widgets.button, &QPushButton::clicked, this, &RowEditor::update_pressed);
    }
};

class CheckEditor : public RowEditor
{
public:
    using RowEditor::RowEditor;

    void build() override
    {
        widgets.check_box = new QCheckBox(widgets.holder);
        add(widgets.check_box);
        // The style draws its frame in a shade of the ground, which on black is not to be seen.
        QPalette colours = widgets.check_box->palette();
        colours.setColor(QPalette::Window, colours.color(QPalette::Disabled, QPalette::Text));
        widgets.check_box->setPalette(colours);
        start_edit_on_click(widgets.check_box);
        connect(widgets.check_box, &QCheckBox::clicked, this, &RowEditor::edited);
    }

    // Leaving the third state checks a box, so the state comes after it. It is set as a state, for
    // a box in the third one counts as checked, and being checked again would not paint it.
    void show_value() override
    {
        widgets.check_box->setTristate(!is_filled(row));
        if (is_filled(row))
            widgets.check_box->setCheckState(row.value.toBool() ? Qt::Checked : Qt::Unchecked);
        else
            widgets.check_box->setCheckState(Qt::PartiallyChecked);
    }

    EditorState state() const override { return {.check_state = widgets.check_box->checkState()}; }
    QWidget *input() const override { return widgets.check_box; }
};

class NumberEditor : public RowEditor
{
public:
    using RowEditor::RowEditor;

    void build() override
    {
        widgets.spinner = new ValueSpinner(widgets.holder);
        widgets.spinner->unit = QString::fromStdString(row.desc.unit);
        widgets.spinner->setDecimals(row.desc.decimals);
        widgets.spinner->setMinimum(row.desc.min);
        widgets.spinner->setMaximum(row.desc.max);
        widgets.spinner->setStepType(QAbstractSpinBox::AdaptiveDecimalStepType);
        // By itself a box is as wide as its bounds, which may have hundreds of digits.
        const int text_width = widgets.spinner->fontMetrics().horizontalAdvance(NARROWEST_NUMBER);
        widgets.spinner->setMinimumWidth(text_width + widgets.spinner->sizeHint().height());
        new MixedTextFilter(widgets.spinner->lineEdit(), widgets.spinner);
        add(widgets.spinner);
        start_edit_on_click(widgets.spinner);
        connect(widgets.spinner, qOverload<double>(&QDoubleSpinBox::valueChanged), this, [this] {
            if (!widgets.spinner_setting)
                emit edited();
        });
        connect(widgets.spinner->lineEdit(), &QLineEdit::textChanged, this, [this] { on_text(); });
    }

    void show_value() override
    {
        const bool is_mixed = !is_filled(row);
        FATAL_ASSERT("gui.cpp", !widgets.spinner_setting);
        const QScopedValueRollback<bool> setting(widgets.spinner_setting, true);
        widgets.spinner->mixed_allowed = is_mixed;
        widgets.spinner->mixed = is_mixed;
        widgets.spinner->setValue(is_mixed ? widgets.spinner->minimum() : row.value.toDouble());
    }

    EditorState state() const override
    {
        return {.number = widgets.spinner->value(), .mixed = widgets.spinner->mixed};
    }

    QWidget *input() const override { return widgets.spinner; }
    bool keeps_what_is_typed() const override { return widgets.spinner->hasFocus(); }

private:
    // A mixed field stands at its minimum: when exactly that is typed, or the dots are typed over
    // it, its value stays and only the text tells.
    void on_text()
    {
        const bool has_value = !widgets.spinner->mixed;
        if (!widgets.spinner_setting && has_value != row.value.isValid())
            emit edited();
    }
};

class ChoiceEditor : public RowEditor
{
public:
    using RowEditor::RowEditor;

    void build() override
    {
        auto *combo = new ModifiedComboBox(widgets.holder);
        widgets.combo = combo;
        // By itself a box is as wide as its longest item.
        combo->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
        combo->setMinimumContentsLength(FEWEST_COMBO_CHARS);
        for (const PropertyChoice &choice : row.desc.choices)
            combo->addItem(QString::fromStdString(choice.label), choice.value);
        add(combo);
        start_edit_on_click(combo);
        connect(combo, qOverload<int>(&QComboBox::activated), this, &RowEditor::edited);
    }

    // An open popup is disturbed by any change of the items, so what is right already stays.
    void show_value() override
    {
        ModifiedComboBox *combo = widgets.combo;
        const int extra = static_cast<int>(row.desc.choices.size());
        const ComboState shown = combo_state(row.desc, row.value, row.uniform);
        const bool keeps_extra = shown.has_extra && combo->itemText(extra) == shown.extra_text
            && combo->itemData(extra) == shown.extra_data;
        if (!keeps_extra) {
            combo->removeItem(extra);
            if (shown.has_extra)
                combo->addItem(shown.extra_text, shown.extra_data);
        }
        combo->setCurrentIndex(shown.current);
    }

    EditorState state() const override
    {
        return {.data = widgets.combo->currentData(Qt::UserRole)};
    }

    QWidget *input() const override { return widgets.combo; }
};

class LockStatusLabel : public RowEditor
{
public:
    using RowEditor::RowEditor;

    void build() override
    {
        widgets.text_label = new QLabel(widgets.holder);
        widgets.text_label->setIndent(LABEL_INSET);
        add(widgets.text_label);
    }

    void show_value() override { widgets.text_label->setText(text_of(row)); }
};

class MeterRow : public RowEditor
{
public:
    using RowEditor::RowEditor;

    void build() override
    {
        widgets.meter_widget = new MeterWidget(widgets.holder);
        widgets.meter_widget->setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Minimum);
        add(widgets.meter_widget);
    }
};

// A section's header, or the buttons for backups: the second word of the path says which.
class PseudoRow : public RowEditor
{
public:
    using RowEditor::RowEditor;

    void build() override
    {
        FATAL_ASSERT("gui.cpp", row.desc.path.size() >= 3);
        FATAL_ASSERT("gui.cpp", row.desc.path[0] == "dummy");
        if (row.desc.path[1] == "header") {
            build_header();
        } else if (row.desc.path[1] == "load_restore") {
            build_backup_buttons();
        } else {
            // KEPT: in no layout, and never seen.
            widgets.text_label = new QLabel("error", widgets.holder);
            widgets.text_label->hide();
        }
    }

private:
    void build_header()
    {
        widgets.text_label
            = new QLabel("<b>" + QString::fromStdString(row.desc.label) + "</b>\n", widgets.holder);
        widgets.text_label->setStyleSheet("padding-top: 10px;");
        widgets.text_label->setAlignment(Qt::AlignCenter);
        widgets.row_layout->addWidget(widgets.text_label);
        widgets.caption->setText(QString());
        widgets.holder->setAutoFillBackground(false);
    }

    void build_backup_buttons()
    {
        const auto mask = static_cast<uint32_t>(row.desc.user_value.toInt());
        QPushButton *save
            = add_button("Save", "Writes the values of the one selected device to a file");
        QPushButton *load = add_button("Load",
                                       "Fills in the values of such a file: nothing is "
                                       "sent before Confirm");
        widgets.extra_widgets = {save, load};
        connect(save, &QPushButton::clicked, this, &RowEditor::save_pressed);
        connect(load, &QPushButton::clicked, this, [this, mask] { emit load_pressed(mask); });
    }
};

// The table of kinds. PROP_NONE has no widgets.
struct KindEditor
{
    PropertyKind kind = PROP_NONE;
    RowEditor *(*make)(RowWidgets &widgets, const Property &row) = nullptr;
};

template<typename Editor>
RowEditor *make(RowWidgets &widgets, const Property &row)
{
    return new Editor(widgets, row);
}

constexpr KindEditor KIND_EDITORS[] = {
    {.kind = PROP_DUMMY, .make = make<PseudoRow>},
    {.kind = PROP_TEXT, .make = make<TextEditor>},
    {.kind = PROP_IP, .make = make<TextEditor>},
    {.kind = PROP_FIRMWARE, .make = make<FirmwareEditor>},
    {.kind = PROP_BOOL, .make = make<CheckEditor>},
    {.kind = PROP_INT, .make = make<NumberEditor>},
    {.kind = PROP_FLOAT, .make = make<NumberEditor>},
    {.kind = PROP_CHOICE, .make = make<ChoiceEditor>},
    {.kind = PROP_LOCK_STATUS, .make = make<LockStatusLabel>},
    {.kind = PROP_METER, .make = make<MeterRow>},
};

template<typename Object>
void retire(Object *&object)
{
    if (!object)
        return;
    object->blockSignals(true);
    if constexpr (std::is_base_of_v<QWidget, Object>)
        object->hide();
    object->deleteLater();
    object = nullptr;
}

void clear_row(RowWidgets &widgets)
{
    while (QLayoutItem *item = widgets.row_layout->takeAt(0))
        delete item;
    retire(widgets.editor);
    for (QWidget *&widget : widgets.extra_widgets)
        retire(widget);
    widgets.extra_widgets.clear();
    retire(widgets.line_edit);
    retire(widgets.spinner);
    retire(widgets.check_box);
    retire(widgets.combo);
    retire(widgets.button);
    retire(widgets.text_label);
    retire(widgets.meter_widget);
}

} // namespace

RowEditor::RowEditor(RowWidgets &its_widgets, const Property &its_row)
    : QObject(its_widgets.holder)
    , widgets(its_widgets)
    , row(its_row)
{
}

void RowEditor::add(QWidget *editor)
{
    editor->setAccessibleName(QString::fromStdString(row.desc.label));
    widgets.caption->setBuddy(editor);
    widgets.row_layout->addWidget(editor);
    // Below a style sheet no widget inherits colours, not even a number box's own field.
    editor->setPalette(widgets.holder->palette());
    for (QWidget *part : editor->findChildren<QWidget *>())
        part->setPalette(widgets.holder->palette());
}

void RowEditor::start_edit_on_click(QWidget *editor) const
{
    auto *filter = new DisabledClickFilter(editor);
    connect(filter, &DisabledClickFilter::onClick, this, &RowEditor::edit_wanted);
}

QPushButton *RowEditor::add_button(const QString &text, const QString &tip) const
{
    auto *button = new QPushButton(text, widgets.holder);
    button->setToolTip(tip);
    button->setMinimumWidth(button->fontMetrics().horizontalAdvance(text) + 2 * BUTTON_MARGIN);
    widgets.row_layout->addSpacing(BUTTON_GAP);
    widgets.row_layout->addWidget(button);
    return button;
}

void rebuild_row_widgets(RowWidgets &widgets, const Property &row)
{
    clear_row(widgets);
    widgets.caption->setText(QString::fromStdString(row.desc.label));
    for (const KindEditor &entry : KIND_EDITORS) {
        if (entry.kind != row.desc.kind)
            continue;
        widgets.editor = entry.make(widgets, row);
        widgets.editor->build();
    }
}
