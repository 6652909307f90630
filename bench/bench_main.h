// The main function of benchmarks with a window: a network of their own, then the bench, then its
// verdict.
#pragma once

#include "bench_window.h"
#include "limit.h"

// `run` takes whether the run is to be a short one, and the other arguments.
template<typename Run>
int bench_main(int argc, char **argv, Run run)
{
    const bool is_short = is_short_run(argc, argv);
    start_bench_process();
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    register_resources();
    build_catalogue();
    QStringList arguments = QApplication::arguments().mid(1);
    arguments.removeAll("--short");
    run(is_short, arguments);
    return bench_result();
}
