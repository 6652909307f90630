// Which addresses a fleet uses, and the commands that give them to an interface.
#pragma once

#include "simulator/device_plan.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <vector>

namespace simulator {

struct AddressBlock
{
    uint32_t address = 0; // host order
    int prefix_length = 32;

    bool operator==(const AddressBlock &other) const = default;
};

// Gives every plan without an address the next one from `first` on that no other plan has. Returns
// what is wrong: the addresses ran over the end.
QString assign_addresses(std::vector<DevicePlan> &plans, uint32_t first);

// The fewest blocks that hold exactly these addresses, in order.
std::vector<AddressBlock> cover_addresses(std::vector<uint32_t> addresses);

// "10.71.0.8/29"
QString block_text(const AddressBlock &block);

// The broadcast address of the network that `address` lies in.
uint32_t broadcast_address(uint32_t address, int prefix_length);

// Lines for "ip -batch -", which add or remove. `host` is an address of the interface's own, with
// its network's prefix; its `address` is 0 when the interface has one already. The blocks become
// local routes: a few lines stand for thousands of addresses.
enum class AddressChange
{
    ADD,
    REMOVE
};
QByteArray address_batch(AddressChange change, const QString &interface, const AddressBlock &host,
                         const std::vector<AddressBlock> &blocks);

} // namespace simulator
