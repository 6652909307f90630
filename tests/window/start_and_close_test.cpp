// How the window comes up, and that no way of leaving loses anything.
#include "gui/column_rules.h"
#include "gui/device_list_view.h"
#include "support/idle_loop.h"
#include "support/window_main.h"

#include <QAction>
#include <QComboBox>
#include <QHeaderView>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLineEdit>
#include <QMenuBar>
#include <QProcess>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QSplitter>
#include <QTimer>
#include <QToolButton>

namespace {

QStringList captions(const QMenu *menu)
{
    QStringList texts;
    for (const QAction *action : menu->actions())
        texts.append(action->text());
    return texts;
}

QAction *exit_action(const WindowHandle &gui)
{
    return gui.widget().menuBar()->actions().at(0)->menu()->actions().at(0);
}

} // namespace

class StartAndCloseTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<WindowCase> window;

    WindowHandle &gui() { return *window->gui; }

    // Something that each saved key can tell: a column, the sort order, the curve, the history.
    void change_everything()
    {
        gui().show();
        gui().view()->setColumnHidden(window->column("ui/memo"), false);
        gui().view()->sortByColumn(window->column("ip"), Qt::DescendingOrder);
        gui().eq_button()->setChecked(true);
        gui().property_splitter()->setSizes({300, 200});
        gui().search_box()->addItem("stage");
        window->report("10.0.0.1", loudspeaker_report("a", 3, "Kept"));
    }

    void expect_everything_again()
    {
        window->start();
        QVERIFY(!gui().view()->isColumnHidden(window->column("ui/memo")));
        QCOMPARE(gui().view()->header()->sortIndicatorSection(), window->column("ip"));
        QCOMPARE(gui().view()->header()->sortIndicatorOrder(), Qt::DescendingOrder);
        QVERIFY(gui().eq_button()->isChecked());
        QCOMPARE(gui().search_box()->itemText(0), QString("stage"));
        Device *device = gui().find_device("a");
        QVERIFY(device != nullptr);
        QVERIFY(!device->online);
        QCOMPARE(device->value("ui/name"), QVariant("Kept"));
        QCOMPARE(window->cell(device, "ui/name"), QString("Kept"));
    }

