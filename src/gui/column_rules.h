// Which columns the device list has, which show at first, and what they sort by.
#pragma once

#include <QHostAddress>
#include <QStringList>

#include <string>
#include <vector>

struct ListColumn
{
    std::string id = {};
    QString name = {};  // caption
    QString group = {}; // the heading that the property stands under in the panel; may be empty
    QString title = {}; // the caption, behind its group where several columns have the same ("User
                        // EQ 2: Gain")
};

// One column per key that some product has with a value, in the order of property_keys, then
// "meter", "ip" and "status".
std::vector<ListColumn> list_columns();

// The columns that show before the operator has chosen: for each default caption the first match.
std::vector<int> default_columns(const QStringList &names);

// The sort key of the product column. KEPT: by order number first (negative ones before all
// others), then by the IPv4 address as a number.
qint64 product_sort_key(int order, const QHostAddress &address);
