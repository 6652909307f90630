// Work that is due at a later time, in order of time. Time comes in as a parameter, in µs.
#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <vector>

namespace simulator {

class Schedule
{
public:
    static constexpr int64_t NEVER = std::numeric_limits<int64_t>::max();

    // Work with equal times runs in the order in which it was added.
    void at(int64_t due, std::function<void()> work);
    // Runs what is due. Work that is added meanwhile waits for the next call, even when it is due:
    // otherwise work that renews itself would never end.
    void run_due(int64_t now);
    // When the next work is due; NEVER when there is none.
    int64_t next_due() const;

private:
    struct Entry
    {
        int64_t due = 0;
        uint64_t order = 0;
        std::function<void()> work = {};
    };
    static bool is_later(const Entry &left, const Entry &right);
    Entry take_first();

    std::vector<Entry> heap = {};
    uint64_t next_order = 0;
};

} // namespace simulator
