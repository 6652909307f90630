// How well text can be read in a picture, and the palettes of light and dark desktops.
#pragma once

#include <QColor>
#include <QHash>
#include <QImage>
#include <QPalette>

#include <algorithm>
#include <array>
#include <cmath>

// Of each value of a channel, for pictures have many pixels.
inline std::array<double, 256> make_linear_channels()
{
    std::array<double, 256> channels{};
    for (size_t i = 0; i < channels.size(); ++i) {
        const double value = static_cast<double>(i) / 255.0;
        channels[i] = value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    }
    return channels;
}

// Relative luminance from 0 to 1 (WCAG 2.1).
inline double luminance(QRgb colour)
{
    static const std::array<double, 256> linear = make_linear_channels();
    return 0.2126 * linear[size_t(qRed(colour))] + 0.7152 * linear[size_t(qGreen(colour))]
        + 0.0722 * linear[size_t(qBlue(colour))];
}

// From 1, the same, to 21, black on white. WCAG asks for 4.5 for text.
inline double contrast(QRgb one, QRgb other)
{
    const double brighter = std::max(luminance(one), luminance(other));
    const double darker = std::min(luminance(one), luminance(other));
    return (brighter + 0.05) / (darker + 0.05);
}

// The colour that most of the picture has.
inline QRgb ground_of(const QImage &image)
{
    QHash<QRgb, int> counts;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            ++counts[image.pixel(x, y)];
    QRgb ground = 0;
    for (auto it = counts.cbegin(); it != counts.cend(); ++it)
        if (it.value() > counts.value(ground))
            ground = it.key();
    return ground;
}

// Of the pixel that stands out most from the ground: a text's own, as its stems are a pixel wide.
inline double text_contrast(const QImage &image)
{
    const QRgb ground = ground_of(image);
    double most = 1;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            most = std::max(most, contrast(ground, image.pixel(x, y)));
    return most;
}

inline QPalette desktop_palette(bool is_dark)
{
    const QColor ground = is_dark ? QColor(49, 54, 59) : QColor(239, 240, 241);
    const QColor base = is_dark ? QColor(35, 38, 41) : QColor(252, 252, 252);
    const QColor text = is_dark ? QColor(239, 240, 241) : QColor(35, 38, 41);
    const QColor dim = is_dark ? QColor(130, 135, 140) : QColor(120, 124, 128);
    QPalette palette(text, ground, ground.lighter(150), ground.darker(150), ground.darker(120),
                     text, Qt::white, base, ground);
    palette.setColor(QPalette::Highlight, QColor(61, 174, 233));
    palette.setColor(QPalette::ToolTipBase, ground);
    palette.setColor(QPalette::ToolTipText, text);
    for (const QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, dim);
    return palette;
}
