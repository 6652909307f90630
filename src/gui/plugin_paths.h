// Keeps other people's code out of a program that was given a right.
#pragma once

// True when the kernel has given this process rights that its caller need not have, as that to low
// ports by a capability of the file.
bool has_rights_of_its_own();

// Forgets where the caller wants plug-ins to be taken from: the toolkit would load them, and they
// could do what this program may. Before the toolkit starts. Returns the arguments' new number.
int forget_plugin_paths(int argc, char **argv);
