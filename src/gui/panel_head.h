// The head of the property panel: its title, and the buttons of an edit.
#pragma once

#include <QWidget>

class QPushButton;
class QToolButton;

class PanelHead : public QWidget
{
    Q_OBJECT

public:
    explicit PanelHead(QWidget *parent = nullptr);

    // Which of its buttons are of use.
    void show_mode(bool is_editing, bool can_begin);

signals:
    void edit_pressed();
    void cancel_pressed();
    void confirm_pressed();

private:
    QPushButton *edit_button = nullptr;
    QToolButton *cancel_button = nullptr;
    QToolButton *confirm_button = nullptr;
};
