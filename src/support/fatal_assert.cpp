// Ends the program at a programming fault.
#include "support/fatal_assert.h"

#include <cstdio>
#include <cstdlib>

void fatal_assertion_failed(const char *source, const char *expression)
{
    std::fprintf(stderr, "%s: assertion failed: %s\n", source, expression);
    std::fflush(stderr);
    std::abort();
}
