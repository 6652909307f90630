// The simulator as a process: its lines, its signals, its end.
#include "support/simulator_case.h"

#include <csignal>
#include <sys/types.h>

class SimulatorProcessTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { run_ip("link set lo up"); }

    void init()
    {
        process = std::make_unique<QProcess>();
        process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    }

    void cleanup()
    {
        process->kill();
        process->waitForFinished();
        process.reset();
    }

    void a_line_may_come_in_pieces()
    {
        start();
        process->write("{\"state\":true,\"device\":0,\"id\":1}\n{\"stats\":");
        QVERIFY(next_line().contains("\"id\":1"));
        process->write("true,\"id\":2}\n{\"nothing\":1,\"id\":3}\n");
        QVERIFY(next_line().contains("\"id\":2"));
        QVERIFY(next_line().contains("\"id\":3"));
    }

    void it_plays_on_when_nobody_types_any_more()
    {
        start();
        process->closeWriteChannel();
        // What is asked after the first answer is asked of a process that has read the end.
        for (int i = 0; i < 5; ++i) {
            QUdpSocket manager;
            manager.writeDatagram(R"({"command":"blink_leds"})", QHostAddress("127.0.0.10"), 7054);
            QVERIFY(next_line().contains("\"event\":\"blink\""));
        }
        QCOMPARE(process->state(), QProcess::Running);
    }

    void a_signal_ends_it_as_quit_does_data()
    {
        QTest::addColumn<int>("number");
        QTest::newRow("interrupt") << SIGINT;
        QTest::newRow("terminate") << SIGTERM;
    }

    void a_signal_ends_it_as_quit_does()
    {
        QFETCH(int, number);
        start();
        QCOMPARE(kill(static_cast<pid_t>(process->processId()), number), 0);
        QVERIFY(process->waitForFinished());
        QCOMPARE(process->exitStatus(), QProcess::NormalExit);
        QCOMPARE(process->exitCode(), 0);
    }

    void it_outlives_whoever_read_its_lines()
    {
        process->setStandardOutputFile("/dev/null");
        const char *script
            = "{ echo '{\"stats\":true}'; echo '{\"stats\":true}'; echo '{\"quit\":1}'; }"
              " | { \"$0\" \"$@\"; echo $? >&2; } | true";
        process->setProcessChannelMode(QProcess::SeparateChannels);
        process->start("sh", QStringList{"-c", script, SIMULATOR_PATH} + OPTIONS);
        QVERIFY(process->waitForFinished());
        QCOMPARE(process->readAllStandardError(), QByteArray("0\n"));
    }

    void a_datagram_that_the_network_refuses_holds_up_nothing()
    {
        start();
        const QByteArray raw
            = R"({"fault":"send_raw","device":0,"base64":"AA==","to":"203.0.113.1"})";
        process->write(raw + "\n{\"stats\":true,\"id\":2}\n");
        QVERIFY(next_line().contains("\"ok\":true"));
        QVERIFY(next_line().contains("\"id\":2"));
    }

private:
    const QStringList OPTIONS{"--count", "1", "--addresses-exist", "--first-address", "127.0.0.10"};
    std::unique_ptr<QProcess> process;

    void start()
    {
        process->start(SIMULATOR_PATH, OPTIONS);
        QVERIFY(next_line().contains("\"ready\":true"));
    }

    QByteArray next_line() const
    {
        while (!process->canReadLine() && process->waitForReadyRead(10'000)) {
        }
        return process->readLine();
    }
};

int main(int argc, char **argv)
{
    std::string reason;
    if (!enter_private_network(&reason))
        qFatal("no private network: %s", reason.c_str());
    QCoreApplication application(argc, argv);
    SimulatorProcessTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "simulator_process_test.moc"
