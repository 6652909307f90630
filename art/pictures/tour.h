// A tour through the window as it fills the screen: what is looked at before a release.
#pragma once

#include <QString>

// Saves a picture of the whole screen for each stop, FOLDER/NAME.png.
void take_tour(const QString &folder);

// The one stop that wants another fleet.
void take_assistant(const QString &folder);
