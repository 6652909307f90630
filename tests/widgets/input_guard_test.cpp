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
