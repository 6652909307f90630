// Text in log windows: bursts and slices leave no trace of being joined, and none is too dear.
#include "support/log_view.h"
#include "support/painted.h"

#include <QRandomGenerator>
#include <QtTest>

#include <algorithm>
#include <vector>

namespace {

// One message, one insertion, written down a second time.
void append_plainly(QPlainTextEdit *view, const LogFragment &fragment)
{
    QScrollBar *const bar = view->verticalScrollBar();
    const int value = bar->value();
    const int maximum = bar->maximum();
    QTextCursor cursor = view->textCursor();
    cursor.movePosition(QTextCursor::End);
    const QTextCharFormat saved = cursor.blockCharFormat();
    if (fragment.highlighted) {
        QTextCharFormat format = saved;
        format.setForeground(QBrush(QColor("red")));
        cursor.setBlockCharFormat(format);
    }
    cursor.insertText(fragment.text);
    if (value == maximum)
        bar->setValue(bar->maximum());
    if (fragment.highlighted)
        cursor.setBlockCharFormat(saved);
}

LogFragment random_fragment(QRandomGenerator &random, bool with_long_lines)
{
    static const QStringList pieces = {"a",
                                       "boot\n",
                                       "no end",
                                       "\n",
                                       "\n\n",
                                       "\r",
                                       "\r\n",
                                       "\n",
                                       "",
                                       "\t",
                                       "\u00DC\n",
                                       "one\ntwo\nthree",
                                       QString(QChar(0x2029)),
                                       "Received JSON: {}\n"};
    LogFragment fragment{.highlighted = random.bounded(4) == 0};
    const int count = 1 + random.bounded(3);
    for (int i = 0; i < count; ++i)
        fragment.text += pieces.at(random.bounded(pieces.size()));
    if (with_long_lines && random.bounded(5) == 0)
        fragment.text += QString(random.bounded(300), 'w') + "\n";
    return fragment;
}

// The block that stands at the top of the window.
int top_block(const QPlainTextEdit *view)
{
    return view->cursorForPosition(QPoint(1, 1)).blockNumber();
}

void scroll_to_block(QPlainTextEdit *view, int number)
{
    const QTextBlock block = view->document()->findBlockByNumber(number);
    view->verticalScrollBar()->setValue(block.firstLineNumber());
}

bool shows_end(const QPlainTextEdit *view)
{
    const QTextCursor end(view->document()->lastBlock());
    return view->cursorRect(end).bottom() <= view->viewport()->height();
}

// The block at the top, and whether the view goes with the end.
QPair<int, bool> place_of(const QPlainTextEdit *view)
{
    return {top_block(view), follows_end(view)};
}

// Where the bar stands, and where it ends.
QPair<int, int> bar_of(const QPlainTextEdit *view)
{
    return {view->verticalScrollBar()->value(), view->verticalScrollBar()->maximum()};
}

} // namespace

class LogBurstsTest : public QObject
{
    Q_OBJECT

private slots:
    void joined_bursts_give_the_same_document_data();
    void joined_bursts_give_the_same_document();
    void any_slices_give_the_same_document_data();
    void any_slices_give_the_same_document();
    void a_letter_of_two_units_is_never_cut();
    void the_end_is_in_sight_whatever_falls_out_at_the_top();
    void a_huge_message_comes_in_slices_and_whole();
    void views_take_turns_at_slices();
    void few_views_are_written_to_at_once();
    void what_waits_for_a_cleared_view_is_dropped();
    void letters_laid_out_one_by_one_break_a_line_much_earlier_data();
    void letters_laid_out_one_by_one_break_a_line_much_earlier();
    void what_is_laid_out_at_once_is_bounded_data();
    void what_is_laid_out_at_once_is_bounded();
    void a_page_that_comes_at_once_is_painted_once();
    void a_piece_of_a_line_paints_no_other_line();
    void a_view_that_may_not_paint_stays_so();
    void more_than_a_page_is_a_flood();
};

