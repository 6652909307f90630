// The program's own pictures, sharp at every scale factor.
#include "gui/program_pictures.h"

#include <cmath>

QIcon program_icon()
{
    QIcon icon;
    for (const int size : {16, 22, 24, 32, 48, 64, 128, 256, 512})
        icon.addFile(QString(":/icons/window/%1.png").arg(size));
    return icon;
}

QPixmap wide_picture(int width, qreal device_pixel_ratio)
{
    const QPixmap plain(":/icons/VELMARK.png");
    const int points = width > 0 ? width : plain.width();
    const int pixels = static_cast<int>(std::lround(points * device_pixel_ratio));
    if (pixels == plain.width())
        return plain;
    QPixmap picture = pixels > plain.width() ? QPixmap(":/icons/VELMARK@2x.png") : plain;
    if (picture.width() != pixels)
        picture = picture.scaledToWidth(pixels, Qt::SmoothTransformation);
    picture.setDevicePixelRatio(device_pixel_ratio);
    return picture;
}
