// Changes firmware images and gives their headers valid checksums again.
#include "firmware/firmware.h"
#include "link/crc32.h"

#include <algorithm>
#include <cstdint>

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t max_size);

namespace {

uint32_t u32_at(const uint8_t *bytes)
{
    return bytes[0] | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 | uint32_t{bytes[3]} << 24;
}

void put_u32(uint8_t *bytes, uint32_t value)
{
    for (int i = 0; i < 4; ++i)
        bytes[i] = static_cast<uint8_t>(value >> (8 * i));
}

// Gives every header that can be reached a valid checksum, those of nested images too: a mutation
// would else hardly ever get past the first one.
void seal_headers(uint8_t *data, size_t size, bool is_nested)
{
    size_t position = 0;
    while (size - position >= FIRMWARE_HEADER_SIZE) {
        uint8_t *const header = data + position;
        const size_t remaining = size - position - FIRMWARE_HEADER_SIZE;
        const size_t payload = std::min<size_t>(u32_at(header + 44), remaining);
        if (!is_nested && u32_at(header + 48) == FIRMWARE_CHUNK_MARKER)
            seal_headers(header + FIRMWARE_HEADER_SIZE, payload, true);
        put_u32(header + 4, 0);
        put_u32(header + 4, crc32(0, header, FIRMWARE_HEADER_SIZE));
        position += FIRMWARE_HEADER_SIZE + payload;
    }
}

} // namespace

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t max_size,
                                          unsigned seed)
{
    const size_t mutated = LLVMFuzzerMutate(data, size, max_size);
    if (seed % 8 != 0) // the rest keeps what the mutation broke
        seal_headers(data, mutated, false);
    return mutated;
}
