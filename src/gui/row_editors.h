// The editors of the panel's rows: one class per kind of property, made by one table.
#pragma once

#include "gui/edit_rules.h"
#include "gui/property_row.h"
#include "gui/row_widgets.h"

#include <QObject>

#include <cstdint>

// Shows a row's value in the row's widgets, which it has made, and reads what the operator put in.
class RowEditor : public QObject
{
    Q_OBJECT

public:
    RowEditor(RowWidgets &its_widgets, const Property &its_row);

    // Makes the widgets, inside the row's holder.
    virtual void build() = 0;
    // Shows the row's value. What is right already is not touched: a cursor or an open list stays.
    virtual void show_value() {}
    // What the widgets hold.
    virtual EditorState state() const { return {}; }
    // What takes the operator's input; null when nothing does.
    virtual QWidget *input() const { return nullptr; }
    // Whether a value that reads as the row's may be left as it is written: "2." is on its way.
    virtual bool keeps_what_is_typed() const { return false; }

signals:
    void edited();      // by the operator
    void edit_wanted(); // a click on an editor that is switched off
    void update_pressed();
    void save_pressed();
    void load_pressed(uint32_t mask);

protected:
    void add(QWidget *editor);
    void start_edit_on_click(QWidget *editor) const;
    QPushButton *add_button(const QString &text, const QString &tip) const;

    // Both live as long as the panel.
    RowWidgets &widgets;
    const Property &row;
};

// Retires what the row had and makes what its kind needs, which may be nothing. The row may be
// rebuilt from within an event of one of its editors, which outlives it.
void rebuild_row_widgets(RowWidgets &widgets, const Property &row);
