// A network of its own for one test program: nothing reaches it, and every port may be bound.
#pragma once

#include <string>

// Moves the whole process into a fresh network namespace whose only interface is the loopback, up,
// with all of 127.0.0.0/8 usable and ports below 1024 bindable. Works for root and, where the
// kernel lets ordinary users have user namespaces, for everyone. Call it first in main, before Qt
// starts a thread: a process with threads can't enter a user namespace.
// False when the kernel refuses; `reason` then names the call and its error.
bool enter_private_network(std::string *reason);
