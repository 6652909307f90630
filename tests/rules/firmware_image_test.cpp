// The stand-in image of the build: it must pass for a real one until its payload is read.
#include "firmware/firmware.h"
#include "link/crc32.h"

#include <QtTest>

#include <cstdlib>

namespace {

constexpr uint32_t MODULE_MAGIC = 0x354A2936;

const uint8_t *raw(const QByteArray &bytes)
{
    return reinterpret_cast<const uint8_t *>(bytes.constData());
}

uint32_t u32_at(const QByteArray &bytes, int position)
{
    return qFromLittleEndian<uint32_t>(bytes.constData() + position);
}

int extract(const QByteArray &image, uint32_t fw_magic, QByteArray *section)
{
    void *data = nullptr;
    int size = 0;
    const int code
        = firmware_extract(raw(image), static_cast<size_t>(image.size()), fw_magic, &data, &size);
    *section = QByteArray(static_cast<const char *>(data), size);
    std::free(data);
    return code;
}

} // namespace

class firmware_image_test : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QFile file(STAND_IN_IMAGE);
        QVERIFY2(file.open(QIODevice::ReadOnly), STAND_IN_IMAGE);
        image = file.readAll();
    }

    void it_has_the_size_number_and_version_of_a_real_image()
    {
        QCOMPARE(image.size(), 926841);
        QCOMPARE(u32_at(image, 0), MODULE_MAGIC);
        QCOMPARE(u32_at(image, 12), 0x00060000U);
        QCOMPARE(image.mid(16, 16), QByteArray("v1.5.5.8d").leftJustified(16, '\0'));
        QCOMPARE(u32_at(image, 44), 926713U);
    }

    void both_checksums_are_valid()
    {
        QByteArray header = image.left(128);
        const uint32_t header_crc = u32_at(header, 4);
        header.replace(4, 4, QByteArray(4, '\0'));
        QCOMPARE(crc32(0, raw(header), 128), header_crc);
        const QByteArray payload = image.mid(128);
        QCOMPARE(crc32(0, raw(payload), static_cast<size_t>(payload.size())), u32_at(image, 40));
    }

    void its_payload_says_what_it_is()
    {
        QCOMPARE(image.mid(128).count("stand-in for a firmware image"), 926713 / 84);
        QVERIFY(image.mid(128).contains("no device code"));
    }

    void its_device_gets_all_of_it_and_no_other_gets_anything()
    {
        QByteArray section;
        QCOMPARE(extract(image, MODULE_MAGIC, &section), int{FIRMWARE_ERR_OK});
        QCOMPARE(section, image);
        for (uint32_t fw_magic : {0x354A2935U, 0x354A2937U, 1U}) {
            QCOMPARE(extract(image, fw_magic, &section), int{FIRMWARE_ERR_NO_DEVICE});
            QVERIFY(section.isEmpty());
        }
    }

private:
    QByteArray image;
};

QTEST_GUILESS_MAIN(firmware_image_test)
#include "firmware_image_test.moc"
