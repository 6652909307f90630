// Merges what a device reports into its record.
#include "model/device_state.h"
#include "gui/choices.h"
#include "link/datagram.h"
#include "model/json_path.h"

#include <QJsonArray>

#include <cmath>

namespace {

constexpr int MOST_SESSIONS = 1024; // a device's number never decides how much memory we take

const std::string product_key = "product_id";
const std::string session_key = "stream/name";

void take_product(Device &device, const QVariant &value)
{
    bool is_number = false;
    const int id = value.toInt(&is_number);
    device.properties = find_product(is_number ? id : 0).properties;
    device.values.clear();
}

bool rebuild_sessions(Device &device, PropertyDesc &desc, bool sessions_changed)
{
    if (!sessions_changed && !desc.choices.empty())
        return false;
    desc.choices = session_choices(device.session_list);
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

std::vector<session_item> sessions_of(const QJsonObject &report)
{
    const QJsonArray list = report.value("streams").toObject().value("list").toArray();
    std::vector<session_item> sessions;
    for (int i = 0; i < list.size() && i < MOST_SESSIONS; ++i) {
        const QJsonObject session = list.at(i).toObject();
        sessions.push_back({.name = session.value("n").toString(),
                            .info = session.value("i").toString(),
                            .channels = session.value("c").toInt(0)});
    }
    return sessions;
}

MergeResult merge_report(Device &device, const QJsonObject &report)
{
    std::vector<session_item> sessions = sessions_of(report);
    const bool sessions_changed = sessions != device.session_list;
    if (sessions_changed)
        device.session_list = std::move(sessions);

    MergeResult result;
    for (const std::string &key : property_keys) {
        auto property = device.properties.find(key);
        if (property == device.properties.end() || property->second.kind == PROP_DUMMY)
            continue;
        bool row_changed = false;
        const QVariant value = value_from_json(report, property->second);
        if (value != device.values[key]) {
            if (key == product_key) {
                take_product(device, value);
                property = device.properties.find(key);
                result.product_changed = true;
            }
            device.values[key] = value;
            row_changed = true;
        }
        if (key == session_key)
            row_changed |= rebuild_sessions(device, property->second, sessions_changed);
        if (row_changed)
            result.changed_keys.push_back(&key);
    }
    return result;
}

bool needs_assistant(const Device &device)
{
    const QVariant version = device.value("firmware_version");
    return version == QVariant("1.1") || version == QVariant("v1.5.4.1d");
}

QJsonObject dummy_report(const std::array<quint32, 4> &random)
{
    QByteArray bytes;
    for (const quint32 number : random)
        bytes.append(reinterpret_cast<const char *>(&number), sizeof number);

    QJsonObject report{{"product", "KESTA"}, {"seq", 0}, {"api_version", API_VERSION}};
    const ProductDesc &product = product_table.at(1);
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
