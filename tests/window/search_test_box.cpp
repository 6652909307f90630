// The search box as an operator uses it: keys, history, completion.
#include "support/search_case.h"

#include <QSignalSpy>

class SearchBoxTest : public SearchCase
{
    Q_OBJECT

private slots:
    void init() { window = std::make_unique<PanelCase>(); }
    void cleanup() { window.reset(); }

    void both_return_keys_commit_data()
    {
        QTest::addColumn<Qt::Key>("key");
        QTest::newRow("Return") << Qt::Key_Return;
        QTest::newRow("Enter of the keypad") << Qt::Key_Enter;
    }

    void both_return_keys_commit()
    {
        QFETCH(Qt::Key, key);
        QVERIFY(QTest::qWaitForWindowActive(&gui().widget()));
        window->add(named("Left"));
        window->add(named("Right"));
        search("left");
        QTest::keyClick(box(), key);
        QCOMPARE(history(), QStringList("left"));
        QCOMPARE(box()->text(), QString("left"));
        QCOMPARE(gui().search_box()->currentIndex(), 0);
        search("right");
        QTest::keyClick(box(), key);
        QCOMPARE(history(), QStringList({"right", "left"}));
        QCOMPARE(shown_names(), QStringList("Right"));
    }

    void a_known_text_moves_to_the_front_and_starts_no_search()
    {
        for (const char *text : {"one", "two", "three"}) {
            search(text);
            gui().commit_search();
        }
        search("one");
        QSignalSpy changes(gui().search_box(), &QComboBox::currentTextChanged);
        box()->setCursorPosition(1);
        gui().commit_search();
        QCOMPARE(history(), QStringList({"one", "three", "two"}));
        QCOMPARE(changes.size(), 0);
        QCOMPARE(gui().highlighted_text(), QString("one"));
        QCOMPARE(box()->text(), QString("one"));
        QCOMPARE(box()->cursorPosition(), 1);
    }

    void ten_texts_are_kept_and_the_oldest_goes()
    {
        for (int i = 0; i < 11; ++i) {
            search(QString("text %1").arg(i, 2, 10, QChar('0')));
            gui().commit_search();
        }
        QCOMPARE(gui().search_box()->count(), 10);
        QCOMPARE(history().first(), QString("text 10"));
        QCOMPARE(history().last(), QString("text 01"));
        gui().close();
        window->start();
        QCOMPARE(history().first(), QString("text 10"));
        QCOMPARE(box()->text(), QString());
    }

    void typing_is_completed_from_the_history()
    {
        QVERIFY(QTest::qWaitForWindowActive(&gui().widget()));
        search("hist0");
        gui().commit_search();
        search("hi");
        QCOMPARE(box()->text(), QString("hist0"));
        QCOMPARE(box()->selectedText(), QString("st0"));
        QCOMPARE(gui().highlighted_text(), QString("hist0"));
    }

    void ctrl_f_leads_to_the_search_and_escape_back_to_the_list()
    {
        QVERIFY(QTest::qWaitForWindowActive(&gui().widget()));
        window->add(named("Left"));
        search("left");
        window->select({0});
        window->press_edit();
        QTest::keyClick(&gui().widget(), Qt::Key_F, Qt::ControlModifier);
        QCOMPARE(QApplication::focusWidget(), gui().search_box());
        QCOMPARE(box()->selectedText(), QString("left"));
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
        QCOMPARE(box()->text(), QString());
        QCOMPARE(QApplication::focusWidget(), gui().search_box());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
        QCOMPARE(QApplication::focusWidget(), gui().view());
        QVERIFY(gui().is_editing()); // that is no Cancel
    }

    void a_button_in_the_box_clears_it()
    {
        window->add(named("Left"));
        search("x");
        QVERIFY(shown_names().isEmpty());
        auto *button = box()->findChild<QToolButton *>();
        QVERIFY(button && button->isVisible());
        QTest::mouseClick(button, Qt::LeftButton);
        QCOMPARE(shown_names(), QStringList("Left"));
    }

    void boxes_and_buttons_of_the_top_bar_tell_what_they_are_for()
    {
        for (const QWidget *widget :
             {static_cast<QWidget *>(gui().search_box()), static_cast<QWidget *>(gui().eq_button()),
              static_cast<QWidget *>(gui().identify_button()),
              static_cast<QWidget *>(gui().network_box())})
            QVERIFY(!widget->toolTip().isEmpty());
    }

    void an_empty_text_commits_nothing()
    {
        search("one");
        gui().commit_search();
        search("");
        gui().commit_search();
        QCOMPARE(history(), QStringList("one"));
    }
};

TEST_PART(SearchBoxTest)
#include "search_test_box.moc"
