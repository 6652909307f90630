// The operator at the panel: edits, confirms, draws the curve, updates, keeps backups.
#include "eq/curve_widget.h"
#include "gui/modified_combo_box.h"
#include "gui/value_spinner.h"
#include "soak/odd_texts.h"
#include "soak/operator_play.h"
#include "soak/typing.h"
#include "support/window_main.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <QToolButton>

namespace {

void type_over(QLineEdit *edit, const QString &text)
{
    edit->setFocus();
    edit->selectAll();
    if (text.isEmpty())
        QTest::keyClick(edit, Qt::Key_Backspace);
    else
        type_text(edit, text);
}

} // namespace

void OperatorPlay::begin_edit()
{
    press(gui().edit_button());
}

void OperatorPlay::edit_row()
{
    std::vector<PanelRow> rows;
    for (const auto &[key, row] : gui().rows())
        if (row.holder && row.holder->isVisible() && row.holder->isEnabled())
            rows.push_back(row);
    if (rows.empty())
        return;
    if (!gui().is_editing() && random.happens(50))
        begin_edit();
    change_editor(rows[static_cast<size_t>(random.below(static_cast<int>(rows.size())))]);
}

void OperatorPlay::change_editor(const PanelRow &row)
{
    if (row.line_edit && row.line_edit->isEnabled()) {
        type_over(row.line_edit, odd_text(random));
    } else if (row.spinner && row.spinner->isEnabled()) {
        change_number(row.spinner);
    } else if (row.check_box && row.check_box->isEnabled()) {
        row.check_box->click();
    } else if (row.combo && row.combo->isEnabled()) {
        row.combo->setFocus();
        QTest::keyClick(row.combo, random.happens(50) ? Qt::Key_Up : Qt::Key_Down);
    }
}

void OperatorPlay::change_number(QWidget *spinner)
{
    const QString text
        = random.happens(20) ? odd_text(random) : QString::number(random.between(-20, 20'000));
    if (random.happens(40))
        QTest::keyClick(spinner, random.happens(50) ? Qt::Key_Up : Qt::Key_Down);
    else
        type_over(spinner->findChild<QLineEdit *>(), text);
}

void OperatorPlay::confirm()
{
    press(gui().confirm_button());
}

void OperatorPlay::cancel()
{
    press(gui().cancel_button());
}

void OperatorPlay::toggle_eq()
{
    press(gui().eq_button());
}

void OperatorPlay::drag_curve()
{
    CurveWidget *curve = gui().curve();
    if (!curve->isVisible() || curve->width() < 10 || curve->height() < 10)
        return;
    const auto place = [this, curve] {
        return QPoint(random.below(curve->width()), random.below(curve->height()));
    };
    QTest::mousePress(curve, Qt::LeftButton, Qt::NoModifier, place());
    for (int i = random.between(1, 8); i > 0; --i)
        QTest::mouseMove(curve, place());
    QTest::mouseRelease(curve, Qt::LeftButton, Qt::NoModifier, place());
}

void OperatorPlay::identify()
{
    press(gui().identify_button());
}

void OperatorPlay::purge()
{
    trigger("Pu&rge AES67 sessions");
}

void OperatorPlay::update_firmware()
{
    if (gui().selected_devices().size() < 12)
        press(gui().row("firmware_version").button);
}

void OperatorPlay::upload_file()
{
    if (gui().selected_devices().size() < 12)
        trigger("L&PI upload");
}

void OperatorPlay::save_or_load_backup()
{
    for (const auto &[key, row] : gui().rows()) {
        if (row.extra_widgets.size() != 2)
            continue;
        QWidget *button = row.extra_widgets[static_cast<size_t>(random.below(2))];
        return press(qobject_cast<QPushButton *>(button));
    }
}
