// Signals as a test expects them, whoever started it.
#pragma once

#include <csignal>

// Some may be ignored from before, as nohup does, and programs that the test starts would leave
// them so.
inline void restore_default_signals()
{
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        std::signal(signal, SIG_DFL);
}
