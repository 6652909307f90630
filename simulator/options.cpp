// The simulator's command line.
#include "simulator/options.h"

#include <QCommandLineParser>
#include <QHostAddress>

namespace simulator {

namespace {

struct OptionRow
{
    const char *name = "";
    const char *value = ""; // empty: a switch
    const char *description = "";
    const char *fallback = "";
};

constexpr OptionRow OPTIONS[] = {
    {.name = "fleet", .value = "file", .description = "Play the devices of this fleet file."},
    {.name = "count", .value = "n", .description = "Play n devices of a realistic mix."},
    {.name = "interface",
     .value = "name",
     .description = "Network interface that gets the devices' addresses."},
    {.name = "first-address",
     .value = "address",
     .description = "Address of the first device; the others count upwards.",
     .fallback = "10.71.0.10"},
    {.name = "prefix-length",
     .value = "bits",
     .description = "Size of the network, if the interface has no address in it.",
     .fallback = "16"},
    {.name = "addresses-exist",
     .description = "Add no addresses: the interface has them, or they are routed to it."},
    {.name = "spread",
     .value = "ms",
     .description = "Answer a request at a random time within this span.",
     .fallback = "250"},
    {.name = "burst", .description = "Answer every request at once: --spread 0."},
    {.name = "metering-rate",
     .value = "n",
     .description = "Metering frames per device and second; 0: none.",
     .fallback = "10"},
    {.name = "metering-broadcast",
     .description = "Send metering frames to all, on port 7055, instead of to the asker."},
    {.name = "log-rate",
     .value = "n",
     .description = "Log lines per device and second while logging is on.",
     .fallback = "5"},
    {.name = "store",
     .value = "folder",
     .description = "Keep uploaded files here, named by device id and file name."},
    {.name = "reboot-time",
     .value = "ms",
     .description = "How long a rebooting device is silent.",
     .fallback = "3000"},
    {.name = "flash-time",
     .value = "ms",
     .description = "Time between the end of an upload and the reboot.",
     .fallback = "1500"},
    {.name = "reports-change",
     .value = "percent",
     .description = "Share of reports in which a visible value changes.",
     .fallback = "0"},
    {.name = "seed",
     .value = "n",
     .description = "Equal seeds make equal fleets.",
     .fallback = "1"},
    {.name = "exit-with-stdin", .description = "End when standard input ends."},
};

void add_options(QCommandLineParser &parser)
{
    for (const OptionRow &row : OPTIONS)
        parser.addOption({row.name, row.description, row.value, row.fallback});
}

double read_number(const QCommandLineParser &parser, const char *name, double highest,
                   QString &error)
{
    bool is_number = false;
    const QString text = parser.value(name);
    const double number = text.toDouble(&is_number);
    if (is_number && number >= 0 && number <= highest)
        return number;
    if (error.isEmpty())
        error = QString("--%1 takes a number from 0 to %2, not \"%3\"")
                    .arg(name, QString::number(highest, 'g', 15), text);
    return 0;
}

int read_whole(const QCommandLineParser &parser, const char *name, int highest, QString &error)
{
    const double number = read_number(parser, name, highest, error);
    const int whole = static_cast<int>(number);
    if (whole != number && error.isEmpty())
        error = QString("--%1 takes a whole number").arg(name);
    return whole;
}

uint32_t read_address(const QCommandLineParser &parser, QString &error)
{
    QHostAddress address;
    const QString text = parser.value("first-address");
    if (address.setAddress(text) && address.protocol() == QAbstractSocket::IPv4Protocol)
        return address.toIPv4Address();
    if (error.isEmpty())
        error = QString("--first-address takes an IPv4 address, not \"%1\"").arg(text);
    return 0;
}

SimulatorOptions read_options(const QCommandLineParser &parser, QString &error)
{
    SimulatorOptions options;
    options.fleet_file = parser.value("fleet");
    if (parser.isSet("count"))
        options.count = read_whole(parser, "count", 10'000, error);
    options.first_address = read_address(parser, error);
    options.interface = parser.value("interface");
    options.prefix_length = read_whole(parser, "prefix-length", 30, error);
    options.addresses_exist = parser.isSet("addresses-exist");
    options.spread = parser.isSet("burst") ? 0 : read_whole(parser, "spread", 60'000, error);
    options.metering_rate = read_number(parser, "metering-rate", 1000, error);
    options.metering_broadcast = parser.isSet("metering-broadcast");
    options.log_rate = read_number(parser, "log-rate", 1'000'000, error);
    options.store_folder = parser.value("store");
    options.reboot_time = read_whole(parser, "reboot-time", 600'000, error);
    options.flash_time = read_whole(parser, "flash-time", 600'000, error);
    options.reports_change = read_number(parser, "reports-change", 100, error);
    options.seed = static_cast<uint64_t>(read_number(parser, "seed", 9e15, error));
    options.exit_with_stdin = parser.isSet("exit-with-stdin");
    return options;
}

QString contradiction(const SimulatorOptions &options)
{
    if (options.fleet_file.isEmpty() && options.count < 1)
        return "say which devices to play: --count 24, or --fleet FILE";
    if (!options.fleet_file.isEmpty() && options.count > 0)
        return "--count and --fleet exclude each other";
    if (options.interface.isEmpty() && !options.addresses_exist)
        return "say which interface gets the addresses: --interface NAME (or --addresses-exist)";
    return {};
}

} // namespace

ParsedOptions parse_options(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription("Plays a fleet of networked loudspeakers.");
    parser.addHelpOption();
    add_options(parser);
    ParsedOptions parsed;
    if (!parser.parse(arguments))
        parsed.error = parser.errorText();
    else if (parser.isSet("help"))
        parsed.message = parser.helpText();
    else if (!parser.positionalArguments().isEmpty())
        parsed.error
            = QString("unexpected argument \"%1\"").arg(parser.positionalArguments().first());
    if (!parsed.error.isEmpty() || !parsed.message.isEmpty())
        return parsed;
    parsed.options = read_options(parser, parsed.error);
    if (parsed.error.isEmpty())
        parsed.error = contradiction(parsed.options);
    return parsed;
}

} // namespace simulator
