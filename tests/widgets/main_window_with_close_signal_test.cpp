// The window that announces its closing.
#include "gui/main_window_with_close_signal.h"

#include <QtTest>

class MainWindowWithCloseSignalTest : public QObject
{
    Q_OBJECT

private slots:
    void closing_is_announced_once_and_before_it_happens();
    void each_close_event_is_announced();
};

void MainWindowWithCloseSignalTest::closing_is_announced_once_and_before_it_happens()
{
    MainWindowWithCloseSignal window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QList<bool> was_visible;
    connect(&window, &MainWindowWithCloseSignal::on_close, &window,
            [&window, &was_visible] { was_visible << window.isVisible(); });
    QVERIFY(window.close());
    QCOMPARE(was_visible, QList<bool>{true});
    QVERIFY(!window.isVisible());
}

void MainWindowWithCloseSignalTest::each_close_event_is_announced()
{
    MainWindowWithCloseSignal window;
    QSignalSpy closed(&window, &MainWindowWithCloseSignal::on_close);
    for (int i = 1; i <= 2; ++i) {
        window.show();
        window.close();
        QCOMPARE(closed.count(), i);
    }
}

QTEST_MAIN(MainWindowWithCloseSignalTest)
#include "main_window_with_close_signal_test.moc"
