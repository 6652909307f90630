// Starts the program: names, splash screen, window, event loop.
#include "gui/gui.h"
#include "gui/program_names.h"
#include "gui/settings_file.h"
#include "model/meta.h"

#include <QApplication>
#include <QPixmap>
#include <QSplashScreen>

int main(int argc, char **argv)
{
    set_program_names();
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling, true);
    QApplication application(argc, argv);
    register_resources();
    set_huge_settings_aside();

    QSplashScreen splash(QPixmap(":/icons/VELMARK.png"));
    splash.show();
    QApplication::processEvents();

    build_catalogue();
    Gui gui;
    gui.show();
    splash.finish(&gui);
    return QApplication::exec();
}
