// Firmware images: parsing the section list of a file in memory, and taking one device's part out.
#include "firmware/firmware.h"

#include "link/crc32.h"
#include "support/fatal_assert.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

struct Free
{
    void operator()(void *block) const { std::free(block); }
};
using SectionList = std::unique_ptr<FirmwareSection[], Free>;
using ByteBlock = std::unique_ptr<uint8_t[], Free>;

// A stretch of an image that is to be handed out.
struct Extract
{
    const uint8_t *data = nullptr;
    size_t size = 0;
};

uint32_t u16_at(const uint8_t *bytes)
{
    return bytes[0] | uint32_t{bytes[1]} << 8;
}

uint32_t u32_at(const uint8_t *bytes)
{
    return u16_at(bytes) | u16_at(bytes + 2) << 16;
}

bool is_header_intact(const FirmwareSection &section)
{
    uint8_t header[FIRMWARE_HEADER_SIZE];
    std::memcpy(header, section.header, sizeof header);
    std::memset(header + 4, 0, 4);
    return crc32(0, header, sizeof header) == section.header_crc();
}

bool has_valid_type(const FirmwareSection &section)
{
    if (section.magic() == FIRMWARE_CONTAINER_MAGIC)
        return section.format() == 1
            && (section.section_type() == 1 || section.section_type() == 2);
    return (u32_at(section.header + 8) & 0x00FF00FF) == 0;
}

size_t whole_size(const FirmwareSection &section)
{
    return FIRMWARE_HEADER_SIZE + section.payload_size();
}

// Reads the section that starts at `data`, of which `remaining` bytes are there.
bool read_section(const uint8_t *data, size_t remaining, FirmwareSection *section)
{
    if (remaining < FIRMWARE_HEADER_SIZE)
        return false;
    if (!firmware_is_header(data))
        return false;
    std::memcpy(section->header, data, FIRMWARE_HEADER_SIZE);
    section->data = data;
    return section->payload_size() <= remaining - FIRMWARE_HEADER_SIZE;
}

// Makes room for `count` entries and the one that ends the list; the list stays as it is on
// failure.
bool grow(SectionList &list, size_t count)
{
    if (count > SIZE_MAX / sizeof(FirmwareSection) - 1)
        return false;
    void *const grown = std::realloc(list.get(), (count + 1) * sizeof(FirmwareSection));
    if (!grown)
        return false;
    static_cast<void>(list.release());
    list.reset(static_cast<FirmwareSection *>(grown));
    return true;
}

bool is_chunk(const FirmwareSection &section)
{
    return section.section_type() == 1 && section.chunk_marker() == FIRMWARE_CHUNK_MARKER;
}

// The first chunk behind the container's own first section, or the entry that ends the list.
const FirmwareSection *first_chunk(const FirmwareSection *list)
{
    const FirmwareSection *p = list + 1;
    while (p->data && !is_chunk(*p))
        ++p;
    return p;
}

// The payloads of the run of chunks that starts at `first`, one behind the other. The run ends at
// the first section that is no chunk. KEPT: chunks behind that one are ignored. Null without any
// bytes.
ByteBlock join_chunks(const FirmwareSection *first, size_t &full_sz, int &err)
{
    const FirmwareSection *end = first;
    full_sz = 0;
    for (; end->data && is_chunk(*end); ++end)
        full_sz += end->payload_size();
    if (full_sz == 0)
        return {};

    ByteBlock joined(static_cast<uint8_t *>(std::calloc(full_sz, 1)));
    if (!joined) {
        err = FIRMWARE_ERR_NO_MEMORY;
        return {};
    }
    size_t pos = 0;
    for (const FirmwareSection *p = first; p != end; ++p) {
        FATAL_ASSERT("firmware", p->data);
        std::memcpy(joined.get() + pos, p->data + FIRMWARE_HEADER_SIZE, p->payload_size());
        pos += p->payload_size();
        FATAL_ASSERT("firmware", pos <= full_sz);
    }
    return joined;
}

