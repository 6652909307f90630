// The devices' file: written in slices, never longer than can be read, and never without a device
// that it had at the start.
#include "model/device.h"
#include "model/device_cache.h"
#include "model/registry_limit.h"
#include "support/files.h"
#include "support/idle_loop.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

#include <memory>
#include <sys/stat.h>

namespace {

// One as the program may write takes a second to fill.
constexpr int SMALL_FILE = 16 * 1024 * 1024;
constexpr int MORE_THAN_FIT = 120; // large reports

QString numbered(int number)
{
    return QString("dev%1").arg(number, 4, 10, QChar('0'));
}

QJsonObject plain_report(const QString &id, const QString &memo = "")
{
    return {{"product", "KESTA"}, {"seq", 0}, {"device_id", id}, {"memo", memo}};
}

// Written out it takes the better part of what one device may take.
QJsonObject large_report(const QString &id)
{
    return plain_report(id, QString(200 * 1024, 'm'));
}

} // namespace

class DeviceCacheTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> folder;
    QString path;
    std::map<QString, std::unique_ptr<Device>> owned;
    DeviceCache::Devices devices;
    std::unique_ptr<DeviceCache> cache;

    Device &report(const QJsonObject &object)
    {
        const QString id = object.value("device_id").toString();
        if (owned.count(id) == 0) {
            owned[id] = std::make_unique<Device>();
            devices[id] = owned[id].get();
        }
        Device &device = *owned[id];
        device.device_id = id;
        device.address = QHostAddress("10.0.0.1");
        device.last_report = object;
        device.last_report.settle();
        return device;
    }

    void forget(const QString &id)
    {
        devices.erase(id);
        owned.erase(id);
    }

    void restart(int largest_file = LARGEST_CACHE)
    {
        cache.reset();
        devices.clear();
        owned.clear();
        cache = std::make_unique<DeviceCache>(devices, largest_file);
        cache->set_path(path);
    }

    // What the program does with them: each becomes a record.
    size_t load()
    {
        const std::vector<SavedDevice> found = cache->load();
        for (const SavedDevice &saved : found)
            report(saved.data);
        return found.size();
    }

    void run_slices()
    {
        while (cache->is_saving())
            cache->continue_slices();
    }

    QByteArray expected() const
    {
        QJsonArray elements;
        for (const auto &[id, device] : devices)
            elements.append(QJsonObject{{"ip", device->address.toString()},
                                        {"data", device->last_report.object()}});
        return QJsonDocument(QJsonObject{{"devices", elements}}).toJson();
    }

    QStringList saved_ids() const
    {
        QStringList ids;
        for (const SavedDevice &saved : read_cache_text(contents(path)))
            ids.append(saved.data.value("device_id").toString());
        return ids;
    }

    QTimer *clock() const
    {
        for (QTimer *timer : cache->findChildren<QTimer *>())
            if (timer->isSingleShot())
                return timer;
        return nullptr;
    }

