// The settings are written soon after a change, and nothing that stands in their way holds the
// program up.
#include "gui/kept_settings.h"
#include "gui/settings_file.h"
#include "support/files.h"

#include <QDir>
#include <QFile>
#include <QSemaphore>
#include <QSignalSpy>
#include <QtTest>

#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <thread>
#include <unistd.h>

namespace {

// As another computer leaves it in a shared folder when it stops.
void lock_from_elsewhere(const QString &settings, const QDateTime &time)
{
    const QString path = settings + ".lock";
    put(path, "4711\nsomething\nelsewhere\n");
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(file.setFileTime(time, QFileDevice::FileModificationTime));
}

// Without root's rights to files, as long as it lives.
class SomebodyElse
{
public:
    SomebodyElse()
    {
        if (geteuid() == 0 && seteuid(65534) != 0)
            qFatal("can't be somebody else");
    }
    ~SomebodyElse()
    {
        if (getuid() == 0 && seteuid(0) != 0)
            qFatal("can't be root again");
    }
    Q_DISABLE_COPY_MOVE(SomebodyElse)
};

} // namespace

class KeptSettingsTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<SettingsFolder> folder;

private slots:
    void init()
    {
        folder.reset(); // its successor takes the settings' place
        folder = std::make_unique<SettingsFolder>();
    }

    void what_was_written_is_read()
    {
        KeptSettings settings;
        QCOMPARE(settings.value("a", 5), QVariant(5));
        settings.put("a", 7);
        QCOMPARE(settings.value("a", 5), QVariant(7));
        QVERIFY(settings.write(0));
        QVERIFY(contents(settings_path()).contains("a=7"));
        QCOMPARE(KeptSettings().value("a").toInt(), 7);
    }

    void only_what_differs_is_news()
    {
        KeptSettings settings;
        QVERIFY(!settings.has_news());
        settings.put("a", 7);
        QVERIFY(settings.has_news());
        QVERIFY(settings.write(0));
        settings.put("a", 7);
        QVERIFY(!settings.has_news());
    }

    void many_changes_are_due_once()
    {
        KeptSettings settings;
        QSignalSpy due(&settings, &KeptSettings::due);
        for (int i = 0; i < 10; ++i)
            settings.note_change();
        QCOMPARE(due.size(), 0);
        QTRY_COMPARE(due.size(), 1);
        QTest::qWait(0);
        QCOMPARE(due.size(), 1);
    }

    void read_only_settings_are_never_due_nor_written()
    {
        KeptSettings settings;
        QSignalSpy due(&settings, &KeptSettings::due);
        settings.note_change();
        settings.set_read_only();
        settings.note_change();
        QVERIFY(!due.wait(1500));
        settings.put("a", 7);
        QVERIFY(settings.write(0));
        QVERIFY(!QFile::exists(settings_path()));
    }

    // As an administrator leaves it. Root may write to any file, so this is somebody else.
    void a_file_that_may_not_be_written_is_read_and_left_alone_data()
    {
        QTest::addColumn<bool>("is_folder_free");
        QTest::newRow("nor its folder") << false;
        QTest::newRow("but its folder") << true; // the lock is free, the file is not
    }
    void a_file_that_may_not_be_written_is_read_and_left_alone()
    {
        QFETCH(bool, is_folder_free);
        put(settings_path(), "[General]\na=1\n");
        const QFile::Permissions reading = QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther;
        const QFile::Permissions entering = QFile::ExeOwner | QFile::ExeGroup | QFile::ExeOther;
        QVERIFY(QFile::setPermissions(settings_path(), reading));
        for (const QString &path : {folder->path(), folder->filePath("Makers")})
            QVERIFY(QFile::setPermissions(path, reading | entering));
        if (is_folder_free)
            QVERIFY(
                QFile::setPermissions(folder->filePath("Makers"),
                                      reading | entering | QFile::WriteGroup | QFile::WriteOther));
        const SomebodyElse somebody_else;
        KeptSettings settings;
        QCOMPARE(settings.value("a"), QVariant("1"));
        settings.put("a", 7);
        QVERIFY(settings.write(0)); // nothing to wait for
        QVERIFY(settings.write(0));
        QCOMPARE(settings.value("a"), QVariant(7));
        QCOMPARE(contents(settings_path()), QByteArray("[General]\na=1\n"));
        QCOMPARE(QDir(folder->filePath("Makers")).entryList(QDir::Files | QDir::Hidden),
                 QStringList("Program.ini"));
    }

    // It was there at the start, which makes it for the cache.
    void a_folder_that_has_gone_is_made_again()
    {
        KeptSettings settings;
        settings.put("a", 7);
        QVERIFY(QDir(folder->filePath("Makers")).removeRecursively());
        QVERIFY(settings.write(0));
        QVERIFY(contents(settings_path()).contains("a=7"));
    }

    // Opening the pipe would wait for somebody to write to it.
    void what_is_no_file_is_neither_read_nor_written_data()
    {
        QTest::addColumn<QString>("kind");
        for (const char *kind : {"pipe", "folder", "device"})
            QTest::newRow(kind) << kind;
    }
    void what_is_no_file_is_neither_read_nor_written()
    {
        QFETCH(QString, kind);
        const QString path = settings_path();
        const QByteArray name = QFile::encodeName(path);
        if (kind == "pipe")
            QCOMPARE(mkfifo(name.constData(), 0600), 0);
        else if (kind == "folder")
            QVERIFY(QDir().mkpath(path));
        // A node of our own: a program that fails here, run by root, replaces what a link leads to.
        else if (mknod(name.constData(), S_IFCHR | 0600, makedev(1, 3)) != 0)
            QSKIP("only root makes device nodes");
        KeptSettings settings;
        settings.put("a", 7);
        QVERIFY(settings.write(0));
        QCOMPARE(KeptSettings().value("a"), QVariant());
        QCOMPARE(QDir(folder->filePath("Makers"))
                     .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot),
                 QStringList("Program.ini"));
    }

    // The toolkit reads the maker's file along with the program's.
    void a_pipe_in_the_place_of_the_makers_settings_holds_nobody_up()
    {
        const QString path = folder->filePath("Makers.ini");
        QCOMPARE(mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        KeptSettings settings;
        QCOMPARE(settings.value("a"), QVariant());
        settings.put("a", 7);
        QVERIFY(settings.write(0));
        QVERIFY(!QFile::exists(settings_path()));
    }

    // The toolkit by itself would wait for half a minute. Whoever waits for long here finds the
    // lock gone, and writes.
    void a_fresh_foreign_lock_is_not_waited_for()
    {
        KeptSettings settings;
        lock_from_elsewhere(settings_path(), QDateTime::currentDateTime());
        settings.put("a", 7);
        QSemaphore has_returned;
        std::thread other([&has_returned, lock = settings_path() + ".lock"] {
            if (!has_returned.tryAcquire(1, 15000))
                QFile::remove(lock);
        });
        const bool is_written = settings.write(1000);
        has_returned.release();
        other.join();
        QVERIFY(!is_written);
        QVERIFY(!QFile::exists(settings_path()));
        QCOMPARE(settings.value("a"), QVariant(7)); // the next one may write it
        QVERIFY(QFile::remove(settings_path() + ".lock"));
        QVERIFY(settings.write(0));
        QVERIFY(contents(settings_path()).contains("a=7"));
    }

    void an_old_foreign_lock_is_taken_over()
    {
        KeptSettings settings;
        lock_from_elsewhere(settings_path(), QDateTime::currentDateTime().addSecs(-60));
        settings.put("a", 7);
        QVERIFY(settings.write(0));
        QVERIFY(contents(settings_path()).contains("a=7"));
    }
};

QTEST_GUILESS_MAIN(KeptSettingsTest)
#include "kept_settings_test.moc"
