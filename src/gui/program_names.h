// The names under which the program keeps its settings and shows itself, and in how many pixels.
#pragma once

// Organisation, domain, application name and version, and that a screen of high resolution gets all
// of its pixels. Before the application object exists.
void set_program_names();

// Makes the pictures and the firmware image of the libraries findable: a static library's
// resources do not register themselves.
void register_resources();
