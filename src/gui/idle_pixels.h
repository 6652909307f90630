// Gives back the memory that a window is painted on while nothing in it changes.
#pragma once

#include <QObject>
#include <QTimer>

class QWidget;

// For windows that may be open by the hundred: one of 1000 x 700 points is painted on 2.8 MB, of
// which the screen has its own copy. The window that has the focus keeps them.
class IdlePixels : public QObject
{
    Q_OBJECT

public:
    explicit IdlePixels(QWidget *its_window);
    // So long nothing has to be painted before the pixels go. 250 ms at first.
    void set_patience(int ms);
    bool are_released() const;
    // What is done each time that the patience is over: the pixels go when nothing was painted
    // since the time before.
    void look();

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void release();

    QWidget *window = nullptr;
    QTimer timer{this}; // runs while there are pixels
    bool was_painted = false;
};
