// A technician's day on a small laptop: 60 simulated devices are named, placed, trimmed, muted and
// updated by keys and mouse. At every step what is needed lies inside the window, the status bar
// says what is going on, and in the end each device has got what it should and nothing else.
#include "gui/modified_combo_box.h"
#include "link/datagram.h"
#include "support/dialog_probe.h"
#include "support/fleet_window.h"
#include "support/image_file.h"

#include <QAbstractItemView>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QStatusBar>
#include <QStyle>
#include <QStyleFactory>
#include <QToolButton>
#include <QWindow>

namespace {

constexpr QSize LAPTOP(1366, 768);
constexpr int TITLE_BAR = 20; // pixels that a desktop takes from a maximised window

// The fleet's devices in the order of the list, by their numbers at the simulator.
constexpr int FILLS = 30;
constexpr int SUBS = 12;
constexpr int MAINS = 16;
constexpr int BRIDGES = 2; // no loudspeakers
constexpr int FIRST_SUB = FILLS;
constexpr int FIRST_MAIN = FIRST_SUB + SUBS;
constexpr int FIRST_BRIDGE = FIRST_MAIN + MAINS;
constexpr int ALL = FIRST_BRIDGE + BRIDGES;

constexpr int UPDATED = 25;
constexpr int REFUSED = 3; // "Stalls 04", of another module type
constexpr int BROKEN = 6;  // "Stalls 07", whose flash is full

QJsonObject kind(const QJsonValue &product, const QString &name, int count)
{
    QJsonObject kind{{"product", product}, {"name", name + " %1"}, {"count", count}};
    if (product.isString()) // a loudspeaker
        kind.insert("state", QJsonObject{{"dsp", QJsonObject{{"level", 4}, {"mute", false}}}});
    return kind;
}

QString new_name(int number)
{
    return QString("Stalls %1").arg(number + 1, 2, 10, QChar('0'));
}

// No part of the widget is beyond the window's edge, or scrolled or squeezed out of sight.
bool lies_in_window(const QWidget *widget)
{
    if (!widget->isVisible() || widget->size().isEmpty())
        return false;
    QRect place = widget->rect();
    for (; !widget->isWindow(); widget = widget->parentWidget()) {
        place.translate(widget->pos());
        if (!widget->parentWidget()->rect().contains(place))
            return false;
    }
    return true;
}

} // namespace

class TechniciansDayTest : public QObject
{
    Q_OBJECT

    QTemporaryDir store;
    std::unique_ptr<SimulatedFleet> fleet;
    std::unique_ptr<FleetWindow> window;
    int list_height = 0; // of the list before the first step

    WindowHandle &gui() { return *window->gui; }
    QStatusBar *status_bar() { return gui().widget().statusBar(); }
    QLabel *message() { return status_bar()->findChild<QLabel *>("status_message"); }
    QLabel *counts() { return status_bar()->findChild<QLabel *>("status_counts"); }
    QProgressBar *progress() { return status_bar()->findChild<QProgressBar *>(); }

    // ---- the technician's hands