private slots:
    void init()
    {
        folder = std::make_unique<QTemporaryDir>();
        path = folder->filePath("devicecache.json");
        restart();
    }

    void a_change_is_saved_once_half_a_second_later()
    {
        report(plain_report("a"));
        QVERIFY(!cache->is_pending());
        cache->changed();
        QVERIFY(cache->is_pending());
        QCOMPARE(clock()->interval(), 500);
        QTRY_COMPARE_WITH_TIMEOUT(contents(path), expected(), 20000);
        QVERIFY(!cache->is_pending());
        QVERIFY(!cache->is_saving());
    }

    // A clock that is set anew has all of its time again.
    void a_pending_save_is_not_pushed_back()
    {
        constexpr int WHOLE = 60000; // ms, none of which is waited for here
        constexpr int PASSED = 60;
        clock()->setTimerType(Qt::PreciseTimer);
        cache->set_delay(WHOLE);
        cache->changed();
        QThread::msleep(PASSED);
        cache->changed();
        QVERIFY(cache->is_pending());
        QVERIFY(clock()->remainingTime() <= WHOLE - PASSED);
    }

    void a_save_in_slices_writes_what_one_at_once_would()
    {
        for (int i = 0; i < 3000; ++i)
            report(plain_report(numbered(i), QString(i, 'm')));
        cache->begin_slices();
        QVERIFY(cache->is_saving());
        cache->continue_slices();
        QCOMPARE(contents(path), QByteArray("no file"));
        run_slices();
        QCOMPARE(contents(path), expected());
    }

    void slices_run_by_themselves()
    {
        report(plain_report("a"));
        cache->begin_slices();
        QTRY_VERIFY(!cache->is_saving());
        QCOMPARE(contents(path), expected());
    }

    void devices_may_come_and_go_between_slices()
    {
        for (int i = 0; i < 3000; ++i)
            report(plain_report(numbered(i)));
        cache->begin_slices();
        for (int i = 0; cache->is_saving(); ++i) {
            cache->continue_slices();
            forget(numbered(3 * i));
            report(plain_report(numbered(9000 - i)));
        }
        const QStringList ids = saved_ids();
        QVERIFY(ids.contains(numbered(1)));
        QVERIFY(ids.contains(numbered(2999)));
        QCOMPARE(QSet<QString>(ids.begin(), ids.end()).size(), ids.size());
        cache->save();
        QCOMPARE(contents(path), expected());
    }

    // A device deleted in the middle is saved at once; what was half done must not come before it.
    void nothing_of_an_abandoned_save_reaches_the_next()
    {
        for (int i = 0; i < 2000; ++i)
            report(plain_report(numbered(i), QString(500, 'm')));
        for (int slices = 0;; ++slices) {
            cache->begin_slices();
            for (int i = 0; i < slices && cache->is_saving(); ++i)
                cache->continue_slices();
            if (!cache->is_saving())
                break;
            forget(numbered(slices));
            cache->save();
            QCOMPARE(contents(path), expected());
            cache->begin_slices();
            run_slices();
            QCOMPARE(contents(path), expected());
        }
    }

    void a_save_that_falls_due_during_another_comes_after_it()
    {
        report(plain_report("a"));
        cache->begin_slices();
        cache->continue_slices(); // looks at all
        report(plain_report("b"));
        cache->begin_slices();
        QVERIFY(cache->is_pending());
        run_slices();
        QCOMPARE(saved_ids(), QStringList("a"));
        QTRY_COMPARE_WITH_TIMEOUT(saved_ids(), QStringList({"a", "b"}), 20000);
    }

    void stopping_leaves_the_file_as_it_is()
    {
        report(plain_report("a"));
        cache->save();
        const QByteArray before = contents(path);
        report(plain_report("b"));
        cache->changed();
        cache->begin_slices();
        cache->continue_slices();
        cache->stop();
        QVERIFY(!cache->is_pending());
        QVERIFY(!cache->is_saving());
        QCoreApplication::processEvents();
        QCOMPARE(contents(path), before);
    }

    void it_rests_when_it_is_stopped_in_the_middle()
    {
        report(plain_report("a"));
        cache->begin_slices();
        QVERIFY(cache->is_saving());
        cache->stop();
        const int turns = turns_at_rest();
        QVERIFY2(turns < 100, qPrintable(QString::number(turns)));
    }

    void it_rests_when_all_is_written()
    {
        cache->set_delay(0);
        report(plain_report("a"));
        cache->changed();
        QTRY_VERIFY(QFile::exists(path) && !cache->is_pending() && !cache->is_saving());
        const int turns = turns_at_rest();
        QVERIFY2(turns < 100, qPrintable(QString::number(turns)));
    }

    void a_file_that_is_only_read_stays_as_it_is()
    {
        report(plain_report("a"));
        cache->save();
        const QByteArray before = contents(path);
        restart();
        cache->set_read_only(true);
        QCOMPARE(load(), size_t(1));
        report(plain_report("b"));
        cache->save();
        cache->begin_slices();
        QVERIFY(!cache->is_saving());
        QCOMPARE(contents(path), before);
    }

    // 400 devices change all the time, and one goes or comes back at each turn: whatever stands in
    // the file at any moment starts. CACHE_SECONDS in the environment makes it long.
    void every_file_that_was_on_disk_starts()
    {
        for (int i = 0; i < 400; ++i)
            report(plain_report(numbered(i)));
        cache->set_delay(1);
        QElapsedTimer elapsed;
        elapsed.start();
        const qint64 longest = 1000LL * qEnvironmentVariableIntValue("CACHE_SECONDS");
        int files = 0;
        QByteArray last;
        for (int turn = 0; files < 20 || elapsed.elapsed() < longest; ++turn) {
            for (int i = turn % 7; i < 400; i += 7)
                if (devices.count(numbered(i)) == 1)
                    report(plain_report(numbered(i), QString(turn % 900, 'm')));
            cache->changed();
            const QString id = numbered(turn / 2 % 400);
            if (turn % 2 == 0) {
                forget(id);
                cache->save();
            } else {
                report(plain_report(id));
            }
            for (int slice = 0; slice < turn % 11; ++slice) {
                QCoreApplication::processEvents();
                const QByteArray text = contents(path);
                if (text == last)
                    continue;
                last = text;
                ++files;
                const int found = static_cast<int>(read_cache_text(text).size());
                QVERIFY2(found == 399 || found == 400, qPrintable(QString::number(found)));
                QCOMPARE(text.count("\"devices\""), 1);
            }
        }
        qInfo("%d files", files);
    }

    // ---- bounds ------------------------------------------------------------------------------

    void a_file_too_large_to_be_read_is_set_aside()
    {
        put(path, R"({"devices":[{"data":{"device_id":"a"}}]})");
        QCOMPARE(LARGEST_CACHE, 134217728); // bytes
        QVERIFY(QFile::resize(path, qint64{LARGEST_CACHE} + 1));
        cache->set_read_only(true);
        QCOMPARE(load(), size_t(0));
        QVERIFY(QFile::exists(path));
        cache->set_read_only(false);
        QCOMPARE(load(), size_t(0));
        QVERIFY(!QFile::exists(path));
        QCOMPARE(QFileInfo(path + ".too-large").size(), qint64{LARGEST_CACHE} + 1);
    }

    // 900 of these would make 180 MB.
    void what_is_written_can_be_read()
    {
        for (int i = 0; i < 100; ++i)
            report(plain_report("known " + numbered(i)));
        cache->save();
        restart();
        QCOMPARE(load(), size_t(100));
        for (int i = 0; i < 900; ++i)
            report(large_report(numbered(i)));
        cache->save();
        QVERIFY(QFileInfo(path).size() <= LARGEST_CACHE);
        QVERIFY(QFileInfo(path).size() > LARGEST_CACHE - 2 * LARGEST_CACHE_PART);
        const QStringList ids = saved_ids();
        QCOMPARE(ids.filter("known").size(), 100);
        QVERIFY(ids.contains(numbered(0)));
        QVERIFY(!ids.contains(numbered(899)));
        restart();
        QCOMPARE(load(), size_t(ids.size()));
    }

    void when_there_is_no_room_what_was_heard_last_goes_first()
    {
        restart(SMALL_FILE);
        for (int i = 0; i < MORE_THAN_FIT; ++i)
            report(large_report("m" + numbered(i)));
        cache->save();
        const int kept = saved_ids().size();
        QVERIFY(kept > 0 && kept < MORE_THAN_FIT);
        report(plain_report("a"));
        cache->save();
        QVERIFY(!saved_ids().contains("a"));
        forget("m" + numbered(0));
        forget("m" + numbered(1));
        cache->save();
        QCOMPARE(saved_ids().size(), kept);
    }

    // Whoever sends in their names can't drive them out.
    void devices_of_the_start_stay_however_much_they_grow()
    {
        for (int i = 0; i < MORE_THAN_FIT; ++i)
            report(plain_report(numbered(i), "first"));
        cache->save();
        restart(SMALL_FILE);
        QCOMPARE(load(), size_t(MORE_THAN_FIT));
        for (int i = 0; i < MORE_THAN_FIT; ++i)
            report(large_report(numbered(i)));
        cache->save();
        QVERIFY(QFileInfo(path).size() <= SMALL_FILE);
        QCOMPARE(saved_ids().size(), MORE_THAN_FIT);
        const std::vector<SavedDevice> saved = read_cache_text(contents(path));
        QVERIFY(saved.front().data.value("memo").toString().size() > 1000);
        QCOMPARE(saved.back().data.value("memo").toString(), QString("first"));
    }

    void devices_of_the_start_keep_their_room_from_save_to_save()
    {
        report(plain_report("a"));
        cache->save();
        restart(100 * 1024);
        load();
        for (int i = 0; i < 4; ++i) {
            const QString memo = QString(60 * 1024, 'm') + QString::number(i);
            report(plain_report("a", memo));
            cache->save();
            QCOMPARE(read_cache_text(contents(path)).front().data.value("memo").toString(), memo);
        }
    }

    void devices_of_the_start_keep_their_room_in_each_save_data()
    {
        QTest::addColumn<bool>("has_saved");
        QTest::newRow("the first") << false;
        QTest::newRow("a later one") << true;
    }

    void devices_of_the_start_keep_their_room_in_each_save()
    {
        QFETCH(const bool, has_saved);
        const auto report_all = [this](std::initializer_list<QChar> ids, int length) {
            for (const QChar id : ids)
                report(plain_report(id, QString(length, id)));
        };
        report_all({'a', 'b'}, 30 * 1024);
        cache->save();
        restart(100 * 1024);
        load();
        if (has_saved)
            cache->save();
        report_all({'a', 'b'}, 60 * 1024); // of which one more has room
        cache->save();
        QVERIFY(contents(path).size() <= 100 * 1024);
        QList<int> lengths;
        for (const SavedDevice &saved : read_cache_text(contents(path)))
            lengths.append(saved.data.value("memo").toString().size());
        QCOMPARE(lengths, QList<int>({60 * 1024, 30 * 1024}));
    }

    void a_device_of_the_start_that_was_deleted_has_its_place_when_it_returns()
    {
        report(plain_report("a"));
        cache->save();
        restart(SMALL_FILE);
        load();
        forget("a");
        for (int i = 0; i < MORE_THAN_FIT; ++i)
            report(large_report(numbered(i)));
        cache->save();
        report(plain_report("a"));
        cache->save();
        QVERIFY(saved_ids().contains("a"));
    }
};

QTEST_GUILESS_MAIN(DeviceCacheTest)
#include "device_cache_test.moc"
