// What the window says at its bottom while it is worked in.
#include "gui/elided_label.h"
#include "support/dialog_probe.h"
#include "support/idle_loop.h"
#include "support/panel_case.h"
#include "support/window_main.h"

#include <QLineEdit>
#include <QProgressBar>
#include <QStatusBar>
#include <QUdpSocket>

class StatusLineTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<PanelCase> window;

    QLabel *label(const char *name)
    {
        return window->gui->widget().statusBar()->findChild<QLabel *>(name);
    }
    QString message() { return label("status_message")->text(); }
    QString counts() { return label("status_counts")->text(); }

private slots:
    void init()
    {
        window = std::make_unique<PanelCase>();
        for (int i = 0; i < 3; ++i)
            window->add({{"ui", QJsonObject{{"name", QString("Fill %1").arg(i)}}}});
    }
    void cleanup() { window.reset(); }

    void the_counts_follow_list_selection_and_search()
    {
        QTRY_COMPARE(counts(), QString("3 devices, 3 online"));
        window->select({0, 2});
        QTRY_COMPARE(counts(), QString("3 devices, 3 online, 2 selected"));
        QTest::keyClicks(window->gui->search_box()->lineEdit(), "Fill 0");
        QTRY_COMPARE(counts(), QString("3 devices, 3 online, 1 selected, 2 hidden by the search"));
        window->devices[1]->record()->online = false;
        window->gui->update(window->devices[1]->record());
        QTRY_COMPARE(counts(), QString("3 devices, 2 online, 1 selected, 2 hidden by the search"));
        window->gui->search_box()->lineEdit()->clear();
        QTRY_COMPARE(counts(), QString("3 devices, 2 online, 2 selected"));
        window->gui->delete_selected();
        QTRY_COMPARE(counts(), QString("1 device, 0 online"));
    }

    void the_bar_leaves_its_place_to_the_message()
    {
        const QProgressBar *bar = window->gui->widget().statusBar()->findChild<QProgressBar *>();
        QCOMPARE(bar->minimumWidth(), 160);
        QCOMPARE(bar->maximumWidth(), 160);
        QCOMPARE(bar->minimum(), 0);
        QCOMPARE(bar->maximum(), 100);
        QVERIFY(!bar->isTextVisible());
        QVERIFY(!bar->isVisible());
        QCOMPARE(bar->maximumHeight(), ElidedLabel().sizeHint().height());
        QVERIFY(bar->maximumHeight() <= label("status_counts")->height());
    }

    void each_part_tells_more_to_who_rests_on_it()
    {
        QCOMPARE(label("status_counts")->toolTip(),
                 QString("Devices in the list, how many of them are online, selected and hidden"));
        QCOMPARE(label("status_message")->toolTip(), QString());
        window->select({0});
        window->press_edit();
        QCOMPARE(label("status_message")->toolTip(), message()); // however narrow the window is
        QVERIFY(!message().isEmpty());
    }

    void texts_begin_and_end_where_list_and_panel_do()
    {
        QCOMPARE(label("status_message")->contentsMargins(), QMargins(2, 0, 0, 0));
        QCOMPARE(label("status_counts")->contentsMargins(), QMargins(0, 0, 4, 0));
    }

    // Many new devices are one count: at most one per painted frame.
    void a_burst_of_changes_is_counted_once()
    {
        QTRY_COMPARE(counts(), QString("3 devices, 3 online"));
        const int before = window->gui->status_refreshes();
        for (int i = 0; i < 100; ++i)
            window->report("10.0.0.1", loudspeaker_report(QString("new %1").arg(i)));
        QCOMPARE(window->gui->status_refreshes(), before);
        QTRY_VERIFY(window->gui->status_refreshes() > before);
        QVERIFY(window->gui->status_refreshes() <= before + 2);
    }

    void reports_that_change_nothing_cost_nothing()
    {
        QTRY_COMPARE(counts(), QString("3 devices, 3 online"));
        QVERIFY(frame_passes());
        const int before = window->gui->status_refreshes();
        for (int i = 0; i < 50; ++i)
            window->devices[0]->report();
        QVERIFY(frame_passes());
        QCOMPARE(window->gui->status_refreshes(), before);
    }

    void an_edit_is_told_until_it_ends()
    {
        window->select({0, 1, 2});
        window->press_edit();
        QCOMPARE(message(), QString("Editing 3 devices. Nothing is sent before Confirm."));
        window->press_cancel();
        QCOMPARE(message(), QString());
    }

    void properties_of_some_devices_only_are_counted()
    {
        window->select({0, 1});
        window->press_edit();
        QVERIFY(!message().contains("shared"));
        window->press_cancel();
        window->add({}, 40); // a module without a loudspeaker's properties
        window->select({0, 3});
        window->press_edit();
        QVERIFY2(message().endsWith(" properties are not shared by all."), qPrintable(message()));
    }

    void a_dropped_edit_is_not_announced()
    {
        window->select({0});
        window->press_edit();
        window->select({1});
        QCOMPARE(message(), QString());
    }

    void a_confirm_tells_who_got_it()
    {
        window->select({0, 1, 2});
        window->press_edit();
        window->type("ui/loc", "Balcony");
        window->press_confirm();
        QCOMPARE(message(), QString("Sent to 3 of 3 devices."));
    }

    // One is offline, and what was meant for another never left the machine.
    void who_was_not_reached_does_not_count_as_sent_to()
    {
        DialogProbe probe; // of the box that names both
        window->devices[1]->record()->online = false;
        window->devices[2]->record()->address = QHostAddress("2001:db8::1");
        window->select({0, 1, 2});
        window->press_edit();
        window->type("ui/loc", "Balcony");
        window->press_confirm();
        QCOMPARE(probe.titles, QStringList("Network error"));
        QCOMPARE(message(), QString("Sent to 1 of 3 devices."));
    }

    void a_confirm_without_a_difference_says_so()
    {
        window->select({0, 1});
        window->press_edit();
        window->type("ui/loc", "Stage");
        window->press_confirm();
        QCOMPARE(message(), QString("Nothing sent: all 2 devices have these values already."));
        window->select({0});
        window->press_edit();
        window->press_confirm();
        QCOMPARE(message(), QString("Nothing sent: the device has these values already."));
    }

    void commands_are_told()
    {
        window->select({0, 1});
        QTest::mouseClick(window->gui->identify_button(), Qt::LeftButton);
        QCOMPARE(message(), QString("Asked 2 devices to identify themselves."));
        window->select({2});
        QVERIFY(QTest::qWaitForWindowActive(&window->gui->widget()));
        QTest::keyClick(&window->gui->widget(), Qt::Key_R, Qt::ControlModifier);
        QCOMPARE(message(), QString("Asked 1 device to purge its sessions."));
    }

    // The time itself is not waited for.
    void what_a_command_did_is_told_for_ten_seconds()
    {
        auto *timer = window->gui->widget().statusBar()->findChild<QTimer *>("command_timer");
        QVERIFY(timer);
        QVERIFY(!timer->isActive());
        window->select({0, 1});
        QTest::mouseClick(window->gui->identify_button(), Qt::LeftButton);
        QVERIFY(timer->isActive() && timer->isSingleShot());
        QCOMPARE(timer->interval(), 10000);
        timer->start(0);
        QTRY_COMPARE(message(), QString());
        timer->setInterval(10000);
        window->select({0});
        window->press_edit();
        window->type("ui/loc", "Balcony");
        window->press_confirm();
        QCOMPARE(message(), QString("Sent to 1 of 1 device."));
        QVERIFY(timer->isActive());
        timer->start(0);
        QTRY_COMPARE(message(), QString());
    }

    void a_second_copy_says_that_it_saves_nothing()
    {
        WindowHandle second;
        auto *text = second.widget().statusBar()->findChild<QLabel *>("status_message");
        QCOMPARE(text->text(), QString("Another copy is running: this one saves nothing."));
        QCOMPARE(message(), QString());
    }

    // A program that shares the port with nobody: ours may hear nothing then.
    void a_port_that_is_taken_is_told()
    {
        window.reset();
        QUdpSocket greedy;
        QVERIFY(greedy.bind(QHostAddress(), 7055, QAbstractSocket::DontShareAddress));
        window = std::make_unique<PanelCase>();
        QCOMPARE(message(),
                 QString("Port 7055 is taken by another program: devices may not be heard."));
    }

    // However long the message is, the window may be as narrow as it could be without.
    void a_long_message_does_not_widen_the_window()
    {
        const int least = window->gui->widget().minimumSizeHint().width();
        label("status_message")->setText(QString("PA left 4, ").repeated(100));
        QCoreApplication::processEvents();
        QCOMPARE(window->gui->widget().minimumSizeHint().width(), least);
    }
};

WINDOW_TEST_MAIN(StatusLineTest)
#include "status_line_test.moc"
