// Keeps other people's code out of a program that was given a right.
#include "gui/plugin_paths.h"

#include <array>
#include <cstdlib>
#include <string_view>
#include <sys/auxv.h>

namespace {

// The toolkit's own, and those of the library whose look it may take over.
constexpr std::array VARIABLES
    = {"QT_PLUGIN_PATH",   "QT_QPA_PLATFORM_PLUGIN_PATH", "GTK_MODULES",
       "GTK_PATH",         "GDK_PIXBUF_MODULE_FILE",      "GIO_MODULE_DIR",
       "GIO_EXTRA_MODULES"};

// The toolkit takes it with one dash or two.
bool names_plugin_path(std::string_view argument)
{
    return argument == "-platformpluginpath" || argument == "--platformpluginpath";
}

} // namespace

bool has_rights_of_its_own()
{
    return getauxval(AT_SECURE) != 0;
}

int forget_plugin_paths(int argc, char **argv)
{
    for (const char *variable : VARIABLES)
        unsetenv(variable);
    int kept = 0;
    for (int i = 0; i < argc; ++i) {
        if (i > 0 && names_plugin_path(argv[i]))
            ++i; // the path goes with it
        else
            argv[kept++] = argv[i];
    }
    argv[kept] = nullptr;
    return kept;
}
