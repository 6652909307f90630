// Whether list, registry, cache file and simulator tell the same of every device.
#include "soak/agreement.h"

#include "gui/device_cell.h"
#include "model/json_path.h"
#include "soak/fleet_line.h"
#include "support/window_main.h"

#include <QFile>
#include <QJsonDocument>

void Agreement::expect(bool claim, const QString &complaint)
{
    ++comparisons;
    if (!claim)
        complaints.append(complaint);
}

void Agreement::learn_truth()
{
    truth.clear();
    const QJsonArray states = fleet.states();
    const QJsonArray stats = fleet.stats();
    for (int i = 0; i < states.size(); ++i) {
        const QJsonObject told = stats.at(i).toObject();
        const QString id = told.value("device_id").toString();
        expect(truth.count(id) == 0, "two simulated devices are called " + id);
        truth[id] = {.state = states.at(i).toObject(),
                     .address = told.value("address").toString(),
                     .name = told.value("name").toString()};
    }
}

bool Agreement::is_up_to_date(const WindowCase &window) const
{
    for (const auto &[id, told] : truth) {
        const Device *device = window.gui->find_device(id);
        if (!device || !device->online || device->stale
            || device->last_report.object() != told.state
            || device->address.toString() != told.address)
            return false;
    }
    return true;
}

void Agreement::check_registry(const WindowCase &window)
{
    for (const auto &[id, device] : window.gui->all_devices()) {
        expect(device->device_id == id, "a record is filed under a wrong id: " + id);
        expect(truth.count(id) == 1, "the registry has a device that does not exist: " + id);
    }
    for (const auto &[id, told] : truth) {
        const Device *device = window.gui->find_device(id);
        expect(device, "the registry has lost " + id);
        if (!device)
            continue;
        expect(device->online, id + " is not online");
        expect(device->address.toString() == told.address, id + " has a wrong address");
        expect(device->interface == "loudspeakers", id + " is on network " + device->interface);
        expect(device->last_report.object() == told.state, id + " has an old report");
        expect(!device->stale && !device->upload, id + " is still busy");
        for (const auto &[key, desc] : device->properties)
            if (desc.kind != PROP_DUMMY)
                expect(device->value(key) == value_from_json(told.state, desc),
                       id + " has a wrong " + QString::fromStdString(key));
    }
}

ShownList Agreement::shown_list(WindowCase &window)
{
    ShownList list;
    for (const auto &[id, device] : window.gui->all_devices())
        for (const std::string &column : window.gui->column_ids())
            list[id].cells[column] = window.cell(device, column);
    return list;
}

void Agreement::check_list(WindowCase &window)
{
    std::map<QString, int> rows;
    for (int row = 0; row < window.gui->model().rowCount(); ++row)
        ++rows[window.gui->model().item(row, 0)->data(DeviceCell::ID_ROLE).toString()];
    for (const auto &[id, count] : rows)
        expect(count == 1 && truth.count(id) == 1,
               QString("%1 has %2 rows").arg(id, QString::number(count)));
    for (const auto &[id, told] : truth)
        expect(rows.count(id) == 1, id + " has no row");
    expect(window.gui->is_sorted(), "the list is not sorted");
    for (const auto &[id, shown] : shown_list(window))
        if (truth.count(id) == 1)
            check_row(window, id, shown);
}

// What a reader of the list goes by, told without the program's own texts.
void Agreement::check_row(WindowCase &window, const QString &id, const ShownDevice &shown)
{
    const Device *device = window.gui->find_device(id);
    const QJsonObject state = truth_of(id);
    const QString status = shown.cells.at("status");
    expect(status.startsWith("Online"), id + " reads " + status);
    for (const QString &error : {state.value("firmware_update_error").toString(),
                                 state.value("dsp").toObject().value("error").toString()})
        expect(error.isEmpty() || status.contains(" / " + error), id + " hides " + error);
    expect(shown.cells.at("ip") == truth.at(id).address, id + " shows " + shown.cells.at("ip"));
    const QJsonValue name = state.value("ui").toObject().value("name");
    if (name.isString() && device->properties.count("ui/name") == 1)
        expect(shown.cells.at("ui/name") == name.toString(),
               id + " is called " + shown.cells.at("ui/name"));
}

void Agreement::check_cache_file(const QString &path)
{
    QFile file(path);
    expect(file.open(QIODevice::ReadOnly), "there is no cache file");
    const QJsonArray devices
        = QJsonDocument::fromJson(file.readAll()).object().value("devices").toArray();
    expect(devices.size() == static_cast<int>(truth.size()),
           QString("the cache has %1 devices").arg(devices.size()));
    for (const QJsonValue &value : devices) {
        const QJsonObject data = value.toObject().value("data").toObject();
        const QString id = data.value("device_id").toString();
        expect(truth.count(id) == 1, "the cache has a device that does not exist: " + id);
        if (truth.count(id) == 0)
            continue;
        expect(data == truth_of(id), "the cache has an old report of " + id);
        expect(value.toObject().value("ip").toString() == truth.at(id).address,
               "the cache has a wrong address of " + id);
    }
}

// A cell whose key the device's product lacks keeps what it showed before, so it may differ.
void Agreement::check_same_list(const ShownList &worn, const ShownList &fresh,
                                const WindowCase &window)
{
    expect(worn.size() == fresh.size(), "the two lists differ in length");
    for (const auto &[id, shown] : fresh) {
        const Device *device = window.gui->find_device(id);
        const auto old = worn.find(id);
        expect(old != worn.end(), "only a fresh window knows " + id);
        if (!device || old == worn.end())
            continue;
        for (const auto &[column, text] : shown.cells) {
            const bool is_property = column.find('/') != std::string::npos;
            if (is_property && device->properties.count(column) == 0)
                continue;
            const QString &before = old->second.cells.at(column);
            expect(before == text,
                   QString("%1 reads \"%2\" in column %3, and \"%4\" in a fresh list")
                       .arg(id, before, QString::fromStdString(column), text));
        }
    }
}
