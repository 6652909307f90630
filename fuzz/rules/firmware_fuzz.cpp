// Firmware images of any bytes: sections fill them, and what is extracted is an image by itself.
#include "firmware/firmware.h"
#include "fuzz/rules/fuzz_bytes.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

uint32_t u32_at(const uint8_t *bytes)
{
    return bytes[0] | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 | uint32_t{bytes[3]} << 24;
}

// What is handed out must be an image by itself that starts with what was asked for.
void check_extract(const uint8_t *data, size_t size, uint32_t fw_magic)
{
    void *out = &out;
    int out_size = -1;
    const int code = firmware_extract(data, size, fw_magic, &out, &out_size);
    expect(code >= FIRMWARE_ERR_OK && code <= FIRMWARE_ERR_NO_DEVICE, "a code is a known one");
    expect((code == FIRMWARE_ERR_OK) == (out != nullptr), "an image or an error");
    if (!out) {
        expect(out_size == 0, "an error has no size");
        return;
    }
    const auto *const bytes = static_cast<const uint8_t *>(out);
    const auto length = static_cast<size_t>(out_size);
    expect(length >= FIRMWARE_HEADER_SIZE && length <= size, "a part is no larger than the whole");
    expect(u32_at(bytes) == fw_magic, "what is extracted is what was asked for");
    int err = FIRMWARE_ERR_OK;
    FirmwareSection *const list = firmware_parse_sections(bytes, length, &err);
    expect(list && err == FIRMWARE_ERR_OK, "what is extracted is an image by itself");
    std::free(list);
    std::free(out);
}

// The sections must lie behind one another without a gap and fill the input.
std::vector<uint32_t> check_sections(const uint8_t *data, const FirmwareSection *list, size_t size)
{
    std::vector<uint32_t> numbers;
    const uint8_t *expected = data;
    for (const FirmwareSection *p = list; p->data; ++p) {
        expect(p->data == expected, "sections follow each other");
        expect(std::memcmp(p->header, p->data, FIRMWARE_HEADER_SIZE) == 0,
               "a header is copied as it is");
        expected += FIRMWARE_HEADER_SIZE + p->payload_size();
        numbers.push_back(p->magic());
        if (p->payload_size() >= 4)
            numbers.push_back(u32_at(p->data + FIRMWARE_HEADER_SIZE)); // perhaps a nested section's
    }
    expect(expected == data + size, "sections fill the image");
    return numbers;
}

} // namespace

void fuzz_firmware(const uint8_t *data, size_t size)
{
    int err = FIRMWARE_ERR_OK;
    FirmwareSection *const list = firmware_parse_sections(data, size, &err);
    expect((list != nullptr) == (err == FIRMWARE_ERR_OK), "a list or an error");
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
}
