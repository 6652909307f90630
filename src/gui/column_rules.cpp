// Which columns the device list has.
#include "gui/column_rules.h"
#include "model/meta.h"

namespace {

// The first product's descriptor of this key that carries a value; null when there is none.
const PropertyDesc *first_with_value(const std::string &key)
{
    for (const ProductDesc &product : product_table) {
        const auto found = product.properties.find(key);
        if (found != product.properties.end() && found->second.kind != PROP_DUMMY)
            return &found->second;
    }
    return nullptr;
}

} // namespace

std::vector<ListColumn> list_columns()
{
    std::vector<ListColumn> columns;
    for (const std::string &key : property_keys)
        if (const PropertyDesc *desc = first_with_value(key))
            columns.push_back({.id = key, .name = QString::fromStdString(desc->label)});
    columns.push_back({.id = "meter", .name = "Metering"});
    columns.push_back({.id = "ip", .name = "IP"});
    columns.push_back({.id = "status", .name = "Status"});
    return columns;
}

std::vector<int> default_columns(const QStringList &names)
{
    std::vector<int> columns;
    for (const char *name :
         {"Product", "Name", "Location", "Metering", "IP", "AES67 Clock Status", "Status"}) {
        const int column = names.indexOf(name);
        if (column >= 0)
            columns.push_back(column);
    }
    return columns;
}

qint64 product_sort_key(int order, const QHostAddress &address)
{
    constexpr qint64 two_to_32 = qint64(1) << 32;
    // Multiplied, not shifted: shifting a negative order is undefined.
    return order * two_to_32 + static_cast<qint64>(address.toIPv4Address());
}
