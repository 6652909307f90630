// What can be checked exactly while nothing else goes wrong: edits reach whom they are for, the
// cache's file follows, and memory does not grow with what arrives.
#pragma once

#include "simulator/random_source.h"
#include "soak/vital_signs.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <set>

class Agreement;
class FleetLine;
struct WindowCase;

class SteadyChecks
{
public:
    SteadyChecks(WindowCase &window, FleetLine &fleet, Agreement &agreement, uint64_t seed);

    // Edits several devices at once, time and again, while they report; asks the fleet what each
    // device has heard, and reads the cache's file once it has been written. All devices are online
    // and at rest.
    void confirm_edits(int rounds);
    // Lets reports, metering and replies come in, as many again, and relates what the heap has
    // grown to their number.
    void measure_memory();

    QStringList complaints = {};
    int confirmed = 0;    // devices that an edit was confirmed for
    qint64 datagrams = 0; // of the measured half
    double growth = 0;    // bytes of heap in that time
    int caches_read = 0;

private:
    void expect(bool claim, const QString &complaint);
    std::set<QString> select_some();
    void edit_selected(const QString &text);
    void expect_told(const std::set<QString> &ids, const QString &text);
    void expect_cache();
    qint64 let_come_in();

    WindowCase &window;
    FleetLine &fleet;
    Agreement &agreement;
    simulator::RandomSource random;
};
