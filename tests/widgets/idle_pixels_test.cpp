// A window gives its pixels back while nothing changes, and nobody can see that it did.
#include "gui/idle_pixels.h"
#include "support/painted.h"

#include <QApplication>
#include <QBackingStore>
#include <QExposeEvent>
#include <QLabel>
#include <QScreen>
#include <QVBoxLayout>
#include <QWindow>
#include <QtTest>

#include <memory>

namespace {

constexpr int NEVER = 3'600'000; // ms of patience: the test looks itself

} // namespace

class idle_pixels_test : public QObject
{
    Q_OBJECT

    std::unique_ptr<QWidget> window;
    std::unique_ptr<QWidget> other; // takes the focus
    QLabel *label = nullptr;
    IdlePixels *pixels = nullptr;

    void show_window()
    {
        window->show();
        other->show();
        other->activateWindow();
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
        QVERIFY(QTest::qWaitForWindowActive(other.get()));
    }

    // Until it is painted.
    void change_to(const QString &text)
    {
        Painted paints(label);
        label->setText(text);
        QTRY_VERIFY(paints.times > 0);
    }

    // What stands on the screen, of which the platform of the tests keeps no copy of its own.
    QImage picture() const
    {
        return window->screen()
            ->grabWindow(window->winId())
            .toImage()
            .convertToFormat(QImage::Format_RGB32);
    }

private slots:
    void init()
    {
        window = std::make_unique<QWidget>();
        other = std::make_unique<QWidget>();
        label = new QLabel("first");
        auto *layout = new QVBoxLayout(window.get());
        layout->addWidget(label);
        layout->addWidget(new QLabel("untouched"));
        window->resize(300, 200);
        pixels = new IdlePixels(window.get());
    }

    void an_idle_window_gives_them_back()
    {
        show_window();
        QVERIFY(!pixels->are_released());
        QTRY_VERIFY(pixels->are_released());
    }

    void the_active_window_keeps_them()
    {
        pixels->set_patience(NEVER);
        show_window();
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        for (int i = 0; i < 3; ++i) {
            pixels->look();
            QVERIFY(!pixels->are_released());
        }
        other->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(other.get()));
        pixels->set_patience(1);
        QTRY_VERIFY(pixels->are_released());
    }

    void a_window_that_changes_keeps_them()
    {
        pixels->set_patience(NEVER);
        show_window();
        for (int i = 0; i < 3; ++i) {
            change_to(QString::number(i));
            pixels->look();
            QVERIFY(!pixels->are_released());
        }
        pixels->look(); // at a window in which nothing was painted
        QVERIFY(pixels->are_released());
    }

    void a_change_paints_all_of_it_again()
    {
        show_window();
        change_to("second");
        const QImage expected = picture();
        change_to("first");
        QVERIFY(picture() != expected);
        QTRY_VERIFY(pixels->are_released());
        label->setText("second");
        QTRY_COMPARE(window->backingStore()->size(), window->size());
        QTRY_COMPARE(picture(), expected);
        QTRY_VERIFY(pixels->are_released()); // and so on
    }

    void what_the_screen_asks_for_again_is_painted_again()
    {
        show_window();
        change_to("second");
        const QImage expected = picture();
        QTRY_VERIFY(pixels->are_released());
        QExposeEvent again(QRegion(0, 0, 20, 20));
        QApplication::sendEvent(window->windowHandle(), &again);
        QCOMPARE(window->backingStore()->size(), window->size());
        QCOMPARE(picture(), expected);
    }

    // What is still there only goes to the screen once more.
    void what_was_not_given_back_is_not_painted_again()
    {
        pixels->set_patience(NEVER);
        show_window();
        change_to("first change");
        Painted paints(label);
        QExposeEvent again(QRegion(0, 0, 20, 20));
        QApplication::sendEvent(window->windowHandle(), &again);
        Painted later(other.get()); // what is asked for last is painted last
        other->update();
        QTRY_COMPARE(later.times, 1);
        QCOMPARE(paints.times, 0);
        label->setText("second change");
        QTRY_COMPARE(paints.times, 1);
    }

    void a_window_never_shown_is_harmless()
    {
        QVERIFY(!pixels->are_released());
        pixels->look();
        pixels->look();
        QVERIFY(!window->backingStore());
    }
};

QTEST_MAIN(idle_pixels_test)
#include "idle_pixels_test.moc"
