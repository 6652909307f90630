// Firmware images: the golden cases, every damaged length, and the limits of the interface.
#include "firmware/firmware.h"
#include "link/crc32.h"
#include "support/vectors.h"

#include <QtTest>

#include <cstdlib>
#include <memory>

namespace {

constexpr uint32_t MODULE_MAGIC = 0x354A2936;

struct Free
{
    void operator()(void *block) const { std::free(block); }
};
using SectionList = std::unique_ptr<FirmwareSection[], Free>;

void put_u32(QByteArray &bytes, int position, uint32_t value)
{
    for (int i = 0; i < 4; ++i)
        bytes[position + i] = static_cast<char>(value >> (8 * i));
}

const uint8_t *raw(const QByteArray &bytes)
{
    return reinterpret_cast<const uint8_t *>(bytes.constData());
}

void seal(QByteArray &header)
{
    put_u32(header, 4, 0);
    put_u32(header, 4, crc32(0, raw(header), 128));
}

// A section of a given module type, or a container section of type 1.
QByteArray section(uint32_t magic, const QByteArray &payload, bool is_chunk = false)
{
    QByteArray header(128, '\0');
    put_u32(header, 0, magic);
    if (magic == FIRMWARE_CONTAINER_MAGIC)
        put_u32(header, 8, 0x00010001);
    put_u32(header, 44, static_cast<uint32_t>(payload.size()));
    put_u32(header, 48, is_chunk ? FIRMWARE_CHUNK_MARKER : 0);
    seal(header);
    return header + payload;
}

QByteArray chunk(const QByteArray &payload)
{
    return section(FIRMWARE_CONTAINER_MAGIC, payload, true);
}

struct Extracted
{
    int code = -1;
    QByteArray bytes = {};
};

Extracted extract(const QByteArray &image, uint32_t fw_magic)
{
    void *data = &data;
    int size = -1;
    const int code
        = firmware_extract(raw(image), static_cast<size_t>(image.size()), fw_magic, &data, &size);
    Extracted result{.code = code};
    if (code == FIRMWARE_ERR_OK)
        result.bytes = QByteArray(static_cast<const char *>(data), size);
    else if (data || size != 0)
        result.code = -1;
    std::free(data);
    return result;
}

QJsonObject describe(const FirmwareSection &one, const uint8_t *start)
{
    return {{"offset", static_cast<double>(one.data - start)},
            {"magic", static_cast<double>(one.magic())},
            {"format", one.format()},
            {"section_type", one.section_type()},
            {"payload_size", static_cast<double>(one.payload_size())},
            {"chunk_marker", static_cast<double>(one.chunk_marker())}};
}

// In the form of the golden cases.
QJsonObject parse(const QByteArray &image)
{
    int err = FIRMWARE_ERR_OK;
    const SectionList list(
        firmware_parse_sections(raw(image), static_cast<size_t>(image.size()), &err));
    if (!list)
        return {{"err", err}};
    QJsonArray sections;
    for (const FirmwareSection *p = list.get(); p->data; ++p)
        sections.append(describe(*p, raw(image)));
    return {{"sections", sections}};
}

} // namespace

class firmware_test : public QObject
{
    Q_OBJECT

private slots:
    void golden_cases_hold_data() { add_vector_rows("firmware"); }
    void golden_cases_hold()
    {
        QFETCH(QJsonObject, input);
        QFETCH(QJsonObject, expect);
        const QByteArray image = QByteArray::fromBase64(input.value("image").toString().toLatin1());
        QCOMPARE(parse(image), expect.value("parse").toObject());

        const QJsonArray devices = input.value("extract").toArray();
        for (int i = 0; i < devices.size(); ++i) {
            const QJsonObject expected = expect.value("extract").toArray().at(i).toObject();
            const auto fw_magic = static_cast<uint32_t>(devices.at(i).toDouble());
            const Extracted found = extract(image, fw_magic);
            QCOMPARE(found.code, expected.value("code").toInt());
            QCOMPARE(found.bytes.size(), expected.value("size").toInt());
            QCOMPARE(found.bytes.toBase64(), expected.value("data").toString().toLatin1());
        }
    }

    void a_header_without_payload_is_one_section()
    {
        const QByteArray image = section(MODULE_MAGIC, {});
        QCOMPARE(parse(image).value("sections").toArray().size(), 1);
        QCOMPARE(extract(image, MODULE_MAGIC).bytes, image);
    }

    void every_flipped_bit_of_a_header_is_found()
    {
        const QByteArray image = section(MODULE_MAGIC, "payload");
        for (int bit = 0; bit < 128 * 8; ++bit) {
            QByteArray damaged = image;
            damaged[bit / 8] = static_cast<char>(damaged.at(bit / 8) ^ (1 << (bit % 8)));
            QCOMPARE(extract(damaged, MODULE_MAGIC).code, int{FIRMWARE_ERR_INVALID});
        }
    }

