// The menu of columns: it stays open while columns are ticked.
#pragma once

#include <QMenu>

class ColumnMenu : public QMenu
{
    Q_OBJECT

public:
    explicit ColumnMenu(QWidget *parent = nullptr);

protected:
    void showEvent(QShowEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    // Space ticks and stays, Return ticks and closes.
    void keyPressEvent(QKeyEvent *event) override;

private:
    bool is_pressed = false; // a button went down over the open menu
};
