// Keeps a settings file that can't be the program's own from holding up the start.
#pragma once

#include <QString>

// Where QSettings keeps the program's settings; the file itself is not read.
QString settings_path();

// False when something else than a file stands there: reading a pipe would never end.
bool are_settings_usable();

// Gives a settings file of more than 16 MiB another name, with ".too-large" at its end. Reading it
// would take seconds and memory many times its size. What can't be renamed stays.
void set_huge_settings_aside();
