// Makes the objects that the curve view shows from the bands that the panel's rows describe.
#include "eq/filter_list.h"

#include "eq/filter.h"

#include <algorithm>

namespace {

Filter *new_filter(int number, EqBandType type)
{
    switch (type) {
    case EQ_NONE:
        return nullptr;
    case EQ_LSHELF:
        return new FilterShelf(number, false);
    case EQ_PEQ:
    case EQ_PEQ2:
        return new FilterPEQ(number, nullptr);
    case EQ_HSHELF:
        return new FilterShelf(number, true);
    }
    return nullptr;
}

bool same_filter(const Filter *left, const Filter *right)
{
    FilterParams left_params;
    FilterParams right_params;
    left->get_params(left_params);
    right->get_params(right_params);
    return left->number == right->number && left->type_name() == right->type_name()
        && same_params(left_params, right_params);
}

} // namespace

QList<Filter *> make_filters(const std::vector<EqBand> &bands)
{
    QList<Filter *> filters;
    for (const EqBand &band : bands) {
        Filter *filter = new_filter(band.number, band.type);
        if (!filter)
            continue;
        filter->set_variant(band.type == EQ_PEQ2); // before the parameters: the design reads it
        filter->set_params(band.params);
        filters.append(filter);
    }
    return filters;
}

bool same_filters(const QList<Filter *> &left, const QList<Filter *> &right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), same_filter);
}