void LogBurstsTest::joined_bursts_give_the_same_document_data()
{
    QTest::addColumn<int>("max_blocks");
    QTest::addColumn<bool>("with_long_lines");
    QTest::addColumn<bool>("with_scrolling");
    QTest::newRow("no cap") << 0 << false << false;
    QTest::newRow("no cap, reader scrolls") << 0 << false << true;
    QTest::newRow("cap") << 40 << false << false;
    QTest::newRow("cap, reader scrolls") << 40 << false << true;
    QTest::newRow("tiny cap") << 2 << false << true;
    QTest::newRow("lines that wrap") << 0 << true << false;
    QTest::newRow("lines that wrap, reader scrolls") << 0 << true << true;
    QTest::newRow("lines that wrap, cap") << 40 << true << false;
    QTest::newRow("lines that wrap, cap, reader scrolls") << 40 << true << true;
}

// Fewer than `most` of them.
std::vector<LogFragment> random_burst(QRandomGenerator &random, int most, bool with_long_lines)
{
    std::vector<LogFragment> burst(static_cast<size_t>(random.bounded(most)));
    for (LogFragment &fragment : burst)
        fragment = random_fragment(random, with_long_lines);
    return burst;
}

// The same place of both comes into sight.
void scroll_both(QPlainTextEdit *joined, QPlainTextEdit *single, int place)
{
    scroll_to_block(joined, place);
    scroll_to_block(single, place);
}

// What both show; where they stand and how long their scroll bars are, where that has to be alike.
void compare_views(QPlainTextEdit *joined, QPlainTextEdit *single, bool with_place, bool with_bar)
{
    QCOMPARE(describe(joined->document()), describe(single->document()));
    if (with_place)
        QCOMPARE(place_of(joined), place_of(single));
    if (with_bar)
        QCOMPARE(bar_of(joined), bar_of(single));
}

void play_bursts(quint32 seed, int max_blocks, bool with_long_lines, bool with_scrolling)
{
    QRandomGenerator random(seed);
    const auto joined = make_view(max_blocks);
    const auto single = make_view(max_blocks);
    for (QPlainTextEdit *view : {joined.get(), single.get()})
        view->resize(with_long_lines ? 300 : 4000, 150);
    const bool has_known_place = !with_long_lines || max_blocks == 0;
    LogAppender appender;
    for (int burst = 0; burst < 30; ++burst) {
        const int most = burst % 5 == 4 ? 60 : 12;
        for (const LogFragment &fragment : random_burst(random, most, with_long_lines)) {
            append_plainly(single.get(), fragment);
            appender.add(joined.get(), fragment.highlighted, fragment.text);
        }
        appender.flush();
        // How many lines a wrapped block takes is only known once it was in view.
        compare_views(joined.get(), single.get(), has_known_place, !with_long_lines);
        QVERIFY(has_known_place || with_scrolling || shows_end(joined.get()));
        if (QTest::currentTestFailed())
            return;
        if (with_scrolling && random.bounded(3) == 0)
            scroll_both(joined.get(), single.get(),
                        random.bounded(single->document()->blockCount()));
    }
}

void LogBurstsTest::joined_bursts_give_the_same_document()
{
    QFETCH(int, max_blocks);
    QFETCH(bool, with_long_lines);
    QFETCH(bool, with_scrolling);

    for (quint32 seed = 1; seed <= 10 && !QTest::currentTestFailed(); ++seed)
        play_bursts(seed, max_blocks, with_long_lines, with_scrolling);
}

void LogBurstsTest::any_slices_give_the_same_document_data()
{
    QTest::addColumn<int>("max_blocks");
    QTest::newRow("no cap") << 0;
    QTest::newRow("cap") << 40;
    QTest::newRow("tiny cap") << 2;
}

// However small the slices are, the text is that of one insertion per message.
void LogBurstsTest::any_slices_give_the_same_document()
{
    QFETCH(int, max_blocks);
    for (quint32 seed = 1; seed <= 10; ++seed) {
        QRandomGenerator random(seed);
        const auto sliced = make_view(max_blocks);
        const auto single = make_view(max_blocks);
        LogAppender appender;
        for (int i = 0; i < 200; ++i) {
            LogFragment fragment = random_fragment(random, i % 20 == 0);
            // As the program's echoes do.
            if (fragment.highlighted)
                fragment.text += "\n";
            else if (i % 7 == 0)
                fragment.text += QString::fromUtf8("\u00e9\U0001f600");
            append_plainly(single.get(), fragment);
            appender.add(sliced.get(), fragment.highlighted, fragment.text);
            if (random.bounded(3) == 0)
                appender.flush(1 + random.bounded(60));
        }
        while (!appender.is_empty())
            appender.flush(1 + random.bounded(60));
        QCOMPARE(describe(sliced->document()), describe(single->document()));
    }
}

