// The panel by keys and mouse as the window system brings them: where the focus goes, what typing
// replaces, what is marked as changed.
#include "support/dialog_probe.h"
#include "support/panel_case.h"

#include <QAbstractItemView>
#include <QWindow>

class PanelKeysTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<PanelCase> window;

    QWindow *handle() { return window->gui->widget().windowHandle(); }
    QPoint place_of(QWidget *widget, QPoint position)
    {
        return widget->mapTo(&window->gui->widget(), position);
    }
    QScrollBar *down() { return window->gui->property_scroll()->verticalScrollBar(); }

    void press_key(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::keyClick(handle(), static_cast<Qt::Key>(key), modifiers);
    }
    void type_keys(const QString &text)
    {
        for (const QChar letter : text)
            QTest::keyClick(handle(), letter.toLatin1());
    }
    // Near the right end, where a cursor would stand behind the text.
    void click(QWidget *widget)
    {
        window->gui->property_scroll()->ensureWidgetVisible(widget);
        QCoreApplication::processEvents();
        QTest::mouseClick(handle(), Qt::LeftButton, {},
                          place_of(widget, {widget->width() / 2, widget->height() / 2}));
    }

    // Two loudspeakers that agree about nothing, both selected.
    void select_two_that_differ()
    {
        window->add({{"ui", QJsonObject{{"name", "x"}, {"loc", "left"}}},
                     {"dsp", QJsonObject{{"delay", 1}, {"level", 1}}}});
        window->add({{"ui", QJsonObject{{"name", "y"}, {"loc", "right"}}},
                     {"dsp", QJsonObject{{"delay", 2}, {"level", 2}}}});
        window->select({0, 1});
        QCoreApplication::processEvents();
        QCOMPARE(window->row("ui/loc").line_edit->text(), QString("..."));
        QCOMPARE(window->row("dsp/delay").spinner->text(), QString("..."));
    }

    QList<QJsonObject> sent_to(int number) { return window->sent_to(number); }

    bool list_has_focus() { return QApplication::focusWidget() == window->gui->view(); }

