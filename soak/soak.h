// A run: a while in which everything goes wrong, then peace, then the comparison.
#pragma once

#include "soak/agreement.h"
#include "soak/dialog_answers.h"
#include "soak/fault_play.h"
#include "soak/fleet_line.h"
#include "soak/operator_play.h"
#include "soak/steady_checks.h"
#include "soak/vital_signs.h"
#include "support/window_main.h"

#include <QElapsedTimer>
#include <QObject>
#include <QStringList>
#include <QTimer>

struct SoakPlan
{
    int seconds = 10; // of faults and acts
    uint64_t seed = 1;
    int devices = 40;

    // A fault that ends by itself does so within this time, in seconds.
    int longest_fault() const { return seconds < 60 ? 2 : 8; }
};

class Soak : public QObject
{
    Q_OBJECT

public:
    explicit Soak(const SoakPlan &plan);

    // Plays, compares and prints what came of it. What went wrong; empty when nothing did.
    QStringList run();

private:
    void come_up(WindowCase &case_of);
    void await_agreement(const WindowCase &case_of);
    void play();
    void settle();
    void end_transfers();
    void await_fleet();
    void compare();
    void compare_holdings();
    void check_steadily();
    void check_stalls();
    void expect(bool claim, const QString &complaint);

    void print_progress();
    void print_summary();
    void print_stalls();

    SoakPlan plan;
    FleetLine fleet;
    WindowCase window;
    StallWatch stalls;
    DialogAnswers dialogs;
    FaultPlay faults;
    OperatorPlay actor;
    Agreement agreement;
    SteadyChecks steady;
    QElapsedTimer elapsed;
    QTimer progress;
    QStringList failures = {};
    int ended_transfers = 0;
    Holdings at_start = {}; // with all devices online and all columns shown
    Holdings worn_out = {}; // the same window at the end
    Holdings at_end = {};   // a fresh one
    double most_resident = 0;
};
