// Selects the whole of a field that stands for several values, so that what is typed replaces it.
#pragma once

#include <QObject>

class QLineEdit;
class QWidget;

class MixedTextFilter : public QObject
{
    Q_OBJECT

public:
    // `field` is the line edit that shows the text, and the filter's parent; `editor`, which gets
    // the focus, is the same or the number box around it.
    MixedTextFilter(QLineEdit *field, QWidget *editor);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    bool shows_dots() const;

    QLineEdit *field;
    bool came_by_press = false; // the focus; the press itself still moves the cursor
};
