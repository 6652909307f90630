// The edit transaction in the real window while devices come, go and report.
#include "support/edit_case.h"

class EditReportsTest : public EditCase
{
    Q_OBJECT

private slots:
    void init() { window = std::make_unique<PanelCase>(); }
    void cleanup() { window.reset(); }

    void a_report_held_back_is_taken_up_at_cancel()
    {
        window->add({{"ui", QJsonObject{{"name", "old"}}}});
        window->add({});
        window->select({0});
        window->press_edit();
        device(0).report("ui", "name", "newest");
        device(1).report("ui", "name", "other");
        QVERIFY(device(0).record()->stale);
        QVERIFY(!device(1).record()->stale);
        QCOMPARE(window->row("ui/name").line_edit->text(), QString("old"));
        window->press_cancel();
        QCOMPARE(window->row("ui/name").line_edit->text(), QString("newest"));
        QVERIFY(!device(0).record()->stale);
    }

    void another_selection_drops_the_edit_without_a_word()
    {
        window->add({});
        window->add({});
        window->select({0});
        window->press_edit();
        window->type("ui/name", "lost");
        window->select({1});
        QVERIFY(!window->gui->is_editing());
        QVERIFY(!window->row("ui/name").edited);
        QCOMPARE(window->row("ui/name").line_edit->text(), QString("Left"));
    }

    void typing_goes_on_while_devices_come_and_change()
    {
        window->add({});
        window->add({});
        window->select({0});
        window->press_edit();
        QLineEdit *name = window->row("ui/name").line_edit;
        window->type("ui/name", "");
        const QString text = "A name typed letter by letter";
        for (int i = 0; i < text.size(); ++i) {
            QTest::keyClick(name, text.at(i).toLatin1());
            device(0).report("ui", "name", QString("reported %1").arg(i));
            device(1).report("dsp", "level", i % 7);
            device(1).state.insert("product_id", i % 2 ? 11 : 3); // makes every row stale
            device(1).report();
        }
        QCOMPARE(name->text(), text);
        name->setCursorPosition(5);
        QTest::keyClick(name, 'x');
        QCOMPARE(name->cursorPosition(), 6);
        window->press_cancel();
        QCOMPARE(name->text(), QString("reported 28"));
    }

    void a_number_half_typed_is_left_alone()
    {
        window->add({});
        window->add({});
        window->select({0});
        window->press_edit();
        ValueSpinner *delay = window->row("dsp/delay").spinner;
        window->type("dsp/delay", "");
        QTRY_VERIFY(delay->hasFocus());
        for (const char key : {'1', '2', '.', '5'}) {
            device(1).state.insert("product_id", key % 2 ? 11 : 3);
            device(1).report();
            QTest::keyClick(delay, key);
        }
        QCOMPARE(delay->lineEdit()->text(), QString("12.5"));
        QCOMPARE(window->row("dsp/delay").value, QVariant(12.5));
    }

    void half_typed_numbers_are_put_right_at_cancel()
    {
        window->add(dsp("delay", 3));
        window->select({0});
        window->press_edit();
        window->type("dsp/delay", "3.");
        window->press_cancel();
        QCOMPARE(window->row("dsp/delay").spinner->text(), QString("3.000 m"));
    }

    // An editor that is switched off hands the focus to the next one, which scrolls to it.
    void the_panel_stays_where_it_was_scrolled_to()
    {
        window->add({});
        window->select({0});
        window->press_edit();
        QScrollBar *bar = window->gui->property_scroll()->verticalScrollBar();
        QTRY_VERIFY(bar->maximum() > 300);
        ValueSpinner *gain = window->row("dsp/eq3/gain").spinner;
        window->gui->property_scroll()->ensureWidgetVisible(gain);
        gain->setFocus();
        const int place = bar->value() - 20;
        bar->setValue(place);
        window->press_cancel();
        QCOMPARE(bar->value(), place);
        window->press_edit();
        QCOMPARE(bar->value(), place);
        QCoreApplication::processEvents();
        QCOMPARE(bar->value(), place);
    }

    // Their reports are held back; what they are told is not.
    void devices_that_report_during_the_edit_are_told_as_the_others()
    {
        for (int i = 0; i < 4; ++i)
            window->add(dsp("level", i));
        window->select({0, 1, 2, 3});
        window->press_edit();
        device(0).report("ui", "memo", "new");
        window->pick("dsp/level", "0 dB");
        for (const int number : {1, 1, 3})
            device(number).report("dsp", "level", number);
        QVERIFY(device(0).record()->stale && device(3).record()->stale);
        QVERIFY(!device(2).record()->stale);
        window->press_confirm();
        for (int number = 0; number < 4; ++number)
            QCOMPARE(sent_to(number), QList<QJsonObject>{set_params(dsp("level", 4))});
    }

    void a_product_given_to_an_unknown_module_leaves_its_neighbour_alone()
    {
        window->add({}, 0);
        window->add({}, 11);
        window->select({0, 1});
        window->press_edit();
        window->pick("product_id", "VELMARK R3 dp");
        window->press_confirm();
        QCOMPARE(sent_to(0), QList<QJsonObject>{set_params({{"product_id", 12}})});
        QVERIFY(sent_to(1).isEmpty());
    }

    // They stand in front of the rows that they follow, which Confirm refreshes once.
    void after_confirm_source_channels_are_one_refresh_behind()
    {
        window->add({{"stream", QJsonObject{{"rtp", QJsonObject{{"en", true}, {"cc", 2}}}}}}, 1000);
        window->select({0});
        const auto choices = [this] { return window->row("stream/ch0").desc.choices.size(); };
        QCOMPARE(choices(), std::size_t{3});
        window->press_edit();
        window->type("stream/rtp/cc", "4");
        QCOMPARE(choices(), std::size_t{5});
        window->press_confirm();
        QCOMPARE(window->row("stream/rtp/cc").value, QVariant(2));
        QCOMPARE(choices(), std::size_t{5});
        device(0).report();
        QCOMPARE(choices(), std::size_t{3});
        window->press_edit();
        window->type("stream/rtp/cc", "4");
        window->press_cancel(); // refreshes twice
        QCOMPARE(choices(), std::size_t{3});
    }
};

TEST_PART(EditReportsTest)
#include "edit_test_reports.moc"
