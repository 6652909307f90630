// What a device checks of a firmware image before it flashes it.
#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>

namespace simulator {

// Why a device of this module type refuses the image; empty when it accepts it. Only the first
// section's header is looked at, and that its payload is all there.
QString image_error(const QByteArray &image, uint32_t fw_magic);

// The version text in the first section's header; empty when the image is too short for one.
QString image_version(const QByteArray &image);

} // namespace simulator
