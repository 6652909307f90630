// The simulator as a program: command line, standard input and output, signals.
#include "simulator/simulator.h"

#include "model/meta.h"
#include "simulator/console.h"
#include "simulator/fleet.h"
#include "simulator/fleet_file.h"
#include "simulator/fleet_mix.h"
#include "simulator/fleet_network.h"
#include "simulator/termination.h"

#include <QCoreApplication>

#include <cstdio>

namespace simulator {

namespace {

constexpr int EXIT_NO_START = 1;
constexpr int EXIT_USAGE = 2;

int complain(const QString &error, int exit_code)
{
    std::fprintf(stderr, "loudspeaker-simulator: %s\n", qPrintable(error));
    return exit_code;
}

FleetFile load_plans(const SimulatorOptions &options)
{
    if (!options.fleet_file.isEmpty())
        return load_fleet(options.fleet_file);
    return {.plans = make_fleet_mix(options.count)};
}

void connect_console(Console &console, Fleet &fleet, FleetNetwork &network, bool exit_with_stdin)
{
    QObject::connect(&console, &Console::asked, &network, [&network](const QJsonObject &request) {
        Console::print(network.answer(request));
    });
    QObject::connect(&fleet, &Fleet::happened, &console, &Console::print);
    if (exit_with_stdin)
        QObject::connect(&console, &Console::ended, QCoreApplication::instance(),
                         &QCoreApplication::quit, Qt::QueuedConnection);
}

int play(const SimulatorOptions &options, const FleetFile &file)
{
    Fleet fleet(options, file.plans);
    FleetNetwork network(fleet);
    Termination termination;
    Console console;
    connect_console(console, fleet, network, options.exit_with_stdin);
    QCoreApplication *application = QCoreApplication::instance();
    QObject::connect(&termination, &Termination::asked, application, &QCoreApplication::quit);
    QObject::connect(&fleet, &Fleet::quit_asked, application, &QCoreApplication::quit,
                     Qt::QueuedConnection); // after its answer
    const QString error = network.start();
    if (!error.isEmpty())
        return complain(error, EXIT_NO_START);
    if (!network.tftp_error().isEmpty())
        complain("no uploads: " + network.tftp_error(), 0);
    Console::print({{"ready", true},
                    {"devices", fleet.device_count()},
                    {"tftp", network.tftp_error().isEmpty()}});
    return QCoreApplication::exec();
}

} // namespace

int run_simulator(const QStringList &arguments)
{
    build_catalogue();
    const ParsedOptions parsed = parse_options(arguments);
    if (!parsed.message.isEmpty()) {
        std::printf("%s", qPrintable(parsed.message));
        return 0;
    }
    if (!parsed.error.isEmpty())
        return complain(parsed.error + "; --help lists the options", EXIT_USAGE);
    const FleetFile file = load_plans(parsed.options);
    if (!file.error.isEmpty())
        return complain(file.error, EXIT_NO_START);
    return play(parsed.options, file);
}

} // namespace simulator
