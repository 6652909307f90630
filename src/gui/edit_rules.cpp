// From editors to values, and from edited rows to what a device is sent.
#include "gui/edit_rules.h"

#include "gui/value_parser.h"
#include "link/command.h"
#include "model/error_value.h"
#include "model/json_path.h"

#include <cmath>
#include <limits>

namespace {

QVariant refused(const QString &reason)
{
    return QVariant::fromValue(ErrorValue{.reason = reason});
}

QVariant text_value(const PropertyDesc &desc, bool uniform, const QString &text)
{
    if (text == "..." && !uniform)
        return {};
    const int bytes = text.toUtf8().size();
    if (bytes > desc.max)
        return refused(QString::asprintf(
            "text too long (allows up to %.0f bytes, but got %d bytes)", desc.max, bytes));
    return text;
}

QVariant address_value(bool uniform, const QString &text)
{
    if (text == "..." && !uniform)
        return {};
    if (text.contains(QChar::Null) || !is_ipv4_text(text.toUtf8().constData()))
        return refused("not a valid IPv4");
    return text;
}

QVariant check_value(Qt::CheckState check_state)
{
    return check_state == Qt::PartiallyChecked ? QVariant() : check_state == Qt::Checked;
}

// A row without bounds still has those of the type that it is stored in.
QVariant whole_number_value(const PropertyDesc &desc, double number)
{
    const double whole = std::trunc(number);
    if (std::isnan(whole))
        return refused("invalid");
    if (whole < std::max<double>(desc.min, std::numeric_limits<int>::min()))
        return refused("value is too small");
    if (whole > std::min<double>(desc.max, std::numeric_limits<int>::max()))
        return refused("value is too large");
    return static_cast<int>(whole);
}

QVariant number_value(const PropertyDesc &desc, double number)
{
    if (number < desc.min)
        return refused("value is too small");
    if (number > desc.max)
        return refused("value is too large");
    return number;
}

bool is_finite(const QVariant &value)
{
    return value.userType() != QMetaType::Double || std::isfinite(value.toDouble());
}

// The row's flags are those of the first selected device. Another one may have the property for
// reading only: an unknown device may be given a product, its neighbour in the selection has one.
bool is_read_only(const Property &row, const std::string &key, const Device &device)
{
    const auto property = device.properties.find(key);
    const uint32_t own_flags = property == device.properties.end() ? 0 : property->second.flags;
    return ((row.desc.flags | own_flags) & PF_READONLY) != 0;
}

} // namespace

QVariant editor_value(const PropertyDesc &desc, bool uniform, const EditorState &editor)
{
    switch (desc.kind) {
    case PROP_TEXT:
    case PROP_FIRMWARE:
        return text_value(desc, uniform, editor.text);
    case PROP_IP:
        return address_value(uniform, editor.text);
    case PROP_BOOL:
        return check_value(editor.check_state);
    case PROP_INT:
        return editor.mixed ? QVariant() : whole_number_value(desc, editor.number);
    case PROP_FLOAT:
        return editor.mixed ? QVariant() : number_value(desc, editor.number);
    case PROP_CHOICE:
        return editor.data;
    case PROP_LOCK_STATUS:
    case PROP_METER:
        return {};
    case PROP_NONE:
    case PROP_DUMMY:
        break;
    }
    return refused("invalid");
}

QString refusal(const QVariant &value)
{
    return value.canConvert<ErrorValue>() ? value.value<ErrorValue>().reason : QString();
}

bool needs_validation(const Property &row)
{
    const bool has_editor = row.desc.kind != PROP_NONE && row.desc.kind != PROP_DUMMY
        && (row.desc.flags & PF_READONLY) == 0;
    return has_editor && row.edited;
}

QString value_error_text(const std::string &label, const QString &error)
{
    return "Field '" + QString::fromStdString(label) + "' has an invalid value: " + error
        + ".\nEither correct it, or cancel editing.";
}

bool changes_device(const Property &row, const std::string &key, const Device &device)
{
    if (!row.edited || row.desc.kind == PROP_DUMMY || !row.value.isValid())
        return false;
    // The value first: among a thousand devices most have it already.
    return is_finite(row.value) && row.value != device.value(key)
        && !is_read_only(row, key, device);
}

std::optional<QJsonObject> device_changes(const PropertyRows &rows, const Device &device)
{
    QJsonObject object = device.online ? device_command("set_params") : device.last_report;
    bool is_changed = false;
    for (const auto &[key, row] : rows) {
        if (!changes_device(row, key, device))
            continue;
        json_set_path(object, row.desc.path, QJsonValue::fromVariant(row.value));
        is_changed = true;
    }
    if (!is_changed)
        return std::nullopt;
    return object;
}

QString offline_notice()
{
    return "<br><br>Changing values on offline devices will be <b>discarded</b> when the device "
           "comes online again.";
}
