// Starts the simulator.
#include "simulator/simulator.h"

#include <QCoreApplication>

int main(int argc, char **argv)
{
    // The plain event loop wakes up at a fraction of the cost of the desktop's.
    qputenv("QT_NO_GLIB", "1");
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName("loudspeaker-simulator");
    return simulator::run_simulator(QCoreApplication::arguments());
}