Extract find_section(const FirmwareSection *list, uint32_t fw_magic)
{
    for (const FirmwareSection *p = list; p->data; ++p)
        if (p->magic() == fw_magic)
            return {p->data, whole_size(*p)};
    return {};
}

// What a device gets from an image whose first section is a container. The nested image is made in
// `joined`, into which the result may point. Nesting is one level deep: a container in there is a
// section like any other.
Extract find_in_container(const FirmwareSection *list, uint32_t fw_magic, ByteBlock &joined,
                          int &err)
{
    const FirmwareSection *const chunk = first_chunk(list);
    if (fw_magic == FIRMWARE_CONTAINER_MAGIC) {
        const FirmwareSection &last = chunk[-1];
        const auto offset = static_cast<size_t>(last.data - list->data);
        return {list->data, offset + whole_size(last)};
    }
    size_t full_sz = 0;
    joined = join_chunks(chunk, full_sz, err);
    if (!joined)
        return {};
    const SectionList nested(firmware_parse_sections(joined.get(), full_sz, &err));
    return nested ? find_section(nested.get(), fw_magic) : Extract{};
}

int copy_out(const Extract &extract, void **out_data, int *out_size)
{
    void *const copy = extract.size <= INT_MAX ? std::malloc(extract.size) : nullptr;
    if (!copy)
        return FIRMWARE_ERR_NO_MEMORY;
    std::memcpy(copy, extract.data, extract.size);
    *out_data = copy;
    *out_size = static_cast<int>(extract.size);
    return FIRMWARE_ERR_OK;
}

} // namespace

uint32_t FirmwareSection::magic() const
{
    return u32_at(header);
}

uint32_t FirmwareSection::header_crc() const
{
    return u32_at(header + 4);
}

uint16_t FirmwareSection::format() const
{
    return static_cast<uint16_t>(u16_at(header + 8));
}

uint8_t FirmwareSection::section_type() const
{
    return header[10];
}

uint32_t FirmwareSection::payload_size() const
{
    return u32_at(header + 44);
}

uint32_t FirmwareSection::chunk_marker() const
{
    return u32_at(header + 48);
}

bool firmware_is_header(const uint8_t *header)
{
    FirmwareSection section{};
    std::memcpy(section.header, header, FIRMWARE_HEADER_SIZE);
    return is_header_intact(section) && has_valid_type(section);
}

FirmwareSection *firmware_parse_sections(const uint8_t *data, size_t size, int *err)
{
    SectionList list;
    size_t count = 0;
    size_t position = 0;
    do {
        if (!grow(list, count + 1)) {
            *err = FIRMWARE_ERR_NO_MEMORY;
            return nullptr;
        }
        // An empty input fails here too: it has no header.
        if (!read_section(data + position, size - position, &list[count])) {
            *err = FIRMWARE_ERR_INVALID;
            return nullptr;
        }
        position += whole_size(list[count]);
        list[++count] = {};
    } while (position < size);
    return list.release();
}

int firmware_extract(const uint8_t *data, size_t size, uint32_t fw_magic, void **out_data,
                     int *out_size)
{
    *out_data = nullptr;
    *out_size = 0;
    int err = FIRMWARE_ERR_OK;
    const SectionList list(firmware_parse_sections(data, size, &err));
    if (!list)
        return err;

    ByteBlock joined;
    const Extract extract = list[0].magic() == FIRMWARE_CONTAINER_MAGIC
        ? find_in_container(list.get(), fw_magic, joined, err)
        : find_section(list.get(), fw_magic);
    if (!extract.data)
        return err == FIRMWARE_ERR_OK ? FIRMWARE_ERR_NO_DEVICE : err;
    FATAL_ASSERT("firmware", err == FIRMWARE_ERR_OK);
    return copy_out(extract, out_data, out_size);
}
