// Build tool: writes an image that stands in for real firmware, so that updates can be tried.
#include "link/crc32.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr size_t HEADER_SIZE = 128;
constexpr size_t PAYLOAD_SIZE = 926713; // that of a real image, so that a transfer takes as long
constexpr uint32_t MODULE_MAGIC = 0x354A2936;
constexpr uint32_t RESERVED_WORD = 0x00060000;
constexpr const char *VERSION = "v1.5.5.8d";
constexpr const char *PAYLOAD_TEXT
    = "This is a stand-in for a firmware image. It is plain text and holds no device code.\n";

using Bytes = std::vector<uint8_t>;

void put_u32(Bytes &bytes, size_t position, uint32_t value)
{
    for (size_t i = 0; i < 4; ++i)
        bytes[position + i] = static_cast<uint8_t>(value >> (8 * i));
}

Bytes make_payload()
{
    const std::string text = PAYLOAD_TEXT;
    Bytes payload(PAYLOAD_SIZE);
    for (size_t i = 0; i < payload.size(); ++i)
        payload[i] = static_cast<uint8_t>(text[i % text.size()]);
    return payload;
}

// One section: the header, little-endian, then the payload.
Bytes make_image()
{
    const Bytes payload = make_payload();
    Bytes image(HEADER_SIZE);
    put_u32(image, 0, MODULE_MAGIC);
    put_u32(image, 12, RESERVED_WORD);
    std::memcpy(image.data() + 16, VERSION, std::strlen(VERSION));
    put_u32(image, 40, crc32(0, payload.data(), payload.size()));
    put_u32(image, 44, static_cast<uint32_t>(payload.size()));
    put_u32(image, 4, crc32(0, image.data(), image.size())); // with its own four bytes zero
    image.insert(image.end(), payload.begin(), payload.end());
    return image;
}

} // namespace

int main(int argument_count, char **arguments)
{
    if (argument_count != 2) {
        std::fprintf(stderr, "usage: %s FILE\n", arguments[0]);
        return 2;
    }
    std::FILE *const file = std::fopen(arguments[1], "wb");
    if (!file) {
        std::perror(arguments[1]);
        return 1;
    }
    const Bytes image = make_image();
    const bool is_written = std::fwrite(image.data(), 1, image.size(), file) == image.size();
    const bool is_closed = std::fclose(file) == 0;
    if (!is_written || !is_closed)
        std::perror(arguments[1]);
    return is_written && is_closed ? 0 : 1;
}
