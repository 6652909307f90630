// Firmware images: parsing the section list of a file in memory, and taking one device's part out.
#pragma once

#include <cstddef>
#include <cstdint>

constexpr size_t FIRMWARE_HEADER_SIZE = 128;
constexpr uint32_t FIRMWARE_CONTAINER_MAGIC = 0x354A2935; // bytes "5)J5"
constexpr uint32_t FIRMWARE_CHUNK_MARKER = 0xF020A0B0;

// What firmware_extract and firmware_parse_sections report.
enum FirmwareError
{
    FIRMWARE_ERR_OK = 0,
    FIRMWARE_ERR_INVALID = 1,   // the file is no image
    FIRMWARE_ERR_NO_DEVICE = 2, // nothing in it for this device
    FIRMWARE_ERR_NO_MEMORY = 3,
};

// One section of an image. All fields of the header are little-endian.
struct FirmwareSection
{
    uint8_t header[FIRMWARE_HEADER_SIZE]; // a copy
    const uint8_t *data; // start of this section's header in the input; the payload follows it

    uint32_t magic() const;        // container, or the module type the section is for
    uint32_t header_crc() const;   // of the header with these four bytes taken as zero
    uint16_t format() const;       // 1 in container sections
    uint8_t section_type() const;  // 1 or 2 in container sections, else 0
    uint32_t payload_size() const; // bytes behind the header
    uint32_t chunk_marker() const; // FIRMWARE_CHUNK_MARKER in a chunk of a nested image
};

// True when these FIRMWARE_HEADER_SIZE bytes can begin a section.
bool firmware_is_header(const uint8_t *header);

// The sections of an image of `size` bytes as an array that ends with an all-zero entry (null
// `data`). Release it with free(). The entries point into `data`, which must outlive them.
// Null on failure, with `*err` FIRMWARE_ERR_INVALID or FIRMWARE_ERR_NO_MEMORY; `*err` stays as it
// is on success.
FirmwareSection *firmware_parse_sections(const uint8_t *data, size_t size, int *err);

// The bytes that a device with `fw_magic` should receive: its section with the header, taken from
// the image itself or, when the first section is a container, from the image nested in its chunks.
// A device whose number is the container's own gets the image up to the first chunk.
// KEPT: payload checksums are not looked at. Returns a FirmwareError. On FIRMWARE_ERR_OK
// `*out_data` is a block to be released with free() and `*out_size` its length in bytes; otherwise
// they are null and 0.
int firmware_extract(const uint8_t *data, size_t size, uint32_t fw_magic, void **out_data,
                     int *out_size);