private slots:
    void init() { window = std::make_unique<WindowCase>(); }
    void cleanup() { window.reset(); }

    void the_menus_offer_what_they_should()
    {
        const QList<QAction *> menus = gui().widget().menuBar()->actions();
        QCOMPARE(menus.size(), 3);
        QCOMPARE(captions(menus.at(0)->menu()), QStringList("E&xit"));
        QCOMPARE(captions(menus.at(1)->menu()),
                 QStringList({"&Delete entry", "Enable &logging", "Pu&rge AES67 sessions",
                              "L&PI upload", "Network info", "Add dummy device"}));
        QCOMPARE(captions(menus.at(2)->menu()), QStringList("About this software"));
        QCOMPARE(exit_action(gui())->menuRole(), QAction::QuitRole);
        QCOMPARE(exit_action(gui())->shortcut(), QKeySequence("Ctrl+Q"));
        QCOMPARE(gui().widget().windowTitle(), QString("VELMARK Network Manager"));
    }

    void a_dummy_device_can_be_added_from_the_menu()
    {
        for (QAction *action : gui().widget().menuBar()->actions().at(1)->menu()->actions())
            if (action->text() == "Add dummy device")
                action->trigger();
        QCOMPARE(gui().all_devices().size(), std::size_t{1});
        QVERIFY(!gui().all_devices().begin()->second->online);
    }

    void the_search_box_has_a_name_for_screen_readers()
    {
        QCOMPARE(gui().search_box()->accessibleName(), QString("Search"));
    }

    void the_desktop_entry_and_the_window_find_each_other()
    {
        QFile entry(VECTOR_FOLDER "/../../packaging/desktop/" + QGuiApplication::desktopFileName()
                    + ".desktop");
        QVERIFY(entry.open(QIODevice::ReadOnly));
        const QStringList lines = QString::fromUtf8(entry.readAll()).split('\n');
        QVERIFY(lines.contains("StartupWMClass=" + QCoreApplication::applicationName()));
        QVERIFY(lines.contains("Exec=" + QFileInfo(MANAGER_PATH).fileName()));
    }

    void the_first_window_is_four_fifths_of_the_screen()
    {
        const QSize screen = QApplication::primaryScreen()->geometry().size();
        QCOMPARE(gui().widget().width(),
                 std::clamp(static_cast<int>(0.8 * screen.width()), 600, 2000));
        QCOMPARE(gui().widget().height(), static_cast<int>(0.8 * screen.height()));
    }

    void buttons_of_pictures_alone_have_their_tips_as_names()
    {
        QCOMPARE(gui().confirm_button()->accessibleName(), QString("Confirm"));
        QCOMPARE(gui().confirm_button()->toolTip(), QString("Confirm"));
        QCOMPARE(gui().cancel_button()->accessibleName(), gui().cancel_button()->toolTip());
    }

    void the_search_box_starts_empty()
    {
        QCOMPARE(gui().search_box()->currentText(), QString());
        QCOMPARE(gui().search_box()->lineEdit()->placeholderText(), QString("🔍 Search"));
        QVERIFY(!gui().identify_button()->isEnabled());
    }

    void timers_run_as_told()
    {
        QVERIFY(gui().discovery_timer().isSingleShot());
        QVERIFY(gui().panel_timer().isSingleShot() && gui().panel_timer().interval() == 0);
        QVERIFY(!gui().meter_timer().isSingleShot() && gui().meter_timer().interval() == 85);
        QVERIFY(gui().meter_timer().isActive());
    }

    void the_close_button_keeps_everything()
    {
        change_everything();
        gui().close();
        expect_everything_again();
    }

    void exit_keeps_everything()
    {
        change_everything();
        QTimer::singleShot(0, exit_action(gui()), &QAction::trigger);
        QApplication::exec();
        expect_everything_again();
    }

    void ctrl_q_keeps_everything()
    {
        change_everything();
        QVERIFY(QTest::qWaitForWindowActive(&gui().widget()));
        QTimer::singleShot(0, &gui().widget(), [this] {
            QTest::keyClick(&gui().widget(), Qt::Key_Q, Qt::ControlModifier);
        });
        QApplication::exec();
        expect_everything_again();
    }

    void closing_twice_keeps_everything()
    {
        change_everything();
        gui().close();
        gui().show();
        gui().close();
        gui().close_down();
        expect_everything_again();
    }

    void a_closed_window_leaves_its_ports_to_others()
    {
        QVERIFY(gui().link().is_open());
        gui().close();
        QVERIFY(!gui().link().is_open());
    }

    void nothing_is_to_be_done_behind_the_close()
    {
        gui().discovery_timer().start(60000);
        gui().panel_timer().start(60000);
        QVERIFY(gui().meter_timer().isActive());
        window->report("10.0.0.1", loudspeaker_report("a"));
        QTRY_VERIFY(gui().status_refreshes() > 0);
        window->report("10.0.0.1", loudspeaker_report("b")); // is to be counted soon
        const int before = gui().status_refreshes();
        gui().close();
        for (const QTimer *timer :
             {&gui().discovery_timer(), &gui().panel_timer(), &gui().meter_timer()})
            QVERIFY(!timer->isActive());
        QVERIFY(frame_passes()); // in which it would have come
        QCOMPARE(gui().status_refreshes(), before);
    }

    void no_late_timer_wipes_the_cache()
    {
        change_everything();
        gui().cache().set_delay(0);
        gui().cache().changed();
        gui().close();
        QCoreApplication::processEvents(); // a due timer fires now, and begins to write
        QTRY_VERIFY(!gui().cache().is_pending() && !gui().cache().is_saving());
        QFile file(gui().cache().path());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(QJsonDocument::fromJson(file.readAll()).object().value("devices").toArray().size(),
                 1);
    }

    void a_pending_save_is_written_at_close()
    {
        window->report("10.0.0.1", loudspeaker_report("a", 3, "Before"));
        QTRY_VERIFY(!gui().cache().is_pending());
        window->report("10.0.0.1", loudspeaker_report("a", 3, "After"));
        QVERIFY(gui().cache().is_pending());
        gui().close();
        window->start();
        QCOMPARE(gui().find_device("a")->value("ui/name"), QVariant("After"));
    }

    void a_window_destroyed_unclosed_saves_nothing()
    {
        gui().eq_button()->setChecked(true);
        window->start();
        QVERIFY(!gui().eq_button()->isChecked());
    }

    void another_set_of_columns_discards_only_the_list_state()
    {
        change_everything();
        gui().close();
        gui().settings().setValue("column_info", "Product:Name");
        gui().settings().sync();
        window->start();
        QVERIFY(gui().view()->isColumnHidden(window->column("ui/memo")));
        QVERIFY(gui().eq_button()->isChecked());
        QCOMPARE(gui().view()->header()->sortIndicatorSection(), 0);
    }

    void a_shown_curve_stands_below_the_list_from_the_start()
    {
        gui().settings().setValue("eq_visible", true);
        gui().settings().sync();
        window->start();
        QVERIFY(gui().eq_button()->isChecked());
        QCOMPARE(gui().eq_splitter()->count(), 2);
        gui().eq_button()->setChecked(false);
        QCOMPARE(gui().eq_splitter()->count(), 1);
    }

    void hostile_settings_prevent_no_start_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QVariant>("value");
        QTest::newRow("sort column beyond") << "sort_column" << QVariant(99);
        QTest::newRow("sort column negative") << "sort_column" << QVariant(-5);
        QTest::newRow("sort column text") << "sort_column" << QVariant("x");
        QTest::newRow("sort order") << "sort_order" << QVariant(77);
        QTest::newRow("geometry") << "geometry" << QVariant("not a geometry");
        QTest::newRow("window state") << "windowState" << QVariant(QByteArray(5000, '\xff'));
        QTest::newRow("splitter") << "property_splitter" << QVariant(QByteArray(50, '\x7f'));
        QTest::newRow("list state") << "list_state" << QVariant(QByteArray(300, '\x7f'));
        QTest::newRow("history") << "search_history" << QVariant(QVariantList{1, QVariant(), "x"});
        QTest::newRow("network") << "current_network" << QVariant(QByteArray(10000, 'x'));
        QTest::newRow("curve") << "eq_visible" << QVariant(QStringList{"a", "b"});
    }
    void hostile_settings_prevent_no_start()
    {
        QFETCH(QString, key);
        QFETCH(QVariant, value);
        gui().close();
        gui().settings().setValue(key, value);
        gui().settings().sync();
        window->start();
        gui().show();
        window->report("10.0.0.1", loudspeaker_report("a"));
        QCOMPARE(gui().model().rowCount(), 1);
    }

    // The frame counts: what comes back is where the window was, not where it would be by itself.
    void the_windows_place_and_its_splitters_come_back()
    {
        gui().show();
        gui().widget().setGeometry(37, 41, 911, 573);
        QCoreApplication::processEvents();
        gui().property_splitter()->setSizes({420, 480});
        gui().eq_button()->setChecked(true);
        gui().eq_splitter()->setSizes({150, 250});
        QCoreApplication::processEvents();
        const QList<int> heights = gui().eq_splitter()->sizes();
        QVERIFY(heights.at(0) < heights.at(1));
        const QRect place = gui().widget().geometry();
        const QList<int> sizes = gui().property_splitter()->sizes();
        QVERIFY(sizes != QList<int>({0, 0}));
        gui().close();
        window->start();
        gui().show();
        QCOMPARE(gui().widget().geometry(), place);
        QCOMPARE(gui().property_splitter()->sizes(), sizes);
        QCOMPARE(gui().eq_splitter()->sizes(), heights);
    }

    void a_sort_column_in_the_settings_is_read()
    {
        gui().close();
        gui().settings().remove("list_state");
        gui().settings().setValue("sort_column", window->column("ip"));
        gui().settings().setValue("sort_order", int(Qt::DescendingOrder));
        window->start();
        QCOMPARE(gui().view()->header()->sortIndicatorSection(), window->column("ip"));
        QCOMPARE(gui().view()->header()->sortIndicatorOrder(), Qt::DescendingOrder);
        gui().close();
        QCOMPARE(gui().settings().value("sort_column").toInt(), window->column("ip"));
    }

    void a_settings_file_of_noise_prevents_no_start()
    {
        const QString path = gui().settings().fileName();
        window->gui.reset();
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QByteArray("\x00\xff[\n=\n", 6).repeated(100000));
        file.close();
        window->start();
        QCOMPARE(gui().column_ids().size(), list_columns().size());
    }

    // The program itself, as it is started. That it runs shows in the save that follows a start.
    void settings_of_200_mb_hold_up_no_start()
    {
        const QString settings = gui().settings().fileName();
        const QString cache = gui().cache().path();
        window->gui.reset();
        QFile huge(settings);
        QVERIFY(huge.open(QIODevice::WriteOnly));
        huge.write("[General]\neq_visible=true\n");
        QVERIFY(huge.resize(200LL * 1024 * 1024));
        huge.close();
        const QJsonObject device{{"ip", "10.0.0.1"}, {"data", loudspeaker_report("a")}};
        const QJsonObject known{{"devices", QJsonArray{device}}};
        QFile small(cache);
        QVERIFY(small.open(QIODevice::WriteOnly));
        small.write(QJsonDocument(known).toJson(QJsonDocument::Compact));
        small.close();

        QProcess program;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("XDG_CONFIG_HOME", window->folder.path());
        program.setProcessEnvironment(environment);
        program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        program.start(MANAGER_PATH, QStringList());
        const auto is_saved = [&small, &known] {
            const bool is_open = small.open(QIODevice::ReadOnly);
            const QByteArray text = small.readAll();
            small.close();
            return is_open && text == QJsonDocument(known).toJson();
        };
        QTRY_VERIFY_WITH_TIMEOUT(is_saved(), 60000);
        QCOMPARE(program.state(), QProcess::Running);
        // Fresh ones may have been written meanwhile: a second after the start.
        QVERIFY(QFileInfo(settings).size() < 1024 * 1024);
        QCOMPARE(QFileInfo(settings + ".too-large").size(), 200LL * 1024 * 1024);
        program.terminate();
        QVERIFY(program.waitForFinished(20000));
    }

    void settings_in_a_folders_place_prevent_no_start()
    {
        const QString path = gui().settings().fileName();
        window->gui.reset();
        QFile::remove(path);
        QVERIFY(QDir().mkpath(path));
        window->start();
        gui().close();
        QCOMPARE(gui().column_ids().size(), list_columns().size());
    }
};

WINDOW_TEST_MAIN(StartAndCloseTest)
#include "start_and_close_test.moc"
