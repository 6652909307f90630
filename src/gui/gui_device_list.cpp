// The device list: its columns, one row per device, and what a refresh of a row brings along.
#include "firmware/assistant_rules.h"
#include "firmware/deppen_ass.h"
#include "gui/choices.h"
#include "gui/column_rules.h"
#include "gui/device_cell.h"
#include "gui/device_list_view.h"
#include "gui/gui.h"
#include "gui/status_text.h"
#include "gui/value_text.h"
#include "model/device_state.h"
#include "support/fatal_assert.h"

#include <QAction>
#include <QApplication>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QMenu>
#include <QPushButton>
#include <QScopedValueRollback>

namespace {

QString product_name(const Device &device)
{
    return QString::fromStdString(find_product(device.value("product_id").toInt()).name);
}

StatusFacts status_facts(const Device &device)
{
    return {.online = device.online,
            .broken_net = device.broken_net,
            .is_muted = device.value("dsp/mute") == QVariant(true),
            .upload = device.upload,
            .upload_error = device.upload_error,
            .firmware_update_error = device.firmware_update_error,
            .dsp_error = device.dsp_error};
}

// One device's own state as rows: a list cell shows a preset's name for that device alone.
OtherRow device_property(const Device &device, const std::string &key)
{
    const auto desc = device.properties.find(key);
    const auto value = device.values.find(key);
    if (desc == device.properties.end() || value == device.values.end())
        return {};
    return {.desc = &desc->second, .value = &value->second};
}

} // namespace

void Gui::build_device_list()
{
    device_list = new DeviceListView;
    header_menu = new QMenu(this);
    // Before the view looks: it would measure its header again at each caption.
    add_columns();
    device_list->setModel(&device_model);
    show_default_columns();
    device_model.setSortRole(DeviceCell::SORT_ROLE);
    device_list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    device_list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    device_list->setSelectionBehavior(QAbstractItemView::SelectRows);
    device_list->setUniformRowHeights(true);
    device_list->setSortingEnabled(true);
    const int icon_size = static_cast<int>(qApp->devicePixelRatio() * 32);
    device_list->setIconSize({icon_size, icon_size});
    device_list->setIndentation(0);
    device_list->setAccessibleName("Devices");
    device_list->setStyleSheet(dark_theme ? "QTreeView { selection-background-color: #005499; }"
                                          : "QTreeView { selection-background-color: #cce8ff; }");
    device_list->header()->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(device_list->header(), &QHeaderView::customContextMenuRequested, this,
            &Gui::show_column_menu);
    device_list->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    device_list->setItemDelegate(&highlight_delegate);
    install_meter_delegate();
    connect(device_list->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &Gui::on_selection_changed);
}

void Gui::add_columns()
{
    for (const ListColumn &column : list_columns())
        add_column(column.id, column.name);
    device_model.setColumnCount(column_names.size());
    device_model.setHorizontalHeaderLabels(column_names);
}

void Gui::show_default_columns()
{
    for (int column = 0; column < column_names.size(); ++column)
        device_list->setColumnHidden(column, true);
    for (const int column : default_columns(column_names))
        device_list->setColumnHidden(column, false);
}

void Gui::add_column(const std::string &id, const QString &name)
{
    const size_t index = column_ids.size();
    column_names.append(name);
    column_ids.push_back(id);
    auto *action = new QAction(name, this);
    action->setCheckable(true);
    connect(action, &QAction::toggled, this, [this, index] { toggle_column(index); });
    column_actions.push_back(action);
    header_menu->addAction(action);
// The toolkit's lists count in int, the library's in size_t.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wsign-compare"
    FATAL_ASSERT("gui.cpp", column_names.size() == column_actions.size());
    FATAL_ASSERT("gui.cpp", column_names.size() == column_ids.size());
#pragma GCC diagnostic pop
}

// Everything that shows a device follows from here; any change of a device's state ends in a call.
void Gui::update_device_properties(Device *device)
{
    if (!device->online)
        device->broken_net = false;
    const int row = find_device_row(device);
    if (row < 0)
        insert_row(device);
    else
        refresh_row(device, row);
    sort_list_if_needed();
    if (!device->online)
        device->assistant_dismissed = false;
    update_log_title(device);
    offer_assistant(device);
    if (!device->online)
        device->meter.clear_levels();
}

// Each signal of a shown view's model costs a look at the columns' widths: one tells of them all.
void Gui::refresh_row(Device *device, int row)
{
    row_changed = false;
    for (int column = 0; column < device_model.columnCount(); ++column)
        if (!device_list->isColumnHidden(column))
            write_cell(device, static_cast<size_t>(column),
                       static_cast<DeviceCell *>(device_model.item(row, column)));
    if (row_changed)
        emit device_model.dataChanged(device_model.index(row, 0),
                                      device_model.index(row, device_model.columnCount() - 1));
}

