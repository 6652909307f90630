// A guard that keeps a window from taking what was meant for another one.
#include "gui/input_guard.h"

#include <QLineEdit>
#include <QPushButton>
#include <QtTest>

#include <memory>

class InputGuardTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<QWidget> window;
    QLineEdit *field = nullptr;
    QPushButton *button = nullptr;
    InputGuard *guard = nullptr;
    int presses = 0;

    void use_everything()
    {
        QTest::keyClicks(field, "x");
        QTest::mouseClick(button, Qt::LeftButton);
    }

private slots:
    void init()
    {
        presses = 0;
        window = std::make_unique<QWidget>();
        field = new QLineEdit(window.get());
        button = new QPushButton(window.get());
        button->move(0, 50);
        connect(button, &QPushButton::clicked, this, [this] { ++presses; });
        guard = new InputGuard(window.get());
        guard->watch(field);
        guard->watch(button);
        window->show();
    }
    void cleanup() { window.reset(); }

    void while_it_is_on_keys_and_clicks_go_nowhere()
    {
        guard->start();
        QVERIFY(guard->is_on());
        use_everything();
        QCOMPARE(field->text(), QString());
        QCOMPARE(presses, 0);
        guard->lift();
        use_everything();
        QCOMPARE(field->text(), QString("x"));
        QCOMPARE(presses, 1);
    }

    void it_is_off_until_it_is_started_and_ends_by_itself()
    {
        QVERIFY(!guard->is_on());
        use_everything();
        QCOMPARE(presses, 1);
        guard->start();
        QTRY_VERIFY(!guard->is_on());
        use_everything();
        QCOMPARE(presses, 2);
    }

    // What is under the pointer or has the focus when a window opens takes no wheel and no touch
    // either.
    void every_kind_of_input_is_kept_away_and_nothing_else_data()
    {
        QTest::addColumn<QEvent::Type>("type");
        QTest::addColumn<bool>("is_input");
        QTest::newRow("key") << QEvent::KeyPress << true;
        QTest::newRow("key that comes up") << QEvent::KeyRelease << true;
        QTest::newRow("shortcut") << QEvent::Shortcut << true;
        QTest::newRow("button") << QEvent::MouseButtonPress << true;
        QTest::newRow("button that comes up") << QEvent::MouseButtonRelease << true;
        QTest::newRow("double click") << QEvent::MouseButtonDblClick << true;
        QTest::newRow("touch") << QEvent::TouchBegin << true;
        QTest::newRow("end of a touch") << QEvent::TouchEnd << true;
        QTest::newRow("wheel") << QEvent::Wheel << true;
        QTest::newRow("paint") << QEvent::Paint << false;
        QTest::newRow("focus") << QEvent::FocusIn << false;
        QTest::newRow("pointer") << QEvent::MouseMove << false;
    }
    void every_kind_of_input_is_kept_away_and_nothing_else()
    {
        QFETCH(QEvent::Type, type);
        QFETCH(bool, is_input);
        QEvent event(type);
        QVERIFY(!guard->eventFilter(field, &event));
        guard->start();
        QCOMPARE(guard->eventFilter(field, &event), is_input);
    }

    // By the time that is left, which the test may not wait for.
    void only_a_key_that_is_pressed_begins_the_time_anew()
    {
        guard->start();
        QTRY_VERIFY(guard->rest() < 350);
        int rest = guard->rest();
        QTest::mouseClick(button, Qt::LeftButton);
        QVERIFY(guard->rest() <= rest);
        rest = guard->rest();
        QTest::keyClick(field, Qt::Key_X);
        QVERIFY(guard->rest() > rest);
    }

    void what_is_not_watched_hears_everything()
    {
        QLineEdit other;
        guard->start();
        QTest::keyClicks(&other, "x");
        QCOMPARE(other.text(), QString("x"));
    }
};

QTEST_MAIN(InputGuardTest)
#include "input_guard_test.moc"
