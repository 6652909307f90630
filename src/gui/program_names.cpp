// The names under which the program keeps its settings and shows itself, and in how many pixels.
#include "gui/program_names.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QtGlobal>

void set_program_names()
{
    QCoreApplication::setOrganizationName("VELMARK audio works GmbH");
    QCoreApplication::setOrganizationDomain("velmark.example");
    QCoreApplication::setApplicationName("VELMARK Network Manager");
    QCoreApplication::setApplicationVersion("v" PROGRAM_VERSION);
    // By this a Wayland desktop finds the window's icon.
    QGuiApplication::setDesktopFileName("velmark-network-manager");
    // Without the second all pictures are drawn small and blown up.
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling, true);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps, true);
}

void register_resources()
{
    Q_INIT_RESOURCE(resources);
    Q_INIT_RESOURCE(firmware);
}
