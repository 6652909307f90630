// Text in log windows: colours, scrolling, and bursts that leave no trace of being joined.
#include "meter/log_text.h"

#include <QPaintEvent>
#include <QRandomGenerator>
#include <QScrollBar>
#include <QTextBlock>
#include <QtTest>

#include <algorithm>
#include <memory>

namespace {
std::unique_ptr<QPlainTextEdit> make_view(int max_blocks)
{
    auto view = std::make_unique<QPlainTextEdit>();
    view->setReadOnly(true);
    view->document()->setMaximumBlockCount(max_blocks);
    view->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    view->resize(300, 150);
    view->show();
    return view;
}

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

QString colour_of(const QTextFormat &format)
{
    return format.hasProperty(QTextFormat::ForegroundBrush) ? format.foreground().color().name()
                                                            : QString("plain");
}

// Everything that can be seen of a document: per block its own colour, then its pieces.
QStringList describe(const QTextDocument *document)
{
    QStringList result;
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next()) {
        QString line = "[" + colour_of(block.charFormat()) + "]";
        for (auto part = block.begin(); !part.atEnd(); ++part)
            line += " " + colour_of(part.fragment().charFormat()) + ":" + part.fragment().text();
        result += line;
    }
    return result;
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

// What of a widget is painted.
class PaintCounter : public QObject
{
public:
    explicit PaintCounter(QWidget *widget) { widget->installEventFilter(this); }
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            area = area.united(static_cast<QPaintEvent *>(event)->rect());
        return QObject::eventFilter(watched, event);
    }

    QRect area = {};
};

