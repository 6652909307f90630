// CPU time of a piece of work: what benchmarks print, since wall time on shared machines is noise.
#pragma once

#include <ctime>

// CPU seconds that this process has used in all its threads.
inline double cpu_seconds()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

// CPU microseconds of one run of `work`, averaged over `repeats` runs.
template<typename Work>
double cpu_microseconds(int repeats, Work work)
{
    const double start = cpu_seconds();
    for (int i = 0; i < repeats; ++i)
        work();
    return (cpu_seconds() - start) * 1e6 / repeats;
}
