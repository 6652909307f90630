// Limits beside figures: a figure that misses its limit by more than noise makes a benchmark fail.
#pragma once

#include <cmath>
#include <cstdio>
#include <cstring>

// By how much a limit may be missed: by a quarter. Set to twice for short runs, which other work on
// the machine may disturb.
inline double bench_noise = 1.25;
inline int bench_misses = 0;

constexpr double SHORT_RUN_NOISE = 2;

// Call it first: `--short` among the arguments asks for a run of some seconds.
inline bool is_short_run(int argc, char **argv)
{
    for (int i = 1; i < argc; ++i)
        if (std::strcmp(argv[i], "--short") == 0) {
            bench_noise = SHORT_RUN_NOISE;
            return true;
        }
    return false;
}

// What main returns.
inline int bench_result()
{
    if (bench_misses > 0)
        std::printf("%d limits missed by more than a factor of %g\n", bench_misses, bench_noise);
    return bench_misses > 0 ? 1 : 0;
}

// Prints "  WHAT | VALUE UNIT [BESIDE] | at most LIMIT | VERDICT": scripts/measure_performance.sh
// makes a row of it.
inline void judge(const char *what, double value, const char *unit, const char *beside,
                  const char *limit, bool is_met, bool is_near)
{
    const char *verdict = is_met ? "kept" : is_near ? "missed, within noise" : "MISSED";
    bench_misses += !is_met && !is_near;
    std::printf("  %s | %.4g %s%s | %s | %s\n", what, value, unit, beside, limit, verdict);
    std::fflush(stdout);
}

// A figure that is no number meets no limit, hence the comparisons this way round.
inline void at_most(const char *what, double value, const char *unit, double limit,
                    const char *beside = "")
{
    char text[64];
    std::snprintf(text, sizeof text, "at most %g", limit);
    judge(what, value, unit, beside, text, value <= limit, value <= limit * bench_noise);
}

inline void at_least(const char *what, double value, const char *unit, double limit,
                     const char *beside = "")
{
    char text[64];
    std::snprintf(text, sizeof text, "at least %g", limit);
    const bool is_figure = std::isfinite(value); // a division by nothing is more than any limit
    judge(what, value, unit, beside, text, is_figure && value >= limit,
          is_figure && value >= limit / bench_noise);
}

// A figure as a multiple of a reference that was measured in the same run.
inline void at_most_times(const char *what, double value, const char *unit, double reference,
                          const char *reference_name, double limit)
{
    char beside[160];
    std::snprintf(beside, sizeof beside, " %s (%.4g %s against %.4g)", reference_name, value, unit,
                  reference);
    at_most(what, value / reference, "x", limit, beside);
}

// What must be so whatever the machine does: noise excuses nothing.
inline void must_hold(const char *what, bool is_so)
{
    judge(what, is_so ? 1 : 0, "", "", "must hold", is_so, false);
}

// A figure that nothing was promised of.
inline void tell(const char *what, double value, const char *unit, const char *beside = "")
{
    std::printf("  %s | %.4g %s%s | - | -\n", what, value, unit, beside);
    std::fflush(stdout);
}
