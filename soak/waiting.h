// Lets the program run until something is so.
#pragma once

#include <functional>

// Runs the event loop until the condition holds or `timeout` ms have passed; whether it held.
bool await(const std::function<bool()> &condition, int timeout);

// Runs it for so long.
void rest(int ms);
