// The edit transaction in the real window, by keys and mouse.
#include "support/dialog_probe.h"
#include "support/edit_case.h"

class EditTest : public EditCase
{
    Q_OBJECT

private slots:
    void init() { window = std::make_unique<PanelCase>(); }
    void cleanup() { window.reset(); }

    void confirm_with_nothing_edited_sends_nothing()
    {
        DialogProbe probe;
        window->add({});
        window->select({0});
        window->press_edit();
        QVERIFY(window->gui->is_editing());
        QVERIFY(!window->gui->edit_button()->isEnabled());
        QVERIFY(window->gui->confirm_button()->isEnabled());
        QVERIFY(window->gui->cancel_button()->isEnabled());
        window->press_confirm();
        QVERIFY(!window->gui->is_editing());
        QVERIFY(window->gui->edit_button()->isEnabled());
        QVERIFY(!window->gui->confirm_button()->isEnabled());
        QVERIFY(sent_to(0).isEmpty());
        QVERIFY(probe.texts.isEmpty());
    }

    void only_the_device_that_differs_is_told()
    {
        window->add(dsp("level", 2));
        window->add(dsp("level", 4));
        window->select({0, 1});
        window->press_edit();
        window->pick("dsp/level", "0 dB");
        window->press_confirm();
        QCOMPARE(sent_to(0), QList<QJsonObject>{set_params(dsp("level", 4))});
        QVERIFY(sent_to(1).isEmpty());
        QVERIFY(window->gui->discovery_timer().isActive());
        QVERIFY(window->gui->discovery_timer().interval() <= 10);

        device(0).report("dsp", "level", 4);
        window->press_edit();
        window->press_confirm();
        QCOMPARE(sent_to(0), QList<QJsonObject>{set_params(dsp("level", 4))}); // nothing new
    }

    void of_200_devices_exactly_those_that_differ_are_told()
    {
        for (int i = 0; i < 200; ++i)
            window->add(dsp("level", i % 2 ? 4 : 2));
        window->gui->view()->setFocus();
        QTest::keyClick(window->gui->view(), Qt::Key_A, Qt::ControlModifier);
        QCOMPARE(window->gui->selected_devices().size(), std::size_t{200});
        window->press_edit();
        window->pick("dsp/level", "0 dB");
        window->press_confirm();
        for (int i = 0; i < 200; ++i) {
            const QList<QJsonObject> expected{set_params(dsp("level", 4))};
            QCOMPARE(sent_to(i), i % 2 ? QList<QJsonObject>() : expected);
        }
    }

    void typed_texts_go_out_together()
    {
        window->add({});
        window->select({0});
        window->press_edit();
        window->type("ui/name", "Hall");
        window->type("ui/loc", "Stage 2");
        window->press_confirm();
        const QJsonObject ui{{"name", "Hall"}, {"loc", "Stage 2"}};
        QCOMPARE(sent_to(0), QList<QJsonObject>{set_params({{"ui", ui}})});
        // Shown is what the device reports, not what was sent.
        QCOMPARE(window->row("ui/name").line_edit->text(), QString("Left"));
    }

    void the_minimum_typed_into_a_mixed_number_counts()
    {
        window->add(dsp("delay", 1));
        window->add(dsp("delay", 2));
        window->select({0, 1});
        window->press_edit();
        window->type("dsp/delay", "0");
        QVERIFY(window->row("dsp/delay").edited);
        window->press_confirm();
        for (const int number : {0, 1})
            QCOMPARE(sent_to(number), QList<QJsonObject>{set_params(dsp("delay", 0))});
    }

    void dots_typed_over_the_minimum_take_it_back()
    {
        window->add(dsp("delay", 1));
        window->add(dsp("delay", 2));
        window->select({0, 1});
        window->press_edit();
        window->type("dsp/delay", "0");
        window->type("dsp/delay", "...");
        window->press_confirm();
        for (const int number : {0, 1})
            QVERIFY(sent_to(number).isEmpty());
    }

    void a_number_typed_into_a_mixed_row_goes_to_all_that_differ()
    {
        window->add(dsp("delay", 1));
        window->add(dsp("delay", 2));
        window->select({0, 1});
        window->press_edit();
        window->type("dsp/delay", "2");
        window->press_confirm();
        QCOMPARE(sent_to(0), QList<QJsonObject>{set_params(dsp("delay", 2))});
        QVERIFY(sent_to(1).isEmpty());
    }

    void arrow_keys_leave_a_mixed_number_mixed()
    {
        window->add(dsp("delay", 1));
        window->add(dsp("delay", 2));
        window->select({0, 1});
        window->press_edit();
        QTest::keyClick(window->row("dsp/delay").spinner, Qt::Key_Up);
        QVERIFY(window->row("dsp/delay").edited);
        QVERIFY(!window->row("dsp/delay").value.isValid());
        window->press_confirm();
        QVERIFY(sent_to(0).isEmpty());
    }

