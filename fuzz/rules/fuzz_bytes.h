// Takes an input of a fuzzer apart into values. When the input is used up, all that is left is
// zero.
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

class DeviceProperties;
struct Device;
struct ProductDesc;

class FuzzBytes
{
public:
    FuzzBytes(const uint8_t *data_, size_t size_)
        : data(data_)
        , size(size_)
    {
    }

    bool is_empty() const { return place >= size; }
    uint8_t u8() { return place < size ? data[place++] : uint8_t{0}; }
    uint16_t u16() { return static_cast<uint16_t>(u8() | u8() << 8); }
    uint32_t u32() { return u16() | uint32_t{u16()} << 16; }
    // 0 to `count` - 1.
    int below(int count) { return count < 256 ? u8() % count : u16() % count; }
    bool flag() { return (u8() & 1U) != 0; }
    // Often one at which something ends or turns over; never infinite or no number.
    double number();
    // Any bits of a double: infinite or no number, too.
    double any_double();
    // So many bytes, or what is left.
    QByteArray bytes(int count);
    // Bytes behind their length, 0 to 255.
    QByteArray bytes() { return bytes(u8()); }
    QString text();
    QByteArray rest() { return bytes(static_cast<int>(size - place)); }

private:
    const uint8_t *data = nullptr;
    size_t size = 0;
    size_t place = 0;
};

// One input in `count`, the same each time: for claims that take most of the time.
bool is_one_in(size_t count, const uint8_t *data, size_t size);

// Ends the program when a claim does not hold.
void expect(bool claim, const char *what);

// Any JSON value, containers with a few members included.
QJsonValue any_json(FuzzBytes &bytes, int depth = 0);

// A report with some of these properties, mostly of their own types.
QJsonObject any_report(FuzzBytes &bytes, const DeviceProperties &properties, int product_id);

// A record of a row of the product table that has one part of the product's properties: filling in
// and merging all of them takes most of the time, and each is read like the next.
struct RecordKind
{
    size_t product = 0;     // its place in the table
    size_t part = 0;        // of its properties
    bool has_heard = false; // of each property that it has no value

    // Each kind has another, from 0 on.
    size_t number() const;
};
RecordKind any_record_kind(FuzzBytes &bytes);
const ProductDesc &product_of(const RecordKind &kind);

// One that knows no value but its product. `kept` holds the records, for which their filling is
// saved.
using Records = std::vector<std::unique_ptr<Device>>;
Device &fresh_record(Records &kept, const RecordKind &kind);

// Once per process: what the program does before its first datagram.
void set_up_catalogue();
