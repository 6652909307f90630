// CRC-32 of datagrams and firmware images.
#include "link/crc32.h"

uint32_t crc32(uint32_t seed, const uint8_t *data, size_t size)
{
    uint32_t remainder = ~seed;
    for (size_t i = 0; i < size; ++i) {
        remainder ^= data[i];
        for (int bit = 0; bit < 8; ++bit)
            remainder = (remainder >> 1) ^ ((remainder & 1) ? 0xEDB88320U : 0U);
    }
    return ~remainder;
}