    void dots_left_in_a_mixed_text_send_nothing()
    {
        window->add({{"ui", QJsonObject{{"name", "x"}}}});
        window->add({{"ui", QJsonObject{{"name", "y"}}}});
        window->select({0, 1});
        window->press_edit();
        window->type("ui/name", "...");
        window->press_confirm();
        QVERIFY(sent_to(0).isEmpty());
        window->select({0});
        window->press_edit();
        window->type("ui/name", "...");
        window->press_confirm();
        QCOMPARE(sent_to(0).last(), set_params({{"ui", QJsonObject{{"name", "..."}}}}));
    }

    void a_text_that_became_too_long_is_named_at_confirm()
    {
        DialogProbe probe;
        window->add({});
        window->select({0});
        window->press_edit();
        window->type("ui/name", QString(128, 'x'));
        QVERIFY(probe.texts.isEmpty()); // not while typing
        window->press_confirm();
        QCOMPARE(probe.titles, QStringList("Value error"));
        QCOMPARE(probe.texts,
                 QStringList("Field 'Name' has an invalid value: text too long (allows up to 127 "
                             "bytes, but got 128 bytes).\nEither correct it, or cancel editing."));
        QVERIFY(!Qt::mightBeRichText(probe.texts.value(0))); // the line feed breaks the line
        QVERIFY(window->gui->is_editing());
        QVERIFY(sent_to(0).isEmpty());
        window->type("ui/name", QString(127, 'x'));
        window->press_confirm();
        QVERIFY(!window->gui->is_editing());
        QCOMPARE(probe.texts.size(), 1);
    }

    void an_input_refused_from_the_start_is_forgotten_without_a_word()
    {
        DialogProbe probe;
        window->add({}, 1000);
        window->select({0});
        window->press_edit();
        window->type("stream/rtp/ip", "1.2.3");
        window->press_confirm();
        QVERIFY(probe.texts.isEmpty());
        QVERIFY(!window->gui->is_editing());
        QVERIFY(sent_to(0).isEmpty());
    }

    void the_first_bad_row_by_key_is_named()
    {
        DialogProbe probe;
        window->add({}, 1000);
        window->select({0});
        window->press_edit();
        for (const char *key : {"stream/rtp/ip", "stream_tx/ip"})
            if (window->is_shown(key))
                window->type(key, "1.2.3.4x");
        window->press_confirm();
        QCOMPARE(probe.texts,
                 QStringList("Field 'Manual UDP dest. IP' has an invalid value: not a valid IPv4."
                             "\nEither correct it, or cancel editing."));
    }

    void an_offline_device_takes_the_change_into_its_stored_state()
    {
        DialogProbe probe;
        window->add(dsp("level", 1));
        window->add(dsp("level", 1));
        device(0).record()->online = false;
        window->select({0, 1});
        window->press_edit();
        window->pick("dsp/level", "+3 dB");
        window->type("ui/name", "new");
        window->press_confirm();
        QCOMPARE(probe.titles, QStringList("Network error"));
        QCOMPARE(probe.texts,
                 QStringList("<b></b>127.0.0.11: offline<br><br>Changing values on offline devices "
                             "will be <b>discarded</b> when the device comes online again."));
        QVERIFY(Qt::mightBeRichText(probe.texts.value(0)));
        QCOMPARE(window->cell(device(0).record(), "ui/name"), QString("new"));
        QCOMPARE(device(0).record()->value("dsp/level"), QVariant(5));
        device(0).record()->online = true; // only so that the mark goes out
        QVERIFY(sent_to(0).isEmpty());
        QCOMPARE(sent_to(1).size(), 1);
    }

    void a_failed_send_is_told_once_and_not_repeated()
    {
        DialogProbe probe;
        window->add(dsp("level", 1));
        window->add(dsp("level", 1));
        device(0).record()->interface = "gone";
        window->select({0, 1});
        window->press_edit();
        window->pick("dsp/level", "+3 dB");
        window->press_confirm();
        QCOMPARE(probe.texts, QStringList("<b></b>127.0.0.11: network not found"));
        QVERIFY(!window->gui->is_editing());
        QCOMPARE(sent_to(1).size(), 1);
        QCOMPARE(window->row("dsp/level").combo->currentText(), QString("-9 dB"));
    }

    void a_click_on_a_disabled_editor_starts_the_edit_there()
    {
        window->add({});
        window->select({0});
        ValueSpinner *delay = window->row("dsp/delay").spinner;
        window->gui->property_scroll()->ensureWidgetVisible(delay);
        QTest::mouseClick(delay, Qt::LeftButton);
        QVERIFY(window->gui->is_editing());
        QTRY_VERIFY(delay->hasFocus());
        QVERIFY(!window->row("rtp/lock").line_edit);
        QVERIFY(!window->row("firmware_version").line_edit->isEnabled());
    }

