// What a device takes of a "set_params", and how large its report may become.
#include "simulator/param_rules.h"

#include "model/json_path.h"
#include "model/meta.h"

#include <QJsonDocument>

#include <algorithm>

namespace simulator {

namespace {

using Path = std::vector<std::string>;

bool is_envelope(const QString &name)
{
    constexpr const char *NAMES[]
        = {"command", "seq",        "api_version", "add_crc",  "metering",
           "product", "product_id", "device_id",   "fw_magic", "firmware_version"};
    return std::any_of(std::begin(NAMES), std::end(NAMES),
                       [&name](const char *known) { return name == QLatin1String(known); });
}

QString joined(const Path &path)
{
    QStringList names;
    for (const std::string &name : path)
        names.append(QString::fromStdString(name));
    return names.join('/');
}

// A name may hold a slash itself, so the path is compared, not only the key.
const PropertyDesc *find_property(const ProductDesc &product, const Path &path)
{
    const auto found = product.properties.find(joined(path).toStdString());
    const bool is_found = found != product.properties.end() && found->second.path == path;
    return is_found ? &found->second : nullptr;
}

QString text_refusal(const QString &text, double bound)
{
    const int longest = bound < LONGEST_TEXT ? static_cast<int>(bound) : LONGEST_TEXT;
    const int size = text.toUtf8().size();
    if (size <= longest)
        return {};
    return QString("%1 bytes, and at most %2 fit").arg(size).arg(longest);
}

// The curve writes what the hand drew, a shelf's q of 0 for instance: the processor of a device
// brings the numbers of its equaliser into range by itself.
QString number_refusal(double number, const PropertyDesc &desc)
{
    const bool is_within = number >= desc.min && number <= desc.max;
    return is_within || (desc.flags & PF_EQ) != 0 ? QString() : QString("out of range");
}

QString choice_refusal(const QVariant &value, const PropertyDesc &desc)
{
    if (value.type() == QVariant::List || value.type() == QVariant::Map)
        return "of the wrong type";
    const bool is_offered
        = std::any_of(desc.choices.begin(), desc.choices.end(),
                      [&value](const PropertyChoice &choice) { return choice.value == value; });
    if (!is_offered && !desc.choices.empty())
        return "none of the choices";
    return text_refusal(value.toString(), LONGEST_TEXT);
}

QString value_refusal(const QJsonValue &json, const PropertyDesc &desc)
{
    if ((desc.flags & PF_READONLY) != 0)
        return "can't be written";
    const QVariant value = value_from_json_value(json, desc.kind);
    if (!value.isValid())
        return "of the wrong type";
    switch (desc.kind) {
    case PROP_TEXT:
    case PROP_IP:
    case PROP_FIRMWARE:
        return text_refusal(value.toString(), desc.max);
    case PROP_INT:
    case PROP_FLOAT:
    case PROP_LOCK_STATUS:
        return number_refusal(value.toDouble(), desc);
    case PROP_CHOICE:
        return choice_refusal(value, desc);
    case PROP_NONE:
    case PROP_DUMMY:
    case PROP_BOOL:
    case PROP_METER:
        return {};
    }
    return {};
}

// Logging is no property, but the log window switches it.
QString leaf_refusal(const Path &path, const QJsonValue &value, const ProductDesc &product)
{
    if (path == Path{"logging", "en"})
        return value.isBool() ? QString() : QString("of the wrong type");
    const PropertyDesc *desc = find_property(product, path);
    return desc == nullptr ? QString("unknown") : value_refusal(value, *desc);
}

void check_members(const QJsonObject &members, Path &path, const ProductDesc &product,
                   ParamCheck &check)
{
    for (auto member = members.begin(); member != members.end(); ++member) {
        if (!check.refusal.isEmpty() || (path.empty() && is_envelope(member.key())))
            continue;
        path.push_back(member.key().toStdString());
        if (member.value().isObject()) {
            check_members(member.value().toObject(), path, product, check);
        } else {
            const QString refusal = leaf_refusal(path, member.value(), product);
            if (refusal.isEmpty())
                json_set_path(check.taken, path, member.value());
            else
                check.refusal = QString("\"%1\": %2").arg(joined(path).left(100), refusal);
        }
        path.pop_back();
    }
}

} // namespace

ParamCheck check_params(const QJsonObject &command, int product_id)
{
    ParamCheck check;
    Path path;
    check_members(command, path, find_product(product_id), check);
    return check;
}

QString report_refusal(const QJsonObject &state)
{
    const int size = QJsonDocument(state).toJson(QJsonDocument::Compact).size();
    if (size <= LARGEST_REPORT)
        return {};
    return QString("the report would have %1 bytes, and at most %2 fit a datagram")
        .arg(size)
        .arg(LARGEST_REPORT);
}

} // namespace simulator
