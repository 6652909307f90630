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

// Collects fragments for any number of views while a burst of datagrams is read. flush must run
// before anything else looks at or changes a view.
class LogAppender
{
public:
    void add(QPlainTextEdit *view, bool highlighted, const QString &text);
    // Appends what was collected, view by view. A view that is gone takes its text with it.
    void flush();
    bool is_empty() const { return bursts.empty(); }
    // So much is collected that a flush takes some milliseconds: the moment to let the event loop
    // breathe before more is read.
    bool is_full() const;

private:
    struct Burst
    {
        QPointer<QPlainTextEdit> view = {};
        std::vector<LogFragment> fragments = {};
    };

    std::vector<Burst> bursts = {};
    qsizetype characters = 0;
};
