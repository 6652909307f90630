// How fast log windows take text: lines per second of CPU time, stalls and memory.
#include "measure.h"

#include "meter/log_stream.h"
#include "meter/log_text.h"

#include <QApplication>
#include <QFile>
#include <QFontDatabase>
#include <QPlainTextEdit>
#include <QScrollBar>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <unistd.h>

namespace {
constexpr int MAX_BLOCKS = 30000;

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
    view->document()->setMaximumBlockCount(MAX_BLOCKS);
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setStyleHint(QFont::Monospace, QFont::PreferDefault);
    font.setPointSize(11);
    view->setFont(font);
    view->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    view->resize(1000, 670);
    view->show();
    QString lines;
    for (int number = 0; number < MAX_BLOCKS; ++number)
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

void print(const std::string &what, const Result &result, const Result &reference)
{
    std::printf("%-40s %7.0f lines/s (%.1f x), painted %7.0f lines/s (%.1f x), worst %5.2f ms\n",
                what.c_str(), result.lines_per_second,
                result.lines_per_second / reference.lines_per_second, result.with_painting,
                result.with_painting / reference.with_painting, result.worst);
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
    print("reference, one insertion per line", reference, reference);
    const auto single = make_view();
    const auto one_by_one
        = [view = single.get()](const auto &texts) { append_one_by_one(view, texts); };
    print("one by one, bursts of 48", stream(lines / 4, 48, one_by_one), reference);
    for (const int burst : {4, 16, 48, 200, 500}) {
        const auto view = make_view();
        LogAppender appender;
        const auto joined = [&appender, target = view.get()](const auto &texts) {
            append_joined(appender, target, texts);
        };
        print("joined, bursts of " + std::to_string(burst),
              stream(burst < 48 ? lines / 4 : lines, burst, joined), reference);
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
    print("joined, bursts of 48, scrolled up", result, reference);
    std::printf("the view stood at line 300 and stands at %d\n",
                view->verticalScrollBar()->value());
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
    print("joined, bursts of 48, 20 windows in turn", stream(lines, 48, joined), reference);
}

void bench_memory(int lines)
{
    const auto view = make_view();
    LogAppender appender;
    const auto joined = [&appender, target = view.get()](const auto &texts) {
        append_joined(appender, target, texts);
    };
    for (int round = 0; round <= 4; ++round) {
        std::printf("memory after %6d lines: %.1f MB\n", MAX_BLOCKS + round * lines,
                    resident_megabytes());
        stream(lines, 200, joined);
    }
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
    const auto take = [&log, &attachment] {
        take_log_message(log, {{"pos", static_cast<double>(log.log_pos)}}, attachment);
    };
    std::printf("one message of 15 coloured lines, %d bytes, to text: %.2f us\n", attachment.size(),
                cpu_microseconds(20000, take));
}
} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const bool is_short = application.arguments().contains("--short");
    const int lines = is_short ? 40000 : 200000;
    bench_filter();
    bench_memory(lines);
    const Result reference = bench_reference(lines);
    bench_one_window(lines, reference);
    bench_scrolled_up(lines, reference);
    bench_twenty_windows(lines, reference);
    return 0;
}
