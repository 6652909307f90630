// Devices are kept between runs, and one device's state in a backup.
#include "support/changed_reports.h"
#include "support/files.h"
#include "support/panel_case.h"

#include <QElapsedTimer>

#include <malloc.h>
#include <sys/stat.h>

namespace {

QStringList cached_ids(const QString &path)
{
    QStringList ids;
    for (const SavedDevice &saved : read_cache_text(contents(path)))
        ids.append(saved.data.value("device_id").toString());
    return ids;
}

// The text as one call of the toolkit would make it.
QByteArray expected_cache(const WindowHandle &gui)
{
    QJsonArray elements;
    for (const auto &[id, device] : gui.all_devices())
        elements.append(QJsonObject{{"ip", device->address.toString()},
                                    {"data", device->last_report.object()}});
    return QJsonDocument(QJsonObject{{"devices", elements}}).toJson();
}

QString numbered(int number)
{
    return QString("dev%1").arg(number, 4, 10, QChar('0'));
}

} // namespace

class StorageTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<PanelCase> window;

    WindowHandle &gui() { return *window->gui; }

private slots:
    void init() { window = std::make_unique<PanelCase>(); }
    void cleanup() { window.reset(); }

    // 400 devices change all the time, and each turn one is deleted and comes back. CACHE_SECONDS
    // in the environment makes it long.
    void a_window_starts_from_every_file_that_was_on_disk()
    {
        constexpr int DEVICES = 400;
        const auto tell = [this](int i, const QString &name) {
            window->report("10.0.1.1", loudspeaker_report(numbered(i), 3, name));
        };
        for (int i = 0; i < DEVICES; ++i)
            tell(i, "first");
        gui().cache().set_delay(1);
        const QString path = gui().cache().path();
        const qint64 longest = 1000LL * qEnvironmentVariableIntValue("CACHE_SECONDS");
        QElapsedTimer elapsed;
        elapsed.start();
        QByteArrayList files;
        for (int turn = 0; files.size() < 4 || elapsed.elapsed() < longest; ++turn) {
            for (int i = turn % 7; i < DEVICES; i += 7)
                tell(i, "turn " + QString::number(turn));
            Device *leaving = gui().find_device(numbered(turn % DEVICES));
            gui().view()->setCurrentIndex(gui().model().index(gui().row_of(leaving), 0));
            gui().delete_selected();
            for (int pause = 0; pause < 8; ++pause) {
                const QByteArray text = contents(path);
                if (!text.isEmpty() && (files.isEmpty() || text != files.last()))
                    files.append(text);
                QTest::qWait(longest > 0 ? 50 : 1);
            }
            tell(turn % DEVICES, "back");
        }

        for (const QByteArray &file : files) {
            window->gui.reset();
            put(path, file);
            window->start();
            const int rows = gui().model().rowCount();
            QVERIFY2(rows == DEVICES || rows == DEVICES - 1, qPrintable(QString::number(rows)));
            QCOMPARE(file.count("\"devices\""), 1);
        }
        qInfo("%d files", files.size());
    }

    void two_devices_come_back_offline_with_their_last_names_and_values()
    {
        window->report("10.0.0.2", loudspeaker_report("b", 3, "Right"));
        window->report("10.0.0.1", loudspeaker_report("a", 3, "First name"));
        window->report("10.0.0.1", loudspeaker_report("a", 3, "Left"));
        gui().cache().save();
        QCOMPARE(cached_ids(gui().cache().path()), QStringList({"a", "b"}));

        window->start();
        QCOMPARE(gui().all_devices().size(), size_t(2));
        Device *left = gui().find_device("a");
        QVERIFY(!left->online);
        QCOMPARE(left->last_seen, qint64(0));
        QCOMPARE(left->address, QHostAddress("10.0.0.1"));
        QCOMPARE(left->interface, QString());
        QCOMPARE(left->value("dsp/level"), QVariant(4));
        QCOMPARE(window->cell(left, "ui/name"), QString("Left"));
        QCOMPARE(window->cell(left, "status"), QString("Offline"));
        QCOMPARE(window->cell(gui().find_device("b"), "ui/name"), QString("Right"));
    }

    void the_file_is_the_indented_document()
    {
        for (const QString id : {"c", "a", "b"})
            window->report("10.0.0.1", loudspeaker_report(id));
        gui().add_dummy_device();
        gui().cache().save();
        QCOMPARE(contents(gui().cache().path()), expected_cache(gui()));
    }

    void a_change_reaches_the_file_by_itself()
    {
        window->report("10.0.0.1", loudspeaker_report("a"));
        QVERIFY(gui().cache().is_pending());
        QTRY_COMPARE_WITH_TIMEOUT(cached_ids(gui().cache().path()), QStringList("a"), 20000);
        QVERIFY(!gui().cache().is_pending());
        QCOMPARE(contents(gui().cache().path()), expected_cache(gui()));
    }

    void a_report_that_changes_nothing_starts_no_save()
    {
        window->report("10.0.0.1", loudspeaker_report("a"));
        window->report("10.0.0.1", loudspeaker_report("a"));
        gui().cache().stop();
        window->report("10.0.0.1", loudspeaker_report("a"));
        QVERIFY(!gui().cache().is_pending());
    }

    void closing_keeps_what_a_pending_save_would_have_kept()
    {
        window->report("10.0.0.1", loudspeaker_report("a"));
        gui().cache().begin_slices();
        window->report("10.0.0.2", loudspeaker_report("b"));
        const QByteArray expected = expected_cache(gui());
        gui().close();
        QVERIFY(gui().all_devices().empty());
        QVERIFY(!gui().cache().is_pending());
        QVERIFY(!gui().cache().is_saving());
        QCoreApplication::processEvents();
        QCOMPARE(contents(gui().cache().path()), expected);
    }

    void deleting_saves_at_once()
    {
        window->add({});
        window->add({});
        gui().cache().save();
        gui().cache().begin_slices();
        window->select({0});
        gui().delete_selected();
        QCOMPARE(cached_ids(gui().cache().path()),
                 QStringList(window->devices[1]->record()->device_id));
        QVERIFY(!gui().cache().is_saving());
    }

    void deleting_nothing_saves_nothing()
    {
        window->add({});
        gui().cache().stop();
        gui().delete_selected();
        QVERIFY(!QFile::exists(gui().cache().path()));
    }

    void a_device_comes_back_on_the_network_that_the_file_names()
    {
        const QJsonObject device{
            {"ip", "10.0.0.1"}, {"interface", "near"}, {"data", loudspeaker_report("a")}};
        put(gui().cache().path(), bytes_of({{"devices", QJsonArray{device}}}));
        window->start();
        QCOMPARE(gui().find_device("a")->interface, QString("near"));
    }

    // What was half done when the device went must not stand in front of the next text.
    void deleting_in_the_middle_of_a_save_spoils_no_later_one()
    {
        for (int i = 0; i < 3; ++i)
            window->add({});
        for (int slices = 0; slices < 4; ++slices) {
            gui().cache().begin_slices();
            for (int i = 0; i < slices; ++i)
                gui().cache().continue_slices();
            window->select({0});
            gui().delete_selected();
            window->report("127.0.0.11", window->devices[0]->state);
            gui().cache().begin_slices();
            while (gui().cache().is_saving())
                gui().cache().continue_slices();
            QCOMPARE(contents(gui().cache().path()), expected_cache(gui()));
        }
        QCOMPARE(cached_ids(gui().cache().path()).size(), 3);
    }

    void one_save_follows_the_reading_of_a_cache()
    {
        window->report("10.0.0.1", loudspeaker_report("a"));
        gui().cache().save();
        window->start();
        QVERIFY(gui().cache().is_pending());
        QFile::remove(gui().cache().path());
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(gui().cache().path()), 20000);
        QVERIFY(!gui().cache().is_pending());
    }

    void a_loaded_list_is_sorted()
    {
        for (const int order : {5, 3, 9, 1, 7})
            window->report("10.0.0.1",
                           with(loudspeaker_report(numbered(order)), "ui",
                                {{"order", 10 - order}, {"name", numbered(order)}}));
        gui().cache().save();
        window->start();
        QStringList names;
        for (int row = 0; row < gui().model().rowCount(); ++row)
            names.append(gui().model().item(row, window->column("ui/name"))->text());
        QCOMPARE(names,
                 QStringList({numbered(9), numbered(7), numbered(5), numbered(3), numbered(1)}));
        QVERIFY(!gui().is_in_batch());
    }

    void a_cache_that_cannot_be_written_changes_nothing()
    {
        window->report("10.0.0.1", loudspeaker_report("a"));
        const QString path = gui().cache().path();
        gui().cache().set_path(window->folder.filePath("missing/devicecache.json"));
        gui().cache().save();
        gui().cache().set_path(window->folder.path());
        gui().cache().save();
        gui().cache().set_path(path);
        QCOMPARE(gui().all_devices().size(), size_t(1));
        gui().cache().save();
        QCOMPARE(cached_ids(path), QStringList("a"));
    }

    void no_cache_file_prevents_the_start_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<int>("devices");
        const QByteArray good = json(
            {{"devices",
              QJsonArray{QJsonObject{{"ip", "10.0.0.1"}, {"data", loudspeaker_report("a")}}}}});
        QTest::newRow("good") << good << 1;
        QTest::newRow("empty") << QByteArray() << 0;
        QTest::newRow("truncated") << good.left(good.size() / 2) << 0;
        QTest::newRow("older tail") << good + good.right(40) << 1;
        QByteArray binary;
        for (int i = 0; i < 100000; ++i)
            binary.append(static_cast<char>(i * 7919 >> 3));
        QTest::newRow("binary") << binary << 0;
        QTest::newRow("list") << QByteArray("[]") << 0;
        QTest::newRow("elements of all types")
            << QByteArray(R"({"devices":[1,null,"x",[],{},{"ip":{},"data":7}]})") << 0;
        QTest::newRow("wrong types everywhere")
            << json({{"devices",
                      QJsonArray{QJsonObject{
                          {"ip", "10.0.0.1"},
                          {"data", with(with_wrong_types(loudspeaker_report("a")), "x", {})},
                      }}}})
            << 0;
        QJsonObject hostile = with_wrong_types(loudspeaker_report("a"));
        hostile.insert("product", "KESTA");
        hostile.insert("seq", 0);
        hostile.insert("device_id", "a");
        QTest::newRow("a report of wrong types")
            << json({{"devices", QJsonArray{QJsonObject{{"ip", 5}, {"data", hostile}}}}}) << 1;
        hostile.insert("product_id", 1e300);
        hostile.insert("ui", QJsonObject{{"order", -1e308}, {"name", QString(100000, 'x')}});
        hostile.insert("dsp", QJsonObject{{"level", 4e18}, {"bank", -5}, {"delay", 1e-320}});
        QTest::newRow("huge values")
            << json({{"devices", QJsonArray{QJsonObject{{"ip", "::1"}, {"data", hostile}}}}}) << 1;
    }

    void no_cache_file_prevents_the_start()
    {
        QFETCH(QByteArray, text);
        QFETCH(int, devices);
        put(gui().cache().path(), text);
        window->start();
        QCOMPARE(int(gui().all_devices().size()), devices);
        gui().show();
        QCoreApplication::processEvents();
        gui().close();
        QCOMPARE(cached_ids(gui().cache().path()).size(), devices);
    }

    void nothing_at_the_caches_place_prevents_the_start_data()
    {
        QTest::addColumn<QString>("kind");
        for (const char *kind : {"folder", "pipe", "huge", "unreadable", "loop"})
            QTest::newRow(kind) << QString(kind);
    }

    void nothing_at_the_caches_place_prevents_the_start()
    {
        QFETCH(QString, kind);
        const QString path = gui().cache().path();
        const QByteArray name = QFile::encodeName(path);
        if (kind == "folder")
            QVERIFY(QDir().mkpath(path));
        if (kind == "pipe")
            QCOMPARE(mkfifo(name.constData(), 0600), 0);
        if (kind == "loop")
            QVERIFY(QFile::link(path, path));
        if (kind == "huge" || kind == "unreadable")
            put(path, R"({"devices":[]})");
        if (kind == "huge")
            QVERIFY(QFile::resize(path, 200LL * 1024 * 1024));
        if (kind == "unreadable")
            chmod(name.constData(), 0);
        window->start();
        QVERIFY(gui().all_devices().empty());
        window->report("10.0.0.1", loudspeaker_report("a"));
        gui().close();
    }

    void no_settings_file_prevents_the_start_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("binary") << QByteArray("\x00\xFF\x80[=\n%General]\nx", 18);
        QTest::newRow("wrong types") << QByteArray(
            "[General]\neq_visible=@Variant(\\0\\0\\0\\x7f)\ngeometry=5\nwindowState=@ByteArray(x)"
            "\n"
            "property_splitter=@Size(1 2)\nsort_column=99999999999\nsort_order=-7\n"
            "search_history=@Invalid()\ncolumn_info=5\nlist_state=@ByteArray(\\0\\0\\0\\xff)\n");
        QTest::newRow("long") << QByteArray("[General]\ncurrent_network=")
                + QByteArray(5000000, 'x');
        QTest::newRow("truncated") << QByteArray("[General]\ngeometry=@ByteArray(\\x1\\xd9\\xd0");
    }

    void no_settings_file_prevents_the_start()
    {
        QFETCH(QByteArray, text);
        put(gui().settings().fileName(), text);
        window->start();
        gui().show();
        QCoreApplication::processEvents();
        gui().close();
    }

    // Whoever makes up names can fill neither the memory nor the file.
    void reports_of_many_lists_cost_no_more_than_their_datagrams()
    {
        window->report("10.0.0.1", loudspeaker_report("known"));
        gui().cache().save();
        window->start();
        const size_t before = mallinfo2().uordblks;
        constexpr int count = 70;
        int size = 0;
        for (int i = 0; i < count; ++i) {
            const QByteArray datagram = "{\"product\":\"KESTA\",\"seq\":0,\"device_id\":\""
                + numbered(i).toUtf8() + "\",\"dsp\":{\"level\":["
                + QByteArray("[1],").repeated(7500) + "[1]]},\"streams\":{\"list\":["
                + QByteArray("[1],").repeated(7000) + "[1]]}}";
            size = datagram.size();
            gui().deliver(QHostAddress("10.0.0.2"), datagram);
        }
        QCOMPARE(gui().all_devices().size(), size_t(count) + 1);
        gui().cache().save();
        const qint64 each = (qint64(mallinfo2().uordblks) - qint64(before)) / count;
        const qint64 file = QFileInfo(gui().cache().path()).size();
        qInfo("a datagram of %d bytes: %lld bytes of memory each, a file of %lld", size,
              static_cast<long long>(each), static_cast<long long>(file));
        QVERIFY(each < 8 * size);
        QVERIFY(file < 10 * size);
        window->start();
        QVERIFY(gui().find_device("known"));
    }
};

WINDOW_TEST_MAIN(StorageTest)
#include "storage_test.moc"
