// Text in log windows: colours, scrolling, and bursts that leave no trace of being joined.
#include "support/log_view.h"

#include <QTextLayout>
#include <QtTest>

#include <algorithm>
#include <malloc.h>

namespace {

int count_of_kept(const QTextDocument *document)
{
    int count = 0;
    for (QTextBlock line = document->begin(); line.isValid(); line = line.next())
        count += line.layout()->cacheEnabled();
    return count;
}

} // namespace

class LogTextTest : public QObject
{
    Q_OBJECT

private slots:
    void an_echo_is_red_and_what_follows_is_not();
    void an_echo_behind_an_unfinished_line_is_not_red();
    void stream_text_is_never_coloured();
    void the_view_follows_the_end();
    void a_view_out_of_sight_follows_the_end_too();
    void a_view_that_is_scrolled_up_stays();
    void old_lines_go_at_the_cap();
    void lines_join_at_the_end_wherever_the_reader_has_clicked();
    void a_line_end_split_over_two_messages_stays_two_line_ends();
    void a_word_without_end_is_laid_out_in_no_time();
    void a_line_without_end_is_broken_between_messages();
    void the_first_word_and_line_that_are_too_long_are_broken();
    void ten_lines_and_more_leave_beforehand_data();
    void ten_lines_and_more_leave_beforehand();
    void views_take_turns_each_with_its_slice();
    void a_slice_ends_with_a_fragment_that_takes_all_of_it();
    void a_burst_is_full_with_its_last_character();
    void the_readers_selection_survives_a_burst();
    void glyphs_are_kept_of_the_lines_in_view_and_of_no_others();
    void lines_that_have_left_keep_no_glyphs();
    void lines_with_kept_glyphs_look_as_those_drawn_anew();
    void several_views_get_their_own_text();
    void a_view_that_is_gone_takes_its_text_with_it();
    void text_added_while_flushing_waits_for_the_next_flush();
    void a_full_burst_says_so();
    void no_view_and_no_text_are_harmless();
};

void LogTextTest::an_echo_is_red_and_what_follows_is_not()
{
    const auto view = make_view(0);
    append_log_fragments(view.get(), {{.text = "boot\n"}});
    append_log_fragments(view.get(), {{.highlighted = true, .text = "Sending JSON: {}\n"}});
    append_log_fragments(view.get(), {{.text = "ready\n"}});
    QCOMPARE(describe(view->document()),
             (QStringList{"[plain] plain:boot", "[#ff0000] #ff0000:Sending JSON: {}",
                          "[plain] plain:ready", "[plain]"}));
}

void LogTextTest::an_echo_behind_an_unfinished_line_is_not_red()
{
    const auto view = make_view(0);
    append_log_fragments(view.get(), {{.text = "boo"}});
    append_log_fragments(view.get(), {{.highlighted = true, .text = "Sending: x\n"}});
    append_log_fragments(view.get(), {{.text = "t\n"}});
    QCOMPARE(describe(view->document()).at(0), QString("[#ff0000] plain:booSending: x"));
    QCOMPARE(describe(view->document()).at(1), QString("[plain] plain:t"));
}

void LogTextTest::stream_text_is_never_coloured()
{
    const auto view = make_view(0);
    append_log_fragments(view.get(), {{.highlighted = true, .text = "Sending: x"}});
    append_log_fragments(view.get(), {{.highlighted = true, .text = "y\n"}, {.text = "stream\n"}});
    QCOMPARE(describe(view->document()).at(1), QString("[plain] plain:stream"));
}

void LogTextTest::the_view_follows_the_end()
{
    const auto view = make_view(0);
    for (int i = 0; i < 50; ++i) {
        append_log_fragments(view.get(), {{.text = "line\n"}, {.text = "line\n"}});
        QVERIFY(follows_end(view.get()));
    }
    QVERIFY(view->verticalScrollBar()->maximum() > 50);
}

void LogTextTest::a_view_out_of_sight_follows_the_end_too()
{
    const auto view = make_view(0);
    view->hide();
    append_log_fragments(view.get(), {{.text = QString("line\n").repeated(100)}});
    append_log_fragments(view.get(), {{.text = QString("word ").repeated(400) + "\n"}});
    QVERIFY(follows_end(view.get()));
    view->show();
    append_log_fragments(view.get(), {{.text = "last\n"}});
    QVERIFY(follows_end(view.get()));
    QVERIFY(view->verticalScrollBar()->maximum() > 90);
}

