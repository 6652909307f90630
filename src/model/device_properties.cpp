// The properties of one device: those of its product, and its own where they differ.
#include "model/device_properties.h"

#include <stdexcept>

const PropertyMap DeviceProperties::NONE = {};

DeviceProperties &DeviceProperties::operator=(const PropertyMap &product)
{
    all = &product;
    differing.clear();
    whole.reset();
    return *this;
}

const PropertyDesc &DeviceProperties::at(const std::string &key) const
{
    const const_iterator found = find(key);
    if (found == end())
        throw std::out_of_range(key);
    return found->second;
}

PropertyDesc &DeviceProperties::own(const std::string &key)
{
    const auto place = all->find(key);
    if (whole || place == all->end()) {
        leave_product();
        return (*whole)[key];
    }
    for (const OwnEntry &entry : differing)
        if (entry.instead_of == &*place)
            return entry.entry->second;
    differing.push_back({.instead_of = &*place, .entry = std::make_unique<Entry>(*place)});
    return differing.back().entry->second;
}

void DeviceProperties::erase(const std::string &key)
{
    leave_product();
    whole->erase(key);
}

void DeviceProperties::leave_product()
{
    if (whole)
        return;
    auto copy = std::make_unique<PropertyMap>(begin(), end());
    all = copy.get();
    whole = std::move(copy);
    differing.clear();
}
