// Text on its way into log windows: one insertion per burst, as if each piece came alone.
#include "meter/log_text.h"

#include <QAbstractTextDocumentLayout>
#include <QPainter>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextLayout>

#include <algorithm>

namespace {
// Some 1,000 lines of a firmware log. Each time that it is reached costs the layout and the
// painting of a page, as much as taking on 500 lines.
constexpr qsizetype FULL_CHARACTERS = 64 * 1024;
// Some 35 lines of a firmware log: as many as a window shows at first.
constexpr qsizetype PAGE_CHARACTERS = 2 * 1024;
// Below so many lines a change of the text on its own costs more than it saves: it takes a third of
// the rate from bursts of 6, and adds a fifth to those of 16.
constexpr int WORTH_MAKING_ROOM = 10;
// From each line of a long word the toolkit looks for the word's end: one of 64 KB takes 150 ms.
constexpr int LONGEST_WORD_WRAPPED = 8 * 1024;
// KEPT: a line is laid out anew with each piece that joins it: one of 250 KB takes 70 ms each time.
// What a slice brings at once stays together.
constexpr int LONGEST_LINE = 8 * 1024;
// The same of letters that are laid out one by one: 8,000 took 80 ms.
constexpr int LONGEST_LONE = 256;
// A line is laid out whole, whatever of it is in view. Beyond what the window shows of it each
// character costs as much as so many in lines that pass by.
constexpr int LONG_LINE = 2 * 1024;
constexpr qsizetype LONG_LINE_TIMES = 8;

void insert_at_end(QTextCursor &cursor, bool highlighted, const QString &text)
{
    cursor.movePosition(QTextCursor::End);
    const QTextCharFormat before = cursor.blockCharFormat();
    if (highlighted) {
        QTextCharFormat red = before;
        red.setForeground(QBrush(Qt::red));
        cursor.setBlockCharFormat(red);
    }
    // KEPT: without a format of its own the text takes that of what stands before it. An echo
    // behind a log line that has not ended is therefore not red.
    cursor.insertText(text);
    if (highlighted)
        cursor.setBlockCharFormat(before);
}

// Control characters and letters from right to left: where they follow each other, or alternate
// with other letters, the toolkit takes each for a piece of text of its own, and walks over all of
// them for each line that it wraps.
bool is_laid_out_alone(QChar letter)
{
    switch (letter.direction()) {
    case QChar::DirR:
    case QChar::DirAL:
    case QChar::DirBN:
        return true;
    default:
        return letter.category() == QChar::Other_Control;
    }
}

bool is_endless(const QTextBlock &line)
{
    if (line.length() > LONGEST_LINE)
        return true;
    const QString text = line.text();
    return text.size() > LONGEST_LONE
        && std::count_if(text.begin(), text.end(), is_laid_out_alone) > LONGEST_LONE;
}

// A stream that never ends a line would make each message slower than the one before.
void end_endless_line(QTextCursor &cursor)
{
    cursor.movePosition(QTextCursor::End);
    if (is_endless(cursor.block()))
        insert_at_end(cursor, false, QStringLiteral("\n"));
}

// As the toolkit sees it: the last two are its own marks, which a stream may hold all the same.
bool is_line_end(QChar letter)
{
    return letter == QLatin1Char('\n') || letter == QLatin1Char('\r')
        || letter == QChar(QChar::ParagraphSeparator) || letter == QChar(0xFDD0)
        || letter == QChar(0xFDD1);
}

// A carriage return and a line feed are one line end.
bool is_pair(const QString &text, int position)
{
    return position > 0 && position < text.size() && text.at(position - 1) == QLatin1Char('\r')
        && text.at(position) == QLatin1Char('\n');
}

int line_ends(const std::vector<LogFragment> &fragments)
{
    int result = 0;
    for (const LogFragment &fragment : fragments)
        for (int i = 0; i < fragment.text.size(); ++i)
            result += is_line_end(fragment.text.at(i)) && !is_pair(fragment.text, i);
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

// Words are those between which lines wrap.
bool ends_word(QChar letter)
{
    return letter.isSpace() && letter != QChar(QChar::Nbsp);
}

// Words joined over fragments; `length` is that of the one that ends the window's text.
int longest_word(int length, const std::vector<LogFragment> &fragments)
{
    int longest = length;
    for (const LogFragment &fragment : fragments)
        for (const QChar letter : fragment.text) {
            length = ends_word(letter) ? 0 : length + 1;
            longest = std::max(longest, length);
        }
    return longest;
}

int last_word(const QString &line)
{
    int length = 0;
    while (length < line.size() && !ends_word(line.at(line.size() - 1 - length)))
        ++length;
    return length;
}

// A word longer than any that is written on purpose makes the window wrap wherever it ends.
void prepare_long_words(QPlainTextEdit *view, const std::vector<LogFragment> &fragments)
{
    const int begun = last_word(view->document()->lastBlock().text());
    if (view->wordWrapMode() != QTextOption::WrapAnywhere
        && longest_word(begun, fragments) > LONGEST_WORD_WRAPPED)
        view->setWordWrapMode(QTextOption::WrapAnywhere);
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

// While a whole page is replaced the view does not paint. Otherwise the toolkit moves the picture
// by the height of what comes, and lays out two pages of lines that nobody sees to learn it.
class PageTurn
{
public:
    PageTurn(const QPlainTextEdit *view, bool is_page)
        : viewport(is_page && view->viewport()->updatesEnabled() ? view->viewport() : nullptr)
    {
        if (viewport)
            viewport->setUpdatesEnabled(false);
    }
    ~PageTurn()
    {
        if (viewport)
            viewport->setUpdatesEnabled(true);
    }
    Q_DISABLE_COPY_MOVE(PageTurn)

private:
    QWidget *viewport;
};

// With one that is cut off. The scroll bar's page is that of the lines there are.
int lines_that_fit(const QPlainTextEdit *view)
{
    return view->viewport()->height() / std::max(1, view->fontMetrics().lineSpacing()) + 1;
}

// As after each painting, here of nothing: where its rows begin stays known. A line at the cap
// without them would be laid out once more to be removed.
void drop_glyphs(const QTextBlock &line)
{
    const QRectF above(0, line.layout()->position().y() - 1000, 1, 1);
    QPainter none;
    line.layout()->draw(&none, QPointF(), {}, above);
}

// Otherwise the toolkit forgets the glyphs of a line when it has been laid out, and again each time
// that it has been painted, and looks all of them up anew: half of what a line costs. Kept for all
// lines they would take more room than the text.
class PageGlyphs
{
public:
    PageGlyphs(const QPlainTextEdit *view, bool follows_end, int new_lines)
        : document(view->document())
        , page(follows_end ? lines_that_fit(view) : 0)
        , laid_out_next(std::min(page, new_lines + 1))
    {
        // Of two pages: to scroll by one the toolkit measures the lines that leave.
        const int stay = std::max(0, 2 * page - new_lines);
        QTextBlock line = document->findBlockByNumber(document->blockCount() - 1 - stay);
        for (; line.isValid() && line.layout()->cacheEnabled(); line = line.previous()) {
            line.layout()->setCacheEnabled(false);
            drop_glyphs(line);
        }
    }
    // Before the lines are laid out.
    void keep() const
    {
        QTextBlock line = document->lastBlock();
        for (int left = laid_out_next; left > 0 && line.isValid(); --left) {
            line.layout()->setCacheEnabled(true);
            line = line.previous();
        }
    }

private:
    const QTextDocument *document;
    int page; // lines that may be in view
    int laid_out_next;
};

// Two pieces inserted as one give what they give one by one, unless a line end lies across them.
bool joins(const LogFragment &first, bool highlighted, const QString &text)
{
    return !first.highlighted && !highlighted && !first.text.endsWith(QLatin1Char('\r'))
        && first.text.size() + text.size() < FULL_CHARACTERS;
}

// A letter of two code units stays whole.
bool can_be_cut(const QString &text, int position)
{
    return !is_pair(text, position) && !text.at(position - 1).isHighSurrogate();
}

bool is_plain(QChar letter)
{
    return letter >= QLatin1Char(' ') && letter <= QLatin1Char('~');
}

qsizetype cost_of(QChar letter)
{
    if (is_line_end(letter))
        return 1 + LogAppender::LINE_COST;
    if (is_plain(letter))
        return 1;
    return is_laid_out_alone(letter) ? LogAppender::LONE_COST : LogAppender::ODD_COST;
}

// How much of a fragment the rest of a slice takes; that rest becomes less, and maybe negative.
// Echoes stay whole: behind an unfinished line their later lines are no more red than the first.
int cut_position(const LogFragment &fragment, qsizetype &slice)
{
    const QString &text = fragment.text;
    int end = 0;
    int line_start = 0;
    while (end < text.size() && (slice > 0 || fragment.highlighted || !can_be_cut(text, end))) {
        const QChar letter = text.at(end++);
        slice -= cost_of(letter) * (end - line_start > LONG_LINE ? LONG_LINE_TIMES : 1);
        if (is_line_end(letter))
            line_start = end;
    }
    return end;
}
} // namespace

void append_log_fragments(QPlainTextEdit *view, const std::vector<LogFragment> &fragments)
{
    if (view == nullptr || fragments.empty())
        return;

    const QScrollBar *const bar = view->verticalScrollBar();
    const bool follows_end = bar->value() == bar->maximum();
    const int new_lines = line_ends(fragments);
    const PageTurn page(view, follows_end && new_lines > 2 * bar->pageStep());
    make_room(view, new_lines);
    prepare_long_words(view, fragments);
    const PageGlyphs glyphs(view, follows_end, new_lines);
    QTextCursor cursor = view->textCursor();
    // One edit block: the view lays out and trims once, each fragment still finds what the one
    // before it left.
    cursor.beginEditBlock();
    for (const LogFragment &fragment : fragments) {
        end_endless_line(cursor);
        insert_at_end(cursor, fragment.highlighted, fragment.text);
    }
    glyphs.keep();
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

// Views take turns: one with a large backlog does not hold up the others.
bool LogAppender::flush(qsizetype slice)
{
    if (bursts.empty())
        return false;
    // Taken out first: whoever listens to a scroll bar may add text again.
    const Burst due = take_from(bursts.front(), slice);
    const bool is_left = !bursts.front().fragments.empty();
    if (is_left)
        std::rotate(bursts.begin(), bursts.begin() + 1, bursts.end());
    else
        bursts.erase(bursts.begin());
    append_log_fragments(due.view, due.fragments);
    return is_left;
}

// Takes from the front of `burst` as much as `slice` allows, at least one character, and takes its
// cost off `slice`.
LogAppender::Burst LogAppender::take_from(Burst &burst, qsizetype &slice)
{
    Burst taken{.view = burst.view};
    auto next = burst.fragments.begin();
    for (; next != burst.fragments.end() && slice > 0; ++next) {
        const int end = cut_position(*next, slice);
        characters -= end;
        taken.fragments.push_back({.highlighted = next->highlighted, .text = next->text.left(end)});
        next->text.remove(0, end);
        if (!next->text.isEmpty())
            break;
    }
    burst.fragments.erase(burst.fragments.begin(), next);
    return taken;
}

void LogAppender::drop(const QPlainTextEdit *view)
{
    const auto burst = std::find_if(bursts.begin(), bursts.end(),
                                    [view](const Burst &one) { return one.view == view; });
    if (burst == bursts.end())
        return;
    for (const LogFragment &fragment : burst->fragments)
        characters -= fragment.text.size();
    bursts.erase(burst);
}

bool LogAppender::is_full() const
{
    return characters >= FULL_CHARACTERS;
}

bool LogAppender::is_flood() const
{
    return characters >= PAGE_CHARACTERS;
}
