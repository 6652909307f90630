// The program's own pictures, sharp at every scale factor.
#pragma once

#include <QIcon>
#include <QPixmap>

// The icon of every window, in all sizes that desktops ask for.
QIcon program_icon();

// The wide picture of splash screen and About box, `width` points wide; 0 takes its own width.
QPixmap wide_picture(int width, qreal device_pixel_ratio);
