// Typing that knows every letter.
#include "soak/typing.h"

#include <QApplication>
#include <QKeyEvent>
#include <QPointer>
#include <QWidget>

void type_text(QWidget *widget, const QString &text)
{
    const QPointer<QWidget> alive = widget; // a key may end an edit, and with it the editor
    for (const uint letter : text.toUcs4()) {
        QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString::fromUcs4(&letter, 1));
        if (alive)
            QApplication::sendEvent(widget, &press);
    }
}
