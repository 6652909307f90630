// A run: a while in which everything goes wrong, then peace, then the comparison.
#include "soak/soak.h"

#include "gui/device_list_view.h"
#include "soak/waiting.h"

#include <QComboBox>

#include <cstdio>

namespace {

constexpr int PATIENCE = 60'000; // ms until what must happen counts as failed
constexpr int CONFIRM_ROUNDS = 6;
constexpr const char *RESTART = "close and start again";
// ms of CPU time for which it may stand still. Starting anew is closing and opening it.
#ifdef VELMARK_SANITIZED
constexpr double SLOWNESS = 4;
#else
constexpr double SLOWNESS = 1;
#endif
constexpr double MOST_STALL = 100 * SLOWNESS;
constexpr double STALL_PER_DEVICE = 0.25 * SLOWNESS; // more than that
constexpr double LONGEST_RESTART = 1500 * SLOWNESS;
// Nothing in the window waits by itself, but a disk or a host that others keep busy may hold it up
// now and then.
constexpr double LONGEST_WAIT = 2000;  // ms
constexpr qint64 MOST_WAITS = 5;       // and one more for each minute
constexpr double MORE_HEAP = 24;       // MiB that a fresh window may hold more than the first did
constexpr double MOST_RESIDENT = 1500; // MiB at any time

QStringList fleet_options(const SoakPlan &plan)
{
    return {"--count", QString::number(plan.devices), "--seed", QString::number(plan.seed)};
}

void print(const QString &text)
{
    std::printf("%s\n", qPrintable(text));
    std::fflush(stdout);
}

qint64 total(const std::map<QString, qint64> &counts)
{
    qint64 sum = 0;
    for (const auto &[name, count] : counts)
        sum += count;
    return sum;
}

void print_counts(const QString &title, const std::map<QString, qint64> &counts)
{
    QStringList parts;
    for (const auto &[name, count] : counts)
        parts.append(QString("%1 %2").arg(name).arg(count));
    print(QString("%1: %2 (%3)").arg(title).arg(total(counts)).arg(parts.join(", ")));
}

void print_holdings(const QString &when, const Holdings &held)
{
    print(QString("%1: %2 MiB resident, %3 MiB of heap, %4 open files, %5 widgets")
              .arg(when)
              .arg(held.resident, 0, 'f', 1)
              .arg(held.heap, 0, 'f', 1)
              .arg(held.files.size())
              .arg(held.widgets));
}

// Much time in the kernel, or many pages, tell of the machine rather than of the window.
QString work_text(const StallWatch::Stall &stall)
{
    return QString("%1 ms CPU time (%2 in the kernel, %3 page faults)")
        .arg(stall.cpu, 0, 'f', 1)
        .arg(stall.kernel, 0, 'f', 1)
        .arg(stall.faults);
}

int online_count(const WindowHandle &gui)
{
    int count = 0;
    for (const auto &[id, device] : gui.all_devices())
        count += device->online;
    return count;
}

// Wake-ups and child processes of the toolkit come and go by the moment; a leak of them would add
// up.
QStringList lasting_files(QStringList files)
{
    for (int i = 0; i < 4; ++i)
        files.removeOne("anon_inode");
    return files;
}

} // namespace

Soak::Soak(const SoakPlan &its_plan)
    : plan(its_plan)
    , fleet(fleet_options(plan))
    , dialogs(window.folder.path(), plan.seed + 1)
    , faults(fleet, fleet.states(), {.seed = plan.seed + 2, .longest = plan.longest_fault()})
    , actor(window, stalls, plan.seed + 3)
    , agreement(fleet)
    , steady(window, fleet, agreement, plan.seed + 4)
{
    // A second network, on which nobody answers.
    run_shell("ip link add quiet type veth peer name silence; ip address add 10.99.0.1/24"
              " broadcast + dev quiet; ip link set quiet up; ip link set silence up");
    connect(&progress, &QTimer::timeout, this, &Soak::print_progress);
}

void Soak::expect(bool claim, const QString &complaint)
{
    if (!claim)
        failures.append(complaint);
}

QStringList Soak::run()
{
    elapsed.start();
    come_up(window);
    at_start = tidy_holdings();
    play();
    settle();
    compare();
    compare_holdings();
    print_summary();
    failures += agreement.complaints;
    return failures;
}