private slots:
    void init()
    {
        window = std::make_unique<PanelCase>();
        QVERIFY(QTest::qWaitForWindowActive(&window->gui->widget()));
    }
    void cleanup() { window.reset(); }

    // ---- mixed fields

    void the_click_that_starts_the_edit_selects_a_mixed_text()
    {
        select_two_that_differ();
        click(window->row("ui/loc").line_edit);
        QVERIFY(window->gui->is_editing());
        type_keys("Stalls");
        QCOMPARE(window->row("ui/loc").line_edit->text(), QString("Stalls"));
        window->press_confirm();
        for (const int number : {0, 1})
            QCOMPARE(sent_to(number),
                     QList<QJsonObject>{set_params({{"ui", QJsonObject{{"loc", "Stalls"}}}})});
    }

    void the_click_that_starts_the_edit_selects_a_mixed_number()
    {
        select_two_that_differ();
        click(window->row("dsp/delay").spinner);
        QVERIFY(window->gui->is_editing());
        type_keys("5");
        QCOMPARE(window->row("dsp/delay").value, QVariant(5.0));
        window->press_confirm();
        for (const int number : {0, 1})
            QCOMPARE(sent_to(number), QList<QJsonObject>{set_params(dsp("delay", 5))});
    }

    void a_click_during_the_edit_selects_a_mixed_field()
    {
        select_two_that_differ();
        window->press_edit();
        click(window->row("ui/loc").line_edit);
        QCOMPARE(window->row("ui/loc").line_edit->selectedText(), QString("..."));
        click(window->row("dsp/delay").spinner);
        QCOMPARE(window->row("dsp/delay").spinner->lineEdit()->selectedText(), QString("..."));
        type_keys("7");
        QCOMPARE(window->row("dsp/delay").value, QVariant(7.0));
    }

    void keys_and_programs_that_bring_the_focus_select_a_mixed_field()
    {
        select_two_that_differ();
        window->press_edit();
        const PanelRow name = window->row("ui/name");
        const PanelRow delay = window->row("dsp/delay");
        for (const Qt::FocusReason reason : {Qt::TabFocusReason, Qt::BacktabFocusReason,
                                             Qt::ShortcutFocusReason, Qt::OtherFocusReason}) {
            name.line_edit->deselect();
            window->gui->view()->setFocus();
            name.line_edit->setFocus(reason);
            QCOMPARE(name.line_edit->selectedText(), QString("..."));
            delay.spinner->lineEdit()->deselect();
            delay.spinner->setFocus(reason);
            QCOMPARE(delay.spinner->lineEdit()->selectedText(), QString("..."));
        }
        name.line_edit->setFocus();
        press_key(Qt::Key_Tab);
        QCOMPARE(window->row("ui/loc").line_edit->selectedText(), QString("..."));
        type_keys("a");
        QCOMPARE(window->row("ui/loc").line_edit->text(), QString("a"));
    }

    void a_selection_drawn_by_the_mouse_stays()
    {
        select_two_that_differ();
        window->press_edit();
        QLineEdit *location = window->row("ui/loc").line_edit;
        const int middle = location->height() / 2;
        QTest::mousePress(handle(), Qt::LeftButton, {}, place_of(location, {1, middle}));
        location->setSelection(0, 1); // what the mouse would have drawn
        QTest::mouseRelease(handle(), Qt::LeftButton, {}, place_of(location, {8, middle}));
        QCOMPARE(location->selectedText(), QString("."));
    }

    void a_click_into_a_text_that_all_share_sets_the_cursor()
    {
        window->add({});
        window->select({0});
        QCoreApplication::processEvents();
        window->press_edit();
        click(window->row("ui/loc").line_edit);
        QVERIFY(!window->row("ui/loc").line_edit->hasSelectedText());
        type_keys("x");
        QVERIFY(window->row("ui/loc").line_edit->text().size() == 6); // "Stage" and it
    }

    // ---- the focus

    void from_the_start_the_arrows_go_to_the_list()
    {
        std::unique_ptr<WindowHandle> fresh = std::make_unique<WindowHandle>();
        QCOMPARE(fresh->widget().focusWidget(), fresh->view());
    }

    void edit_puts_the_focus_on_the_first_editor_in_sight()
    {
        window->add({});
        window->select({0});
        QCoreApplication::processEvents();
        QTest::mouseClick(window->gui->edit_button(), Qt::LeftButton);
        QCOMPARE(QApplication::focusWidget(), window->row("ui/name").line_edit);
        window->press_cancel();

        // A product that is known has nothing to choose; further down the first row is another.
        const QWidget *mute = window->row("dsp/mute").holder;
        down()->setValue(mute->y());
        window->gui->edit_button()->setFocus();
        press_key(Qt::Key_Space);
        QVERIFY(window->gui->is_editing());
        QCOMPARE(QApplication::focusWidget(), window->row("dsp/mute").check_box);
        QCOMPARE(down()->value(), mute->y());
    }

    void confirm_and_cancel_give_the_focus_to_the_list()
    {
        window->add({});
        window->select({0});
        QCoreApplication::processEvents();
        for (const bool by_confirm : {true, false}) {
            window->press_edit();
            window->type("ui/loc", "somewhere");
            QVERIFY(!list_has_focus());
            by_confirm ? window->press_confirm() : window->press_cancel();
            QVERIFY(list_has_focus());

            window->press_edit();
            (by_confirm ? window->gui->confirm_button() : window->gui->cancel_button())->setFocus();
            press_key(Qt::Key_Space);
            QVERIFY(!window->gui->is_editing());
            QVERIFY(list_has_focus());
        }
    }

    void an_edit_dropped_by_a_selection_gives_the_focus_to_the_list()
    {
        window->add({});
        window->add({});
        window->select({0});
        window->press_edit();
        window->type("ui/loc", "lost");
        window->gui->view()->selectAll();
        QVERIFY(!window->gui->is_editing());
        QVERIFY(list_has_focus());
    }

    void a_search_that_drops_the_edit_keeps_the_focus()
    {
        window->add({{"ui", QJsonObject{{"name", "abc"}}}});
        window->select({0});
        window->press_edit();
        window->gui->search_box()->setFocus();
        type_keys("zz");
        QTRY_VERIFY(!window->gui->is_editing());
        QVERIFY(window->gui->search_box()->hasFocus()
                || window->gui->search_box()->lineEdit()->hasFocus());
    }

    void a_refused_confirm_leaves_the_focus_where_it_is()
    {
        DialogProbe probe;
        window->add({});
        window->select({0});
        window->press_edit();
        window->type("ui/name", QString(128, 'x'));
        window->press_confirm();
        QCOMPARE(probe.titles, QStringList("Value error"));
        QVERIFY(window->gui->is_editing());
        QVERIFY(!list_has_focus());
    }

    // ---- keys

    void renaming_by_keyboard_takes_down_f2_the_text_and_ctrl_return()
    {
        window->add({});
        window->add({});
        window->select({0});
        window->gui->view()->setFocus();
        press_key(Qt::Key_Down);
        QCOMPARE(window->gui->selected_devices().size(), std::size_t{1});
        press_key(Qt::Key_F2);
        QVERIFY(window->gui->is_editing());
        QCOMPARE(QApplication::focusWidget(), window->row("ui/name").line_edit);
        QCOMPARE(window->row("ui/name").line_edit->selectedText(), QString("Left"));
        type_keys("Hall");
        press_key(Qt::Key_Return, Qt::ControlModifier);
        QVERIFY(!window->gui->is_editing());
        QVERIFY(list_has_focus());
        QCOMPARE(sent_to(1),
                 QList<QJsonObject>{set_params({{"ui", QJsonObject{{"name", "Hall"}}}})});
        QVERIFY(sent_to(0).isEmpty());
    }

    void f2_brings_the_name_into_sight_and_needs_a_selection()
    {
        window->add({});
        press_key(Qt::Key_F2);
        QVERIFY(!window->gui->is_editing());
        window->select({0});
        QCoreApplication::processEvents();
        down()->setValue(down()->maximum());
        press_key(Qt::Key_F2);
        QVERIFY(window->gui->is_editing());
        QVERIFY(down()->value() <= window->row("ui/name").holder->y());
        // Again, from another row of the edit.
        window->row("ui/loc").line_edit->setFocus();
        press_key(Qt::Key_F2);
        QCOMPARE(QApplication::focusWidget(), window->row("ui/name").line_edit);
    }

    void ctrl_return_and_the_keypads_enter_confirm_from_anywhere_in_the_window()
    {
        window->add({});
        window->select({0});
        for (const int key : {Qt::Key_Return, Qt::Key_Enter}) {
            window->press_edit();
            window->type("ui/loc", QString::number(key));
            window->gui->search_box()->setFocus();
            press_key(key, Qt::ControlModifier);
            QVERIFY(!window->gui->is_editing());
        }
        QCOMPARE(sent_to(0).size(), 2);
        press_key(Qt::Key_Return, Qt::ControlModifier); // outside an edit
        QVERIFY(!window->gui->is_editing());
    }

    void escape_in_any_editor_of_the_panel_cancels()
    {
        window->add({});
        window->select({0});
        for (const char *key : {"ui/name", "ui/order"}) {
            window->press_edit();
            window->type(key, "7");
            press_key(Qt::Key_Escape);
            QVERIFY2(!window->gui->is_editing(), key);
            QVERIFY(list_has_focus());
        }
        for (QWidget *editor : std::initializer_list<QWidget *>{window->row("dsp/mute").check_box,
                                                                window->row("dsp/level").combo}) {
            window->press_edit();
            editor->setFocus();
            press_key(Qt::Key_Escape);
            QVERIFY2(!window->gui->is_editing(), editor->metaObject()->className());
        }
        QVERIFY(sent_to(0).isEmpty());
    }

    void escape_closes_an_open_list_and_leaves_the_edit()
    {
        window->add({});
        window->select({0});
        QCoreApplication::processEvents();
        window->press_edit();
        ModifiedComboBox *level = window->row("dsp/level").combo;
        click(level);
        QTRY_VERIFY(level->view()->isVisible());
        QTest::keyClick(QApplication::activePopupWidget()->windowHandle(), Qt::Key_Escape);
        QTRY_VERIFY(!level->view()->isVisible());
        QVERIFY(window->gui->is_editing());
        press_key(Qt::Key_Escape);
        QVERIFY(!window->gui->is_editing());
    }

    void escape_outside_the_panel_cancels_nothing()
    {
        window->add({});
        window->select({0});
        window->press_edit();
        window->gui->view()->setFocus();
        press_key(Qt::Key_Escape);
        QVERIFY(window->gui->is_editing());
    }

    // ---- what is changed

    void captions_of_what_differs_from_a_device_are_bold()
    {
        window->add(dsp("level", 2));
        window->add(dsp("level", 4));
        window->select({0, 1});
        window->press_edit();
        const auto is_marked = [this](const char *key) {
            const PanelRow row = window->row(key);
            const QWidget *input = row.combo ? static_cast<QWidget *>(row.combo) : row.line_edit;
            const bool is_said = input->accessibleDescription().contains("differs");
            return row.caption->font().bold() && is_said;
        };
        QVERIFY(!is_marked("dsp/level")); // mixed, but nobody has changed it
        window->pick("dsp/level", "0 dB");
        QTRY_VERIFY(is_marked("dsp/level")); // one of them has another
        window->type("ui/name", "New");
        QTRY_VERIFY(is_marked("ui/name"));
        window->type("ui/name", "Left");
        QTRY_VERIFY(!is_marked("ui/name")); // as both have it
        QVERIFY(window->row("ui/name").edited);
        QVERIFY(!is_marked("ui/loc"));
        window->press_cancel();
        QVERIFY(!is_marked("dsp/level"));
        QVERIFY(window->row("dsp/level").combo->accessibleDescription().isEmpty());
    }

    void captions_are_bold_after_a_backup_was_loaded()
    {
        window->add({});
        window->select({0});
        QJsonObject backup = loudspeaker_report("x");
        backup.insert("dsp", QJsonObject{{"delay", 3.5}, {"bank", 1}, {"level", 4}});
        window->gui->restore_backup(backup, PF_BACKUP);
        QTRY_VERIFY(window->row("dsp/delay").caption->font().bold());
        QVERIFY(!window->row("dsp/bank").caption->font().bold());
        QVERIFY(!window->row("dsp/level").caption->font().bold());
        window->press_confirm();
        QVERIFY(!window->row("dsp/delay").caption->font().bold());
    }

    void nothing_moves_when_a_caption_becomes_bold()
    {
        window->add({});
        window->select({0});
        window->press_edit();
        QCoreApplication::processEvents();
        const QRect before = window->row("ui/name").line_edit->geometry();
        const int left = window->row("ui/name").holder->x();
        window->type("ui/name", "New");
        QTRY_VERIFY(window->row("ui/name").caption->font().bold());
        QCoreApplication::processEvents();
        QCOMPARE(window->row("ui/name").line_edit->geometry(), before);
        QCOMPARE(window->row("ui/name").holder->x(), left);
    }

    // ---- how the rows are made

    void arrow_keys_step_by_a_tenth_of_the_number()
    {
        window->add({{"dsp", QJsonObject{{"eq0", QJsonObject{{"freq", 500}}}}}});
        window->select({0});
        window->press_edit();
        ValueSpinner *frequency = window->row("dsp/eq0/freq").spinner;
        frequency->setFocus();
        press_key(Qt::Key_Up);
        QCOMPARE(frequency->value(), 510.0);
        window->type("dsp/eq0/freq", "5000");
        press_key(Qt::Key_Up);
        QCOMPARE(frequency->value(), 5100.0);
    }

    void a_gap_stands_in_front_of_each_button()
    {
        window->add({});
        window->select({0});
        QCoreApplication::processEvents();
        const PanelRow firmware = window->row("firmware_version");
        QCOMPARE(firmware.button->x() - firmware.line_edit->geometry().right() - 1, 10);
        const std::vector<QWidget *> buttons = window->row("dummy/load_restore/0").extra_widgets;
        QCOMPARE(buttons[0]->x(), 10);
        QCOMPARE(buttons[1]->x() - buttons[0]->geometry().right() - 1, 10);
    }

    void the_panel_keeps_its_place_sideways_too()
    {
        window->add({});
        window->select({0});
        window->press_edit();
        window->gui->property_scroll()->widget()->setMinimumWidth(2000);
        QCoreApplication::processEvents();
        QScrollBar *across = window->gui->property_scroll()->horizontalScrollBar();
        QTRY_VERIFY(across->maximum() > 500);
        window->row("dsp/eq3/gain").spinner->setFocus();
        across->setValue(70);
        window->press_cancel();
        QCOMPARE(across->value(), 70);
    }
};

WINDOW_TEST_MAIN(PanelKeysTest)
#include "panel_keys_test.moc"