    // To whatever has the focus, as a keyboard's.
    void key(int code, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::keyClick(gui().widget().windowHandle(), static_cast<Qt::Key>(code), modifiers);
    }
    void type(const QString &text)
    {
        for (const QChar letter : text)
            QTest::keyClick(gui().widget().windowHandle(), letter.toLatin1());
    }
    // A tick box in its box, everything else in the middle.
    void click(QWidget *widget)
    {
        expect_in_window(widget);
        QPoint place = widget->rect().center();
        if (qobject_cast<QCheckBox *>(widget))
            place.setX(widget->style()->pixelMetric(QStyle::PM_IndicatorWidth) / 2);
        QTest::mouseClick(gui().widget().windowHandle(), Qt::LeftButton, {},
                          widget->mapTo(&gui().widget(), place));
    }
    void click_row(int number, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        const int row = gui().row_of(window->device(number));
        const QModelIndex index = gui().model().index(row, window->column("ui/name"));
        gui().view()->scrollTo(index);
        QTest::mouseClick(gui().view()->viewport(), Qt::LeftButton, modifiers,
                          gui().view()->visualRect(index).center());
    }
    // There is no window manager here that would bring it back after a dialog.
    void await_the_window()
    {
        gui().widget().activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&gui().widget()));
    }
    // Turns the wheel until the editor is in sight.
    QWidget *bring_up(const std::string &row_key, QWidget *editor)
    {
        if (!editor)
            qFatal("no editor for %s", row_key.c_str());
        gui().property_scroll()->ensureWidgetVisible(editor);
        QCoreApplication::processEvents();
        return editor;
    }

    // ---- what the technician needs to see

    static void expect_in_window(const QWidget *widget)
    {
        const QString what = widget->metaObject()->className() + (" " + widget->objectName());
        QVERIFY2(lies_in_window(widget), qPrintable(what));
    }

    // The window has not grown by itself, and nothing of it has been pushed out.
    void expect_all_in_sight(const QWidgetList &editors = {})
    {
        QCoreApplication::processEvents();
        QCOMPARE(gui().widget().size(), LAPTOP - QSize(0, TITLE_BAR));
        QWidgetList needed = editors
            + QWidgetList{gui().view(),
                          gui().eq_button(),
                          gui().identify_button(),
                          gui().network_box(),
                          gui().search_box(),
                          status_bar(),
                          message(),
                          counts()};
        if (gui().is_editing())
            needed += {gui().confirm_button(), gui().cancel_button()};
        else
            needed += gui().edit_button();
        if (!progress()->isHidden())
            needed += progress();
        for (const QWidget *widget : needed)
            expect_in_window(widget);
        QCOMPARE(gui().property_scroll()->horizontalScrollBar()->maximum(), 0);
        QCOMPARE(gui().view()->height(), list_height);
    }

    // Whole, that is.
    void expect_message(const QString &text)
    {
        QTRY_COMPARE(message()->text(), text);
        QVERIFY2(message()->fontMetrics().horizontalAdvance(text) <= message()->width(),
                 qPrintable("cut: " + text));
    }
    void expect_counts(const QString &text)
    {
        QTRY_COMPARE(counts()->text(), text);
        QVERIFY(counts()->fontMetrics().horizontalAdvance(text) <= counts()->width());
    }

    // ---- what the devices have got

    void forget_commands() { fleet->ask({{"stats", true}, {"reset", true}}); }

    // Since the last look. `command` is what the devices from `first` to before `end` have to have
    // got, once each, and all others nothing.
    void expect_commands(int first, int end, const std::function<QJsonObject(int)> &members)
    {
        const auto total = [this] {
            int count = 0;
            for (const QJsonValue &device : fleet->stats())
                count += device.toObject().value("commands").toArray().size();
            return count;
        };
        QTRY_COMPARE_WITH_TIMEOUT(total(), end - first, 10000);
        const QJsonArray stats = fleet->stats();
        for (int number = 0; number < ALL; ++number) {
            QJsonArray expected;
            if (number >= first && number < end) {
                QJsonObject command = members(number);
                command.insert("api_version", API_VERSION);
                command.insert("command", "set_params");
                command.insert("seq", 1);
                expected.append(command);
            }
            QCOMPARE(
                QJsonDocument(stats.at(number).toObject().value("commands").toArray()).toJson(),
                QJsonDocument(expected).toJson());
        }
        forget_commands();
    }

    void start_fleet()
    {
        const QTemporaryDir folder;
        const QJsonArray kinds{kind("Y6", "Fill", FILLS), kind("TSub1802", "Sub", SUBS),
                               kind("Y8", "Main", MAINS), kind(1000, "Bridge", BRIDGES)};
        QFile file(folder.filePath("fleet.json"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QJsonDocument(QJsonObject{{"devices", kinds}}).toJson());
        file.close();
        fleet = std::make_unique<SimulatedFleet>(QStringList{"--fleet", file.fileName(), "--store",
                                                             store.path(), "--flash-time", "100",
                                                             "--reboot-time", "300"});
        QCOMPARE(fleet->count, ALL);
    }

private slots:
    void initTestCase()
    {
        QApplication::setStyle(QStyleFactory::create("Fusion"));
        QApplication::setFont(QFont("Sans Serif", 9)); // what a desktop without a theme has
        start_fleet();
        window = std::make_unique<FleetWindow>(*fleet);
        // The parts take their shares from the first window on such a screen; then it is maximised.
        gui().resize(LAPTOP.width() * 4 / 5, LAPTOP.height() * 4 / 5);
        gui().property_splitter()->setSizes(
            {LAPTOP.width() * 4 / 5 * 7 / 10, LAPTOP.width() * 4 / 5 * 3 / 10});
        QCoreApplication::processEvents();
        gui().resize(LAPTOP.width(), LAPTOP.height() - TITLE_BAR);
        QVERIFY(QTest::qWaitForWindowActive(&gui().widget()));
        QTRY_COMPARE_WITH_TIMEOUT(window->online_count(), ALL, 20000);
        forget_commands();
        QTRY_VERIFY(gui().row_of(window->device(0)) == 0);
        list_height = gui().view()->height();
        expect_all_in_sight();
        expect_counts("60 devices, 60 online");
        expect_message("");
    }
    void cleanupTestCase()
    {
        window.reset();
        fleet.reset();
    }

    void thirty_are_renamed_without_a_mouse()
    {
        gui().view()->setFocus();
        key(Qt::Key_Home);
        for (int number = 0; number < FILLS; ++number) {
            if (number > 0)
                key(Qt::Key_Down);
            expect_counts("60 devices, 60 online, 1 selected");
            key(Qt::Key_F2);
            QCOMPARE(QApplication::focusWidget(), gui().row("ui/name").line_edit);
            expect_message("Editing 1 device. Nothing is sent before Confirm.");
            expect_all_in_sight({gui().row("ui/name").line_edit});
            type(new_name(number));
            key(Qt::Key_Return, Qt::ControlModifier);
            QVERIFY(!gui().is_editing());
            QCOMPARE(QApplication::focusWidget(), gui().view());
            expect_message("Sent to 1 of 1 device.");
            expect_all_in_sight();
            if (QTest::currentTestFailed())
                return;
        }
        expect_commands(0, FILLS, [](int number) {
            return QJsonObject{{"ui", QJsonObject{{"name", new_name(number)}}}};
        });
        for (int number = 0; number < FILLS; ++number)
            QTRY_COMPARE_WITH_TIMEOUT(window->cell(window->device(number), "ui/name"),
                                      new_name(number), 5000);
    }

    void twelve_are_found_and_placed()
    {
        key(Qt::Key_F, Qt::ControlModifier);
        type("sub");
        expect_counts("60 devices, 60 online, 48 hidden by the search");
        key(Qt::Key_Escape);
        key(Qt::Key_Escape); // the first empties the field
        QCOMPARE(QApplication::focusWidget(), gui().view());
        key(Qt::Key_F, Qt::ControlModifier);
        type("sub");
        gui().view()->setFocus();
        key(Qt::Key_A, Qt::ControlModifier);
        expect_counts("60 devices, 60 online, 12 selected, 48 hidden by the search");
        QLineEdit *location = gui().row("ui/loc").line_edit;
        click(bring_up("ui/loc", location));
        QVERIFY(gui().is_editing());
        expect_message("Editing 12 devices. Nothing is sent before Confirm.");
        expect_all_in_sight({location});
        key(Qt::Key_A, Qt::ControlModifier);
        type("Below stage");
        key(Qt::Key_Return, Qt::ControlModifier);
        expect_message("Sent to 12 of 12 devices.");
        expect_all_in_sight();
        expect_commands(FIRST_SUB, FIRST_MAIN, [](int) {
            return QJsonObject{{"ui", QJsonObject{{"loc", "Below stage"}}}};
        });
        key(Qt::Key_F, Qt::ControlModifier);
        key(Qt::Key_Escape);
        key(Qt::Key_Escape);
        QCOMPARE(QApplication::focusWidget(), gui().view());
        expect_counts("60 devices, 60 online, 12 selected");
    }

    void sixteen_are_trimmed()
    {
        click_row(FIRST_MAIN);
        click_row(FIRST_BRIDGE - 1, Qt::ShiftModifier);
        expect_counts("60 devices, 60 online, 16 selected");
        click(gui().edit_button());
        expect_message("Editing 16 devices. Nothing is sent before Confirm.");
        ModifiedComboBox *level = gui().row("dsp/level").combo;
        click(bring_up("dsp/level", level));
        QTRY_VERIFY(level->view()->isVisible());
        const QRect list = level->view()->window()->geometry();
        QVERIFY(gui().widget().geometry().contains(list));
        QTest::keyClick(level->view(), Qt::Key_Home);
        QTest::keyClick(level->view(), Qt::Key_Return);
        QTRY_VERIFY(!level->view()->isVisible());
        expect_all_in_sight({level});
        const int trim = gui().row("dsp/level").value.toInt();
        QVERIFY(trim != 4); // which they have all had
        click(gui().confirm_button());
        expect_message("Sent to 16 of 16 devices.");
        expect_commands(FIRST_MAIN, FIRST_BRIDGE, [trim](int) {
            return QJsonObject{{"dsp", QJsonObject{{"level", trim}}}};
        });
        expect_all_in_sight();
    }

    void all_loudspeakers_are_muted()
    {
        gui().view()->setFocus();
        key(Qt::Key_A, Qt::ControlModifier);
        expect_counts("60 devices, 60 online, 60 selected");
        for (int number = FIRST_BRIDGE; number < ALL; ++number)
            click_row(number, Qt::ControlModifier);
        expect_counts("60 devices, 60 online, 58 selected");
        click(gui().edit_button());
        QVERIFY(
            message()->text().startsWith("Editing 58 devices. Nothing is sent before Confirm."));
        QCheckBox *mute = gui().row("dsp/mute").check_box;
        click(bring_up("dsp/mute", mute));
        QCOMPARE(mute->checkState(), Qt::Checked);
        expect_all_in_sight({mute});
        click(gui().confirm_button());
        expect_message("Sent to 58 of 58 devices.");
        expect_commands(0, FIRST_BRIDGE, [](int) {
            return QJsonObject{{"dsp", QJsonObject{{"mute", true}}}};
        });
        for (int number = 0; number < FIRST_BRIDGE; ++number)
            QTRY_COMPARE_WITH_TIMEOUT(window->status(window->device(number)),
                                      QString("Online, muted"), 5000);
        expect_all_in_sight();
    }

    void of_25_updates_two_fail_and_are_told()
    {
        fleet->fault("all", "tftp", {{"ack_delay", 2}});
        fleet->fault(BROKEN, "tftp",
                     {{"strike", "error"}, {"at_block", 100}, {"code", 1}, {"text", "full"}});
        fleet->fault(REFUSED, "set", {{"state", QJsonObject{{"fw_magic", qint64{OTHER_MAGIC}}}}});
        Device *refused = window->device(REFUSED);
        QTRY_VERIFY_WITH_TIMEOUT(refused->fw_magic == OTHER_MAGIC, 5000);
        click_row(0);
        gui().view()->setFocus();
        for (int i = 1; i < UPDATED; ++i)
            key(Qt::Key_Down, Qt::ShiftModifier);
        expect_counts("60 devices, 60 online, 25 selected");
        const QString image = window->folder.filePath("image");
        write_test_file(image, stand_in_image());
        DialogProbe probe;
        probe.answer = [image](QDialog *dialog) {
            QVERIFY(dialog->frameGeometry().width() <= LAPTOP.width());
            QVERIFY(dialog->frameGeometry().height() <= LAPTOP.height());
            for (const QAbstractButton *button : dialog->findChild<QDialogButtonBox *>()->buttons())
                QVERIFY(lies_in_window(button));
            dialog->findChild<QLineEdit *>("fileNameEdit")->setText(image);
            DialogProbe::press_default(dialog);
        };
        QVERIFY(progress()->isHidden());
        click(bring_up("firmware_version", gui().row("firmware_version").button));
        QCOMPARE(probe.titles.size(), 1);
        await_the_window();

        expect_progress();
        QVERIFY(runs_until([this] { return !message()->text().startsWith("Updating"); }));
        expect_outcome();
        for (int number = 0; number < ALL; ++number)
            QCOMPARE(last_file_of(number),
                     number < UPDATED && number != REFUSED && number != BROKEN ? stand_in_image()
                                                                               : QByteArray());
    }

    void what_came_of_the_updates_stays_until_it_is_clicked()
    {
        click_row(FIRST_SUB);
        expect_outcome();
        click(gui().edit_button());
        expect_message("Editing 1 device. Nothing is sent before Confirm.");
        key(Qt::Key_Escape);
        expect_outcome();
        const int refreshes = gui().status_refreshes();
        click_row(FIRST_SUB + 1);
        QVERIFY(runs_until([this, refreshes] { return gui().status_refreshes() > refreshes; }));
        expect_outcome();
        click(message());
        expect_message("");
        QCOMPARE(message()->toolTip(), QString());
        expect_all_in_sight();
    }

    // Half of the site has no power: the box names 30 devices, and "OK" can be pressed.
    void a_box_about_thirty_devices_can_be_closed()
    {
        QJsonArray dark;
        for (int number = 0; number < FILLS; ++number)
            dark.append(number);
        QTRY_COMPARE_WITH_TIMEOUT(window->online_count(), ALL, 10000);
        fleet->fault(dark, "silent");
        QTRY_COMPARE_WITH_TIMEOUT(window->online_count(), ALL - FILLS, 10000);
        expect_counts("60 devices, 30 online, 1 selected");
        gui().view()->setFocus();
        key(Qt::Key_A, Qt::ControlModifier);
        click(gui().edit_button());
        QVERIFY(message()->text().contains(" properties are not shared by all."));
        QLineEdit *memo = gui().row("ui/memo").line_edit;
        click(bring_up("ui/memo", memo));
        type("Checked");
        DialogProbe probe;
        probe.answer = [](QDialog *dialog) {
            QVERIFY(dialog->frameGeometry().width() <= LAPTOP.width());
            QVERIFY(dialog->frameGeometry().height() <= LAPTOP.height());
            QAbstractButton *ok = dialog->findChild<QDialogButtonBox *>()->buttons().first();
            QVERIFY(lies_in_window(ok));
            QTest::mouseClick(ok, Qt::LeftButton);
        };
        forget_commands();
        key(Qt::Key_Return, Qt::ControlModifier);
        QCOMPARE(probe.titles.size(), 1);
        expect_message("Sent to 30 of 60 devices.");
        expect_commands(FILLS, ALL, [](int) {
            return QJsonObject{{"ui", QJsonObject{{"memo", "Checked"}}}};
        });
        expect_all_in_sight();
    }

private:
    // One bar for all, which says the same as the words beside it.
    void expect_progress()
    {
        QVERIFY(runs_until([this] { return progress()->value() >= 10; }));
        QVERIFY(progress()->isVisible());
        QVERIFY(progress()->value() < 100);
        expect_all_in_sight();
        const QString text = message()->text();
        QVERIFY2(text.startsWith("Updating 2") && text.contains(" devices, "), qPrintable(text));
        QVERIFY2(text.endsWith(QString(", %1 %").arg(progress()->value())), qPrintable(text));
    }

    void expect_outcome()
    {
        QVERIFY(progress()->isHidden());
        expect_message("23 of 25 uploads succeeded; failed: Stalls 04, Stalls 07");
        QCOMPARE(message()->toolTip(),
                 QString("Stalls 04: device not supported by image\n"
                         "Stalls 07: got TFTP ERROR packet, code=256, msg='full'"));
        expect_all_in_sight();
    }

    QByteArray last_file_of(int number)
    {
        for (const QJsonValue &upload : window->uploads(number))
            if (upload.toObject().value("ok").toBool())
                return file_content(upload.toObject().value("stored").toString());
        return {};
    }
};

WINDOW_TEST_MAIN(TechniciansDayTest)
#include "technicians_day_test.moc"
