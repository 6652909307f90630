// The simulator's standard input: lines come whole, however their bytes come, and each of them
// once.
#include "simulator/console.h"
#include "support/printed.h"

#include <QEvent>
#include <QJsonDocument>
#include <QRandomGenerator>
#include <QtTest>

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <memory>
#include <sys/ioctl.h>
#include <sys/time.h>
#include <unistd.h>

using simulator::Console;

namespace {

constexpr int PIECE = 65536; // bytes that one turn of the event loop reads

QByteArray line_of(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

QJsonObject numbered(int number)
{
    return {{"number", number}};
}

int waiting_bytes()
{
    int count = 0;
    ioctl(STDIN_FILENO, FIONREAD, &count);
    return count;
}

// Reads what waits in the standard input just before the console does, once: another process that
// shares it was quicker.
class QuickerReader : public QObject
{
public:
    QuickerReader() { QCoreApplication::instance()->installEventFilter(this); }

    QByteArray taken = {};

    bool eventFilter(QObject *target, QEvent *event) override
    {
        const auto *notifier = qobject_cast<QSocketNotifier *>(target);
        if (notifier && notifier->socket() == STDIN_FILENO && event->type() == QEvent::SockAct
            && taken.isEmpty()) {
            taken.resize(PIECE);
            taken.resize(
                static_cast<int>(std::max<ssize_t>(0, read(STDIN_FILENO, taken.data(), PIECE))));
        }
        return QObject::eventFilter(target, event);
    }
};

// Signals that interrupt whatever waits, again and again.
class Interruptions
{
public:
    Interruptions()
    {
        struct sigaction action = {};
        action.sa_handler = [](int) {}; // without SA_RESTART
        sigaction(SIGALRM, &action, &before);
        const itimerval each_10_ms{.it_interval = {0, 10'000}, .it_value = {0, 10'000}};
        setitimer(ITIMER_REAL, &each_10_ms, nullptr);
    }
    ~Interruptions()
    {
        const itimerval never{};
        setitimer(ITIMER_REAL, &never, nullptr);
        sigaction(SIGALRM, &before, nullptr);
    }
    Q_DISABLE_COPY_MOVE(Interruptions)

private:
    struct sigaction before = {};
};

} // namespace

class SimulatorConsoleTest : public QObject
{
    Q_OBJECT

    int own_input = -1; // the program's, while the test types
    int typing = -1;
    std::unique_ptr<Console> console;
    QList<QJsonObject> asked;
    int ends = 0;

    void type(const QByteArray &bytes) const
    {
        QCOMPARE(write(typing, bytes.constData(), static_cast<size_t>(bytes.size())),
                 ssize_t{bytes.size()});
    }

    // Until the console has read all of it.
    void type_and_wait(const QByteArray &bytes) const
    {
        type(bytes);
        QTRY_COMPARE(waiting_bytes(), 0);
    }

    void stop_typing()
    {
        close(typing);
        typing = -1;
    }

private slots:
    void init()
    {
        int ends_of_pipe[2];
        QCOMPARE(pipe2(ends_of_pipe, O_CLOEXEC), 0);
        own_input = dup(STDIN_FILENO);
        dup2(ends_of_pipe[0], STDIN_FILENO);
        close(ends_of_pipe[0]);
        typing = ends_of_pipe[1];
        if (fcntl(typing, F_SETPIPE_SZ, PIECE) < PIECE)
            QSKIP("the system lends this user no pipe of 64 KiB");
        asked.clear();
        ends = 0;
        console = std::make_unique<Console>();
        connect(console.get(), &Console::asked, this,
                [this](const QJsonObject &request) { asked.append(request); });
        connect(console.get(), &Console::ended, this, [this] { ++ends; });
    }

    void cleanup()
    {
        console.reset();
        stop_typing();
        dup2(own_input, STDIN_FILENO);
        close(own_input);
    }

    void lines_come_whole_however_their_bytes_come_data()
    {
        QTest::addColumn<int>("longest");
        for (const int longest : {1, 2, 7, 100, 3000})
            QTest::addRow("up to %d bytes", longest) << longest;
    }

