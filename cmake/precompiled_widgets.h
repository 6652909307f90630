// Read once for all files with widgets: only speeds the build up, every file includes what it uses.
#include "precompiled_core.h"

#include <QtGui>
#include <QtWidgets>