void Soak::come_up(WindowCase &case_of)
{
    dialogs.refuse_all();
    case_of.gui->resize(1400, 900);
    case_of.gui->show();
    case_of.gui->update_network_list();
    case_of.gui->network_box()->setCurrentText("loudspeakers");
    for (int column = 0; column < case_of.gui->model().columnCount(); ++column)
        case_of.gui->view()->setColumnHidden(column, false);
    const auto is_complete = [this, &case_of] { return online_count(*case_of.gui) == fleet.count; };
    expect(await(is_complete, PATIENCE), "not all devices come online");
    await_agreement(case_of);
}

void Soak::await_agreement(const WindowCase &case_of)
{
    agreement.learn_truth();
    const auto is_reached = [this, &case_of] { return agreement.is_up_to_date(case_of); };
    expect(await(is_reached, PATIENCE), "the registry does not come to what the fleet says");
}

void Soak::play()
{
    print_progress();
    window.gui->show_default_columns();
    dialogs.be_patient();
    fleet.tell({{"options", QJsonObject{{"reports_change", 10}}}});
    progress.start(qMax(5000, 1000 * plan.seconds / 60));
    stalls.start();
    faults.start();
    actor.start();
    rest(1000 * plan.seconds);
    faults.stop();
    actor.stop();
    stalls.stop();
    progress.stop();
    print_progress();
    expect(total(actor.counts) > plan.seconds / 2, "the operator was kept from work");
    check_stalls();
}

void Soak::check_stalls()
{
    for (const auto &[deed, stall] : stalls.longest_work) {
        const double limit
            = deed == RESTART ? LONGEST_RESTART : MOST_STALL + STALL_PER_DEVICE * fleet.count;
        expect(stall.cpu <= limit,
               QString("the window was at work for %1 after: %2").arg(work_text(stall), deed));
    }
    const StallWatch::Stall &wait = stalls.longest_wait;
    expect(wait.waited <= LONGEST_WAIT && stalls.waits <= MOST_WAITS + plan.seconds / 60,
           QString("the window waited %1 times, the longest %2 ms after: %3")
               .arg(stalls.waits)
               .arg(wait.waited, 0, 'f', 0)
               .arg(wait.after));
}

// All is well again: now every edit has to arrive, and nothing may be kept of what comes in.
void Soak::check_steadily()
{
    faults.heal_states();
    await_agreement(window);
    steady.confirm_edits(CONFIRM_ROUNDS);
    steady.measure_memory();
    failures += steady.complaints;
}

// All faults end, all devices go and come back, and what is no device leaves the list.
void Soak::settle()
{
    dialogs.refuse_all();
    expect(await([] { return !QApplication::activeModalWidget(); }, PATIENCE),
           "a dialog can't be closed");
    actor.leave_tidily();
    faults.clear_all();
    rest(1000 * plan.longest_fault() + 1000);
    faults.clear_all();
    end_transfers();
    await_fleet();
    // Errors of the program's own, and "Broken net", end when a device comes back.
    fleet.tell({{"fault", "silent"}, {"device", "all"}});
    expect(await([this] { return online_count(*window.gui) == 0; }, PATIENCE),
           "a silent fleet stays online");
    fleet.tell({{"fault", "return"}, {"device", "all"}});
    expect(await([this] { return online_count(*window.gui) == fleet.count; }, PATIENCE),
           "not all devices come back");
    actor.delete_offline();
    await_agreement(window);
    check_steadily();
    faults.leave_traces();
    await_agreement(window);
}

// A transfer that has heard a useless answer waits for ever. The operator's way out is to delete
// the device, which then comes back as a new one.
void Soak::end_transfers()
{
    DeviceListView *list = window.gui->view();
    list->clearSelection();
    for (const auto &[id, device] : window.gui->all_devices()) {
        if (!device->upload)
            continue;
        ++ended_transfers;
        const int row = window.gui->row_of(device);
        list->selectionModel()->select(window.gui->model().index(row, 0),
                                       QItemSelectionModel::Select | QItemSelectionModel::Rows);
    }
    window.gui->delete_selected();
}

