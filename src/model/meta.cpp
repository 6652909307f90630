// Builds the catalogue: which properties each product has, and their bounds and choices.
#include "model/meta.h"

#include "support/fatal_assert.h"

#include <algorithm>
#include <utility>

bool PropertyDesc::same_editor(const PropertyDesc &other) const
{
    return key == other.key && path == other.path && label == other.label && kind == other.kind
        && min == other.min && max == other.max && unit == other.unit && decimals == other.decimals
        && choices == other.choices && user_value == other.user_value;
}

namespace {

std::string joined_path(const std::vector<std::string> &path)
{
    std::string key;
    for (const std::string &component : path)
        key += key.empty() ? component : "/" + component;
    return key;
}

std::vector<PropertyChoice> product_choices(const std::vector<ProductDesc> &products)
{
    std::vector<PropertyChoice> choices;
    for (const ProductDesc &product : products)
        choices.push_back({.value = product.product_id, .label = product.name, .data = {}});
    return choices;
}

void fill_from_product(PropertyDesc &desc, const ProductDesc &product,
                       const std::vector<ProductDesc> &products)
{
    if (desc.key == "dsp/bank")
        desc.max = highest_bank(product.preset_names.size());
    if (desc.key == "product_id") {
        const std::vector<PropertyChoice> choices = product_choices(products);
        desc.choices.insert(desc.choices.end(), choices.begin(), choices.end());
        // Only a device that has no product yet may be given one.
        if (product.product_id != 0)
            desc.flags |= PF_READONLY;
    }
}

void check_presets(const ProductDesc *desc)
{
    for (const std::vector<std::string> &list : desc->preset_names)
        FATAL_ASSERT("meta.cpp", list.size() == desc->preset_names[0].size());
}

bool product_has(const ProductDesc &product, const PropertyDesc &desc)
{
    if (!std::includes(product.capabilities.begin(), product.capabilities.end(), desc.needs.begin(),
                       desc.needs.end()))
        return false;
    const bool per_channel = desc.flags & (PF_SOURCE_CHANNEL | PF_CHANNEL_LIST);
    return !per_channel || desc.user_value.toInt() < product.channels;
}

// Channels are numbered from 0 and shown from 1; a channel count's value is the number shown.
void append_channel_choices(PropertyDesc &desc, const ProductDesc &product)
{
    const bool is_count = desc.key == "stream_tx/channel_count";
    if (!is_count && !(desc.flags & PF_CHANNEL_LIST))
        return;
    for (int channel = 0; channel < product.channels; ++channel)
        desc.choices.push_back({.value = is_count ? channel + 1 : channel,
                                .label = std::to_string(channel + 1),
                                .data = {}});
}

// Whatever any product may have, each with its key.
std::vector<PropertyDesc> all_properties(const std::vector<PropertyDesc> &generic_properties)
{
    std::vector<PropertyDesc> descs = generic_properties;
    for (PropertyDesc &desc : make_eq_properties())
        descs.push_back(std::move(desc));
    for (PropertyDesc &desc : descs)
        if (desc.key.empty())
            desc.key = joined_path(desc.path);
    return descs;
}

std::vector<std::string> keys_of(const std::vector<PropertyDesc> &descs)
{
    std::vector<std::string> keys;
    for (const PropertyDesc &desc : descs)
        if (std::find(keys.begin(), keys.end(), desc.key) == keys.end())
            keys.push_back(desc.key);
    return keys;
}

PropertyMap make_properties(const ProductDesc &product, const std::vector<PropertyDesc> &descs,
                            const std::vector<ProductDesc> &products)
{
    check_presets(&product);
    PropertyMap properties;
    for (const PropertyDesc &general : descs) {
        if (!product_has(product, general))
            continue;
        // A copy for each product: choices appended for one must not reach the next.
        PropertyDesc desc = general;
        fill_from_product(desc, product, products);
        append_channel_choices(desc, product);
        if (desc.path != std::vector<std::string>{"product_id"})
            desc.flags |= PF_FOLLOWS_PRODUCT;
        properties.insert_or_assign(general.key, std::move(desc));
    }
    return properties;
}

Catalogue make_catalogue()
{
    Catalogue made{.generic_properties = make_generic_properties(),
                   .product_table = make_product_table()};
    const std::vector<PropertyDesc> descs = all_properties(made.generic_properties);
    made.property_keys = keys_of(descs);
    for (ProductDesc &product : made.product_table)
        product.properties = make_properties(product, descs, made.product_table);
    return made;
}

} // namespace

const Catalogue &catalogue()
{
    static const Catalogue made = make_catalogue();
    return made;
}

void build_catalogue()
{
    catalogue();
}

const ProductDesc &find_product(int32_t id)
{
    for (const ProductDesc &product : catalogue().product_table)
        if (product.product_id == id)
            return product;
    return catalogue().product_table.front();
}

// KEPT: 2 without any bank, though every product with a DSP has banks.
double highest_bank(size_t banks)
{
    return banks < 1 ? 2.0 : static_cast<double>(banks);
}

uint32_t stale_mask(uint32_t flags)
{
    uint32_t mask = 0;
    if (flags & PF_DRIVES_PRESETS)
        mask |= PF_FOLLOWS_BANK;
    if (flags & PF_DRIVES_CHANNELS)
        mask |= PF_FOLLOWS_STREAM;
    if (flags & PF_DRIVES_ALL)
        mask |= PF_FOLLOWS_PRODUCT;
    return mask;
}
