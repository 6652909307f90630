// The checksum of datagrams and firmware images.
#include "link/crc32.h"
#include "support/vectors.h"

#include <QRandomGenerator>
#include <QtTest>

namespace {

// The definition: what devices compute, bit by bit.
uint32_t bit_loop(uint32_t seed, const std::vector<uint8_t> &bytes)
{
    uint32_t remainder = ~seed;
    for (const uint8_t byte : bytes) {
        remainder ^= byte;
        for (int bit = 0; bit < 8; ++bit)
            remainder = (remainder >> 1) ^ ((remainder & 1) != 0 ? 0xEDB88320U : 0U);
    }
    return ~remainder;
}

} // namespace

class Crc32Test : public QObject
{
    Q_OBJECT

private slots:
    void golden_cases_data() { add_vector_rows("crc"); }
    void golden_cases()
    {
        QFETCH(QJsonObject, input);
        QFETCH(QJsonObject, expect);
        auto sum = static_cast<uint32_t>(input.value("seed").toDouble());
        const QJsonArray chunks = input.value("chunks").toArray();
        const QJsonArray after = expect.value("after").toArray();
        QCOMPARE(chunks.size(), after.size());
        for (int i = 0; i < chunks.size(); ++i) {
            const QByteArray bytes = QByteArray::fromBase64(chunks.at(i).toString().toLatin1());
            sum = crc32(sum, reinterpret_cast<const uint8_t *>(bytes.constData()),
                        static_cast<size_t>(bytes.size()));
            QCOMPARE(sum, static_cast<uint32_t>(after.at(i).toDouble()));
        }
    }

    void no_bytes_give_the_seed_back()
    {
        QCOMPARE(crc32(0, nullptr, 0), 0U);
        QCOMPARE(crc32(7, nullptr, 0), 7U);
    }

    void the_nine_digits_give_the_check_value()
    {
        QCOMPARE(crc32(0, reinterpret_cast<const uint8_t *>("123456789"), 9), 0xCBF43926U);
    }

    // All lengths up to 300 and some beyond, so that every tail behind whole words is met, each at
    // each alignment.
    void any_seed_and_bytes_give_what_the_bit_loop_gives()
    {
        QRandomGenerator random(32);
        std::vector<uint8_t> bytes;
        for (size_t size = 0; size < 70000; size += size < 300 ? 1 : size / 3) {
            for (size_t offset = 0; offset < 8 && offset <= size; ++offset) {
                bytes.resize(size);
                std::generate(bytes.begin(), bytes.end(),
                              [&random] { return static_cast<uint8_t>(random.bounded(256)); });
                const uint32_t seed = random.generate();
                const std::vector<uint8_t> part(bytes.begin() + static_cast<ptrdiff_t>(offset),
                                                bytes.end());
                QCOMPARE(crc32(seed, bytes.data() + offset, size - offset), bit_loop(seed, part));
            }
        }
    }

    void a_sum_may_be_continued_at_any_byte()
    {
        const QByteArray bytes = "a loudspeaker says what it is";
        const auto *data = reinterpret_cast<const uint8_t *>(bytes.constData());
        const auto size = static_cast<size_t>(bytes.size());
        for (size_t split = 0; split <= size; ++split)
            QCOMPARE(crc32(crc32(0, data, split), data + split, size - split),
                     crc32(0, data, size));
    }
};

QTEST_GUILESS_MAIN(Crc32Test)
#include "crc32_test.moc"
