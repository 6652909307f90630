// The setup assistant in the real window: closing it, and what goes on without it.
#include "support/assistant_case.h"

#include <QPointer>

class AssistantLeavingTest : public AssistantCase
{
    Q_OBJECT

private slots:
    void init() { start(); }
    void cleanup() { end(); }

    void leaving_frees_the_device_on_each_page_data() { every_page_and_way_out(); }

    void leaving_frees_the_device_on_each_page()
    {
        QFETCH(int, wanted);
        QFETCH(int, how);
        add_device();
        reach(wanted);
        const QPointer<DeppenAss> left = dialog();
        tell(CURRENT_WITHOUT_PRODUCT, 1); // has to wait for its turn
        QCOMPARE(dialog(), left.data());
        emit left->update_props(); // on its way while the dialog goes
        leave(*left, how);
        QVERIFY(!left->isVisible());
        QVERIFY(!device()->has_assistant);
        QVERIFY(device()->assistant_dismissed);

        fake(1).report();
        QVERIFY(device(1)->has_assistant);
        select_row(0);
        gui().delete_selected();
        QCOMPARE(gui().all_devices().size(), size_t(1));
        emit left->update_props();
        QCoreApplication::processEvents();
        QVERIFY(!left.isNull());        // stays with the window
        QVERIFY(!left->windowHandle()); // but not what it was drawn on
        left->close();
        left->refresh();
        left->on_next();
        left->on_back();
        left->update_progress();
        QVERIFY(device(1)->has_assistant);
    }

    void an_assistant_whose_device_goes_gives_back_what_it_was_drawn_on()
    {
        reach(PAGE_CHOOSE_PRODUCT);
        const QPointer<DeppenAss> left = dialog();
        QVERIFY(left->windowHandle());
        left->forget_device();
        device()->has_assistant = false;
        QTRY_VERIFY(!left->windowHandle());
    }

    void a_closed_assistant_comes_back_only_after_the_device_was_offline_data()
    {
        QTest::addColumn<int>("how");
        QTest::newRow("closed") << int{BY_CLOSING};
        QTest::newRow("Escape") << int{BY_ESCAPE};
    }

    void a_closed_assistant_comes_back_only_after_the_device_was_offline()
    {
        QFETCH(int, how);
        reach(PAGE_SETTING_PRODUCT);
        leave(open_dialog(), how);
        QTRY_COMPARE(fake().commands().size(), 1);
        for (int i = 0; i < 3; ++i)
            tell(CURRENT_WITHOUT_PRODUCT);
        QCOMPARE(page(), -1);
        go_offline();
        QVERIFY(!device()->assistant_dismissed);
        tell(CURRENT_WITHOUT_PRODUCT);
        QCOMPARE(page(), int{PAGE_CHOOSE_PRODUCT});
    }

    void a_transfer_goes_on_after_the_assistant_was_closed()
    {
        reach(PAGE_UPDATING);
        QTRY_COMPARE(peer().last_block, 3);
        leave(open_dialog(), BY_CLOSING);
        peer().stop_at(5000);
        peer().send(ack(3));
        QTRY_VERIFY(device()->upload_ok);
        QCOMPARE(peer().stored, stand_in_image());
    }

    void of_two_devices_the_second_waits_for_its_turn()
    {
        add_device();
        tell(OUTDATED, 1);
        tell(OUTDATED, 0);
        tell(OUTDATED, 1);
        QVERIFY(!device(0)->has_assistant);
        QVERIFY(device(1)->has_assistant);
        QCOMPARE(gui().widget().findChildren<DeppenAss *>().size(), 1);
        leave(open_dialog(), BY_CLOSING);
        QCOMPARE(page(), -1);
        fake(1).report(); // has had its turn
        QCOMPARE(page(), -1);
        fake(0).report();
        QVERIFY(device(0)->has_assistant);
        QVERIFY(!device(1)->has_assistant);
        press("Next");
        QTRY_COMPARE(page(), int{PAGE_RESTARTING});
        QCOMPARE(peer(0).stored, stand_in_image());
        QCOMPARE(peer(1).seen, 0);
    }

    void a_device_with_an_open_assistant_can_not_be_deleted_data() { every_page(); }

    void a_device_with_an_open_assistant_can_not_be_deleted()
    {
        QFETCH(int, wanted);
        add_device();
        reach(wanted);
        gui().view()->selectAll();
        gui().delete_selected();
        QCOMPARE(gui().all_devices().size(), size_t(1));
        QVERIFY(dialog());
        QCOMPARE(page(), wanted);
    }

    // The rows show again what the device says.
    void deleting_a_device_that_is_kept_ends_its_edit()
    {
        reach(PAGE_OUTDATED);
        select_row(0);
        gui().set_edit_mode(true);
        window->type("ui/memo", "typed");
        QCOMPARE(window->row("ui/memo").value, QVariant("typed"));
        gui().delete_selected();
        QVERIFY(!gui().is_editing());
        QCOMPARE(gui().all_devices().size(), size_t(1));
        QCOMPARE(window->row("ui/memo").value, QVariant(""));
        QCOMPARE(window->row("ui/memo").line_edit->text(), QString());
    }

    // The toolkit closes every window a second time when the program quits.
    void the_main_window_may_close_under_each_page_data() { every_page(); }

    void the_main_window_may_close_under_each_page()
    {
        QFETCH(int, wanted);
        reach(wanted);
        const QPointer<DeppenAss> open = dialog();
        emit open->update_props();
        gui().close();
        QVERIFY(gui().all_devices().empty());
        QVERIFY(!open->isVisible());
        QCoreApplication::processEvents();
        QApplication::closeAllWindows();
        QTest::keyClick(open.data(), Qt::Key_Escape);
        QCoreApplication::processEvents();
    }

    void quitting_with_an_assistant_a_transfer_and_a_log_is_clean()
    {
        add_device();
        gui().open_log(device(1));
        reach(PAGE_UPDATING);
        QTimer::singleShot(0, &gui().widget(), &QWidget::close);
        QTimer::singleShot(20, qApp, &QApplication::closeAllWindows);
        QTimer::singleShot(40, qApp, &QCoreApplication::quit);
        QApplication::exec();
        QVERIFY(gui().all_devices().empty());
    }

    void a_window_destroyed_with_an_open_assistant_is_clean()
    {
        reach(PAGE_UPDATING);
        window->gui.reset();
    }
};

TEST_PART(AssistantLeavingTest)
#include "assistant_test_leaving.moc"
