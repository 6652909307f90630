// Text on its way into log windows: one insertion per burst, as if each piece came alone.
#include "meter/log_text.h"

#include <QAbstractTextDocumentLayout>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>

#include <algorithm>

namespace {
// Some 500 lines of a firmware log.
constexpr qsizetype FULL_CHARACTERS = 32 * 1024;
// Below so many lines a change of the text on its own costs more than it saves.
constexpr int WORTH_MAKING_ROOM = 16;

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

int line_ends(const std::vector<LogFragment> &fragments)
{
    int result = 0;
    for (const LogFragment &fragment : fragments)
        result += static_cast<int>(fragment.text.count(QLatin1Char('\n')));
    return result;
}

// Left to itself the toolkit goes over the cap and back, and on the way back it lays out each line
// that it removes. So all but the last excess line go beforehand; that one starts the toolkit's own
// tidying up.
void make_room(const QPlainTextEdit *view, int new_lines)
{
    QTextDocument *const document = view->document();
    const int excess = document->blockCount() + new_lines - document->maximumBlockCount();
    const int removed = std::min(excess, document->blockCount()) - 1;
    if (document->maximumBlockCount() < 1 || removed < WORTH_MAKING_ROOM)
        return;

    // A reader who stands near the end, but not at it, must not be moved by the shorter text.
    const QTextBlock first_kept = document->findBlockByNumber(removed);
    const QScrollBar *const bar = view->verticalScrollBar();
    const bool is_near_end = bar->value() > bar->maximum() - first_kept.firstLineNumber();
    if (is_near_end && bar->value() < bar->maximum())
        return;

    const QTextCharFormat format = first_kept.charFormat();
    QTextCursor cursor(document);
    cursor.beginEditBlock();
    cursor.setPosition(first_kept.position(), QTextCursor::KeepAnchor);
    cursor.removeSelectedText();
    cursor.setBlockCharFormat(format); // would be that of the first line removed
    cursor.endEditBlock();
}

bool shows_end(const QPlainTextEdit *view, const QTextCursor &end)
{
    return view->cursorRect(end).bottom() <= view->viewport()->height();
}

void scroll_to_end(const QPlainTextEdit *view, QTextCursor cursor)
{
    QScrollBar *const bar = view->verticalScrollBar();
    bar->setValue(bar->maximum());
    cursor.movePosition(QTextCursor::End);
    if (!view->isVisible() || shows_end(view, cursor))
        return;

    // When many lines come and wrapped ones fall out at the top, the toolkit places the bar before
    // it knows how many lines those in view take. It is made to count again.
    QAbstractTextDocumentLayout *const layout = view->document()->documentLayout();
    emit layout->documentSizeChanged(layout->documentSize());
    bar->setValue(bar->maximum() - 1); // at its end already, it would not move the picture
    bar->setValue(bar->maximum());
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

    const QScrollBar *const bar = view->verticalScrollBar();
    const bool follows_end = bar->value() == bar->maximum();
    make_room(view, line_ends(fragments));
    QTextCursor cursor = view->textCursor();
    // One edit block: the view lays out and trims once, each fragment still finds what the one
    // before it left.
    cursor.beginEditBlock();
    for (const LogFragment &fragment : fragments)
        insert_at_end(cursor, fragment.highlighted, fragment.text);
    cursor.endEditBlock();
    if (follows_end)
        scroll_to_end(view, cursor);
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