void LogBurstsTest::a_letter_of_two_units_is_never_cut()
{
    const auto view = make_view(0);
    LogAppender appender;
    appender.add(view.get(), false, QString::fromUtf8("a\U0001f600").repeated(30));
    while (!appender.is_empty()) {
        appender.flush(1);
        const QString shown = view->toPlainText();
        QVERIFY(!shown.at(shown.size() - 1).isHighSurrogate());
    }
}

// The toolkit learns only then how many rows the lines take that come into sight.
void LogBurstsTest::the_end_is_in_sight_whatever_falls_out_at_the_top()
{
    for (quint32 seed = 1; seed <= 6; ++seed) {
        QRandomGenerator random(seed);
        const auto view = make_view(40);
        LogAppender appender;
        for (int burst = 0; burst < 40; ++burst) {
            for (int line = random.bounded(60); line >= 0; --line)
                appender.add(view.get(), false, QString(random.bounded(200), 'w') + "\n");
            appender.flush();
            QVERIFY2(shows_end(view.get()),
                     qPrintable(QString("seed %1, burst %2").arg(seed).arg(burst)));
        }
    }
}

void LogBurstsTest::a_huge_message_comes_in_slices_and_whole()
{
    const auto view = make_view(0);
    LogAppender appender;
    appender.add(view.get(), false, QString(70000, '\n') + "end");
    appender.add(view.get(), true, "echo\n");
    QVERIFY(appender.is_full());
    int slices = 0;
    for (; !appender.is_empty(); ++slices) {
        const int before = view->document()->blockCount();
        appender.flush();
        QVERIFY(view->document()->blockCount() - before
                <= LogAppender::SLICE / LogAppender::LINE_COST);
        QVERIFY(follows_end(view.get()));
    }
    QVERIFY(slices > 10);
    QVERIFY(!appender.is_full());
    QCOMPARE(view->toPlainText(), QString(70000, '\n') + "endecho\n");
}

// A device that floods its window does not hold up another's.
void LogBurstsTest::views_take_turns_at_slices()
{
    const auto flooded = make_view(0);
    const auto quiet = make_view(0);
    LogAppender appender;
    appender.add(flooded.get(), false, QString(60000, '\n'));
    appender.flush();
    appender.add(quiet.get(), false, "line\n");
    for (int turn = 0; turn < 2; ++turn)
        appender.flush();
    QCOMPARE(quiet->toPlainText(), QString("line\n"));
    QVERIFY(!appender.is_empty());
}

// Each paints itself afterwards: twenty at once would be a stall.
void LogBurstsTest::few_views_are_written_to_at_once()
{
    std::vector<std::unique_ptr<QPlainTextEdit>> views;
    LogAppender appender;
    for (int i = 0; i < 20; ++i) {
        views.push_back(make_view(0));
        appender.add(views.back().get(), false, "line\n");
    }
    size_t written = 0;
    while (!appender.is_empty()) {
        appender.flush();
        size_t now = 0;
        for (const auto &view : views)
            if (!view->document()->isEmpty())
                ++now;
        QVERIFY(now > written && now <= written + 2);
        written = now;
    }
    QCOMPARE(written, views.size());
}

void LogBurstsTest::what_waits_for_a_cleared_view_is_dropped()
{
    const auto cleared = make_view(0);
    const auto other = make_view(0);
    LogAppender appender;
    appender.add(cleared.get(), false, QString(70000, 'a'));
    appender.add(other.get(), false, "b");
    QVERIFY(appender.is_full());
    appender.drop(cleared.get());
    appender.drop(cleared.get());
    QVERIFY(!appender.is_full());
    appender.flush();
    QVERIFY(cleared->toPlainText().isEmpty());
    QCOMPARE(other->toPlainText(), QString("b"));
}

void LogBurstsTest::letters_laid_out_one_by_one_break_a_line_much_earlier_data()
{
    QTest::addColumn<QString>("letters");
    QTest::addColumn<bool>("is_broken");
    QTest::newRow("256 form feeds") << QString(256, '\f') + "letters" << false;
    QTest::newRow("257 form feeds") << QString(257, '\f') << true;
    QTest::newRow("soft hyphens") << QString(300, QChar(0xAD)) << true;
    QTest::newRow("Hebrew and Latin in turn")
        << QString(QChar(0x5D0)).append("x ").repeated(300) << true;
    QTest::newRow("Arabic") << QString(300, QChar(0x628)) << true;
    QTest::newRow("few of them") << QString(QChar(0x5D0)).append("latin ").repeated(200) << false;
    QTest::newRow("Japanese") << QString(300, QChar(0x30A2)) << false;
    QTest::newRow("plain") << QString(300, 'x') << false;
}

