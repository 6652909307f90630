// A top-level window that announces its closing.
#include "gui/main_window_with_close_signal.h"

void MainWindowWithCloseSignal::closeEvent(QCloseEvent *event)
{
    emit on_close();
    QMainWindow::closeEvent(event);
}
