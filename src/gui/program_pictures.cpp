// The program's own pictures, sharp at every scale factor.
#include "gui/program_pictures.h"

#include <QIconEngine>
#include <QPainter>

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr std::array<int, 9> ICON_SIZES{16, 22, 24, 32, 48, 64, 128, 256, 512};

// The toolkit's own engine reads the files of all sizes at once: a quarter of what starting takes,
// where no desktop asks for more than one or two.
class WindowIconEngine : public QIconEngine
{
public:
    QIconEngine *clone() const override { return new WindowIconEngine(*this); }

    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) const override
    {
        QList<QSize> sizes;
        for (const int size : ICON_SIZES)
            sizes.append(QSize(size, size));
        return sizes;
    }

    QSize actualSize(const QSize &size, QIcon::Mode, QIcon::State) override
    {
        const int side = std::min({size.width(), size.height(), ICON_SIZES.back()});
        return {side, side};
    }

    // The smallest that is large enough, scaled down.
    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        const int side = actualSize(size, mode, state).width();
        const auto *fitting = std::lower_bound(ICON_SIZES.begin(), ICON_SIZES.end(), side);
        const QPixmap picture(QString(":/icons/window/%1.png").arg(*fitting));
        return side == *fitting ? picture : picture.scaledToWidth(side, Qt::SmoothTransformation);
    }

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override
    {
        const qreal ratio = painter->device()->devicePixelRatioF();
        painter->drawPixmap(rect, pixmap(rect.size() * ratio, mode, state));
    }
};

} // namespace

QIcon program_icon()
{
    return QIcon(new WindowIconEngine);
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