// Devices that were flashed or switched off are running again.
void Soak::await_fleet()
{
    for (int i = 0; i < PATIENCE / 500; ++i) {
        rest(500);
        bool is_running = true;
        for (const QJsonValue &value : fleet.stats())
            is_running &= value.toObject().value("reachable").toBool();
        if (is_running)
            return;
    }
    expect(false, "a device stays away");
}

void Soak::compare()
{
    agreement.check_registry(window);
    agreement.check_list(window);
    const ShownList worn = Agreement::shown_list(window);
    worn_out = tidy_holdings();
    window.gui->close();
    agreement.check_cache_file(window.gui->cache().path());
    window.gui.reset();

    WindowCase fresh; // with a folder of its own: it knows nothing yet
    come_up(fresh);
    agreement.check_registry(fresh);
    agreement.check_list(fresh);
    agreement.check_same_list(worn, Agreement::shown_list(fresh), fresh);
}

// A new window on the fleet as it was at the start holds what the first one held then.
void Soak::compare_holdings()
{
    faults.heal_states();
    WindowCase fresh;
    come_up(fresh);
    at_end = tidy_holdings();
    expect(lasting_files(at_end.files) == lasting_files(at_start.files),
           "open files: " + at_end.files.join(' ') + ", before: " + at_start.files.join(' '));
    expect(at_end.heap < at_start.heap + MORE_HEAP, "memory has been lost");
    expect(most_resident < MOST_RESIDENT, "too much memory was in use");
}

void Soak::print_progress()
{
    const Holdings held = holdings();
    most_resident = qMax(most_resident, held.resident);
    print_holdings(QString("after %1 s, %2 faults and %3 acts")
                       .arg(elapsed.elapsed() / 1000)
                       .arg(total(faults.counts))
                       .arg(total(actor.counts)),
                   held);
}

void Soak::print_stalls()
{
    const auto print_one = [](const QString &title, const StallWatch::Stall &stall) {
        print(QString("longest stall by %1: %2 ms, of which %3, after: %4")
                  .arg(title)
                  .arg(stall.wall, 0, 'f', 1)
                  .arg(work_text(stall), stall.after));
    };
    print_one("the clock", stalls.longest_wall);
    print_one("CPU time", stalls.longest_cpu);
    for (const auto &[deed, stall] : stalls.longest_work)
        if (stall.cpu > MOST_STALL / 3)
            print(QString("at work: %1, after: %2").arg(work_text(stall), deed));
    print(QString("waits of more than %1 ms: %2, the longest %3 ms after: %4")
              .arg(StallWatch::SHORT_WAIT, 0, 'f', 0)
              .arg(stalls.waits)
              .arg(stalls.longest_wait.waited, 0, 'f', 0)
              .arg(stalls.longest_wait.after));
    for (size_t i = 0; i < StallWatch::LIMITS.size(); ++i)
        print(QString("stalls of more than %1 ms CPU time: %2")
                  .arg(StallWatch::LIMITS[i])
                  .arg(stalls.over_limit[i]));
}

void Soak::print_summary()
{
    print(QString("%1 devices, %2 s, seed %3").arg(fleet.count).arg(plan.seconds).arg(plan.seed));
    print_counts("faults", faults.counts);
    print_counts("acts of the operator", actor.counts);
    print_counts("dialogs", dialogs.counts);
    print_counts("events at the fleet", fleet.events);
    print(QString("requests to the fleet: %1 carried out, %2 refused %3")
              .arg(fleet.answers)
              .arg(fleet.refusal_count)
              .arg(fleet.refusals.join(" | ")));
    print(QString("transfers that were still running: %1").arg(ended_transfers));
    print(QString("confirmed for %1 devices in peace, %2 caches read while running")
              .arg(steady.confirmed)
              .arg(steady.caches_read));
    print(QString("heap over %1 datagrams in peace: %2 bytes more")
              .arg(steady.datagrams)
              .arg(steady.growth, 0, 'f', 0));
    print_stalls();
    print_holdings("before", at_start);
    print_holdings("after, the same window", worn_out);
    if (worn_out.files != at_start.files)
        print(QString("its open files: %1; before: %2")
                  .arg(worn_out.files.join(' '), at_start.files.join(' ')));
    print_holdings("after, a fresh window", at_end);
    print(QString("compared values: %1").arg(agreement.comparisons));
}
