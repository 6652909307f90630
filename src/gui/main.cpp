// Starts the program: names, splash screen, window, event loop.
#include "gui/gui.h"
#include "gui/plugin_paths.h"
#include "gui/program_names.h"
#include "gui/program_pictures.h"
#include "gui/quit_signals.h"
#include "gui/settings_file.h"
#include "model/meta.h"

#include <QApplication>
#include <QSplashScreen>

int main(int argc, char **argv)
{
    if (has_rights_of_its_own())
        argc = forget_plugin_paths(argc, argv);
    set_program_names();
    QApplication application(argc, argv);
    register_resources();
    set_huge_settings_aside();

    QSplashScreen splash(wide_picture(0, application.devicePixelRatio()));
    splash.show();
    QApplication::processEvents();

    build_catalogue();
    Gui gui;
    gui.show();
    splash.finish(&gui);
    // Until here there is nothing to lose. From here on, whoever ends the program by a signal gets
    // what the menu does.
    const QuitSignals signals_to_quit;
    QObject::connect(&signals_to_quit, &QuitSignals::received, &application,
                     &QCoreApplication::quit);
    return QApplication::exec();
}
