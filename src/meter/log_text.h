// Text on its way into log windows: one insertion per burst, as if each piece came alone.
#pragma once

#include <QPlainTextEdit>
#include <QPointer>
#include <QString>

#include <vector>

// A piece of log text; `highlighted` marks the echo of a command or an answer.
struct LogFragment
{
    bool highlighted = false;
    QString text = {}; // brings its own line ends
};

// Appends the fragments in order. Echoes that begin a line are red. The view follows the end when
// it stood there before, otherwise it stays where it is. Text, colours and scroll position are the
// same as with one call per fragment, at a fraction of the cost.
void append_log_fragments(QPlainTextEdit *view, const std::vector<LogFragment> &fragments);

// Collects fragments for any number of views while datagrams are read, and hands them on in slices
// that take some milliseconds each, however much a device sends at once. A view's fragments keep
// their order.
class LogAppender
{
public:
    // What one flush hands on: a character costs 1, one that is not ASCII text ODD_COST, one that
    // is laid out alone LONE_COST, and a line end LINE_COST more than 1. In a long line each costs
    // more.
    static constexpr qsizetype SLICE = 96 * 1024;
    static constexpr qsizetype ODD_COST = 16;
    static constexpr qsizetype LONE_COST = 384;
    static constexpr qsizetype LINE_COST = 23;

    void add(QPlainTextEdit *view, bool highlighted, const QString &text);
    // Appends a slice of what was collected for one view, which paints itself afterwards: two of
    // them in a turn of the event loop took 11 to 14 ms. What is left waits for the next call. A
    // view that is gone takes its text with it. Returns whether text of this view is left.
    bool flush(qsizetype slice = SLICE);
    // Forgets what waits for this view.
    void drop(const QPlainTextEdit *view);
    bool is_empty() const { return bursts.empty(); }
    size_t views() const { return bursts.size(); } // for which text waits
    // So much is collected that a flush takes some milliseconds: the moment to let the event loop
    // breathe before more is read.
    bool is_full() const;
    // More is collected than anybody reads in a frame.
    bool is_flood() const;

private:
    struct Burst
    {
        QPointer<QPlainTextEdit> view = {};
        std::vector<LogFragment> fragments = {};
    };

    Burst take_from(Burst &burst, qsizetype &slice);

    std::vector<Burst> bursts = {};
    qsizetype characters = 0;
};
