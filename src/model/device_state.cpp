// Merges what a device reports into its record.
#include "model/device_state.h"

#include "gui/choices.h"
#include "link/datagram.h"
#include "link/packet_kind.h"
#include "model/json_path.h"

#include <QJsonArray>

#include <algorithm>
#include <cmath>
#include <functional>

namespace {

const std::string product_key = "product_id";
const std::string session_key = "stream/name";

// The product comes before all other properties: it decides which there are. Anything that is no
// number counts as "<unknown>".
bool take_product_of(Device &device, JsonPathReader &reader)
{
    const auto property = device.properties.find(product_key);
    if (property == device.properties.end())
        return false;
    const QVariant value
        = value_from_json_value(reader.read(property->second.path), property->second.kind);
    if (value == device.values[product_key])
        return false;
    bool is_number = false;
    const int id = value.toInt(&is_number);
    device.properties = find_product(is_number ? id : 0).properties;
    device.values.clear();
    device.values[product_key] = value;
    return true;
}

bool take_sessions(Device &device, const QJsonObject &report)
{
    std::vector<session_item> sessions = sessions_of(report);
    if (sessions == device.session_list)
        return false;
    device.session_list = std::move(sessions);
    return true;
}

// All keys by the alphabet; each is the catalogue's own.
const std::vector<const std::string *> &keys_by_alphabet()
{
    static const std::vector<const std::string *> all = [] {
        std::vector<const std::string *> keys;
        for (const std::string &key : catalogue().property_keys)
            keys.push_back(&key);
        std::sort(keys.begin(), keys.end(),
                  [](const std::string *left, const std::string *right) { return *left < *right; });
        return keys;
    }();
    return all;
}

// `changed` comes by the alphabet, as the walk along a device's properties gives it. Most reports
// change few of the many keys.
std::vector<const std::string *> in_order_of_keys(const std::vector<const std::string *> &changed)
{
    std::vector<const std::string *> ordered;
    auto place = keys_by_alphabet().begin();
    const auto end = keys_by_alphabet().end();
    for (const std::string *key : changed) {
        place = std::lower_bound(
            place, end, *key,
            [](const std::string *left, const std::string &right) { return *left < right; });
        if (place != end && **place == *key)
            ordered.push_back(*place);
    }
    // In the catalogue they stand one behind another.
    std::sort(ordered.begin(), ordered.end(), std::less<>());
    return ordered;
}

bool rebuild_sessions(Device &device, const PropertyDesc &desc, bool sessions_changed)
{
    if (!sessions_changed && !desc.choices.empty())
        return false;
    device.properties.own(session_key).choices = session_choices(device.session_list);
    return true;
}

// The value a device that only exists here has for a property; undefined for none.
QJsonValue dummy_value(const PropertyDesc &desc)
{
    switch (desc.kind) {
    case PROP_NONE:
    case PROP_DUMMY:
    case PROP_FIRMWARE:
    case PROP_METER:
        break;
    case PROP_TEXT:
        return QString("");
    case PROP_BOOL:
        return false;
    case PROP_INT:
    case PROP_FLOAT:
    case PROP_LOCK_STATUS:
        return std::isfinite(desc.min) ? desc.min : 0.0;
    case PROP_IP:
        return "0.0.0.0";
    case PROP_CHOICE:
        if (!desc.choices.empty())
            return QJsonValue::fromVariant(desc.choices.front().value);
        break;
    }
    return QJsonValue(QJsonValue::Undefined);
}

} // namespace

MergeResult merge_report(Device &device, const QJsonObject &report)
{
    MergeResult result;
    JsonPathReader reader(report);
    const bool sessions_changed = take_sessions(device, report);
    result.product_changed = take_product_of(device, reader);

    // Both maps stand in the order of their keys, so one walk along them needs no look-up.
    std::vector<const std::string *> changed;
    auto value = device.values.begin();
    for (const auto &[key, desc] : device.properties) {
        if (desc.kind == PROP_DUMMY)
            continue;
        while (value != device.values.end() && value->first < key)
            ++value;
        if (value == device.values.end() || value->first != key)
            value = device.values.emplace_hint(value, key, QVariant());
        const QVariant reported = value_from_json_value(reader.read(desc.path), desc.kind);
        const bool is_new_product = result.product_changed && key == product_key;
        bool row_changed = is_new_product;
        if (reported != value->second) {
            value->second = reported;
            row_changed = true;
        }
        if (key == session_key)
            row_changed |= rebuild_sessions(device, desc, sessions_changed);
        if (row_changed)
            changed.push_back(&key);
    }
    result.changed_keys = in_order_of_keys(changed);
    return result;
}

bool needs_assistant(const Device &device)
{
    // KEPT: exactly these two; any other version is current.
    const QVariant version = device.value("firmware_version");
    return version == QVariant("1.1") || version == QVariant("v1.5.4.1d");
}

QJsonObject dummy_report(const std::array<quint32, 4> &random)
{
    QByteArray bytes;
    for (const quint32 number : random)
        bytes.append(reinterpret_cast<const char *>(&number), sizeof number);

    QJsonObject report{{"product", FAMILY}, {"seq", 0}, {"api_version", API_VERSION}};
    const ProductDesc &product = catalogue().product_table.at(1);
    for (const auto &[key, desc] : product.properties) {
        const QJsonValue value = dummy_value(desc);
        if (!value.isUndefined())
            json_set_path(report, desc.path, value);
    }
    report.insert("product_id", product.product_id);
    json_set_path(report, {"ui", "name"}, "Offline dummy device");
    report.insert("device_id", QString::fromLatin1(bytes.toHex()));
    return report;
}
