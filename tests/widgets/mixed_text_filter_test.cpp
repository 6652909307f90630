// The text of a field for several values is selected when the field is entered, not later.
#include "gui/mixed_text_filter.h"

#include <QLineEdit>
#include <QtTest>

class MixedTextFilterTest : public QObject
{
    Q_OBJECT

    // Two fields, the second with the filter.
    QWidget window;
    QLineEdit other{&window};
    QLineEdit field{&window};

    void click(int x) { QTest::mouseClick(&field, Qt::LeftButton, {}, {x, field.height() / 2}); }

private slots:
    void initTestCase()
    {
        new MixedTextFilter(&field, &field);
        window.resize(300, 100);
        field.move(0, 50);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
    }

    void init()
    {
        field.setText("...");
        other.setFocus();
        QTRY_VERIFY(other.hasFocus());
    }

    void the_click_that_enters_the_field_selects_the_dots()
    {
        click(field.width() - 5);
        QCOMPARE(field.selectedText(), QString("..."));
    }

    void a_further_click_places_the_cursor()
    {
        click(field.width() - 5);
        click(field.width() - 5);
        QVERIFY(!field.hasSelectedText());
    }

    void a_click_into_a_field_that_was_entered_by_a_key_places_the_cursor()
    {
        QTest::keyClick(&other, Qt::Key_Tab);
        QVERIFY(field.hasFocus());
        QCOMPARE(field.selectedText(), QString("..."));
        click(field.width() - 5);
        QVERIFY(!field.hasSelectedText());
    }

    void a_text_of_one_value_is_left_alone()
    {
        field.setText("Left");
        click(field.width() - 5);
        QVERIFY(!field.hasSelectedText());
        QCOMPARE(field.cursorPosition(), 4);
    }
};

QTEST_MAIN(MixedTextFilterTest)
#include "mixed_text_filter_test.moc"
