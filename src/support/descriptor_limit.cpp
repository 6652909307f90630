// How many sockets and files this program may hold open at once.
#include "support/descriptor_limit.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr rlim_t RESERVE = 32; // descriptors

} // namespace

void raise_descriptor_limit()
{
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == limit.rlim_max)
        return;
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

// The system gives the lowest number that is free, so a high one tells that few are left.
bool has_spare_descriptor()
{
    rlimit limit{};
    const int probe = open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (probe < 0)
        return false;
    close(probe);
    return getrlimit(RLIMIT_NOFILE, &limit) == 0
        && static_cast<rlim_t>(probe) + RESERVE < limit.rlim_cur;
}