    void lines_come_whole_however_their_bytes_come()
    {
        QFETCH(int, longest);
        QRandomGenerator random(static_cast<quint32>(longest));
        QList<QJsonObject> expected;
        QByteArray text;
        for (int i = 0; i < 60; ++i) {
            expected.append(
                QJsonObject{{"number", i}, {"text", QString("x").repeated(random.bounded(90))}});
            text += line_of(expected.last());
            if (random.bounded(3) == 0)
                text += random.bounded(2) == 0 ? "\n" : "  \n\n";
        }
        for (int sent = 0; sent < text.size();) {
            const QByteArray piece = text.mid(sent, 1 + random.bounded(longest));
            type_and_wait(piece);
            sent += piece.size();
        }
        QCOMPARE(asked, expected);
        QCOMPARE(ends, 0);
    }

    void a_line_goes_out_with_the_piece_that_ends_it()
    {
        type_and_wait("{\"number\":1}");
        QCOMPARE(asked.size(), 0);
        type_and_wait("\n");
        QCOMPARE(asked.size(), 1);
        type_and_wait("{\"number\":2}\n{\"number\":3}\n{\"number\"");
        QCOMPARE(asked.size(), 3);
        type_and_wait(":4}\n");
        QCOMPARE(asked.last(), numbered(4));
    }

    void a_line_of_many_pieces_is_one_request()
    {
        const QString text = QString("y").repeated(40 * PIECE);
        const QByteArray line = line_of({{"text", text}});
        for (int sent = 0; sent < line.size(); sent += PIECE) {
            type_and_wait(line.mid(sent, PIECE));
        }
        QCOMPARE(asked.size(), 1);
        QCOMPARE(asked.first().value("text").toString(), text);
    }

    void what_is_no_object_is_told_and_ends_nothing()
    {
        const QByteArray printed
            = printed_by([this] { type_and_wait("[1]\n\n  \nno json\n{\"number\":1}\n"); });
        QCOMPARE(printed,
                 QByteArray("{\"error\":\"not a JSON object\"}\n{\"error\":\"illegal value\"}\n"));
        QCOMPARE(asked, QList<QJsonObject>{numbered(1)});
        QCOMPARE(ends, 0);
    }

    void the_last_line_needs_no_end_and_the_end_is_told_once()
    {
        type("{\"number\":1}\n{\"number\":2}");
        stop_typing();
        QTRY_COMPARE(ends, 1);
        QCOMPARE(asked.size(), 2);
        for (int turn = 0; turn < 5; ++turn)
            QCoreApplication::processEvents();
        QCOMPARE(ends, 1);
    }

    void a_line_of_more_than_16_mib_ends_the_reading()
    {
        const QByteArray piece(PIECE, 'x');
        int pieces = 0;
        for (; ends == 0 && pieces < 300; ++pieces) {
            type_and_wait(piece);
        }
        QCOMPARE(pieces, 16 * 1024 / 64 + 2); // the one behind the first byte too many
        QCOMPARE(ends, 1);
    }

    // Then nothing waits where something was told to.
    void another_reader_may_be_quicker()
    {
        fcntl(STDIN_FILENO, F_SETFL, fcntl(STDIN_FILENO, F_GETFL) | O_NONBLOCK);
        const QuickerReader other;
        type_and_wait("{\"number\":1}\n");
        QCOMPARE(other.taken, QByteArray("{\"number\":1}\n"));
        QCOMPARE(ends, 0);
        type_and_wait("{\"number\":2}\n");
        QCOMPARE(asked, QList<QJsonObject>{numbered(2)});
    }

    void a_wait_that_a_signal_interrupts_ends_nothing()
    {
        const QuickerReader other;
        const Interruptions signals_come;
        type("{\"number\":1}\n");
        QTRY_VERIFY(!other.taken.isEmpty());
        QCOMPARE(ends, 0);
        type("{\"number\":2}\n");
        QTRY_COMPARE(asked, QList<QJsonObject>{numbered(2)});
        QCOMPARE(ends, 0);
    }
};

QTEST_GUILESS_MAIN(SimulatorConsoleTest)
#include "simulator_console_test.moc"
