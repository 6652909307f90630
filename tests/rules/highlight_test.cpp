// Search hits in cell texts.
#include "gui/highlight.h"
#include "support/vectors.h"

#include <QtTest>

class HighlightTest : public QObject
{
    Q_OBJECT

private slots:
    void html_is_as_computed_elsewhere_data() { add_vector_rows("highlight"); }
    void html_is_as_computed_elsewhere();
    void cell_keeps_its_own_case();
    void ampersand_is_one_marked_character();
    void tag_shows_as_characters();
    void characters_of_several_units_are_marked_whole();
    void half_a_character_is_matched_afresh_in_the_rest();
    void right_to_left_text_is_marked();
    void the_first_512_characters_show();
    void hits_are_where_marks_begin();
    void a_plain_text_has_nothing_for_markup_or_scripts_data();
    void a_plain_text_has_nothing_for_markup_or_scripts();
};

namespace {

QString marked(const QString &text)
{
    return "<span style='background-color: #FFFF00'>" + text + "</span>";
}

} // namespace

void HighlightTest::html_is_as_computed_elsewhere()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    const QString text = input.value("text").toString();
    const QString search = input.value("search").toString();
    QCOMPARE(highlight_html(text, search), expect.value("html").toString());
    QCOMPARE(contains_search(text, search), expect.value("matches").toBool());
}

void HighlightTest::cell_keeps_its_own_case()
{
    QVERIFY(contains_search("xABabx", "ab"));
    QCOMPARE(highlight_html("xABabx", "ab"), "x" + marked("AB") + marked("ab") + "x");
}

void HighlightTest::ampersand_is_one_marked_character()
{
    QCOMPARE(highlight_html("a&b", "&"), "a" + marked("&amp;") + "b");
    QVERIFY(!contains_search("a&b", "amp"));
}

void HighlightTest::tag_shows_as_characters()
{
    QCOMPARE(highlight_html("<b>x", "<"), marked("&lt;") + "b&gt;x");
}

void HighlightTest::characters_of_several_units_are_marked_whole()
{
    QCOMPARE(highlight_html("a😀b", "😀"), "a" + marked("😀") + "b");
    const QString combined = QString("e") + QChar(0x0301);
    QCOMPARE(highlight_html("x" + combined, combined), "x" + marked(combined));
    QCOMPARE(highlight_html("𐐀", "𐐨"), marked("𐐀")); // letters beyond 16 bits have a case too
}

void HighlightTest::half_a_character_is_matched_afresh_in_the_rest()
{
    const QString pair = "😀";
    const QString high(pair.at(0));
    const QString low(pair.at(1));
    QCOMPARE(highlight_html(pair + pair, high).count("<span"), 2);
    QCOMPARE(highlight_html(pair, low).count("<span"), contains_search(pair, low) ? 1 : 0);
}

void HighlightTest::right_to_left_text_is_marked()
{
    QCOMPARE(highlight_html("אולם שלוש", "שלוש"), "אולם " + marked("שלוש"));
}

void HighlightTest::the_first_512_characters_show()
{
    const QString longest(512, 'a');
    QCOMPARE(shown_part(""), QString());
    QCOMPARE(shown_part(longest), longest);
    QCOMPARE(shown_part(longest + "b"), longest);
    const QString half = longest.left(511); // the next character takes two places
    QCOMPARE(shown_part(half + "😀"), half);
    QCOMPARE(shown_part(longest.left(510) + "😀" + "b"), longest.left(510) + "😀");
}

void HighlightTest::hits_are_where_marks_begin()
{
    QCOMPARE(search_hits("xABabx", "ab"), (std::vector<int>{1, 3}));
    QCOMPARE(search_hits("aaaaa", "aa"), (std::vector<int>{0, 2}));
    QCOMPARE(search_hits("abc", ""), std::vector<int>());
    QCOMPARE(search_hits("abc", "d"), std::vector<int>());
}

void HighlightTest::a_plain_text_has_nothing_for_markup_or_scripts_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("is_plain");
    for (const char *text : {"a", "Hall 1", "<b> & \"c\"", "Bühne ÿ Łódź", "No…17", "~"})
        QTest::addRow("%s", text) << QString::fromUtf8(text) << true;
    for (const char *text :
         {"", " ", " a", "a ", "a  b", "a\tb", "a\nb", "a\u00a0b", "so\u00adft", "e\u0301", "אולם",
          "\u200b", "ẞ", "\x7f", "\u0085", "\U0001F5F8", "\u2028", "ɐ"})
        QTest::addRow("not %s", text) << QString::fromUtf8(text) << false;
}

void HighlightTest::a_plain_text_has_nothing_for_markup_or_scripts()
{
    QFETCH(QString, text);
    QFETCH(bool, is_plain);
    QCOMPARE(is_plain_text(text), is_plain);
}

QTEST_GUILESS_MAIN(HighlightTest)
#include "highlight_test.moc"