void Gui::write_cell(Device *device, size_t column, DeviceCell *item)
{
    const std::string &id = column_ids[column];
    if (id == "product_id")
        write_product_cell(device, column, item);
    else if (id == "status")
        set_cell(item, column, status_text(status_facts(*device)), {});
    else if (id == "ip")
        set_cell(item, column, device->address.toString(), {});
    else if (id == "meter")
        write_meter_cell(device, item);
    else
        write_property_cell(device, column, item);
}

void Gui::write_product_cell(Device *device, size_t column, DeviceCell *item)
{
    const ProductDesc &product = find_product(device->value("product_id").toInt());
    const qint64 sort_key = product_sort_key(device->value("ui/order").toInt(), device->address);
    set_cell(item, column, QString::fromStdString(product.name), sort_key);
    const QString icon = QString::fromStdString(product.icon);
    if (item->data(DeviceCell::EXTRA_ROLE).toString() == icon)
        return;
    item->write(DeviceCell::EXTRA_ROLE, icon);
    item->write(Qt::DecorationRole, load_icon(icon));
    row_changed = true;
}

void Gui::write_meter_cell(Device *device, DeviceCell *item)
{
    if (item->data(DeviceCell::EXTRA_ROLE).value<MeterObject *>() != &device->meter)
        item->write(DeviceCell::EXTRA_ROLE, QVariant::fromValue(&device->meter));
}

// A device that lacks the key leaves the cell as it is: it stays that a cell then keeps what it
// showed before a change of product.
void Gui::write_property_cell(Device *device, size_t column, DeviceCell *item)
{
    const std::string &key = column_ids[column];
    const auto value = device->values.find(key);
    const auto desc = device->properties.find(key);
    if (value == device->values.end() || desc == device->properties.end())
        return;
    QString text;
    QIcon icon;
    if (desc->second.flags & (PF_FOLLOWS_BANK | PF_SOURCE_CHANNEL)) {
        PropertyDesc dependent = desc->second;
        update_dynamic_choices(dependent, [device](const std::string &other) {
            return device_property(*device, other);
        });
        value_text(dependent, value->second, true, &text, &icon);
    } else {
        value_text(desc->second, value->second, true, &text, &icon);
    }
    set_cell(item, column, text, value->second);
    if (!item->data(Qt::DecorationRole).isValid())
        item->write(Qt::DecorationRole, icon);
}

void Gui::set_cell(DeviceCell *item, size_t column, const QString &text, const QVariant &sort_value)
{
    row_changed |= item->write(Qt::DisplayRole, text);
    const bool is_key_changed
        = item->write(DeviceCell::SORT_ROLE, sort_value.isValid() ? sort_value : QVariant(text));
    row_changed |= is_key_changed;
    if (is_key_changed && static_cast<int>(column) == device_list->header()->sortIndicatorSection())
        sort_pending = true;
}

// The row is filled before the model knows it and goes straight to its place: the list looks as if
// it had been sorted again, at the price of one insertion.
void Gui::insert_row(Device *device)
{
    QList<QStandardItem *> items;
    const bool was_pending = sort_pending;
    for (size_t column = 0; column < column_ids.size(); ++column) {
        auto *item = new DeviceCell;
        items.append(item);
        if (!device_list->isColumnHidden(static_cast<int>(column)))
            write_cell(device, column, item);
    }
    sort_pending = was_pending;
    static_cast<DeviceCell *>(items.front())->write(DeviceCell::ID_ROLE, device->device_id);
    const int section = device_list->header()->sortIndicatorSection();
    const bool is_sorted_by_column = section >= 0 && section < device_model.columnCount();
    const int row = is_sorted_by_column && !sort_pending ? sorted_place(items.at(section))
                                                         : device_model.rowCount();
    if (row == device_model.rowCount())
        static_cast<DeviceCell *>(items.at(1))->write(DeviceCell::BIRTH_ROLE, row);
    device_model.insertRow(row, items);
    device->row_hint = row;
}

// The first row that sorts behind `item`, which is in no model yet; rows with an equal key stay in
// front. A model of its own lends the item the list's way of comparing.
int Gui::sorted_place(const QStandardItem *item) const
{
    QStandardItemModel lender;
    lender.setSortRole(DeviceCell::SORT_ROLE);
    auto *probe = new QStandardItem;
    probe->setData(item->data(DeviceCell::SORT_ROLE), DeviceCell::SORT_ROLE);
    lender.appendRow(probe);

    const bool is_ascending = device_list->header()->sortIndicatorOrder() == Qt::AscendingOrder;
    int low = 0;
    int high = device_model.rowCount();
    while (low < high) {
        const int middle = (low + high) / 2;
        const QStandardItem *other = sort_cell(middle);
        if (is_ascending ? *probe < *other : *other < *probe)
            high = middle;
        else
            low = middle + 1;
    }
    return low;
}

QStandardItem *Gui::sort_cell(int row) const
{
    return device_model.item(row, device_list->header()->sortIndicatorSection());
}

