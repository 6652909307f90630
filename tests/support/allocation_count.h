// Counts what the program allocates, so that "this allocates nothing" is checked and not hoped. It
// replaces the program's operator new: for one source file of a program only.
#pragma once

#include <cstdlib>
#include <new>

// Of this thread: the test harness has one of its own. The compiler believes that operator new
// changes no variable.
inline thread_local volatile size_t allocations = 0;

void *operator new(size_t size)
{
    allocations = allocations + 1;
    if (void *memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}

// The sanitizers want what is freed here to come from here: sorting allocates by this one.
void *operator new(size_t size, const std::nothrow_t &) noexcept
{
    allocations = allocations + 1;
    return std::malloc(size);
}

void operator delete(void *memory) noexcept
{
    std::free(memory);
}

void operator delete(void *memory, size_t) noexcept
{
    std::free(memory);
}
