// Typing that knows every letter; the test library's own knows those of a plain keyboard.
#pragma once

#include <QString>

class QWidget;

// Sends the text to the widget, one key press per letter.
void type_text(QWidget *widget, const QString &text);
