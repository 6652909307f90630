// How many datagrams one turn of the event loop takes.
#pragma once

#include <cstdint>

// KEPT: a burst of a thousand reports is taken in slices of this length, so that the window goes on
// painting; what is left comes in the next slice.
constexpr int64_t LONGEST_DRAIN = 8; // ms
// On a computer with other work those 8 ms may pass between two datagrams: so many are taken all
// the same, or painting would get all the time that there is...
constexpr int SMALLEST_DRAIN = 64;
// ...but not when it is the datagrams that take the time: a few of 60 KB can cost more than a
// thousand of the usual ones.
constexpr int64_t DEAREST_DRAIN = 20; // ms of CPU time

// Whether a slice that has taken so many datagrams goes on. `cpu_time` is asked for only when it
// counts: it costs a call of the system.
template<typename CpuTime>
bool slice_goes_on(int taken, int64_t elapsed, CpuTime cpu_time)
{
    return elapsed < LONGEST_DRAIN || (taken < SMALLEST_DRAIN && cpu_time() < DEAREST_DRAIN);
}
