// Text on its way into log windows: one insertion per burst, as if each piece came alone.
#include "meter/log_text.h"

#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>

#include <algorithm>

namespace {
// Some 500 lines of a firmware log.
constexpr qsizetype FULL_CHARACTERS = 32 * 1024;

void insert_at_end(QTextCursor &cursor, bool highlighted, const QString &text)
{
    cursor.movePosition(QTextCursor::End);
    const QTextCharFormat before = cursor.blockCharFormat();
    if (highlighted) {
        QTextCharFormat red = before;
        red.setForeground(QBrush(Qt::red));
        cursor.setBlockCharFormat(red);
    }
    // Without a format of its own the text takes that of what stands before it. An echo behind a
    // log line that has not ended is therefore not red. This stays.
    cursor.insertText(text);
    if (highlighted)
        cursor.setBlockCharFormat(before);
}

// Two pieces inserted as one give what they give one by one, unless a line end lies across them.
bool joins(const LogFragment &first, bool highlighted, const QString &text)
{
    return !first.highlighted && !highlighted && !first.text.endsWith(QLatin1Char('\r'))
        && first.text.size() + text.size() < FULL_CHARACTERS;
}
} // namespace

void append_log_fragments(QPlainTextEdit *view, const std::vector<LogFragment> &fragments)
{
    if (view == nullptr || fragments.empty())
        return;

    QScrollBar *const bar = view->verticalScrollBar();
    const bool follows_end = bar->value() == bar->maximum();
    QTextCursor cursor = view->textCursor();
    // One edit block: the view lays out and trims once, each fragment still finds what the one
    // before it left.
    cursor.beginEditBlock();
    for (const LogFragment &fragment : fragments)
        insert_at_end(cursor, fragment.highlighted, fragment.text);
    cursor.endEditBlock();
    if (follows_end)
        bar->setValue(bar->maximum());
}

void LogAppender::add(QPlainTextEdit *view, bool highlighted, const QString &text)
{
    if (view == nullptr)
        return;
    auto burst = std::find_if(bursts.begin(), bursts.end(),
                              [view](const Burst &one) { return one.view == view; });
    if (burst == bursts.end())
        burst = bursts.insert(bursts.end(), Burst{.view = view});
    std::vector<LogFragment> &fragments = burst->fragments;
    if (!fragments.empty() && joins(fragments.back(), highlighted, text))
        fragments.back().text += text;
    else
        fragments.push_back({.highlighted = highlighted, .text = text});
    characters += text.size();
}

void LogAppender::flush()
{
    // Taken out first: whoever listens to a scroll bar may add text again.
    std::vector<Burst> collected;
    collected.swap(bursts);
    characters = 0;
    for (const Burst &burst : collected)
        append_log_fragments(burst.view, burst.fragments);
}

bool LogAppender::is_full() const
{
    return characters >= FULL_CHARACTERS;
}
