// CRC-32 of datagrams and firmware images.
#pragma once

#include <cstddef>
#include <cstdint>

// Reflected CRC-32 with polynomial EDB88320 (ISO 3309), bit by bit: datagrams are short.
// Seed 0 starts a checksum, an earlier result as seed continues it. With size 0 the seed comes
// back, and `data` may then be null.
uint32_t crc32(uint32_t seed, const uint8_t *data, size_t size);
