// How the list's columns share its width.
#include "gui/column_shares.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <numeric>

namespace {

// What the last column asks for grows in steps: a status that counts percents would else move all
// columns with each of them.
constexpr int STEP = 16; // pixels

int sum(const std::vector<int> &widths)
{
    return std::accumulate(widths.begin(), widths.end(), 0);
}

// Between `wanted` and `least`, each column the same share of what it can do without.
std::vector<int> shrunk(std::vector<int> wanted, const std::vector<int> &least, int room)
{
    const int64_t shortage = sum(wanted) - room;
    const int64_t spare = std::max(1, sum(wanted) - sum(least));
    for (size_t i = 0; i < wanted.size(); ++i) {
        const int64_t part = (wanted[i] - least[i]) * shortage;
        wanted[i] -= static_cast<int>((part + spare - 1) / spare);
    }
    return wanted;
}

std::vector<int> widths_for(const std::vector<ColumnNeed> &needs, int room,
                            const LeastWidths &least)
{
    std::vector<int> whole;
    std::vector<int> short_captions;
    std::vector<int> short_contents;
    for (const ColumnNeed &need : needs) {
        whole.push_back(std::max(need.caption, need.contents));
        short_captions.push_back(std::max(std::min(need.caption, least.caption), need.contents));
        const int readable
            = std::max(least.contents, need.picture > 0 ? need.picture + least.caption : 0);
        short_contents.push_back(std::min(short_captions.back(), readable));
    }
    if (sum(whole) <= room)
        return whole;
    const int last = (short_captions.back() + STEP - 1) / STEP * STEP;
    short_captions.back() = last;
    short_contents.back() = last;
    whole.back() = std::max(whole.back(), last);
    if (sum(short_captions) <= room)
        return shrunk(whole, short_captions, room);
    if (sum(short_contents) <= room)
        return shrunk(short_captions, short_contents, room);
    short_contents.back() = std::min(last, least.last);
    if (sum(short_contents) <= room)
        return short_contents;
    return whole;
}

} // namespace

std::vector<int> share_width(const std::vector<ColumnNeed> &needs, int room,
                             const LeastWidths &least)
{
    if (needs.empty())
        return {};
    std::vector<int> widths = widths_for(needs, room, least);
    widths.back() += std::max(0, room - sum(widths));
    return widths;
}