void LogTextTest::a_view_that_is_scrolled_up_stays()
{
    const auto view = make_view(0);
    append_log_fragments(view.get(), {{.text = QString("line\n").repeated(100)}});
    view->verticalScrollBar()->setValue(17);
    append_log_fragments(view.get(), {{.text = QString("more\n").repeated(100)}});
    QCOMPARE(view->verticalScrollBar()->value(), 17);
    view->verticalScrollBar()->setValue(view->verticalScrollBar()->maximum());
    append_log_fragments(view.get(), {{.text = "and follows again\n"}});
    QVERIFY(follows_end(view.get()));
}

void LogTextTest::old_lines_go_at_the_cap()
{
    const auto view = make_view(30);
    for (int i = 0; i < 100; ++i)
        append_log_fragments(view.get(), {{.text = QString::number(i) + "\n"}});
    QCOMPARE(view->document()->blockCount(), 30);
    QCOMPARE(view->document()->begin().text(), QString("71"));
}

void LogTextTest::lines_join_at_the_end_wherever_the_reader_has_clicked()
{
    const auto view = make_view(0);
    append_log_fragments(view.get(), {{.text = "one\ntwo\n"}});
    QTextCursor cursor(view->document());
    cursor.setPosition(2);
    view->setTextCursor(cursor);
    append_log_fragments(view.get(),
                         {{.text = "three\n"}, {.highlighted = true, .text = "four\n"}});
    QCOMPARE(view->toPlainText(), QString("one\ntwo\nthree\nfour\n"));
}

void LogTextTest::a_line_end_split_over_two_messages_stays_two_line_ends()
{
    const auto view = make_view(0);
    LogAppender appender;
    appender.add(view.get(), false, "a\r");
    appender.add(view.get(), false, "\nb");
    appender.flush();
    QCOMPARE(view->toPlainText(), QString("a\n\nb"));
}

void LogTextTest::a_line_without_end_is_broken_between_messages()
{
    const auto view = make_view(30000);
    const QString message = QString("no end ").repeated(2000);
    QString sent;
    for (int i = 0; i < 20; ++i) {
        append_log_fragments(view.get(), {{.highlighted = false, .text = message}});
        sent += message;
    }
    QCOMPARE(view->toPlainText().remove('\n'), sent);
    int longest = 0;
    for (QTextBlock block = view->document()->begin(); block.isValid(); block = block.next())
        longest = std::max(longest, block.length());
    QVERIFY(longest > 8 * 1024);
    QVERIFY(longest <= 8 * 1024 + message.size() + 1);
}

// Garbage reads as one long word. Wrapping it at words would take time by the square of its length.
void LogTextTest::a_word_without_end_is_laid_out_in_no_time()
{
    const auto view = make_view(0);
    const QString line = QString("word ").repeated(4000) + "\n";
    append_log_fragments(view.get(), {{.text = line}});
    QCOMPARE(view->wordWrapMode(), QTextOption::WrapAtWordBoundaryOrAnywhere);
    append_log_fragments(view.get(), {{.text = QString(6000, QChar(0xFFFD))}});
    QCOMPARE(view->wordWrapMode(), QTextOption::WrapAtWordBoundaryOrAnywhere);
    append_log_fragments(view.get(), {{.text = QString(6000, QChar(0xFFFD))}});
    QCOMPARE(view->wordWrapMode(), QTextOption::WrapAnywhere);
    QCOMPARE(view->toPlainText(), line + QString(12000, QChar(0xFFFD)));
    QVERIFY(follows_end(view.get()));
}

void LogTextTest::the_readers_selection_survives_a_burst()
{
    const auto view = make_view(0);
    append_log_fragments(view.get(), {{.text = "one two three\n"}});
    QTextCursor cursor = view->textCursor();
    cursor.setPosition(4);
    cursor.setPosition(7, QTextCursor::KeepAnchor);
    view->setTextCursor(cursor);
    append_log_fragments(view.get(), {{.text = "more\n"}, {.highlighted = true, .text = "x\n"}});
    QCOMPARE(view->textCursor().selectedText(), QString("two"));
}

// Of two pages at the most.
void LogTextTest::glyphs_are_kept_of_the_lines_in_view_and_of_no_others()
{
    const auto view = make_view(400);
    const int page = view->viewport()->height() / view->fontMetrics().lineSpacing() + 1;
    for (int i = 0; i < 60; ++i)
        append_log_fragments(view.get(), {{.text = "line\n"}});
    QCOMPARE(view->document()->begin().layout()->lineCount(), 1); // it need not be laid out to go
    for (const int lines : {1, 3, 40, 2, 0, 1, 500, 7, 1, 90, 5, 5, 5, 30, 1}) {
        append_log_fragments(view.get(), {{.text = "a" + QString("b\n").repeated(lines)}});
        QTextBlock line = view->document()->lastBlock();
        for (int i = 0; i < std::min(lines + 1, page); ++i, line = line.previous())
            QVERIFY(line.layout()->cacheEnabled());
        QVERIFY(count_of_kept(view->document()) <= 2 * page + 1);
    }
    view->verticalScrollBar()->setValue(17);
    append_log_fragments(view.get(), {{.text = QString("more\n").repeated(30)}});
    QCOMPARE(count_of_kept(view->document()), 0);
}

