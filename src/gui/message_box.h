// A box with a text and "OK" that fits the screen, however long its text is.
#pragma once

#include <QMessageBox>

// Shows the box and returns when it is closed. A text that would take more than 60 % of the
// screen's height scrolls inside it.
void show_message_box(QWidget *parent, QMessageBox::Icon icon, const QString &title,
                      const QString &text);

// Tells which devices could not be told something, if any.
void show_network_errors(QWidget *parent, const QString &errors);
