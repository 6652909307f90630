// What the program takes from the colours of the desktop, once, when it starts.
#include "gui/desktop_colours.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QLabel>
#include <QPalette>

namespace {

// Each role named, so that a desktop that changes its theme replaces none of them.
QPalette with_every_role(QPalette palette)
{
    for (const QPalette::ColorGroup group :
         {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
        for (int role = 0; role < QPalette::NColorRoles; ++role) {
            const auto one = static_cast<QPalette::ColorRole>(role);
            palette.setBrush(group, one, palette.brush(group, one));
        }
    return palette;
}

} // namespace

bool is_theme_dark()
{
    const QLabel probe("");
    const QPalette palette = probe.palette();
    return palette.color(QPalette::Current, QPalette::WindowText).value()
        > palette.color(QPalette::Current, QPalette::Window).value();
}

// Queued: the toolkit is still telling all widgets of the new colours.
void keep_desktop_colours(QObject *context)
{
    const auto put_back = [kept = with_every_role(QApplication::palette())] {
        if (QApplication::palette() != kept)
            QApplication::setPalette(kept);
    };
    QObject::connect(qApp, &QGuiApplication::paletteChanged, context, put_back,
                     Qt::QueuedConnection);
}

QString selection_colour(bool is_dark)
{
    return is_dark ? "#005499" : "#cce8ff";
}

void colour_selection(QAbstractItemView *view, bool is_dark)
{
    QPalette colours = view->palette();
    colours.setColor(QPalette::Highlight, QColor(selection_colour(is_dark)));
    colours.setColor(QPalette::HighlightedText, is_dark ? Qt::white : Qt::black);
    view->setPalette(colours);
}
