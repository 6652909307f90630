// libFuzzer harness of the firmware image parser. See fuzz_firmware.sh.
#include "firmware/firmware.h"

#include "link/crc32.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t max_size);

namespace {

void expect(bool claim)
{
    if (!claim)
        std::abort();
}

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

// What is handed out must be an image by itself that starts with what was asked for.
void check_extract(const uint8_t *data, size_t size, uint32_t fw_magic)
{
    void *out = &out;
    int out_size = -1;
    const int code = firmware_extract(data, size, fw_magic, &out, &out_size);
    expect(code >= FIRMWARE_ERR_OK && code <= FIRMWARE_ERR_NO_DEVICE);
    expect((code == FIRMWARE_ERR_OK) == (out != nullptr));
    if (!out) {
        expect(out_size == 0);
        return;
    }
    const auto *const bytes = static_cast<const uint8_t *>(out);
    const auto length = static_cast<size_t>(out_size);
    expect(length >= FIRMWARE_HEADER_SIZE && length <= size);
    expect(u32_at(bytes) == fw_magic);
    int err = FIRMWARE_ERR_OK;
    FirmwareSection *const list = firmware_parse_sections(bytes, length, &err);
    expect(list && err == FIRMWARE_ERR_OK);
    std::free(list);
    std::free(out);
}

// The sections must lie behind one another without a gap and fill the input.
std::vector<uint32_t> check_sections(const uint8_t *data, const FirmwareSection *list, size_t size)
{
    std::vector<uint32_t> numbers;
    const uint8_t *expected = data;
    for (const FirmwareSection *p = list; p->data; ++p) {
        expect(p->data == expected);
        expect(std::memcmp(p->header, p->data, FIRMWARE_HEADER_SIZE) == 0);
        expected += FIRMWARE_HEADER_SIZE + p->payload_size();
        numbers.push_back(p->magic());
        if (p->payload_size() >= 4)
            numbers.push_back(u32_at(p->data + FIRMWARE_HEADER_SIZE)); // perhaps a nested section's
    }
    expect(expected == data + size);
    return numbers;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    int err = FIRMWARE_ERR_OK;
    FirmwareSection *const list = firmware_parse_sections(data, size, &err);
    expect((list != nullptr) == (err == FIRMWARE_ERR_OK));
    std::vector<uint32_t> numbers = {0, FIRMWARE_CONTAINER_MAGIC};
    if (list) {
        const std::vector<uint32_t> found = check_sections(data, list, size);
        numbers.insert(numbers.end(), found.begin(), found.end());
    }
    std::free(list);
    std::sort(numbers.begin(), numbers.end());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    numbers.resize(std::min<size_t>(numbers.size(), 16)); // many sections: keep it quick
    for (uint32_t fw_magic : numbers)
        check_extract(data, size, fw_magic);
    return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t max_size,
                                          unsigned seed)
{
    const size_t mutated = LLVMFuzzerMutate(data, size, max_size);
    if (seed % 8 != 0) // the rest keeps what the mutation broke
        seal_headers(data, mutated, false);
    return mutated;
}
