// Which addresses a fleet uses, and the commands that give them to an interface.
#include "simulator/address_range.h"

#include <QHostAddress>

#include <algorithm>
#include <set>

namespace simulator {

namespace {

uint32_t block_size(int prefix_length)
{
    return uint32_t{1} << (32 - prefix_length);
}

// The largest block that starts at `address` and ends within the run of `left` addresses.
AddressBlock largest_block(uint32_t address, uint32_t left)
{
    int prefix_length = 32;
    while (prefix_length > 1) {
        const uint32_t doubled = block_size(prefix_length - 1);
        if (address % doubled != 0 || doubled > left)
            break;
        --prefix_length;
    }
    return {.address = address, .prefix_length = prefix_length};
}

uint32_t run_length(const std::vector<uint32_t> &addresses, size_t start)
{
    size_t end = start + 1;
    while (end < addresses.size() && addresses[end] == addresses[end - 1] + 1)
        ++end;
    return static_cast<uint32_t>(end - start);
}

} // namespace

QString assign_addresses(std::vector<DevicePlan> &plans, uint32_t first)
{
    std::set<uint32_t> taken;
    for (const DevicePlan &plan : plans)
        taken.insert(plan.address);
    uint64_t next = first;
    for (DevicePlan &plan : plans) {
        if (plan.address != 0)
            continue;
        while (taken.count(static_cast<uint32_t>(next)) > 0)
            ++next;
        if (next >= UINT32_MAX)
            return "the addresses run over 255.255.255.254";
        plan.address = static_cast<uint32_t>(next++);
    }
    return {};
}

std::vector<AddressBlock> cover_addresses(std::vector<uint32_t> addresses)
{
    std::sort(addresses.begin(), addresses.end());
    addresses.erase(std::unique(addresses.begin(), addresses.end()), addresses.end());
    std::vector<AddressBlock> blocks;
    size_t start = 0;
    while (start < addresses.size()) {
        const AddressBlock block = largest_block(addresses[start], run_length(addresses, start));
        blocks.push_back(block);
        start += block_size(block.prefix_length);
    }
    return blocks;
}

QString block_text(const AddressBlock &block)
{
    return QHostAddress(block.address).toString() + '/' + QString::number(block.prefix_length);
}

uint32_t broadcast_address(uint32_t address, int prefix_length)
{
    const uint32_t host_bits = prefix_length < 1 ? UINT32_MAX : block_size(prefix_length) - 1;
    return address | host_bits;
}

QByteArray address_batch(AddressChange change, const QString &interface, const AddressBlock &host,
                         const std::vector<AddressBlock> &blocks)
{
    const bool adds = change == AddressChange::ADD;
    QByteArray lines;
    if (host.address != 0 && adds)
        lines += QString("address replace %1 broadcast + dev %2\n")
                     .arg(block_text(host), interface)
                     .toUtf8();
    for (const AddressBlock &block : blocks)
        lines += QString("route %1 local %2 dev %3\n")
                     .arg(adds ? "replace" : "del", block_text(block), interface)
                     .toUtf8();
    // Last: with its only address an interface loses all its routes.
    if (host.address != 0 && !adds)
        lines += QString("address del %1 dev %2\n").arg(block_text(host), interface).toUtf8();
    return lines;
}

} // namespace simulator
