// A network of its own for one test program: nothing reaches it, and every port may be bound.
#include "support/private_network.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

bool refused(std::string *reason, const std::string &call)
{
    *reason = call + ": " + std::strerror(errno);
    return false;
}

bool write_file(const char *path, const std::string &text)
{
    const int file = open(path, O_WRONLY | O_CLOEXEC);
    if (file < 0)
        return false;
    const bool is_written = write(file, text.data(), text.size()) == ssize_t(text.size());
    close(file);
    return is_written;
}

// Without these maps the process would be nobody, and unable to open its own files.
bool map_identity_to_root(uid_t user, gid_t group, std::string *reason)
{
    if (!write_file("/proc/self/setgroups", "deny") && errno != ENOENT)
        return refused(reason, "/proc/self/setgroups");
    if (!write_file("/proc/self/uid_map", "0 " + std::to_string(user) + " 1"))
        return refused(reason, "/proc/self/uid_map");
    if (!write_file("/proc/self/gid_map", "0 " + std::to_string(group) + " 1"))
        return refused(reason, "/proc/self/gid_map");
    return true;
}

bool enter_namespaces(std::string *reason)
{
    if (unshare(CLONE_NEWNET) == 0)
        return true;
    const uid_t user = geteuid();
    const gid_t group = getegid();
    if (unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0)
        return refused(reason, "unshare(CLONE_NEWUSER | CLONE_NEWNET)");
    return map_identity_to_root(user, group, reason);
}

bool bring_loopback_up(std::string *reason)
{
    const int control = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (control < 0)
        return refused(reason, "socket");
    ifreq request{};
    std::strcpy(request.ifr_name, "lo");
    request.ifr_flags = IFF_UP | IFF_RUNNING;
    const bool is_up
        = ioctl(control, SIOCSIFFLAGS, &request) == 0 || refused(reason, "SIOCSIFFLAGS on lo");
    close(control);
    return is_up;
}

} // namespace

bool enter_private_network(std::string *reason)
{
    return enter_namespaces(reason) && bring_loopback_up(reason);
}
