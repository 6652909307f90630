// The words of the status bar.
#pragma once

#include <QString>

struct DeviceCounts
{
    int devices = 0;
    int online = 0;
    int selected = 0; // without those that the search hides
    int hidden = 0;   // by the search

    bool operator==(const DeviceCounts &) const = default;
};

// "60 devices, 58 online, 12 selected, 6 hidden by the search"; the last two only where they apply.
QString counts_text(const DeviceCounts &counts);

// "Editing 12 devices. Nothing is sent before Confirm.", and how many rows the panel leaves out
// because only some of the devices have them.
QString editing_text(int devices, int unshared);

// What came of a Confirm: for how many of the devices, and whether any had something to be changed.
QString confirmed_text(int sent, int devices, bool has_changes);

QString identify_text(int devices);
QString purge_text(int devices);
QString second_copy_text();
