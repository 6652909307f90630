// What is kept when the program ends by a signal or a kill, and by which copy of several.
#include "gui/device_list_view.h"
#include "gui/settings_file.h"
#include "support/default_signals.h"
#include "support/files.h"
#include "support/window_main.h"

#include <QHeaderView>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>

#include <csignal>
#include <sys/stat.h>

namespace {

QByteArray cache_of(const QString &id)
{
    const QJsonObject device{{"ip", "10.0.0.1"}, {"data", loudspeaker_report(id)}};
    return QJsonDocument(QJsonObject{{"devices", QJsonArray{device}}}).toJson();
}

} // namespace

class LeavingTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<WindowCase> window;

    WindowHandle &gui() { return *window->gui; }

    // The program itself, as it is started.
    std::unique_ptr<QProcess> start_program()
    {
        auto program = std::make_unique<QProcess>();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("XDG_CONFIG_HOME", window->folder.path());
        program->setProcessEnvironment(environment);
        program->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        program->start(MANAGER_PATH, QStringList());
        return program;
    }

private slots:
    void initTestCase() { restore_default_signals(); }

    void init() { window = std::make_unique<WindowCase>(); }
    void cleanup() { window.reset(); }

    void a_signal_runs_the_closing_steps_data()
    {
        QTest::addColumn<int>("number");
        QTest::newRow("SIGTERM") << SIGTERM;
        QTest::newRow("SIGINT") << SIGINT;
        QTest::newRow("SIGHUP") << SIGHUP;
    }
    void a_signal_runs_the_closing_steps()
    {
        QFETCH(int, number);
        const QString cache = gui().cache().path();
        const QString settings = settings_path();
        window->gui.reset();
        const std::unique_ptr<QProcess> program = start_program();
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(settings), 60000); // a second after its start
        QVERIFY(QFile::remove(settings));
        QFile::remove(cache);
        ::kill(static_cast<pid_t>(program->processId()), number);
        QVERIFY(program->waitForFinished(60000));
        QCOMPARE(program->exitStatus(), QProcess::NormalExit);
        QCOMPARE(program->exitCode(), 0);
        QVERIFY2(contents(settings).contains("geometry="), contents(settings).constData());
        QCOMPARE(contents(cache), QByteArray("{\n    \"devices\": [\n    ]\n}\n"));
        QVERIFY(!QFile::exists(cache + ".lock"));
    }

    void a_kill_costs_the_settings_nothing_that_is_older_than_a_second_data()
    {
        QTest::addColumn<QByteArray>("key");
        for (const char *key :
             {"eq_visible=true", "search_history=stage", "list_state", "geometry"})
            QTest::newRow(key) << QByteArray(key);
    }
    void a_kill_costs_the_settings_nothing_that_is_older_than_a_second()
    {
        QFETCH(QByteArray, key);
        gui().show();
        QTRY_VERIFY(QFile::exists(settings_path()));
        QVERIFY(QFile::remove(settings_path()));
        if (key.startsWith("eq"))
            gui().eq_button()->click();
        else if (key.startsWith("search")) {
            gui().search_box()->setEditText("stage");
            gui().commit_search();
        } else if (key.startsWith("list"))
            gui().column_actions()[static_cast<size_t>(window->column("ui/memo"))]->trigger();
        else
            gui().resize(900, 500);
        QTRY_VERIFY(contents(settings_path()).contains(key));
    }

    void a_second_copy_reads_both_files_and_writes_neither()
    {
        window->report("10.0.0.1", loudspeaker_report("a"));
        gui().cache().save();
        gui().eq_button()->setChecked(true);
        QTRY_VERIFY(contents(settings_path()).contains("eq_visible=true"));
        const QByteArray cache = contents(gui().cache().path());
        const QByteArray settings = contents(settings_path());

        QTest::ignoreMessage(QtDebugMsg,
                             "another copy of the program is running: this one saves nothing");
        auto second = std::make_unique<WindowHandle>();
        QVERIFY(!gui().is_second_copy());
        QVERIFY(second->is_second_copy());
        QVERIFY(second->find_device("a"));
        QVERIFY(second->eq_button()->isChecked());
        second->eq_button()->setChecked(false);
        second->report(QHostAddress("10.0.0.2"), loudspeaker_report("b"), true, "lo");
        second->cache().begin_slices();
        QVERIFY(!second->cache().is_saving());
        window->gui.reset(); // not even alone
        second->cache().save();
        second->close();
        second.reset();
        QCOMPARE(contents(settings_path()), settings);
        QCOMPARE(
            contents(settings_path().left(settings_path().lastIndexOf('/')) + "/devicecache.json"),
            cache);
        window->start();
        QVERIFY(!gui().is_second_copy());
    }

    void settings_that_are_a_pipe_prevent_no_window()
    {
        const QString settings = settings_path();
        const QString cache = gui().cache().path();
        gui().close();
        window->gui.reset();
        QFile::remove(settings);
        QCOMPARE(mkfifo(QFile::encodeName(settings).constData(), 0600), 0);
        put(cache, cache_of("a"));
        window->start();
        gui().show();
        QVERIFY(gui().find_device("a")); // the cache stands where it always does
        gui().close();
        QVERIFY(!QFileInfo(settings).isFile());
    }

    // As another computer leaves it in a shared folder. The toolkit by itself would wait until the
    // lock is half a minute old, and then write; closing gives it a second.
    void a_foreign_lock_of_the_settings_holds_up_no_closing()
    {
        gui().show();
        QTRY_VERIFY(QFile::exists(settings_path()));
        gui().eq_button()->click();
        put(settings_path() + ".lock", "4711\nsomething\nelsewhere\n");
        const QString cache = gui().cache().path();
        window->report("10.0.0.1", loudspeaker_report("a"));
        gui().close();
        QVERIFY(contents(cache).contains("10.0.0.1")); // what needs no such lock is kept
        QVERIFY(!contents(settings_path()).contains("eq_visible=true"));
        QVERIFY(QFile::remove(settings_path() + ".lock"));
    }
};

WINDOW_TEST_MAIN(LeavingTest)
#include "leaving_test.moc"
