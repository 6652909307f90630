// Which columns the device list has.
#include "gui/column_rules.h"

#include "model/meta.h"

#include <algorithm>

namespace {

// The first product's descriptor of this key that carries a value; null when there is none.
const PropertyDesc *first_with_value(const std::string &key)
{
    for (const ProductDesc &product : catalogue().product_table) {
        const auto found = product.properties.find(key);
        if (found != product.properties.end() && found->second.kind != PROP_DUMMY)
            return &found->second;
    }
    return nullptr;
}

// The caption of a heading in the panel; empty when the key is none.
QString heading(const std::string &key)
{
    for (const ProductDesc &product : catalogue().product_table) {
        const auto found = product.properties.find(key);
        if (found != product.properties.end() && found->second.kind == PROP_DUMMY)
            return QString::fromStdString(found->second.label);
    }
    return {};
}

void set_titles(std::vector<ListColumn> &columns)
{
    for (ListColumn &column : columns) {
        const auto has_its_name
            = [&column](const ListColumn &other) { return other.name == column.name; };
        const bool is_alone = std::count_if(columns.begin(), columns.end(), has_its_name) == 1;
        column.title
            = is_alone || column.group.isEmpty() ? column.name : column.group + ": " + column.name;
    }
}

} // namespace

std::vector<ListColumn> list_columns()
{
    std::vector<ListColumn> columns;
    QString group;
    for (const std::string &key : catalogue().property_keys) {
        if (const QString headline = heading(key); !headline.isEmpty())
            group = headline;
        if (const PropertyDesc *desc = first_with_value(key))
            columns.push_back(
                {.id = key, .name = QString::fromStdString(desc->label), .group = group});
    }
    columns.push_back({.id = "meter", .name = "Metering"});
    columns.push_back({.id = "ip", .name = "IP"});
    columns.push_back({.id = "status", .name = "Status"});
    set_titles(columns);
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