bool Gui::is_list_sorted() const
{
    const int section = device_list->header()->sortIndicatorSection();
    if (section < 0 || section >= device_model.columnCount())
        return true;
    const bool is_ascending = device_list->header()->sortIndicatorOrder() == Qt::AscendingOrder;
    for (int row = 1; row < device_model.rowCount(); ++row) {
        const QStandardItem *upper = sort_cell(row - 1);
        const QStandardItem *lower = sort_cell(row);
        if (is_ascending ? *lower < *upper : *upper < *lower)
            return false;
    }
    return true;
}

// A burst of reports, and the cache at start, sort once at their end. A key that changed without
// leaving its place needs no sorting at all.
void Gui::sort_list_if_needed()
{
    if (!sort_pending || collecting > 0)
        return;
    sort_pending = false;
    if (is_list_sorted())
        return;
    const int section = device_list->header()->sortIndicatorSection();
    const Qt::SortOrder order = device_list->header()->sortIndicatorOrder();
    device_list->sortByColumn(-1, Qt::AscendingOrder);
    device_list->sortByColumn(section, order);
    note_row_hints();
}

void Gui::note_row_hints()
{
    for (int row = 0; row < device_model.rowCount(); ++row)
        if (Device *device
            = find_device(device_model.item(row, 0)->data(DeviceCell::ID_ROLE).toString()))
            device->row_hint = row;
}

// -1 when the device has no row: then it has no hint either. A hint saves the walk, but is never
// believed unseen.
int Gui::find_device_row(Device *device)
{
    const auto is_row_of_device = [this, device](int row) {
        const QStandardItem *item = device_model.item(row, 0);
        return item && item->data(DeviceCell::ID_ROLE).toString() == device->device_id;
    };
    if (device->row_hint < 0)
        return -1;
    if (is_row_of_device(device->row_hint))
        return device->row_hint;
    for (int row = 0; row < device_model.rowCount(); ++row)
        if (is_row_of_device(row))
            return device->row_hint = row;
    return -1;
}

bool Gui::is_device_selected(Device *device)
{
    const int row = find_device_row(device);
    return row >= 0 && device_list->selectionModel()->isSelected(device_model.index(row, 0));
}

// The order of selecting counts. selectedRows() would ask every column of every row for its flags,
// although here rows are always selected whole.
std::vector<Device *> Gui::selected_devices() const
{
    std::vector<Device *> selected;
    for (const QItemSelectionRange &range : device_list->selectionModel()->selection()) {
        if (range.left() > 0)
            continue;
        for (int row = range.top(); row <= range.bottom(); ++row) {
            if (device_list->isRowHidden(row, QModelIndex()))
                continue;
            const QModelIndex index = device_model.index(row, 0);
            if (Device *device = find_device(index.data(DeviceCell::ID_ROLE).toString()))
                selected.push_back(device);
        }
    }
    return selected;
}

QIcon Gui::load_icon(const QString &path)
{
    const auto known = icon_cache.find(path);
    if (known != icon_cache.end())
        return known->second;
    QIcon icon;
    icon.addFile(path);
    icon_cache[path] = icon;
    return icon;
}

void Gui::toggle_column(size_t index)
{
    FATAL_ASSERT("gui.cpp", index < column_actions.size());
    const int column = static_cast<int>(index);
    const bool is_wanted = column_actions[index]->isChecked();
    if (is_wanted != device_list->isColumnHidden(column))
        return;
    device_list->setColumnHidden(column, !is_wanted);
    {
        // Hidden columns are not kept up to date. One of them may be the one that the list is
        // sorted by.
        const QScopedValueRollback<int> guard(collecting, collecting + 1);
        for (const auto &[id, device] : devices)
            update_device_properties(device);
    }
    sort_list_if_needed();
}

void Gui::show_column_menu(const QPoint &position)
{
    for (size_t column = 0; column < column_actions.size(); ++column)
        column_actions[column]->setChecked(!device_list->isColumnHidden(static_cast<int>(column)));
    header_menu->popup(device_list->header()->viewport()->mapToGlobal(position));
}

void Gui::update_log_title(Device *device)
{
    if (log_windows.is_open(device))
        log_windows.set_title(device,
                              log_title(product_name(*device), device->address,
                                        device->value("ui/name").toString(), device->log_paused));
}

// One assistant at a time in the whole program; it opens by itself.
void Gui::offer_assistant(Device *device)
{
    if (device->deppen_ass) {
        emit device->deppen_ass->update_props();
        return;
    }
    const bool is_outdated = needs_assistant(*device);
    if (!device->online || !wants_assistant(is_outdated, device->value("product_id")))
        return;
    bool one_is_open = false;
    for (const auto &[id, other] : devices)
        one_is_open |= other->deppen_ass != nullptr;
    if (opens_assistant(*device, is_outdated, one_is_open))
        (new DeppenAss(this, device))->show();
}

void Gui::update_identify_button()
{
    bool is_any_online = false;
    for (const Device *device : selected_devices())
        is_any_online |= device->online;
    identify_button->setEnabled(is_any_online);
}
