// The list as text for a spreadsheet.
#include "gui/list_copy.h"

#include <QtTest>

class ListCopyTest : public QObject
{
    Q_OBJECT

private slots:
    void captions_stand_first_and_tabs_in_between()
    {
        const CopiedList list{.captions = {"Name", "IP"},
                              .rows = {{"Left", "10.0.0.1"}, {"", "10.0.0.2"}}};
        QCOMPARE(tab_separated(list), QString("Name\tIP\nLeft\t10.0.0.1\n\t10.0.0.2\n"));
        QCOMPARE(html_table(list),
                 QString("<table>\n<tr><th>Name</th><th>IP</th></tr>\n"
                         "<tr><td>Left</td><td>10.0.0.1</td></tr>\n"
                         "<tr><td></td><td>10.0.0.2</td></tr>\n</table>\n"));
    }

    void a_text_stays_in_its_cell()
    {
        const CopiedList list{.captions = {"A"}, .rows = {{"a\tb\nc\rd\u2028e"}}};
        QCOMPARE(tab_separated(list), QString("A\na b c d e\n"));
    }

    void a_text_is_no_markup()
    {
        const CopiedList list{.captions = {"A"}, .rows = {{"<b>&\"x\""}}};
        QVERIFY(html_table(list).contains("<td>&lt;b&gt;&amp;&quot;x&quot;</td>"));
        QVERIFY(tab_separated(list).contains("<b>&\"x\"\n"));
    }
};

QTEST_GUILESS_MAIN(ListCopyTest)
#include "list_copy_test.moc"