// Those of a line of 100 letters take some 5 KB, all else of it below 2.
void LogTextTest::lines_that_have_left_keep_no_glyphs()
{
    const auto view = make_view(0);
    const QString line = QString("log ").repeated(25) + "\n";
    const auto add = [&view, &line](int lines) {
        for (int i = 0; i < lines; ++i)
            append_log_fragments(view.get(), {{.text = line}});
    };
    add(100);
    const size_t before = mallinfo2().uordblks;
    if (before == 0)
        QSKIP("the sanitizers' heap does not tell");
    add(1000);
    const size_t each = (mallinfo2().uordblks - before) / 1000;
    QVERIFY2(each < 3000, qPrintable(QString::number(each)));
}

void LogTextTest::lines_with_kept_glyphs_look_as_those_drawn_anew()
{
    const auto kept = make_view(0);
    const auto anew = make_view(0);
    const QStringList pieces{"boot\n",  QString("word ").repeated(60),
                             "\n\n",    QString::fromUtf8("\xd7\x90x ").repeated(90),
                             "\ttab\n", "[32] dsp: clock locked\nand",
                             " on\n",   QString("line\n").repeated(30)};
    for (int i = 0; i < 2 * pieces.size(); ++i) {
        const QString &piece = pieces.at(i % pieces.size());
        append_log_fragments(kept.get(), {{.highlighted = i % 3 == 1, .text = piece}});
        append_log_fragments(anew.get(), {{.highlighted = i % 3 == 1, .text = piece}});
        for (QTextBlock line = anew->document()->begin(); line.isValid(); line = line.next()) {
            line.layout()->setCacheEnabled(false);
            line.clearLayout();
        }
        QCOMPARE(kept->grab().toImage(), anew->grab().toImage());
        // What is selected is drawn in another colour, with the same glyphs.
        for (QPlainTextEdit *view : {kept.get(), anew.get()})
            i % 4 == 3 ? view->selectAll() : view->moveCursor(QTextCursor::Start);
        for (QPlainTextEdit *view : {kept.get(), anew.get()})
            view->verticalScrollBar()->setValue(view->verticalScrollBar()->maximum());
        QCOMPARE(kept->grab().toImage(), anew->grab().toImage());
    }
    for (QPlainTextEdit *view : {kept.get(), anew.get()}) {
        view->zoomIn(4);
        view->resize(220, 170);
    }
    QCOMPARE(kept->grab().toImage(), anew->grab().toImage());
}

void LogTextTest::several_views_get_their_own_text()
{
    const auto first = make_view(0);
    const auto second = make_view(0);
    LogAppender appender;
    appender.add(first.get(), false, "a1");
    appender.add(second.get(), false, "b1");
    appender.add(first.get(), false, "a2");
    QVERIFY(first->toPlainText().isEmpty());
    appender.flush(); // one view at a time: each paints itself
    QCOMPARE(first->toPlainText(), QString("a1a2"));
    QCOMPARE(second->toPlainText(), QString());
    appender.flush();
    QCOMPARE(second->toPlainText(), QString("b1"));
    QVERIFY(appender.is_empty());
    appender.flush();
    QCOMPARE(first->toPlainText(), QString("a1a2"));
}

void LogTextTest::a_view_that_is_gone_takes_its_text_with_it()
{
    auto gone = make_view(0);
    const auto left = make_view(0);
    LogAppender appender;
    appender.add(gone.get(), false, "a");
    appender.add(left.get(), false, "b");
    gone.reset();
    appender.flush();
    appender.flush();
    QCOMPARE(left->toPlainText(), QString("b"));
    QVERIFY(appender.is_empty());
}

void LogTextTest::text_added_while_flushing_waits_for_the_next_flush()
{
    const auto view = make_view(0);
    LogAppender appender;
    int added = 0;
    QObject::connect(view->document(), &QTextDocument::contentsChanged, view.get(),
                     [&appender, &added, target = view.get()] {
                         if (added++ == 0)
                             appender.add(target, false, "late");
                     });
    appender.add(view.get(), false, "early ");
    appender.flush();
    QCOMPARE(view->toPlainText(), QString("early "));
    appender.flush();
    QCOMPARE(view->toPlainText(), QString("early late"));
}

