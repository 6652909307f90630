// Escape in one widget alone.
#include "gui/escape_filter.h"

#include <QAction>
#include <QLineEdit>
#include <QSignalSpy>
#include <QtTest>

class EscapeFilterTest : public QObject
{
    Q_OBJECT

private slots:
    void the_key_is_told_once_and_goes_no_further()
    {
        QWidget window;
        QLineEdit field(&window);
        QAction shortcut(&window);
        shortcut.setShortcut(QKeySequence(Qt::Key_Escape));
        window.addAction(&shortcut);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        field.setFocus();
        QSignalSpy shortcuts(&shortcut, &QAction::triggered);
        EscapeFilter filter(&field);
        QSignalSpy told(&filter, &EscapeFilter::escaped);
        QTest::keyClick(&field, Qt::Key_Escape);
        QCOMPARE(told.size(), 1);
        QCOMPARE(shortcuts.size(), 0);
    }

    void other_keys_are_the_widgets_own()
    {
        QLineEdit field;
        EscapeFilter filter(&field);
        QSignalSpy told(&filter, &EscapeFilter::escaped);
        QTest::keyClicks(&field, "ab");
        QCOMPARE(field.text(), QString("ab"));
        for (const Qt::KeyboardModifier modifier : {Qt::ControlModifier, Qt::ShiftModifier})
            QTest::keyClick(&field, Qt::Key_Escape, modifier);
        QCOMPARE(told.size(), 0);
    }
};

QTEST_MAIN(EscapeFilterTest)
#include "escape_filter_test.moc"
