// The addresses that the fleet has added to an interface; they go with this object.
#pragma once

#include "simulator/address_range.h"

#include <QString>

#include <cstdint>
#include <vector>

namespace simulator {

class OwnAddresses
{
public:
    OwnAddresses() = default;
    ~OwnAddresses();
    OwnAddresses(const OwnAddresses &) = delete;
    OwnAddresses &operator=(const OwnAddresses &) = delete;

    // Gives the interface these addresses, and an address in their network (the first of them) if
    // it has none there. Returns what went wrong.
    QString add(const QString &interface, const std::vector<uint32_t> &addresses,
                int prefix_length);
    // One more, while running. Nothing happens before add().
    QString add_one(uint32_t address);
    void remove_all();

private:
    QString interface_name = {};
    AddressBlock host = {};
    std::vector<AddressBlock> blocks = {};
};

} // namespace simulator
