// Files are replaced without losing the old text, whatever stands at their path.
#include "model/saved_file.h"
#include "support/files.h"
#include "support/sanitized.h"

#include <QtTest>

#include <cerrno>
#include <csignal>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// A file system with room for 3 MiB that this process alone sees.
bool mount_small_disk(const QString &folder)
{
    if (unshare(CLONE_NEWNS) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
        return false;
    return mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0
        && mount("tmpfs", QFile::encodeName(folder).constData(), "tmpfs", 0, "size=3m") == 0;
}

// By this process, from anywhere, as the kernel counts them.
qint64 bytes_read()
{
    return contents("/proc/self/io").split('\n').first().split(' ').last().toLongLong();
}

} // namespace

class SavedFileTest : public QObject
{
    Q_OBJECT

    QTemporaryDir folder;
    QString path;

private slots:
    void init()
    {
        path = folder.filePath("file");
        QFile::remove(path);
    }

    void a_text_replaces_a_shorter_and_a_longer_one()
    {
        for (const int size : {10, 100000, 5, 5, 0, 7}) {
            const QByteArray text(size, static_cast<char>('a' + size % 26));
            QVERIFY(replace_saved_file(path, text));
            QCOMPARE(contents(path), text);
            QCOMPARE(read_saved_file(path).value(), text);
        }
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden), QStringList("file"));
    }

    void the_file_stays_the_same_file()
    {
        put(path, "old");
        QVERIFY(QFile::link(path, folder.filePath("link")));
        struct stat before = {};
        struct stat after = {};
        stat(QFile::encodeName(path).constData(), &before);
        QVERIFY(replace_saved_file(folder.filePath("link"), "new"));
        stat(QFile::encodeName(path).constData(), &after);
        QCOMPARE(before.st_ino, after.st_ino);
        QCOMPARE(contents(path), QByteArray("new"));
        QFile::remove(folder.filePath("link"));
    }

    void a_folder_and_a_missing_folder_are_refused_in_silence()
    {
        QVERIFY(!replace_saved_file(folder.path(), "x"));
        QVERIFY(!replace_saved_file(folder.filePath("missing/file"), "x"));
        QVERIFY(!replace_saved_file(QString(), "x"));
        QVERIFY(!read_saved_file(folder.path()).has_value());
        QVERIFY(!read_saved_file(folder.filePath("missing/file")).has_value());
        QVERIFY(!read_saved_file(QString()).has_value());
    }

    void a_pipe_holds_nobody_up()
    {
        QCOMPARE(mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        QVERIFY(!replace_saved_file(path, "x"));
        QVERIFY(!read_saved_file(path).has_value());
        QVERIFY(!read_saved_file("/dev/zero").has_value());
        QVERIFY(!replace_saved_file("/dev/full", "x"));
        QVERIFY(write_saved_file("/dev/full", "x").error != 0);
        QVERIFY(!write_saved_file(folder.path(), "x").is_opened);
    }

    void a_read_only_file_keeps_its_text()
    {
        put(path, "old");
        QFile::setPermissions(path, QFile::ReadOwner);
        const bool may_write = access(QFile::encodeName(path).constData(), W_OK) == 0; // root may
        QCOMPARE(replace_saved_file(path, "new"), may_write);
        QCOMPARE(contents(path), QByteArray(may_write ? "new" : "old"));
    }

    void a_huge_file_reads_as_an_empty_one_at_once()
    {
        put(path, "{}");
        QVERIFY(QFile::resize(path, 200LL * 1024 * 1024));
        const qint64 before = bytes_read();
        QVERIFY(before > 0);
        const std::optional<QByteArray> text = read_saved_file(path);
        QVERIFY(text.has_value());
        QVERIFY(text->isEmpty());
        QVERIFY(bytes_read() - before < 1024 * 1024);
        QVERIFY(QFile::resize(path, 64LL * 1024 * 1024));
        QCOMPARE(read_saved_file(path)->size(), 64 * 1024 * 1024);
    }

    // With room for 64 MB beside what is taken already.
    void a_small_file_takes_no_room_for_the_largest()
    {
#ifdef ADDRESS_SANITIZED
        QSKIP("the sanitizers' maps are larger than any limit");
#else
        put(path, "small");
        const qint64 pages = contents("/proc/self/statm").split(' ').constFirst().toLongLong();
        rlimit before{};
        QCOMPARE(getrlimit(RLIMIT_AS, &before), 0);
        rlimit tight = before;
        tight.rlim_cur = static_cast<rlim_t>(pages * sysconf(_SC_PAGESIZE) + (64LL << 20));
        QCOMPARE(setrlimit(RLIMIT_AS, &tight), 0);
        const std::optional<QByteArray> text = read_saved_file(path, 1 << 30);
        setrlimit(RLIMIT_AS, &before);
        QCOMPARE(text.value_or("nothing"), QByteArray("small"));
#endif
    }

    void a_file_that_tells_no_size_is_read_whole()
    {
        QVERIFY(read_saved_file("/proc/self/status")->contains("Name:"));
        QCOMPARE(*read_saved_file("/proc/self/status", 100), QByteArray());
    }

    void a_new_file_may_be_read_by_whom_the_user_lets()
    {
        const mode_t mask = umask(027);
        QVERIFY(replace_saved_file(path, "new"));
        umask(mask);
        struct stat state = {};
        QCOMPARE(stat(QFile::encodeName(path).constData(), &state), 0);
        QCOMPARE(state.st_mode & 0777, mode_t{0640});
    }

    void a_file_that_is_set_aside_takes_the_place_of_the_one_before()
    {
        for (const char *text : {"first", "second"}) {
            put(path, text);
            set_aside_if_larger(path, 3);
            QVERIFY(!QFile::exists(path));
            QCOMPARE(contents(path + ".too-large"), QByteArray(text));
        }
        put(path, "abc");
        set_aside_if_larger(path, 3);
        QVERIFY(QFile::exists(path));
    }

    // Room is promised here, and refused when it is taken.
    void what_was_set_aside_in_vain_is_given_back()
    {
        const QByteArray old(5000, 'o');
        put(path, old);
        signal(SIGXFSZ, SIG_IGN);
        rlimit usual{};
        getrlimit(RLIMIT_FSIZE, &usual);
        const rlimit small{.rlim_cur = 20000, .rlim_max = usual.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
        const WriteResult refused = write_saved_file(path, QByteArray(50000, 'n'));
        setrlimit(RLIMIT_FSIZE, &usual);
        QCOMPARE(refused.error, EFBIG);
        QCOMPARE(contents(path), old);
    }

    // Last: it changes what this process sees of the file system.
    void a_full_disk_keeps_the_old_text()
    {
        const QString disk = folder.filePath("disk");
        QVERIFY(QDir().mkpath(disk));
        if (!mount_small_disk(disk))
            QSKIP("this kernel gives us no file system of our own");
        const QString file = disk + "/file";
        const QByteArray old(30000, 'o');
        QVERIFY(replace_saved_file(file, old));
        const WriteResult refused = write_saved_file(file, QByteArray(5000000, 'n'));
        QVERIFY(refused.is_opened);
        QCOMPARE(refused.error, ENOSPC);
        QCOMPARE(contents(file), old);
        QCOMPARE(write_saved_file(disk + "/new", QByteArray(5000000, 'n')).error, ENOSPC);
        QVERIFY(!QFile::exists(disk + "/new"));
        QVERIFY(replace_saved_file(file, QByteArray(2500000, 'n')));
        QVERIFY(!replace_saved_file(disk + "/other", QByteArray(1000000, 'n')));
        umount(QFile::encodeName(disk).constData());
    }
};

QTEST_GUILESS_MAIN(SavedFileTest)
#include "saved_file_test.moc"