void LogBurstsTest::letters_laid_out_one_by_one_break_a_line_much_earlier()
{
    QFETCH(const QString, letters);
    const auto view = make_view(30000);
    for (const QString &message : {letters, QString("end")})
        append_log_fragments(view.get(), {{.text = message}});
    QCOMPARE(view->toPlainText().remove('\n'), letters + "end");
    QTEST(view->document()->blockCount() == 2, "is_broken");
}

void LogBurstsTest::what_is_laid_out_at_once_is_bounded_data()
{
    QTest::addColumn<QString>("letters");
    QTest::addColumn<int>("most"); // characters of one slice
    QTest::newRow("one word") << QString(60000, 'x') << 16 * 1024;
    QTest::newRow("form feeds") << QString(60000, '\f') << 512;
    QTest::newRow("Hebrew and Latin in turn")
        << QString(QChar(0x5D0)).append("x ").repeated(20000) << 2048;
}

void LogBurstsTest::what_is_laid_out_at_once_is_bounded()
{
    QFETCH(const QString, letters);
    QFETCH(const int, most);
    const auto view = make_view(0);
    LogAppender appender;
    appender.add(view.get(), false, letters);
    int shown = 0;
    while (!appender.is_empty()) {
        appender.flush();
        const int now = view->toPlainText().remove('\n').size();
        QVERIFY2(now - shown <= most, qPrintable(QString::number(now - shown)));
        shown = now;
    }
    QCOMPARE(shown, letters.size());
}

// Lines that pass by unseen are neither painted nor moved over the screen, the last page is.
void LogBurstsTest::a_page_that_comes_at_once_is_painted_once()
{
    const auto view = make_view(0);
    append_log_fragments(view.get(), {{.text = QString("before\n").repeated(50)}});
    QCoreApplication::processEvents();
    const QImage before = view->viewport()->grab().toImage();
    Painted painted(view->viewport());
    append_log_fragments(view.get(), {{.text = QString("after\n").repeated(50)}});
    QVERIFY(view->viewport()->updatesEnabled());
    QTRY_COMPARE(painted.region.boundingRect(), view->viewport()->rect());
    QVERIFY(view->viewport()->grab().toImage() != before);
    QVERIFY(follows_end(view.get()) && shows_end(view.get()));
    QCOMPARE(view->cursorForPosition(QPoint(1, 1)).block().text(), QString("after"));
}

// Devices write their lines in pieces.
void LogBurstsTest::a_piece_of_a_line_paints_no_other_line()
{
    const auto view = make_view(0);
    append_log_fragments(view.get(), {{.text = "boot\nready\nclo"}});
    QVERIFY(QTest::qWaitForWindowExposed(view.get()));
    QCoreApplication::processEvents();
    Painted painted(view->viewport());
    append_log_fragments(view.get(), {{.text = "ck"}});
    QTRY_VERIFY(painted.times > 0);
    QVERIFY(painted.region.boundingRect().top() > 0);
}

void LogBurstsTest::a_view_that_may_not_paint_stays_so()
{
    const auto view = make_view(0);
    view->viewport()->setUpdatesEnabled(false);
    append_log_fragments(view.get(), {{.text = QString("line\n").repeated(50)}});
    QVERIFY(!view->viewport()->updatesEnabled());
}

void LogBurstsTest::more_than_a_page_is_a_flood()
{
    const auto view = make_view(0);
    LogAppender appender;
    QVERIFY(!appender.is_flood());
    appender.add(view.get(), false, QString("a line of a log of thirty-two\n").repeated(10));
    QVERIFY(!appender.is_flood());
    appender.add(view.get(), false, QString("a line of a log of thirty-two\n").repeated(70));
    QVERIFY(appender.is_flood());
    while (!appender.is_empty())
        appender.flush();
    QVERIFY(!appender.is_flood());
}

TEST_PART(LogBurstsTest)
#include "log_text_test_bursts.moc"