bool follows_end(const QPlainTextEdit *view)
{
    return view->verticalScrollBar()->value() == view->verticalScrollBar()->maximum();
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
    void a_view_that_is_scrolled_up_stays();
    void old_lines_go_at_the_cap();
    void lines_join_at_the_end_wherever_the_reader_has_clicked();
    void a_line_end_split_over_two_messages_stays_two_line_ends();
    void joined_bursts_give_the_same_document_data();
    void joined_bursts_give_the_same_document();
    void any_slices_give_the_same_document_data();
    void any_slices_give_the_same_document();
    void a_huge_message_comes_in_slices_and_whole();
    void views_take_turns_at_slices();
    void few_views_are_written_to_at_once();
    void what_waits_for_a_cleared_view_is_dropped();
    void a_word_without_end_is_laid_out_in_no_time();
    void a_line_without_end_is_broken_between_messages();
    void letters_laid_out_one_by_one_break_a_line_much_earlier_data();
    void letters_laid_out_one_by_one_break_a_line_much_earlier();
    void what_is_laid_out_at_once_is_bounded_data();
    void what_is_laid_out_at_once_is_bounded();
    void a_page_that_comes_at_once_is_painted_once();
    void more_than_a_page_is_a_flood();
    void the_readers_selection_survives_a_burst();
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

void LogTextTest::joined_bursts_give_the_same_document_data()
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

void LogTextTest::joined_bursts_give_the_same_document()
{
    QFETCH(int, max_blocks);
    QFETCH(bool, with_long_lines);
    QFETCH(bool, with_scrolling);

    for (quint32 seed = 1; seed <= 10; ++seed) {
        QRandomGenerator random(seed);
        const auto joined = make_view(max_blocks);
        const auto single = make_view(max_blocks);
        if (!with_long_lines) {
            joined->resize(4000, 150);
            single->resize(4000, 150);
        }
        LogAppender appender;
        for (int burst = 0; burst < 30; ++burst) {
            const int size = random.bounded(burst % 5 == 4 ? 60 : 12);
            for (int i = 0; i < size; ++i) {
                const LogFragment fragment = random_fragment(random, with_long_lines);
                append_plainly(single.get(), fragment);
                appender.add(joined.get(), fragment.highlighted, fragment.text);
            }
            appender.flush();
            QCOMPARE(describe(joined->document()), describe(single->document()));
            if (with_long_lines && max_blocks > 0) {
                QVERIFY(with_scrolling || shows_end(joined.get()));
            } else {
                QCOMPARE(follows_end(joined.get()), follows_end(single.get()));
                QCOMPARE(top_block(joined.get()), top_block(single.get()));
            }
            // How many lines a wrapped block takes is only known once it was in view.
            if (!with_long_lines) {
                QCOMPARE(joined->verticalScrollBar()->value(),
                         single->verticalScrollBar()->value());
                QCOMPARE(joined->verticalScrollBar()->maximum(),
                         single->verticalScrollBar()->maximum());
            }
            if (!with_scrolling || random.bounded(3) != 0)
                continue;
            const int place = random.bounded(single->document()->blockCount());
            scroll_to_block(joined.get(), place);
            scroll_to_block(single.get(), place);
        }
    }
}

void LogTextTest::any_slices_give_the_same_document_data()
{
    QTest::addColumn<int>("max_blocks");
    QTest::newRow("no cap") << 0;
    QTest::newRow("cap") << 40;
    QTest::newRow("tiny cap") << 2;
}

// However small the slices are, the text is that of one insertion per message.
void LogTextTest::any_slices_give_the_same_document()
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

void LogTextTest::a_huge_message_comes_in_slices_and_whole()
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
void LogTextTest::views_take_turns_at_slices()
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
void LogTextTest::few_views_are_written_to_at_once()
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

void LogTextTest::what_waits_for_a_cleared_view_is_dropped()
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

void LogTextTest::letters_laid_out_one_by_one_break_a_line_much_earlier_data()
{
    QTest::addColumn<QString>("letters");
    QTest::addColumn<bool>("is_broken");
    QTest::newRow("form feeds") << QString(300, '\f') << true;
    QTest::newRow("Hebrew and Latin in turn")
        << QString(QChar(0x5D0)).append("x ").repeated(300) << true;
    QTest::newRow("Arabic") << QString(300, QChar(0x628)) << true;
    QTest::newRow("few of them") << QString(QChar(0x5D0)).append("latin ").repeated(200) << false;
    QTest::newRow("Japanese") << QString(300, QChar(0x30A2)) << false;
    QTest::newRow("plain") << QString(300, 'x') << false;
}

void LogTextTest::letters_laid_out_one_by_one_break_a_line_much_earlier()
{
    QFETCH(const QString, letters);
    const auto view = make_view(30000);
    for (const QString &message : {letters, QString("end")})
        append_log_fragments(view.get(), {{.text = message}});
    QCOMPARE(view->toPlainText().remove('\n'), letters + "end");
    QTEST(view->document()->blockCount() == 2, "is_broken");
}

void LogTextTest::what_is_laid_out_at_once_is_bounded_data()
{
    QTest::addColumn<QString>("letters");
    QTest::addColumn<int>("most"); // characters of one slice
    QTest::newRow("one word") << QString(60000, 'x') << 16 * 1024;
    QTest::newRow("form feeds") << QString(60000, '\f') << 512;
    QTest::newRow("Hebrew and Latin in turn")
        << QString(QChar(0x5D0)).append("x ").repeated(20000) << 2048;
}

void LogTextTest::what_is_laid_out_at_once_is_bounded()
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
void LogTextTest::a_page_that_comes_at_once_is_painted_once()
{
    const auto view = make_view(0);
    append_log_fragments(view.get(), {{.text = QString("before\n").repeated(50)}});
    QCoreApplication::processEvents();
    const QImage before = view->viewport()->grab().toImage();
    PaintCounter painted(view->viewport());
    append_log_fragments(view.get(), {{.text = QString("after\n").repeated(50)}});
    QVERIFY(view->viewport()->updatesEnabled());
    QTRY_VERIFY(painted.area.contains(view->viewport()->rect()));
    QVERIFY(view->viewport()->grab().toImage() != before);
    QVERIFY(follows_end(view.get()) && shows_end(view.get()));
    QCOMPARE(view->cursorForPosition(QPoint(1, 1)).block().text(), QString("after"));
}

void LogTextTest::more_than_a_page_is_a_flood()
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

void LogTextTest::several_views_get_their_own_text()
{
    const auto first = make_view(0);
    const auto second = make_view(0);
    LogAppender appender;
    appender.add(first.get(), false, "a1");
    appender.add(second.get(), false, "b1");
    appender.add(first.get(), false, "a2");
    QVERIFY(first->toPlainText().isEmpty());
    appender.flush();
    QCOMPARE(first->toPlainText(), QString("a1a2"));
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
    QCOMPARE(left->toPlainText(), QString("b"));
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

QTEST_MAIN(LogTextTest)
#include "log_text_test.moc"