    void a_click_on_any_switched_off_editor_starts_the_edit()
    {
        window->add({});
        window->select({0});
        const std::vector<QWidget *> inputs{
            window->row("ui/name").line_edit, window->row("dsp/delay").spinner,
            window->row("dsp/mute").check_box, window->row("dsp/level").combo};
        for (QWidget *input : inputs) {
            window->gui->property_scroll()->ensureWidgetVisible(input);
            QTest::mouseClick(input, Qt::LeftButton);
            QVERIFY2(window->gui->is_editing(), qPrintable(input->accessibleName()));
            window->press_cancel();
            QVERIFY(!window->gui->is_editing());
        }
    }

    void a_partially_checked_box_sends_nothing()
    {
        window->add(dsp("mute", true));
        window->add(dsp("mute", false));
        window->select({0, 1});
        window->press_edit();
        QCheckBox *mute = window->row("dsp/mute").check_box;
        mute->setFocus();
        for (int i = 0; i < 3; ++i)
            QTest::keyClick(mute, Qt::Key_Space);
        QCOMPARE(mute->checkState(), Qt::PartiallyChecked);
        QVERIFY(window->row("dsp/mute").edited);
        window->press_confirm();
        QVERIFY(sent_to(0).isEmpty());
        window->press_edit();
        QTest::keyClick(mute, Qt::Key_Space);
        QCOMPARE(mute->checkState(), Qt::Checked);
        window->press_confirm();
        QCOMPARE(sent_to(1).last(), set_params(dsp("mute", true)));
    }

    void a_new_bank_changes_the_presets_before_confirm()
    {
        window->add({});
        window->select({0});
        window->press_edit();
        window->type("dsp/bank", "3");
        QCOMPARE(window->row("dsp/preset").combo->itemText(0), QString("Flat in-wall"));
        QVERIFY(sent_to(0).isEmpty());
    }

    void a_whole_number_is_cut_towards_zero()
    {
        window->add({{"ui", QJsonObject{{"order", 7}}}});
        window->select({0});
        window->press_edit();
        window->type("ui/order", "2.7");
        QCOMPARE(window->row("ui/order").value, QVariant(2));
        QTest::keyClick(window->row("ui/order").spinner, Qt::Key_Return);
        QCOMPARE(window->row("ui/order").spinner->text(), QString("3")); // rounded on show alone
        window->press_confirm();
        QCOMPARE(sent_to(0).last(), set_params({{"ui", QJsonObject{{"order", 2}}}}));
    }

    void a_number_that_fits_no_int_is_refused_at_confirm()
    {
        DialogProbe probe;
        window->add({});
        window->select({0});
        window->press_edit();
        window->type("ui/order", "1e12");
        window->press_confirm();
        QCOMPARE(probe.titles, QStringList("Value error"));
        QVERIFY(probe.texts.value(0).contains("value is too large"));
    }

    void a_backup_out_of_bounds_becomes_the_bound()
    {
        window->add({});
        window->select({0});
        QJsonObject backup = loudspeaker_report("x");
        backup.insert("dsp", QJsonObject{{"delay", 2000}, {"bank", 3}, {"preset", 2}});
        window->gui->restore_backup(backup, PF_BACKUP);
        QVERIFY(window->gui->is_editing());
        QVERIFY(!window->gui->edit_button()->isEnabled());
        QVERIFY(sent_to(0).isEmpty());
        QCOMPARE(window->row("dsp/delay").spinner->text(), QString("935.000 m"));
        QCOMPARE(window->row("dsp/preset").combo->currentText(), QString("Low-Boost in-wall"));
        window->press_confirm();
        const QJsonObject expected{{"delay", 935}, {"bank", 3}, {"preset", 2}};
        QCOMPARE(sent_to(0).last(), set_params({{"dsp", expected}}));
    }

    void a_refused_text_of_a_backup_shows_and_is_forgotten_at_confirm()
    {
        DialogProbe probe;
        window->add({}, 1000);
        window->select({0});
        const QJsonObject rtp{{"ip", "1.2.3"}};
        window->gui->restore_backup({{"product", "KESTA"}, {"stream", QJsonObject{{"rtp", rtp}}}},
                                    PF_BACKUP);
        const PanelRow address = window->row("stream/rtp/ip");
        QCOMPARE(address.line_edit->text(), QString("1.2.3"));
        QCOMPARE(address.value, QVariant("1.2.3"));
        QVERIFY(!address.edited);
        window->press_confirm();
        QVERIFY(probe.texts.isEmpty());
        QVERIFY(!window->gui->is_editing());
        QVERIFY(sent_to(0).isEmpty());
    }
};

WINDOW_TEST_MAIN(EditTest)
#include "edit_test.moc"
