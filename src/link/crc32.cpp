// CRC-32 of datagrams and firmware images.
#include "link/crc32.h"

#include <zlib.h>

uint32_t crc32(uint32_t seed, const uint8_t *data, size_t size)
{
    // The library answers a null pointer with 0, whatever the seed.
    return size == 0 ? seed : static_cast<uint32_t>(crc32_z(seed, data, size));
}
