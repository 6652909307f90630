// The one assertion of the program. It guards our own faults only, and stays in release builds.
#pragma once

// Ends the process after printing the source unit and the expression to standard error.
[[noreturn]] void fatal_assertion_failed(const char *source, const char *expression);

// `source` names the unit in the message, `expression` is printed as it stands in the code.
#define FATAL_ASSERT(source, expression)                                                           \
    do {                                                                                           \
        if (!(expression))                                                                         \
            fatal_assertion_failed(source, #expression);                                           \
    } while (false)
