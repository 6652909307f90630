// Kills the running program at random moments: the next start never fails, and finds every device
// that the start before had found. KILLS in the environment says how often, 10 times by default.
#include "support/window_main.h"

#include <QProcess>
#include <QRandomGenerator>

#include <csignal>
#include <cstring>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr int MOST_DEVICES = 400;

// Shared between the killed program and the test: above 0 inside the write of a cache's text.
volatile char *is_writing = nullptr;

char *shared_byte(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite) || !file.resize(1))
        qFatal("no shared file");
    void *memory = mmap(nullptr, 1, PROT_READ | PROT_WRITE, MAP_SHARED, file.handle(), 0);
    return memory == MAP_FAILED ? nullptr : static_cast<char *>(memory);
}

// Reports of ever-changing length: the file grows and shrinks.
QJsonObject changing_report(int number)
{
    QRandomGenerator *random = QRandomGenerator::global();
    QJsonObject report = loudspeaker_report(QString("dev%1").arg(number, 4, 10, QChar('0')));
    report.insert("ui",
                  QJsonObject{{"name", QString::number(random->bounded(1000000))},
                              {"memo", QString(random->bounded(3000), 'm')}});
    return report;
}

// The program under test: tells which devices it found, then lets devices change and join.
int run_program(int argc, char **argv)
{
    std::string reason;
    if (!enter_private_network(&reason))
        qFatal("no private network: %s", reason.c_str());
    // It goes with the test that started it, however that one ends. Entering a network undoes it.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    is_writing = shared_byte(QString(argv[2]) + "/writing");
    set_program_names();
    QApplication application(argc, argv);
    register_resources();
    build_catalogue();
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, argv[2]);
    WindowHandle gui;
    gui.show();
    QByteArray found = "found";
    for (const auto &[id, device] : gui.all_devices())
        found += " " + id.toUtf8();
    std::printf("%s\n", found.constData());
    std::fflush(stdout);

    QTimer changes;
    QObject::connect(&changes, &QTimer::timeout, &gui.widget(), [&gui] {
        const int most = std::min(int(gui.all_devices().size()) + 1, MOST_DEVICES);
        gui.report(QHostAddress("10.0.0.1"),
                   changing_report(QRandomGenerator::global()->bounded(most)), false, QString());
    });
    changes.start(1);
    // Seldom enough kills would fall near a save that comes twice a second.
    gui.cache().set_delay(20);
    return QApplication::exec();
}

} // namespace

// The one call that may lose something when it is cut: told apart by what it writes.
extern "C" ssize_t write(int file, const void *data, size_t size)
{
    const bool is_cache
        = is_writing && size > 20 && std::memcmp(data, "{\n    \"devices\"", 15) == 0;
    if (is_cache)
        *is_writing = 1;
    const ssize_t count = syscall(SYS_write, file, data, size);
    if (is_cache)
        *is_writing = 0;
    return count;
}

class CacheKillTest : public QObject
{
    Q_OBJECT

    // One run; the devices it found, or nothing when it was killed before it could say.
    QStringList run_and_kill(const QString &folder, QRandomGenerator &random)
    {
        QProcess program;
        program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("QT_LOGGING_RULES", "default.debug=false");
        program.setProcessEnvironment(environment);
        program.start(QCoreApplication::applicationFilePath(), {"--program", folder});
        has_failed |= !program.waitForStarted(60000);
        QByteArray output;
        // One kill in five falls into the start.
        if (random.bounded(5) != 0)
            while (!output.contains('\n') && program.waitForReadyRead(60000))
                output += program.readAllStandardOutput();
        QTest::qSleep(1
                      + random.bounded(300)); // the moment is the point of the test; 0 is an error
        has_failed |= program.state() != QProcess::Running;
        program.kill(); // SIGKILL
        program.waitForFinished(60000);
        output += program.readAllStandardOutput();
        has_failed |= program.exitStatus() != QProcess::CrashExit;
        return QString::fromUtf8(output.left(output.indexOf('\n'))).split(' ');
    }

    bool has_failed = false;

private slots:
    void no_kill_loses_a_device_that_was_saved()
    {
        const QTemporaryDir folder;
        const int kills = std::max(1, qEnvironmentVariableIntValue("KILLS"));
        const int rounds = qEnvironmentVariableIsSet("KILLS") ? kills : 10;
        char *was_writing = shared_byte(folder.filePath("writing"));
        QRandomGenerator random(static_cast<quint32>(QDateTime::currentMSecsSinceEpoch()));
        QStringList expected;
        int excused = 0;
        int heard = 0;
        for (int i = 0; i < rounds; ++i) {
            *was_writing = 0;
            const QStringList found = run_and_kill(folder.path(), random);
            QVERIFY2(!has_failed, "the program ended by itself");
            if (found.first() == "found") {
                ++heard;
                for (const QString &id : expected)
                    QVERIFY2(found.contains(id), qPrintable(id + " was lost"));
                expected = found;
            }
            if (*was_writing) {
                ++excused;
                expected.clear();
            }
        }
        qInfo("%d kills, %d starts heard, %d kills inside the write, %d devices at the end", rounds,
              heard, excused, expected.size());
        QVERIFY(heard > 0);
    }
};

int main(int argc, char **argv)
{
    if (argc == 3 && QByteArray(argv[1]) == "--program")
        return run_program(argc, argv);
    QCoreApplication application(argc, argv);
    CacheKillTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "cache_kill_test.moc"
