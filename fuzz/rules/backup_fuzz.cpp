// Backups into rows: any object becomes values, edits, and what a device is sent.
#include "fuzz/rules/fuzz_bytes.h"
#include "gui/edit_rules.h"
#include "gui/selection_merge.h"
#include "gui/value_text.h"
#include "model/device_state.h"
#include "model/json_path.h"
#include "model/meta.h"

#include <QJsonDocument>

#include <algorithm>
#include <cmath>

namespace {

// What the row's editor makes of a value that is set into it: numbers stop at the row's bounds.
EditorState editor_with(const PropertyDesc &desc, const QVariant &value)
{
    EditorState editor{.text = value.toString(), .data = value};
    editor.check_state = value.toBool() ? Qt::Checked : Qt::Unchecked;
    editor.number = std::max(desc.min, std::min(desc.max, value.toDouble()));
    return editor;
}

void check_value(const PropertyDesc &desc, const QVariant &value)
{
    if (desc.kind == PROP_INT || desc.kind == PROP_FLOAT)
        expect(value.toDouble() >= desc.min && value.toDouble() <= desc.max,
               "a number never leaves its row's bounds");
    if (desc.kind == PROP_TEXT)
        expect(value.toString().toUtf8().size() <= desc.max, "nor does a text");
    QString text;
    QVariant icon;
    value_text(desc, value, true, &text, &icon);
    expect(!text.isNull(), "each value has a text");
}

// `kept` holds the rows of records like this one, for which copying their descriptors is saved.
const PropertyRows &edited_rows(PropertyRows &kept, const Device &device, const QJsonObject &backup)
{
    for (auto &[key, row] : kept)
        row.edited = false;
    for (const auto &[key, desc] : device.properties) {
        if ((desc.flags & PF_BACKUP) == 0 || desc.kind == PROP_DUMMY)
            continue;
        const QVariant restored = value_from_json(backup, desc);
        if (restored.isNull())
            continue;
        const QVariant value = editor_value(desc, true, editor_with(desc, restored));
        if (!refusal(value).isEmpty() || !value.isValid())
            continue;
        check_value(desc, value);
        Property &row = kept[key];
        if (row.desc.key != desc.key)
            row.desc = desc;
        row.value = value;
        row.edited = row.uniform = true;
    }
    return kept;
}

void check_left_alone(const PropertyRows &rows, const QJsonObject &before, const QJsonObject &after)
{
    for (const auto &[key, row] : rows)
        if (!row.edited)
            expect(json_get_path(before, row.desc.path) == json_get_path(after, row.desc.path),
                   "what was not edited stays as it is");
}

// Without a window the device takes the command as it is.
void check_sent(const PropertyRows &rows, Device &device, const QJsonObject &report,
                bool looks_at_others)
{
    device.online = false;
    device.last_report = report;
    const std::optional<QJsonObject> changed = device_changes(rows, device);
    if (!changed)
        return;
    if (looks_at_others)
        check_left_alone(rows, report, *changed);
    merge_report(device, *changed);
    for (const auto &[key, row] : rows)
        if (row.edited && (row.desc.flags & PF_READONLY) == 0 && device.properties.count(key) == 1)
            expect(device.value(key) == row.value || row.value == device.value(key)
                       || row.desc.kind == PROP_CHOICE,
                   "what is sent is what the row says");
    device.last_report = *changed;
    expect(!device_changes(rows, device), "what a device has is not sent again");
}

} // namespace

void fuzz_backup(const uint8_t *data, size_t size)
{
    set_up_catalogue();
    FuzzBytes bytes(data, size);
    static Records records;
    const RecordKind kind = any_record_kind(bytes);
    const int product_id = product_of(kind).product_id;
    Device &device = fresh_record(records, kind);
    const QJsonObject report = any_report(bytes, device.properties, product_id);
    merge_report(device, report);
    const QJsonObject backup = bytes.flag()
        ? any_report(bytes, device.properties, product_id)
        : QJsonDocument::fromJson(bytes.bytes(bytes.u16() % 500)).object();
    static std::map<size_t, PropertyRows> rows;
    check_sent(edited_rows(rows[kind.number()], device, backup), device, report,
               is_one_in(4, data, size));
}
