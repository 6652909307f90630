// Work that is due at a later time, in order of time.
#include "simulator/schedule.h"

#include <algorithm>
#include <utility>

namespace simulator {

bool Schedule::is_later(const Entry &left, const Entry &right)
{
    if (left.due != right.due)
        return left.due > right.due;
    return left.order > right.order;
}

void Schedule::at(int64_t due, std::function<void()> work)
{
    heap.push_back({.due = due, .order = next_order++, .work = std::move(work)});
    std::push_heap(heap.begin(), heap.end(), is_later);
}

Schedule::Entry Schedule::take_first()
{
    std::pop_heap(heap.begin(), heap.end(), is_later);
    Entry first = std::move(heap.back());
    heap.pop_back();
    return first;
}

void Schedule::run_due(int64_t now)
{
    const uint64_t end = next_order;
    std::vector<Entry> added_meanwhile;
    while (!heap.empty() && heap.front().due <= now) {
        Entry first = take_first();
        if (first.order >= end)
            added_meanwhile.push_back(std::move(first));
        else
            first.work();
    }
    for (Entry &entry : added_meanwhile) {
        heap.push_back(std::move(entry));
        std::push_heap(heap.begin(), heap.end(), is_later);
    }
}

int64_t Schedule::next_due() const
{
    return heap.empty() ? NEVER : heap.front().due;
}

} // namespace simulator
