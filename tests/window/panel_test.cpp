// The property panel in the real window.
#include "support/painted.h"
#include "support/panel_case.h"

#include <QAbstractItemView>
#include <QHBoxLayout>

class PanelTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<PanelCase> window;

    // The panel's editors and buttons in the order in which Tab visits them.
    QWidgetList tab_order()
    {
        QWidgetList order;
        QWidget *content = window->gui->property_scroll()->widget();
        for (QWidget *widget = content->nextInFocusChain(); widget && widget != content;
             widget = widget->nextInFocusChain())
            if (content->isAncestorOf(widget) && widget->isVisible() && !widget->focusProxy()
                && (widget->focusPolicy() & Qt::TabFocus))
                order.append(widget);
        return order;
    }

    void compare_tab_order_with_reading()
    {
        QWidget *content = window->gui->property_scroll()->widget();
        QCoreApplication::processEvents(); // lays the rows out
        QPoint last(-1, -1);
        const QWidgetList order = tab_order();
        QVERIFY(order.size() > 20);
        for (QWidget *widget : order) {
            const QPoint place = widget->mapTo(content, QPoint(0, 0));
            const bool is_behind
                = place.y() > last.y() + 5 || (place.y() >= last.y() - 5 && place.x() > last.x());
            QVERIFY2(is_behind, qPrintable(widget->accessibleName()));
            last = place;
        }
    }

