// What can be checked exactly while nothing else goes wrong.
#include "soak/steady_checks.h"

#include "gui/device_list_view.h"
#include "model/device_cache.h"
#include "soak/agreement.h"
#include "soak/fleet_line.h"
#include "soak/typing.h"
#include "soak/waiting.h"
#include "support/window_main.h"

#include <QLineEdit>
#include <QPushButton>
#include <QToolButton>

#include <algorithm>
#include <map>

using namespace simulator;

namespace {

constexpr int STEADY_PATIENCE = 30'000;    // ms until what must happen counts as failed
constexpr double GROWTH_PER_DATAGRAM = 16; // bytes: a pointer kept for each would be seen
constexpr double GROWTH_ANYHOW = 256 * 1024.0;
constexpr const char *EDITED[] = {"ui/loc", "ui/memo"};

qint64 sent_by(FleetLine &fleet)
{
    qint64 sum = 0;
    for (const QJsonValue &value : fleet.stats())
        for (const char *counter : {"reports_sent", "replies_sent", "frames_sent"})
            sum += static_cast<qint64>(value.toObject().value(QLatin1String(counter)).toDouble());
    return sum;
}

} // namespace

SteadyChecks::SteadyChecks(WindowCase &its_window, FleetLine &its_fleet, Agreement &its_agreement,
                           uint64_t seed)
    : window(its_window)
    , fleet(its_fleet)
    , agreement(its_agreement)
    , random(seed)
{
}

void SteadyChecks::expect(bool claim, const QString &complaint)
{
    if (!claim)
        complaints.append(complaint);
}

void SteadyChecks::confirm_edits(int rounds)
{
    for (int round = 0; round < rounds && complaints.isEmpty(); ++round) {
        const std::set<QString> ids = select_some();
        const QString text = QString("Round %1, %2").arg(round).arg(random.below(1'000'000));
        fleet.stats(); // counted anew from here
        edit_selected(text);
        expect_told(ids, text);
        expect_cache();
    }
}

std::set<QString> SteadyChecks::select_some()
{
    DeviceListView *list = window.gui->view();
    list->clearSelection();
    const int rows = window.gui->model().rowCount();
    for (int i = random.between(2, qMin(rows, 12)); i > 0; --i)
        list->selectionModel()->select(window.gui->model().index(random.below(rows), 0),
                                       QItemSelectionModel::Select | QItemSelectionModel::Rows);
    std::set<QString> ids;
    for (const Device *device : window.gui->selected_devices())
        ids.insert(device->device_id);
    return ids;
}

// Every device reports something new between "Edit" and "Confirm".
void SteadyChecks::edit_selected(const QString &text)
{
    window.gui->edit_button()->click();
    for (const char *key : EDITED) {
        QLineEdit *editor = window.gui->row(key).line_edit;
        if (!editor)
            return expect(false, QString("no editor for ") + key);
        editor->setFocus();
        editor->selectAll();
        type_text(editor, text);
    }
    fleet.ask({{"options", QJsonObject{{"reports_change", 100}}}});
    fleet.ask({{"fault", "report"}, {"device", "all"}});
    fleet.ask({{"options", QJsonObject{{"reports_change", 0}}}});
    rest(50);
    window.gui->confirm_button()->click();
}

// Each selected device has heard of the edit, once; nobody else has, but for devices that a fault
// has given the same address: what goes to one of them reaches both.
void SteadyChecks::expect_told(const std::set<QString> &ids, const QString &text)
{
    const auto have_all = [this, &ids, &text] {
        return std::all_of(ids.begin(), ids.end(), [this, &text](const QString &id) {
            const Device *device = window.gui->find_device(id);
            return device && device->value(EDITED[0]) == text && device->value(EDITED[1]) == text;
        });
    };
    expect(await(have_all, STEADY_PATIENCE),
           "an edit of several devices does not come back from all");
    std::map<QString, int> sent; // by address
    for (const QString &id : ids)
        if (const Device *device = window.gui->find_device(id))
            ++sent[device->address.toString()];
    confirmed += static_cast<int>(ids.size());
    for (const QJsonValue &value : fleet.stats()) {
        const QJsonObject stats = value.toObject();
        int heard = 0;
        for (const QJsonValue &command : stats.value("commands").toArray())
            heard += command.toObject().contains("ui") ? 1 : 0; // not those of logs and assistants
        const int expected = sent[stats.value("address").toString()];
        expect(heard == expected,
               QString("%1 has heard of %2 edits, not %3")
                   .arg(stats.value("device_id").toString())
                   .arg(heard)
                   .arg(expected));
    }
}

// The file follows by itself, without anybody closing the window.
void SteadyChecks::expect_cache()
{
    agreement.learn_truth();
    const auto is_quiet = [this] {
        return agreement.is_up_to_date(window) && !window.gui->cache().is_pending()
            && !window.gui->cache().is_saving();
    };
    expect(await(is_quiet, STEADY_PATIENCE), "the cache never comes to rest");
    agreement.check_cache_file(window.gui->cache().path());
    ++caches_read;
}

void SteadyChecks::measure_memory()
{
    window.gui->view()->clearSelection();
    let_come_in(); // what has a size that it reaches once
    const double before = tidy_holdings().heap;
    datagrams = let_come_in();
    growth = (tidy_holdings().heap - before) * 1024 * 1024;
    const double allowed = GROWTH_ANYHOW + GROWTH_PER_DATAGRAM * static_cast<double>(datagrams);
    expect(growth <= allowed,
           QString("memory has grown by %1 bytes over %2 datagrams, %3 allowed")
               .arg(growth, 0, 'f', 0)
               .arg(datagrams)
               .arg(allowed, 0, 'f', 0));
    expect(datagrams > 10 * fleet.count, "too few datagrams to tell");
}

// The same each time: what came in is what was measured, and then peace.
qint64 SteadyChecks::let_come_in()
{
    sent_by(fleet); // counted anew from here
    fleet.ask({{"options", QJsonObject{{"metering_rate", 100}}}});
    for (int i = 0; i < 20; ++i) {
        fleet.ask({{"options", QJsonObject{{"reports_change", i % 2 == 0 ? 100 : 0}}}});
        fleet.ask({{"fault", "report"}, {"device", "all"}});
        rest(100);
    }
    fleet.ask({{"options", QJsonObject{{"reports_change", 0}, {"metering_rate", 10}}}});
    rest(1500); // the cache is written, too
    return sent_by(fleet);
}
