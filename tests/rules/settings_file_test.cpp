// A settings file that is far too large goes out of the way; all others stay.
#include "gui/settings_file.h"
#include "support/files.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>
#include <QtTest>

#include <sys/stat.h>

class SettingsFileTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<SettingsFolder> folder;

    static void put(const QString &path, const QByteArray &text, qint64 size)
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(text), qint64{text.size()});
        QVERIFY(file.resize(size));
    }

private slots:
    void init()
    {
        folder.reset(); // its successor takes the settings' place
        folder = std::make_unique<SettingsFolder>();
    }

    void the_place_is_the_settings_own()
    {
        const QSettings settings(QSettings::IniFormat, QSettings::UserScope, "Makers", "Program");
        QCOMPARE(settings_path(), settings.fileName());
        QCOMPARE(QDir(folder->path()).entryList(QDir::Files).size(), 0);
    }

    void a_file_or_nothing_is_usable()
    {
        QVERIFY(are_settings_usable());
        put(settings_path(), "[General]\n", 10);
        QVERIFY(are_settings_usable());
    }

    void a_pipe_a_folder_and_a_device_are_not_usable()
    {
        for (const QString &path : {settings_path(), folder->filePath("Makers.ini")}) {
            QCOMPARE(mkfifo(QFile::encodeName(path).constData(), 0600), 0);
            QVERIFY(!are_settings_usable());
            QVERIFY(QFile::remove(path));
            QVERIFY(QFile::link("/dev/null", path));
            QVERIFY(!are_settings_usable());
            QVERIFY(QFile::remove(path));
            QVERIFY(QDir().mkpath(path));
            QVERIFY(!are_settings_usable());
            QVERIFY(QDir().rmdir(path));
        }
    }

    void usual_settings_stay()
    {
        const QByteArray text = "[General]\neq_visible=true\n";
        put(settings_path(), text, text.size());
        set_huge_settings_aside();
        QVERIFY(QFileInfo::exists(settings_path()));
        put(settings_path(), text, 16 * 1024 * 1024);
        set_huge_settings_aside();
        QVERIFY(QFileInfo::exists(settings_path()));
    }

    void huge_settings_get_another_name()
    {
        for (const qint64 size : {16LL * 1024 * 1024 + 1, 200LL * 1024 * 1024}) {
            put(settings_path(), "[General]\n", size);
            set_huge_settings_aside();
            QVERIFY(!QFileInfo::exists(settings_path()));
            QCOMPARE(QFileInfo(settings_path() + ".too-large").size(), size);
        }
    }

    void missing_settings_and_a_folder_are_left_alone()
    {
        set_huge_settings_aside();
        QVERIFY(!QFileInfo::exists(settings_path()));
        QVERIFY(QDir().mkpath(settings_path()));
        set_huge_settings_aside();
        QVERIFY(QFileInfo(settings_path()).isDir());
    }

    void what_cannot_be_renamed_stays()
    {
        put(settings_path(), "[General]\n", 17 * 1024 * 1024);
        QVERIFY(QDir().mkpath(settings_path() + ".too-large"));
        set_huge_settings_aside();
        QVERIFY(QFileInfo::exists(settings_path()));
    }
};

QTEST_GUILESS_MAIN(SettingsFileTest)
#include "settings_file_test.moc"
