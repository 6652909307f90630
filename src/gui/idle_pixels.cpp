// Gives back the memory that a window is painted on while nothing in it changes.
#include "gui/idle_pixels.h"

#include <QBackingStore>
#include <QEvent>
#include <QGuiApplication>
#include <QWidget>
#include <QWindow>

#include <malloc.h>

namespace {

constexpr int FIRST_PATIENCE = 250; // ms

// The toolkit brings the pixels back to the window's size, and paints all of it, as soon as it has
// something to paint.
const QSize NEARLY_NOTHING(1, 1);

// Memory of this size is the system's again as soon as it is freed, instead of waiting in the
// program's heap between what is still in use.
void give_back_large_blocks()
{
    constexpr int LARGE = 1 << 20; // bytes
    static const bool is_set = mallopt(M_MMAP_THRESHOLD, LARGE) == 1;
    Q_UNUSED(is_set)
}

// Where the system keeps what was painted once, or asks for it again.
bool can_be_released()
{
    return QStringList{"xcb", "offscreen"}.contains(QGuiApplication::platformName());
}

} // namespace

IdlePixels::IdlePixels(QWidget *its_window)
    : QObject(its_window)
    , window(its_window)
{
    if (!can_be_released())
        return;
    give_back_large_blocks();
    timer.setInterval(FIRST_PATIENCE);
    connect(&timer, &QTimer::timeout, this, &IdlePixels::look);
    window->installEventFilter(this);
}

void IdlePixels::set_patience(int ms)
{
    if (timer.interval() != ms)
        timer.setInterval(ms);
}

bool IdlePixels::are_released() const
{
    return window->backingStore() && window->backingStore()->size() == NEARLY_NOTHING;
}

bool IdlePixels::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == window && event->type() == QEvent::Show)
        window->windowHandle()->installEventFilter(this);
    if (event->type() == QEvent::UpdateRequest || event->type() == QEvent::Expose) {
        // What the system asks to see again is gone, and the toolkit would take it for painted.
        if (event->type() == QEvent::Expose && are_released())
            window->update();
        was_painted = true;
        if (!timer.isActive())
            timer.start();
    }
    return QObject::eventFilter(watched, event);
}

void IdlePixels::look()
{
    if (was_painted || window->isActiveWindow())
        was_painted = false;
    else
        release();
}

void IdlePixels::release()
{
    timer.stop();
    if (window->backingStore())
        window->backingStore()->resize(NEARLY_NOTHING);
}
