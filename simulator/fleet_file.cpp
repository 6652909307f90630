// Fleet files: what devices there are, in JSON.
#include "simulator/fleet_file.h"

#include "model/meta.h"
#include "simulator/fleet_mix.h"
#include "simulator/member_reader.h"

#include <QFile>
#include <QHostAddress>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonParseError>

#include <optional>

namespace simulator {

namespace {

constexpr int MOST_DEVICES = 10'000;

QStringList products_that_contain(const QString &text)
{
    QStringList names;
    for (const ProductDesc &product : catalogue().product_table)
        if (QString::fromStdString(product.name).contains(text, Qt::CaseInsensitive))
            names.append(QString::fromStdString(product.name));
    return names;
}

std::optional<int32_t> product_named(const QString &name)
{
    for (const ProductDesc &product : catalogue().product_table)
        if (name.compare(QString::fromStdString(product.name), Qt::CaseInsensitive) == 0)
            return product.product_id;
    return {};
}

// A name, a part of a name that only one product has, or a number (which the catalogue need not
// know: that is a case worth playing).
int32_t read_product(MemberReader &members)
{
    const QJsonValue value = members.any("product");
    if (value.isDouble()) {
        const int id = value.toInt(0);
        if (id != value.toDouble())
            members.complain("\"product\" must be a whole number or a name");
        return id;
    }
    const QString name = value.toString();
    const auto exact = product_named(name);
    if (exact)
        return *exact;
    const QStringList candidates = name.isEmpty() ? QStringList() : products_that_contain(name);
    if (candidates.size() == 1)
        return product_named(candidates.first()).value_or(0);
    if (candidates.isEmpty())
        members.complain(name.isEmpty() ? QString("\"product\" is missing")
                                        : QString("unknown product \"%1\"").arg(name));
    else
        members.complain(QString("\"%1\" may be %2").arg(name, candidates.join(", ")));
    return 0;
}

// One mean for all channels, or a list of means.
std::vector<int> read_levels(MemberReader &members)
{
    const QJsonValue value = members.any("levels");
    if (value.isUndefined())
        return {};
    const QJsonArray list = value.isArray() ? value.toArray() : QJsonArray{value};
    std::vector<int> levels;
    for (const QJsonValue &level : list) {
        levels.push_back(level.toInt(-1)); // -1 also for what is no whole number
        if (levels.back() < 0 || levels.back() > 70)
            members.complain("\"levels\" must be a whole number from 0 to 70, or a list of such");
    }
    return levels;
}

QJsonArray read_sessions(MemberReader &members, const QString &name)
{
    const QJsonArray sessions = members.list(name);
    for (const QJsonValue &session : sessions)
        if (!session.isObject() || !session.toObject().value("n").isString())
            members.complain(
                QString("\"%1\" must hold objects with \"n\", \"i\" and \"c\"").arg(name));
    return sessions;
}

uint32_t read_address(MemberReader &members)
{
    if (!members.has("address"))
        return 0;
    QHostAddress address;
    const QString text = members.text("address");
    if (address.setAddress(text) && address.protocol() == QAbstractSocket::IPv4Protocol)
        return address.toIPv4Address();
    members.complain(QString("\"%1\" is no IPv4 address").arg(text));
    return 0;
}

QJsonArray read_faults(MemberReader &members)
{
    const QJsonArray faults = members.list("faults");
    for (const QJsonValue &fault : faults)
        if (!fault.isObject())
            members.complain("\"faults\" must hold objects such as {\"fault\": \"silent\"}");
    return faults;
}

DevicePlan read_device(MemberReader &members, const std::optional<QJsonArray> &usual)
{
    DevicePlan plan;
    plan.product_id = read_product(members);
    plan.device_id = members.text("device_id");
    plan.name = members.text("name");
    plan.location = members.text("location");
    plan.memo = members.text("memo");
    plan.order = members.whole("order", 0, 0, 1'000'000);
    plan.address = read_address(members);
    plan.firmware_version = members.text("firmware_version", NEWEST_FIRMWARE);
    if (members.has("fw_magic"))
        plan.fw_magic = static_cast<uint32_t>(members.number("fw_magic", 0, 0, UINT32_MAX));
    plan.levels = read_levels(members);
    plan.sessions = usual;
    if (members.has("streams"))
        plan.sessions = read_sessions(members, "streams");
    plan.state = members.members("state");
    plan.faults = read_faults(members);
    return plan;
}

// A row with "count" stands for several devices; "%1" in its name becomes their number.
void add_devices(FleetFile &fleet, MemberReader &members, const std::optional<QJsonArray> &usual)
{
    const int count = members.whole("count", 1, 1, MOST_DEVICES);
    const DevicePlan plan = read_device(members, usual);
    if (count > 1 && (!plan.device_id.isEmpty() || plan.address != 0))
        members.complain("\"count\" goes with neither \"device_id\" nor \"address\"");
    fleet.error = members.finish();
    if (!fleet.error.isEmpty())
        return;
    for (int i = 0; i < count; ++i) {
        DevicePlan one = plan;
        one.name.replace("%1", QString::number(i + 1));
        if (one.order == 0)
            one.order = static_cast<int>(fleet.plans.size()) + 1;
        fleet.plans.push_back(one);
    }
}

QString json_error(const QByteArray &text, const QJsonParseError &error)
{
    const QByteArray before = text.left(error.offset);
    return QString("line %1: %2").arg(before.count('\n') + 1).arg(error.errorString());
}

FleetFile refused(const QString &error)
{
    return {.error = error};
}

} // namespace

FleetFile parse_fleet(const QByteArray &text)
{
    QJsonParseError parse_error;
    const QJsonDocument document = QJsonDocument::fromJson(text, &parse_error);
    if (parse_error.error != QJsonParseError::NoError)
        return refused(json_error(text, parse_error));
    if (!document.isObject())
        return refused("a fleet must be an object with a list \"devices\"");

    MemberReader top(document.object());
    std::optional<QJsonArray> usual;
    if (top.has("sessions"))
        usual = read_sessions(top, "sessions");
    const QJsonArray devices = top.list("devices");
    if (!top.finish().isEmpty())
        return refused(top.finish());
    if (devices.isEmpty())
        return refused("\"devices\" is missing or empty");

    FleetFile fleet;
    for (int i = 0; i < devices.size() && fleet.error.isEmpty(); ++i) {
        MemberReader members(devices.at(i).toObject());
        add_devices(fleet, members, usual);
        if (fleet.plans.size() > MOST_DEVICES)
            fleet.error = QString("more than %1 devices").arg(MOST_DEVICES);
        if (!fleet.error.isEmpty())
            fleet.error = QString("device %1: %2").arg(i + 1).arg(fleet.error);
    }
    return fleet;
}

FleetFile load_fleet(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return refused(QString("%1: %2").arg(path, file.errorString()));
    FleetFile fleet = parse_fleet(file.readAll());
    if (!fleet.error.isEmpty())
        fleet.error = path + ": " + fleet.error;
    return fleet;
}

} // namespace simulator
