// A top-level window that announces its closing.
#pragma once

#include <QMainWindow>

class MainWindowWithCloseSignal : public QMainWindow
{
    Q_OBJECT

public:
    using QMainWindow::QMainWindow;

signals:
    // Once per close event, while the window is still open: whoever holds a pointer lets go now.
    void on_close();

protected:
    void closeEvent(QCloseEvent *event) override;
};
