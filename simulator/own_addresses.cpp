// The addresses that the fleet has added to an interface; they go with this object.
#include "simulator/own_addresses.h"

#include <QHostAddress>
#include <QNetworkInterface>
#include <QProcess>

#include <algorithm>

namespace simulator {

namespace {

// Runs a batch; the result is what the tool complained about.
QString run_ip(const QByteArray &lines, bool go_on)
{
    if (lines.isEmpty())
        return {};
    QProcess process;
    const QStringList force = go_on ? QStringList{"-force"} : QStringList{};
    process.start("ip", force + QStringList{"-batch", "-"});
    if (!process.waitForStarted())
        return "the program \"ip\" (package iproute2) is missing";
    process.write(lines);
    process.closeWriteChannel();
    process.waitForFinished(60'000);
    if (process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
        return {};
    const QString complaint
        = QString::fromLocal8Bit(process.readAllStandardError()).section('\n', 0, 0);
    return complaint.isEmpty() ? "the program \"ip\" failed without a word" : complaint;
}

QString hint(const QString &fault)
{
    if (!fault.contains("not permitted"))
        return fault;
    return fault + " (adding addresses needs root; or add them before and use --addresses-exist)";
}

} // namespace

OwnAddresses::~OwnAddresses()
{
    remove_all();
}

QString OwnAddresses::add(const QString &interface, const std::vector<uint32_t> &addresses,
                          int prefix_length)
{
    const QNetworkInterface found = QNetworkInterface::interfaceFromName(interface);
    if (!found.isValid())
        return QString("there is no network interface \"%1\"").arg(interface);
    const QHostAddress first(addresses.front());
    std::vector<uint32_t> wanted = addresses;
    bool has_network = false;
    for (const QNetworkAddressEntry &entry : found.addressEntries()) {
        // What was there before stays when the fleet goes.
        const auto end = std::remove(wanted.begin(), wanted.end(), entry.ip().toIPv4Address());
        wanted.erase(end, wanted.end());
        has_network = has_network || first.isInSubnet(entry.ip(), entry.prefixLength());
    }
    host = {};
    if (!has_network) {
        host = {.address = addresses.front(), .prefix_length = prefix_length};
        wanted.erase(std::remove(wanted.begin(), wanted.end(), host.address), wanted.end());
    }
    interface_name = interface;
    blocks = cover_addresses(wanted);
    return hint(run_ip(address_batch(AddressChange::ADD, interface, host, blocks), false));
}

QString OwnAddresses::add_one(uint32_t address)
{
    if (interface_name.isEmpty())
        return {};
    const AddressBlock block{.address = address, .prefix_length = 32};
    blocks.push_back(block);
    return hint(run_ip(address_batch(AddressChange::ADD, interface_name, {}, {block}), false));
}

void OwnAddresses::remove_all()
{
    if (interface_name.isEmpty())
        return;
    run_ip(address_batch(AddressChange::REMOVE, interface_name, host, blocks), true);
    interface_name.clear();
}

} // namespace simulator