private slots:
    void init() { window = std::make_unique<PanelCase>(); }
    void cleanup() { window.reset(); }

    // A check box holds the third state as a kind of checked one, and does not paint itself when it
    // becomes the other kind.
    void a_mixed_check_box_that_becomes_checked_is_painted()
    {
        window->add(dsp("mute", true));
        FakeDevice &other = window->add({});
        window->select({0, 1});
        QCheckBox *mute = window->row("dsp/mute").check_box;
        QCOMPARE(mute->checkState(), Qt::PartiallyChecked);
        Painted paints(mute);
        QTRY_VERIFY(paints.times > 0);
        QCoreApplication::processEvents();
        paints.times = 0;
        other.report("dsp", "mute", true);
        QCOMPARE(mute->checkState(), Qt::Checked);
        QTRY_VERIFY(paints.times > 0);
    }

    void nothing_selected_hides_all_rows()
    {
        window->add({});
        QCOMPARE(window->gui->rows().size(), catalogue().property_keys.size());
        for (const std::string &key : catalogue().property_keys)
            QVERIFY(!window->is_shown(key));
        QVERIFY(!window->gui->edit_button()->isEnabled());

        window->select({0});
        QVERIFY(window->is_shown("ui/name"));
        window->gui->view()->clearSelection();
        for (const std::string &key : catalogue().property_keys) {
            QVERIFY(!window->is_shown(key));
            QVERIFY(!window->row(key).caption || !window->row(key).caption->isVisible());
        }
        QVERIFY(!window->gui->edit_button()->isEnabled());
    }

    void a_selected_device_shows_its_values()
    {
        window->add({{"ui", QJsonObject{{"name", "Hall"}}},
                     {"dsp", QJsonObject{{"delay", 1.5}, {"mute", true}, {"bank", 2}}}});
        window->select({0});
        QCOMPARE(window->row("ui/name").line_edit->text(), QString("Hall"));
        QCOMPARE(window->row("ui/name").caption->text(), QString("Name"));
        QCOMPARE(window->row("dsp/delay").spinner->text(), QString("1.500 m"));
        QCOMPARE(window->row("dsp/mute").check_box->checkState(), Qt::Checked);
        QVERIFY(!window->row("dsp/mute").check_box->isTristate());
        QCOMPARE(window->row("dsp/level").combo->currentText(), QString("0 dB"));
        QCOMPARE(window->row("rtp/lock").text_label->text(), QString("locked"));
        QCOMPARE(window->row("firmware_version").button->text(), QString("Update"));
        QVERIFY(window->gui->edit_button()->isEnabled());
        for (const char *key : {"ui/name", "dsp/delay", "dsp/mute", "dsp/level"}) {
            QVERIFY(window->is_shown(key));
            QVERIFY(!window->row(key)
                         .holder->findChild<QWidget *>(QString(), Qt::FindDirectChildrenOnly)
                         ->isEnabled());
        }
    }

    void preset_follows_product_and_bank()
    {
        window->add(dsp("bank", 3));
        window->add({}, 4);
        window->select({0});
        QCOMPARE(window->row("dsp/preset").combo->currentText(), QString("Flat in-wall"));
        window->select({0, 1});
        QCOMPARE(window->row("dsp/preset").combo->currentText(), QString("0 (not found)"));
    }

    void mixed_rows_say_so()
    {
        window->add({{"ui", QJsonObject{{"name", "x"}}},
                     {"dsp", QJsonObject{{"delay", 1}, {"mute", true}, {"level", 1}}}});
        window->add({{"ui", QJsonObject{{"name", "y"}}},
                     {"dsp", QJsonObject{{"delay", 2}, {"mute", false}, {"level", 2}}}});
        window->select({0, 1});
        QCOMPARE(window->row("ui/name").line_edit->text(), QString("..."));
        QCOMPARE(window->row("dsp/delay").spinner->text(), QString("..."));
        QVERIFY(window->row("dsp/delay").spinner->mixed);
        QCOMPARE(window->row("dsp/mute").check_box->checkState(), Qt::PartiallyChecked);
        QCOMPARE(window->row("dsp/level").combo->currentText(), QString("..."));
        QCOMPARE(window->row("dsp/level").combo->count(), 8);
        window->select({0});
        QCOMPARE(window->row("dsp/level").combo->count(), 7);
        QCOMPARE(window->row("dsp/delay").spinner->text(), QString("1.000 m"));
        QVERIFY(!window->row("dsp/mute").check_box->isTristate());
        // A box that leaves its third state would be checked by itself.
        window->select({0, 1});
        window->select({1});
        QCOMPARE(window->row("dsp/mute").check_box->checkState(), Qt::Unchecked);
    }

    void a_value_that_was_never_reported_reads_as_a_question()
    {
        QJsonObject state{{"product", "KESTA"}, {"seq", 0}, {"device_id", "x"}, {"product_id", 3}};
        window->devices.push_back(
            std::make_unique<FakeDevice>(window->gui.get(), "127.0.0.40", state));
        window->select({0});
        QCOMPARE(window->row("ui/name").line_edit->text(), QString("?"));
        QCOMPARE(window->row("dsp/mute").check_box->checkState(), Qt::PartiallyChecked);
        QCOMPARE(window->row("dsp/level").combo->currentText(), QString("..."));
    }

    void a_level_that_is_no_choice_has_an_item_until_it_is_one()
    {
        FakeDevice &device = window->add(dsp("level", 9));
        window->select({0});
        ModifiedComboBox *combo = window->row("dsp/level").combo;
        QCOMPARE(combo->currentText(), QString("9 (not found)"));
        device.report("dsp", "level", 10);
        QCOMPARE(combo->currentText(), QString("10 (not found)"));
        QCOMPARE(combo->count(), 8);
        device.report("dsp", "level", 4);
        QCOMPARE(combo->currentText(), QString("0 dB"));
        QCOMPARE(combo->count(), 7);
    }

    void picking_another_item_drops_the_extra_one_at_the_next_refresh()
    {
        window->add(dsp("level", 9));
        window->select({0});
        window->press_edit();
        window->pick("dsp/level", "-6 dB");
        window->press_cancel();
        QCOMPARE(window->row("dsp/level").combo->currentText(), QString("9 (not found)"));
        QCOMPARE(window->row("dsp/level").combo->count(), 8);
    }

    void source_channels_follow_the_session_in_one_selection()
    {
        const QJsonArray list{QJsonObject{{"n", "b"}, {"i", "x"}, {"c", 2}},
                              QJsonObject{{"n", "a"}, {"i", "y"}, {"c", 3}}};
        window->add({{"streams", QJsonObject{{"list", list}}},
                     {"stream", QJsonObject{{"name", "b"}, {"ch0", 4}, {"ch1", -1}}}},
                    1000);
        window->select({0});
        ModifiedComboBox *sessions = window->row("stream/name").combo;
        QCOMPARE(sessions->itemText(0), QString("<disable>"));
        QCOMPARE(sessions->itemText(1), QString("a (y)"));
        QCOMPARE(sessions->itemText(2), QString("b (x)"));
        QCOMPARE(sessions->currentIndex(), 2);
        ModifiedComboBox *channel = window->row("stream/ch0").combo;
        QCOMPARE(channel->count(), 4);
        QCOMPARE(channel->currentText(), QString("5 (not found)"));
        QCOMPARE(window->row("stream/ch1").combo->currentText(), QString("Disabled"));
    }

    // A row that is hidden now still holds what a module's stream was.
    void source_channels_of_a_loudspeaker_follow_no_module_selected_before()
    {
        const QJsonObject manual{{"en", true}, {"cc", 2}};
        const QJsonArray list{QJsonObject{{"n", "a"}, {"i", "x"}, {"c", 5}}};
        window->add({{"stream", QJsonObject{{"rtp", manual}}}}, 1000);
        window->add({{"streams", QJsonObject{{"list", list}}},
                     {"stream", QJsonObject{{"name", "a"}, {"ch0", 4}}}});
        window->select({0});
        QVERIFY(window->is_shown("stream/rtp/en"));
        window->select({1});
        QVERIFY(!window->is_shown("stream/rtp/en"));
        const ModifiedComboBox *channel = window->row("stream/ch0").combo;
        QCOMPARE(channel->count(), 6);
        QCOMPARE(channel->currentText(), QString("5"));
    }

    void source_channels_follow_the_manual_stream_of_the_new_selection()
    {
        const QJsonObject manual{{"en", true}, {"cc", 2}};
        window->add({{"stream", QJsonObject{{"rtp", manual}}}}, 1000);
        window->add({{"stream", QJsonObject{{"rtp", QJsonObject{{"en", false}, {"cc", 7}}}}}},
                    1000);
        window->select({0});
        QCOMPARE(window->row("stream/ch0").desc.choices.size(), std::size_t{3});
        window->select({1});
        QCOMPARE(window->row("stream/ch0").desc.choices.size(), std::size_t{1});
        window->select({0});
        QCOMPARE(window->row("stream/ch0").desc.choices.size(), std::size_t{3});
    }

    void a_refresh_that_changes_no_descriptor_keeps_editor_and_popup()
    {
        FakeDevice &device = window->add(dsp("level", 9));
        FakeDevice &neighbour = window->add({});
        window->select({0});
        const QPointer<QLineEdit> name = window->row("ui/name").line_edit;
        const QPointer<ModifiedComboBox> level = window->row("dsp/level").combo;
        window->press_edit();
        level->showPopup();
        QTRY_VERIFY(level->view()->isVisible());
        device.report("dsp", "level", 2);
        neighbour.report("dsp", "level", 2);
        window->gui->panel().refresh_all_rows();
        QVERIFY(level->view()->isVisible());
        QCOMPARE(level->currentText(), QString("9 (not found)"));
        level->hidePopup();
        window->press_cancel();
        QCOMPARE(level->currentText(), QString("-6 dB"));
        QVERIFY(name && name == window->row("ui/name").line_edit);
        QVERIFY(level && level == window->row("dsp/level").combo);
    }

    void the_cursor_stays_when_the_same_text_is_shown_again()
    {
        window->add({{"ui", QJsonObject{{"name", "Hall"}}}});
        window->select({0});
        QLineEdit *name = window->row("ui/name").line_edit;
        name->setCursorPosition(2);
        window->gui->panel().refresh_all_rows();
        QCOMPARE(name->cursorPosition(), 2);
    }

    void a_meter_shows_for_one_device_only()
    {
        window->add({});
        window->add({});
        for (const auto &device : window->devices)
            device->record()->properties.own("rtp/lock").kind = PROP_METER;
        window->select({0});
        QVERIFY(window->is_shown("rtp/lock"));
        QVERIFY(window->row("rtp/lock").meter_widget);
        window->select({0, 1});
        QVERIFY(!window->is_shown("rtp/lock"));
        window->select({1});
        QVERIFY(window->is_shown("rtp/lock"));
    }

    void headers_stand_in_the_middle_without_caption()
    {
        window->add({});
        window->select({0});
        const PanelRow header = window->row("dummy/header/1");
        QCOMPARE(header.text_label->text(), QString("<b>AES67</b>\n"));
        QCOMPARE(header.caption->text(), QString());
        QVERIFY(!header.holder->autoFillBackground());
        QCOMPARE(header.text_label->alignment(), Qt::Alignment(Qt::AlignCenter));
        // Ten pixels of room above the text.
        QLabel plain(header.text_label->text());
        QCOMPARE(header.text_label->sizeHint().height(), plain.sizeHint().height() + 10);
    }

    void an_unknown_pseudo_row_is_never_seen()
    {
        FakeDevice &device = window->add({});
        device.record()->properties.own("dummy/header/1").path = {"dummy", "else", "1"};
        window->select({0});
        const PanelRow prop = window->row("dummy/header/1");
        QCOMPARE(prop.text_label->text(), QString("error"));
        QVERIFY(prop.holder->isVisible());
        QVERIFY(!prop.text_label->isVisible());
        QCOMPARE(prop.row_layout->count(), 0);
    }

    void buttons_work_outside_an_edit()
    {
        window->add({});
        window->select({0});
        const PanelRow backup = window->row("dummy/load_restore/0");
        QCOMPARE(backup.extra_widgets.size(), std::size_t{2});
        for (const QWidget *button : backup.extra_widgets)
            QVERIFY(button->isEnabled());
        QVERIFY(window->row("firmware_version").button->isEnabled());
        QVERIFY(!window->row("firmware_version").line_edit->isEnabled());
    }

    void modules_and_loudspeakers_share_what_both_have()
    {
        window->add({}, 3);
        window->add({}, 1000);
        window->select({0, 1});
        QVERIFY(!window->is_shown("dsp/level"));
        QVERIFY(window->is_shown("ui/name"));
        QVERIFY(window->is_shown("dummy/header/1"));
        QVERIFY(window->is_shown("dummy/load_restore/0"));
    }

    void the_tab_key_goes_as_one_reads_after_any_rebuild()
    {
        window->add({}, 3);
        window->add({}, 1000);
        window->select({0});
        window->press_edit();
        compare_tab_order_with_reading();
        window->select({1});
        window->select({0});
        window->press_edit();
        compare_tab_order_with_reading();

        // By the key itself: from the name to the location.
        window->row("ui/name").line_edit->setFocus();
        QTRY_VERIFY(window->row("ui/name").line_edit->hasFocus());
        QTest::keyClick(window->gui->widget().windowHandle(), Qt::Key_Tab);
        QTRY_VERIFY(window->row("ui/loc").line_edit->hasFocus());
    }

    void every_editor_has_its_caption_as_name_and_buddy()
    {
        window->add({});
        window->select({0});
        int editors = 0;
        for (const std::string &key : catalogue().property_keys) {
            const PanelRow prop = window->row(key);
            for (QWidget *editor : std::initializer_list<QWidget *>{prop.line_edit, prop.spinner,
                                                                    prop.check_box, prop.combo}) {
                if (!editor)
                    continue;
                QCOMPARE(editor->accessibleName(), prop.caption->text());
                QCOMPARE(prop.caption->buddy(), editor);
                ++editors;
            }
        }
        QVERIFY(editors > 30);
    }

    void a_row_may_be_rebuilt_by_the_click_on_its_editor()
    {
        FakeDevice &device = window->add({});
        window->select({0});
        const QPointer<ValueSpinner> old = window->row("dsp/delay").spinner;
        device.record()->properties.own("dsp/delay").decimals = 1; // seen at the next refresh
        window->gui->property_scroll()->ensureWidgetVisible(old);
        QTest::mouseClick(old.data(), Qt::LeftButton);
        QVERIFY(window->gui->is_editing());
        QVERIFY(window->row("dsp/delay").spinner != old);
        QTRY_VERIFY(!old);
        QVERIFY(window->row("dsp/delay").spinner->isEnabled());
    }

    void a_row_may_be_rebuilt_by_the_pick_in_its_list()
    {
        FakeDevice &device = window->add(dsp("level", 1));
        window->select({0});
        window->press_edit();
        const QPointer<ModifiedComboBox> old = window->row("dsp/level").combo;
        device.record()->properties.own("dsp/level").choices.pop_back();
        window->gui->panel().mark("dsp/level");
        window->pick("dsp/level", "-12 dB");
        QTRY_VERIFY(!old);
        QCOMPARE(window->row("dsp/level").combo->currentText(), QString("-12 dB"));
    }

    void identify_follows_a_selected_device_that_comes_online()
    {
        FakeDevice &device = window->add({});
        device.record()->online = false;
        window->select({0});
        QVERIFY(!window->gui->identify_button()->isEnabled());
        device.report();
        QVERIFY(window->gui->identify_button()->isEnabled());
    }
};

WINDOW_TEST_MAIN(PanelTest)
#include "panel_test.moc"
