// How fast log windows take text: lines per second of CPU time, stalls and memory. First the
// window's text alone, then the program with 20 log windows, fed by datagrams over the loopback.
#include "bench_main.h"
#include "link/datagram.h"
#include "meter/log_stream.h"
#include "meter/log_text.h"
#include "meter/log_window.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFontDatabase>
#include <QPlainTextEdit>
#include <QScrollBar>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <unistd.h>
#include <vector>

namespace {
int max_blocks = 30000; // as many as the program keeps

QString log_line(int number)
{
    return QStringLiteral("[%1.%2] dsp: block %3 took %4 us, queue %5, clock locked\n")
        .arg(number / 1000, 6)
        .arg(number % 1000, 3, 10, QLatin1Char('0'))
        .arg(number)
        .arg(number % 997)
        .arg(number % 13);
}

// A log window that has been open for long: it holds all the lines that it may.
std::unique_ptr<QPlainTextEdit> make_view()
{
    auto view = std::make_unique<QPlainTextEdit>();
    view->setReadOnly(true);
    view->document()->setMaximumBlockCount(max_blocks);
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setStyleHint(QFont::Monospace, QFont::PreferDefault);
    font.setPointSize(11);
    view->setFont(font);
    view->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    view->resize(1000, 670);
    view->show();
    QString lines;
    for (int number = 0; number < max_blocks; ++number)
        lines += log_line(number);
    append_log_fragments(view.get(), {{.text = lines}});
    QApplication::processEvents();
    return view;
}

// The reference: one message, one insertion, written down straight.
void append_plainly(QPlainTextEdit *view, const QString &text)
{
    QScrollBar *const bar = view->verticalScrollBar();
    const bool follows_end = bar->value() == bar->maximum();
    QTextCursor cursor = view->textCursor();
    cursor.movePosition(QTextCursor::End);
    cursor.insertText(text);
    if (follows_end)
        bar->setValue(bar->maximum());
}

double resident_megabytes()
{
    QFile statm("/proc/self/statm");
    if (!statm.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> fields = statm.readAll().split(' ');
    return fields.value(1).toDouble() * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e6;
}

struct Result
{
    double lines_per_second = 0; // of CPU time, appending alone
    double with_painting = 0;    // the same, with the window painted after each burst
    double worst = 0;            // CPU ms of the longest append of one burst
};

// `lines` lines arrive in bursts; the window is painted after each.
template<typename Append>
Result stream(int lines, int burst, Append append)
{
    double appending = 0;
    Result result;
    const double start = cpu_seconds();
    for (int number = 0; number < lines; number += burst) {
        std::vector<QString> texts;
        for (int i = 0; i < burst; ++i)
            texts.push_back(log_line(number + i));
        const double before = cpu_seconds();
        append(texts);
        const double spent = cpu_seconds() - before;
        appending += spent;
        result.worst = std::max(result.worst, spent * 1e3);
        QApplication::processEvents();
    }
    result.lines_per_second = lines / appending;
    result.with_painting = lines / (cpu_seconds() - start);
    return result;
}

void print(const std::string &what, const Result &result, const Result &reference,
           double least_times)
{
    std::printf("%s: %.0f lines/s, %.0f with painting\n", what.c_str(), result.lines_per_second,
                result.with_painting);
    at_least("of the rate of one insertion per line",
             result.lines_per_second / reference.lines_per_second, "x", least_times);
    at_most("the longest burst", result.worst, "ms", 50);
}

void append_one_by_one(QPlainTextEdit *view, const std::vector<QString> &texts)
{
    for (const QString &text : texts)
        append_log_fragments(view, {{.text = text}});
}

// As while datagrams are drained: collected, and inserted at the end or when enough is there.
void append_joined(LogAppender &appender, QPlainTextEdit *view, const std::vector<QString> &texts)
{
    for (const QString &text : texts)
        appender.add(view, false, text);
    appender.flush();
}

Result bench_reference(int lines)
{
    const auto view = make_view();
    const auto append = [target = view.get()](const std::vector<QString> &texts) {
        for (const QString &text : texts)
            append_plainly(target, text);
    };
    return stream(lines / 4, 48, append);
}

void bench_one_window(int lines, const Result &reference)
{
    std::printf("reference, one insertion per line: %.0f lines/s, %.0f with painting\n",
                reference.lines_per_second, reference.with_painting);
    const auto single = make_view();
    const auto one_by_one
        = [view = single.get()](const auto &texts) { append_one_by_one(view, texts); };
    print("one by one, bursts of 48", stream(lines / 4, 48, one_by_one), reference, 0.8);
    for (const int burst : {4, 16, 48, 200, 500}) {
        const auto view = make_view();
        LogAppender appender;
        const auto joined = [&appender, target = view.get()](const auto &texts) {
            append_joined(appender, target, texts);
        };
        // Few lines are joined for the sake of the painting behind them, which is not counted here;
        // those of 16 are 1.2 to 1.6 times as fast.
        const double least = burst < 16 ? 1 : burst < 48 ? 1.25 : 2;
        print("joined, bursts of " + std::to_string(burst),
              stream(burst < 48 ? lines / 4 : lines, burst, joined), reference, least);
    }
}

void bench_scrolled_up(int lines, const Result &reference)
{
    const auto view = make_view();
    LogAppender appender;
    const auto joined = [&appender, target = view.get()](const auto &texts) {
        append_joined(appender, target, texts);
    };
    view->verticalScrollBar()->setValue(300);
    const Result result = stream(std::min(lines, 20000), 48, joined);
    print("joined, bursts of 48, scrolled up", result, reference, 1);
    must_hold("the view stays at its line", view->verticalScrollBar()->value() == 300);
}

void bench_twenty_windows(int lines, const Result &reference)
{
    std::vector<std::unique_ptr<QPlainTextEdit>> views;
    for (int i = 0; i < 20; ++i)
        views.push_back(make_view());
    LogAppender appender;
    size_t next = 0;
    const auto joined = [&appender, &views, &next](const auto &texts) {
        append_joined(appender, views[next++ % views.size()].get(), texts);
    };
    print("joined, bursts of 48, 20 windows in turn", stream(lines, 48, joined), reference, 2);
}

void bench_memory(int lines)
{
    const auto view = make_view();
    LogAppender appender;
    const auto joined = [&appender, target = view.get()](const auto &texts) {
        append_joined(appender, target, texts);
    };
    double full = 0; // MB, once the document has thrown old lines away for the first time
    for (int round = 0; round <= 4; ++round) {
        if (round > 0)
            stream(lines, 200, joined);
        if (round == 2)
            full = resident_megabytes();
        std::printf("after %d lines\n", max_blocks + round * lines);
        tell("memory", resident_megabytes(), "MB");
    }
    at_most("memory grown over the last two rounds", resident_megabytes() - full, "MB", 2);
}

void bench_filter()
{
    QByteArray bytes;
    for (int i = 0; i < 15; ++i)
        bytes += "\x1B[32m" + log_line(i).toUtf8() + "\x1B[0m";
    QByteArray attachment(2, '\0');
    attachment[0] = static_cast<char>(bytes.size() & 0xFF);
    attachment[1] = static_cast<char>(bytes.size() >> 8);
    attachment += bytes;
    LogStream log;
    const auto take
        = [&log, &attachment] { take_log_message(log, {.position = log.log_pos}, attachment); };
    at_most("one message of 15 coloured lines to text", cpu_microseconds(20000, take), "us", 100);
}

QByteArray log_datagram(const Device &device, uint32_t position, const QByteArray &text)
{
    QByteArray length(2, '\0');
    length[0] = static_cast<char>(text.size() & 0xFF);
    length[1] = static_cast<char>(text.size() >> 8);
    const QJsonObject head{{"command", "raw_log"},
                           {"device_id", device.device_id},
                           {"pos", static_cast<double>(position)}};
    return QJsonDocument(head).toJson(QJsonDocument::Compact) + '\0' + length + text;
}

// The program with a log window open for each of 20 devices.
struct Program
{
    QTemporaryDir folder;
    std::unique_ptr<WindowHandle> gui = make_bench_window(folder.path());
    std::vector<Device *> devices = {};
    QUdpSocket sender;
    double worst_turn = 0; // CPU ms of the longest turn of the event loop

    Program()
    {
        for (int number = 0; number < 20; ++number) {
            QJsonObject report = bench_report(number);
            report.insert("logging", QJsonObject{{"en", true}});
            gui->report(bench_address(number), report, true, gui->network());
            devices.push_back(gui->find_device(report.value("device_id").toString()));
            gui->open_log(devices.back());
        }
        gui->discovery_timer().stop();
        settle();
    }

    void send(const QByteArray &datagram)
    {
        sender.writeDatagram(datagram, QHostAddress(QHostAddress::LocalHost), DEVICE_PORT);
    }

    // Sends a line; `sent` is the position in the device's stream.
    void send_line(Device *device, int number, uint32_t &sent)
    {
        const QByteArray text = log_line(number).toUtf8();
        send(log_datagram(*device, sent, text));
        sent += static_cast<uint32_t>(text.size());
    }

    // One turn of the event loop, as the program's own: called in the midst of something else it
    // would paint what one timer of 0 ms has left and let the next one fire in the same turn. Its
    // CPU seconds.
    double turn()
    {
        const double before = cpu_seconds();
        QApplication::processEvents(QEventLoop::EventLoopExec);
        const double spent = cpu_seconds() - before;
        worst_turn = std::max(worst_turn, spent * 1e3);
        return spent;
    }

    // Until all that is on its way is shown.
    void settle()
    {
        QElapsedTimer quiet;
        quiet.start();
        while (!quiet.hasExpired(100)) {
            turn();
            if (!gui->are_logs_shown())
                quiet.restart();
        }
    }
};

// Lines to one window with the view following; each burst is one that the program finds waiting.
void bench_program_stream(Program &program, int lines, int burst)
{
    Device *device = program.devices[0];
    uint32_t sent = device->log_pos;
    program.worst_turn = 0;
    double spent = 0;
    for (int number = 0; number < lines; ++number) {
        program.send_line(device, number, sent);
        if (number % burst == burst - 1)
            spent += program.turn();
    }
    program.settle();
    const bool is_whole = device->log_pos == sent
        && !program.gui->log_view(device)->toPlainText().contains("[lost");
    std::printf("%d lines, %d at a time\n", lines, burst);
    const double least = burst < 4 ? 5000 : burst < 16 ? 20000 : 100000;
    at_least("from the wire to the screen", lines / spent, "lines/s", least);
    at_most("longest turn", program.worst_turn, "ms", 12);
    must_hold("all lines are shown", is_whole);
}

void bench_program_windows(Program &program, int lines)
{
    const QScrollBar *bar = program.gui->log_view(program.devices[1])->verticalScrollBar();
    std::vector<uint32_t> sent(program.devices.size());
    for (int round = 0; round < 4; ++round) {
        program.worst_turn = 0;
        for (int number = 0; number < lines; ++number) {
            const size_t window = static_cast<size_t>(number) % program.devices.size();
            sent[window] = program.devices[window]->log_pos;
            program.send_line(program.devices[window], number, sent[window]);
            program.turn();
        }
        program.settle();
        std::printf("%d lines to 20 windows in turn, round %d\n", lines, round + 1);
        at_most("longest turn", program.worst_turn, "ms", 12);
        must_hold("the one that is scrolled up stays at its line", bar->value() == 300);
        tell("memory", resident_megabytes(), "MB");
    }
}

void bench_program(int lines)
{
    Program program;
    std::printf("the program with 20 log windows\n");
    for (int burst : {1, 4, 16, 48})
        bench_program_stream(program, burst == 48 ? lines : lines / 4, burst);
    // Fills the second window, then leaves it where a reader would have it.
    uint32_t sent = 0;
    for (int number = 0; number < 2000; ++number) {
        program.send_line(program.devices[1], number, sent);
        program.turn();
    }
    program.settle();
    program.gui->log_view(program.devices[1])->verticalScrollBar()->setValue(300);
    bench_program_windows(program, lines / 4);
}

struct HostileCase
{
    const char *what;
    QByteArray text;
};

// One message of so many bytes each, 65,000 being the largest; what it costs at the most without a
// break for the window.
void bench_hostile_messages(Program &program, int bytes)
{
    const std::vector<HostileCase> cases = {
        {"line ends", QByteArray(65000, '\n')},
        {"carriage returns", QByteArray(65000, '\r')},
        {"lines of one letter", QByteArray("a\n").repeated(32500)},
        {"one word", QByteArray(65000, 'x')},
        {"no UTF-8", QByteArray(65000, '\xff')},
        {"words without line end", QByteArray("word ").repeated(13000)},
        {"tabulators", QByteArray(65000, '\t')},
        {"form feeds", QByteArray(65000, '\f')},
        {"bells", QByteArray(65000, '\a')},
        {"line separators", QByteArray("\xe2\x80\xa8").repeated(21600)},
        {"paragraph separators", QByteArray("\xe2\x80\xa9").repeated(21600)},
        {"soft hyphens", QByteArray("\xc2\xad").repeated(32500)},
        {"combining marks", QByteArray("\xcc\x81").repeated(32500)},
        {"Hebrew and Latin in turn", QByteArray("\xd7\x90x ").repeated(16000)},
        {"faces", QByteArray("\xf0\x9f\x98\x80").repeated(16250)},
        {"escapes", QByteArray(65000, '\x1b')},
        {"zero bytes", QByteArray(65000, '\0')},
    };
    Device *device = program.devices[2];
    for (const HostileCase &one : cases) {
        program.send(log_datagram(*device, device->log_pos, "\n"));
        program.settle();
        program.worst_turn = 0;
        program.send(log_datagram(*device, device->log_pos, one.text.left(bytes)));
        program.settle();
        at_most(one.what, program.worst_turn, "ms", 20);
    }
}
} // namespace

// For a profile: `--stream` measures only lines from the wire, `--hostile` only hostile messages.
int main(int argc, char **argv)
{
    return bench_main(argc, argv, [](bool is_short, const QStringList &arguments) {
        const int lines = is_short ? 10000 : 200000;
        // The longest turn is that of a slice: a few of them do.
        const int most_bytes = is_short ? 16000 : 65000;
        if (is_short)
            max_blocks = 3000; // filling all windows took as long as all else
        if (arguments.contains("--stream")) {
            bench_program(lines);
            return;
        }
        if (arguments.contains("--hostile")) {
            Program program;
            bench_hostile_messages(program, most_bytes);
            return;
        }
        bench_filter();
        bench_memory(lines);
        const Result reference = bench_reference(lines);
        bench_one_window(lines, reference);
        bench_scrolled_up(lines, reference);
        bench_twenty_windows(lines, reference);
        bench_program(lines);
        Program program;
        std::printf("the longest turn that %d bytes of one kind make\n", most_bytes);
        bench_hostile_messages(program, most_bytes);
    });
}