void LogTextTest::a_full_burst_says_so()
{
    const auto view = make_view(0);
    LogAppender appender;
    QVERIFY(!appender.is_full());
    for (int i = 0; i < 4000; ++i)
        appender.add(view.get(), false, "a line of a log of thirty-two\n");
    QVERIFY(appender.is_full());
    while (!appender.is_empty())
        appender.flush();
    QVERIFY(!appender.is_full());
    QCOMPARE(view->document()->blockCount(), 4001);
}

void LogTextTest::the_first_word_and_line_that_are_too_long_are_broken()
{
    const auto view = make_view(0);
    append_log_fragments(view.get(), {{.text = QString(8192, 'w')}});
    QCOMPARE(view->wordWrapMode(), QTextOption::WrapAtWordBoundaryOrAnywhere);
    append_log_fragments(view.get(), {{.text = "w"}});
    QCOMPARE(view->wordWrapMode(), QTextOption::WrapAnywhere);

    const auto other = make_view(0);
    append_log_fragments(other.get(), {{.text = QString(8191, ' ')}});
    append_log_fragments(other.get(), {{.text = " "}});
    QCOMPARE(other->document()->blockCount(), 1);
    append_log_fragments(other.get(), {{.text = "x"}});
    QCOMPARE(other->document()->blockCount(), 2);
    QCOMPARE(other->document()->lastBlock().text(), QString("x"));
}

void LogTextTest::ten_lines_and_more_leave_beforehand_data()
{
    QTest::addColumn<int>("lines");
    QTest::addColumn<int>("beforehand");
    // The last excess line is the toolkit's to remove.
    QTest::newRow("ten in all") << 10 << 0;
    QTest::newRow("eleven in all") << 11 << 10;
}

// The toolkit lays out each line that it removes by itself.
void LogTextTest::ten_lines_and_more_leave_beforehand()
{
    QFETCH(int, lines);
    QFETCH(int, beforehand);
    const auto view = make_view(100);
    append_log_fragments(view.get(), {{.text = QString("line\n").repeated(99)}});
    QCOMPARE(view->document()->blockCount(), 100);
    int fewest = 100;
    connect(view->document(), &QTextDocument::blockCountChanged, view.get(),
            [&fewest](int count) { fewest = std::min(fewest, count); });
    append_log_fragments(view.get(), {{.text = QString("more\n").repeated(lines)}});
    QCOMPARE(view->document()->blockCount(), 100);
    QCOMPARE(fewest, 100 - beforehand);
}

void LogTextTest::views_take_turns_each_with_its_slice()
{
    std::vector<std::unique_ptr<QPlainTextEdit>> views;
    LogAppender appender;
    for (int i = 0; i < 3; ++i) {
        views.push_back(make_view(0));
        appender.add(views.back().get(), false, "text");
    }
    appender.flush(4);
    QCOMPARE(views[0]->toPlainText(), QString("text"));
    QCOMPARE(views[1]->toPlainText(), QString());
    appender.flush(1);
    QCOMPARE(views[1]->toPlainText(), QString("t"));
    appender.flush(1);
    QCOMPARE(views[1]->toPlainText(), QString("t"));
    QCOMPARE(views[2]->toPlainText(), QString("t"));
    appender.flush(4);
    QCOMPARE(views[1]->toPlainText(), QString("text"));
}

void LogTextTest::a_slice_ends_with_a_fragment_that_takes_all_of_it()
{
    const auto view = make_view(0);
    LogAppender appender;
    appender.add(view.get(), true, "text");
    appender.add(view.get(), false, "more");
    appender.flush(4);
    QCOMPARE(view->toPlainText(), QString("text"));
    appender.flush(1);
    QCOMPARE(view->toPlainText(), QString("textm"));
}

void LogTextTest::a_burst_is_full_with_its_last_character()
{
    const auto view = make_view(0);
    LogAppender appender;
    appender.add(view.get(), false, QString(64 * 1024 - 1, 'w'));
    QVERIFY(!appender.is_full());
    appender.add(view.get(), false, "w");
    QVERIFY(appender.is_full());
}

void LogTextTest::no_view_and_no_text_are_harmless()
{
    LogAppender appender;
    appender.add(nullptr, true, "x");
    QVERIFY(appender.is_empty());
    append_log_fragments(nullptr, {{.text = "x"}});
    const auto view = make_view(0);
    append_log_fragments(view.get(), {});
    append_log_fragments(view.get(), {{.highlighted = true}});
    QVERIFY(view->toPlainText().isEmpty());
}

PARTS_TEST_MAIN(LogTextTest)
#include "log_text_test.moc"
