// Networks by name.
#include "link/interface_rules.h"

#include <QMetaEnum>
#include <QNetworkInterface>

namespace {

bool counts(const QHostAddress &address)
{
    return address.protocol() == QAbstractSocket::IPv4Protocol && !address.isLoopback();
}

QHostAddress computed_broadcast(const NetworkAddress &entry)
{
    return QHostAddress(entry.ip.toIPv4Address() | ~entry.netmask.toIPv4Address());
}

QString address_line(const QNetworkAddressEntry &entry)
{
    QString line = "    - ";
    if (entry.ip().isLoopback())
        line += "loopback ";
    if (entry.ip().isLinkLocal())
        line += "link-local ";
    const bool is_ipv4 = entry.ip().protocol() == QAbstractSocket::IPv4Protocol;
    line += is_ipv4 ? "IPv4 " : "other ";
    return line + entry.ip().toString() + "/" + entry.netmask().toString() + "/"
        + entry.broadcast().toString() + "\n";
}

} // namespace

std::vector<NetworkInterface> present_interfaces()
{
    std::vector<NetworkInterface> interfaces;
    for (const QNetworkInterface &present : QNetworkInterface::allInterfaces()) {
        NetworkInterface interface {
            .name = present.humanReadableName(), .index = present.index(),
            .is_up = present.flags().testFlag(QNetworkInterface::IsUp),
            .is_running = present.flags().testFlag(QNetworkInterface::IsRunning),
            .can_broadcast = present.flags().testFlag(QNetworkInterface::CanBroadcast),
        };
        for (const QNetworkAddressEntry &entry : present.addressEntries())
            interface.entries.push_back({.ip = entry.ip(), .netmask = entry.netmask()});
        interfaces.push_back(interface);
    }
    return interfaces;
}

FoundNetwork find_network_among(const std::vector<NetworkInterface> &interfaces,
                                const QString &name)
{
    for (const NetworkInterface &interface : interfaces) {
        if (interface.name != name)
            continue;
        FoundNetwork found{.index = interface.index};
        for (const NetworkAddress &entry : interface.entries) {
            if (!counts(entry.ip))
                continue;
            if (found.source.isNull())
                found.source = entry.ip;
            found.broadcast = computed_broadcast(entry);
            if (found.broadcast.isLinkLocal())
                break;
        }
        return found;
    }
    return {};
}

QString network_tip(const FoundNetwork &network)
{
    const QString tip = "The network with the devices";
    return network.source.isNull() ? tip : tip + "; this computer is " + network.source.toString();
}

bool is_offered(const NetworkInterface &interface)
{
    if (!interface.is_up || !interface.is_running || !interface.can_broadcast)
        return false;
    for (const NetworkAddress &entry : interface.entries)
        if (counts(entry.ip))
            return true;
    return false;
}

bool has_link_local_address(const NetworkInterface &interface)
{
    for (const NetworkAddress &entry : interface.entries)
        if (counts(entry.ip) && entry.ip.isLinkLocal())
            return true;
    return false;
}

QString offer_networks(const std::vector<NetworkInterface> &interfaces, std::set<QString> &known,
                       bool &default_is_link_local,
                       const std::function<void(const QString &name)> &add)
{
    QString candidate;
    for (const NetworkInterface &interface : interfaces) {
        if (known.count(interface.name) != 0 || !is_offered(interface))
            continue;
        const bool is_link_local = has_link_local_address(interface);
        if (candidate.isEmpty() || (!default_is_link_local && is_link_local)) {
            candidate = interface.name;
            default_is_link_local = is_link_local;
        }
        known.insert(interface.name);
        add(interface.name);
    }
    return candidate;
}

// A list of its own: the nested run reads the interfaces anew while this one goes through them.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
void update_networks(std::vector<NetworkInterface> interfaces, std::set<QString> &known,
                     bool &default_is_link_local, const QString &saved, const NetworkBox &box)
{
    const size_t known_before = known.size();
    const QString preferred = offer_networks(interfaces, known, default_is_link_local, box.add);
    if (known.size() != known_before && !box.select(saved))
        box.select(preferred);
}

void append_network_error(QString &errors, const QHostAddress &address, const QString &result)
{
    if (result.isEmpty())
        return;
    if (!errors.isEmpty())
        errors += "<br>";
    errors += address.toString() + ": " + result;
}

QString network_report()
{
    QString report;
    for (const QNetworkInterface &interface : QNetworkInterface::allInterfaces()) {
        const QString type = QVariant::fromValue(interface.type()).toString();
        report += "'" + interface.name() + "' (" + interface.humanReadableName() + ") " + type
            + " / 0x" + QString::number(static_cast<uint>(interface.flags()), 16) + ":\n";
        for (const QNetworkAddressEntry &entry : interface.addressEntries())
            report += address_line(entry);
    }
    return report;
}