    void every_truncation_is_invalid()
    {
        const QByteArray image
            = section(MODULE_MAGIC, "first") + section(FIRMWARE_CONTAINER_MAGIC, "second");
        for (int size = 0; size < image.size(); ++size) {
            const bool is_first_alone = size == 128 + 5;
            // A copy of just that many bytes, so that a sanitizer sees a read behind the end.
            const QByteArray cut(image.constData(), size);
            QCOMPARE(extract(cut, MODULE_MAGIC).code,
                     int{is_first_alone ? FIRMWARE_ERR_OK : FIRMWARE_ERR_INVALID});
        }
    }

    void a_damaged_payload_passes()
    {
        QByteArray image = section(MODULE_MAGIC, "payload");
        image[130] = 'X';
        QCOMPARE(extract(image, MODULE_MAGIC).bytes, image);
    }

    void a_missing_input_is_invalid()
    {
        void *data = nullptr;
        int size = 0;
        QCOMPARE(firmware_extract(nullptr, 0, 1, &data, &size), int{FIRMWARE_ERR_INVALID});
    }

    void success_leaves_the_error_as_it_is()
    {
        const QByteArray image = section(MODULE_MAGIC, {});
        int err = 42;
        const SectionList list(firmware_parse_sections(raw(image), 128, &err));
        QVERIFY(list);
        QCOMPARE(err, 42);
    }

    void a_chunk_run_stops_at_the_first_other_section()
    {
        const QByteArray inner = section(7, "seven");
        const QByteArray image = section(FIRMWARE_CONTAINER_MAGIC, "lead") + chunk(inner.left(50))
            + chunk(inner.mid(50)) + section(9, "nine") + chunk(section(8, "eight"));
        QCOMPARE(extract(image, 7).bytes, inner);
        QCOMPARE(extract(image, 8).code, int{FIRMWARE_ERR_NO_DEVICE});
        QCOMPARE(extract(image, 9).code, int{FIRMWARE_ERR_NO_DEVICE});
    }

    void nesting_is_one_level_deep()
    {
        const QByteArray innermost = section(7, "seven");
        const QByteArray inner = section(FIRMWARE_CONTAINER_MAGIC, "inner") + chunk(innermost);
        const QByteArray image = section(FIRMWARE_CONTAINER_MAGIC, "outer") + chunk(inner);
        QCOMPARE(extract(image, 7).code, int{FIRMWARE_ERR_NO_DEVICE});
    }

    void only_the_first_section_makes_a_container()
    {
        const QByteArray image = section(5, "five") + section(FIRMWARE_CONTAINER_MAGIC, "lead")
            + chunk(section(7, "seven"));
        QCOMPARE(extract(image, 5).bytes, section(5, "five"));
        QCOMPARE(extract(image, 7).code, int{FIRMWARE_ERR_NO_DEVICE});
    }

    void the_containers_own_number_gets_what_stands_before_the_chunks()
    {
        const QByteArray lead = section(FIRMWARE_CONTAINER_MAGIC, "one") + section(4, "two");
        const QByteArray image = lead + chunk(section(7, "seven"));
        QCOMPARE(extract(image, FIRMWARE_CONTAINER_MAGIC).bytes, lead);
        QCOMPARE(extract(lead, FIRMWARE_CONTAINER_MAGIC).bytes, lead);
    }

    void a_container_without_chunks_or_with_empty_ones_serves_no_device()
    {
        const QByteArray lead = section(FIRMWARE_CONTAINER_MAGIC, "lead");
        QCOMPARE(extract(lead, 7).code, int{FIRMWARE_ERR_NO_DEVICE});
        QCOMPARE(extract(lead + chunk({}) + chunk({}), 7).code, int{FIRMWARE_ERR_NO_DEVICE});
    }

    void a_container_section_of_the_second_type_is_no_chunk()
    {
        QByteArray other = chunk(section(7, "seven"));
        put_u32(other, 8, 0x00020001);
        QByteArray header = other.left(128);
        seal(header);
        other.replace(0, 128, header);
        const QByteArray lead = section(FIRMWARE_CONTAINER_MAGIC, "lead");
        QCOMPARE(extract(lead + other, 7).code, int{FIRMWARE_ERR_NO_DEVICE});
        QCOMPARE(extract(lead + other, FIRMWARE_CONTAINER_MAGIC).bytes, lead + other);
    }

    void a_damaged_nested_image_is_invalid()
    {
        QByteArray inner = section(7, "seven");
        inner[20] = 'X';
        const QByteArray image = section(FIRMWARE_CONTAINER_MAGIC, "lead") + chunk(inner);
        QCOMPARE(extract(image, 7).code, int{FIRMWARE_ERR_INVALID});
    }

    void many_sections_are_parsed()
    {
        QByteArray image;
        for (uint32_t magic = 1; magic <= 2000; ++magic)
            image += section(magic, {});
        QCOMPARE(extract(image, 2000).bytes, section(2000, {}));
        QCOMPARE(extract(image, 2001).code, int{FIRMWARE_ERR_NO_DEVICE});
    }
};

QTEST_GUILESS_MAIN(firmware_test)
#include "firmware_test.moc"
