// The simulator's command line.
#pragma once

#include <QString>
#include <QStringList>

#include <cstdint>

namespace simulator {

struct SimulatorOptions
{
    int count = 0; // with `fleet_file` empty: so many devices of a realistic mix
    QString fleet_file = {};
    uint32_t first_address = 0; // host order
    QString interface = {};     // empty: the addresses exist and every interface is heard
    int prefix_length = 16;
    bool addresses_exist = false;
    int spread = 250;          // ms over which the answers to one request are spread; 0: one burst
    double metering_rate = 10; // frames per device and second; 0: none
    bool metering_broadcast = false; // to the network's broadcast address on port 7055
    double log_rate = 5;             // lines per device and second while logging is on
    QString store_folder = {};       // empty: uploaded files are not kept
    int reboot_time = 3000;          // ms without an answer
    int flash_time = 1500;           // ms between the last block and the reboot
    double reports_change = 0;       // percent of reports in which a visible value changes
    uint64_t seed = 1;
    bool exit_with_stdin = false;
};

struct ParsedOptions
{
    SimulatorOptions options = {};
    QString error = {};
    QString message = {}; // help or version, to be shown instead of running
};

// `arguments` begin with the program's name.
ParsedOptions parse_options(const QStringList &arguments);

} // namespace simulator
