// Damages datagrams in ways that a seed repeats.
#include "fuzz/mutation.h"

#include "simulator/datagrams.h"
#include "simulator/draw_by_weight.h"

#include <array>

using namespace simulator;

namespace {

constexpr int LARGEST_DATAGRAM = 65507;

constexpr std::array WORDS = {"\"KESTA\"",
                              "\"device_id\"",
                              "\"product\"",
                              "\"seq\":0",
                              "\"raw_log\"",
                              "\"pos\"",
                              "\"metering\"",
                              "\"dsp\"",
                              "\"ui\"",
                              "\"streams\"",
                              "\"product_id\"",
                              "\"status\"",
                              "null",
                              "true",
                              "{}",
                              "[]",
                              "\"\"",
                              "\\u0000",
                              "\\ud800",
                              "\xF0\x9F\x94\x8D",
                              "\xFF",
                              "\n//#00000000",
                              "<b>x</b>",
                              "\"channel_peaks\"",
                              "\"error\"",
                              "\"command\"",
                              "\"list\"",
                              "\"overflow\"",
                              "\"logging\""};
constexpr std::array NUMBERS = {"0",
                                "-1",
                                "-0.0",
                                "1e308",
                                "-1e308",
                                "2147483648",
                                "-2147483649",
                                "4294967296",
                                "1e999",
                                "0.5",
                                "1e-320",
                                "9223372036854775808",
                                "-9223372036854775809",
                                "65536",
                                "935",
                                "1024"};

int any_place(const QByteArray &bytes, RandomSource &random)
{
    return random.below(bytes.size() + 1);
}

void change_byte(QByteArray &bytes, RandomSource &random)
{
    if (!bytes.isEmpty())
        bytes[random.below(bytes.size())] = static_cast<char>(random.below(256));
}

void flip_bit(QByteArray &bytes, RandomSource &random)
{
    if (bytes.isEmpty())
        return;
    const int place = random.below(bytes.size());
    bytes[place] = static_cast<char>(bytes.at(place) ^ (1 << random.below(8)));
}

void cut_end(QByteArray &bytes, RandomSource &random)
{
    bytes.truncate(any_place(bytes, random));
}

void remove_part(QByteArray &bytes, RandomSource &random)
{
    bytes.remove(any_place(bytes, random), random.between(1, 40));
}

void double_part(QByteArray &bytes, RandomSource &random)
{
    const QByteArray part = bytes.mid(any_place(bytes, random), random.between(1, 400));
    const int times = random.happens(5) ? random.between(2, 200) : 1;
    bytes.insert(any_place(bytes, random), part.repeated(times));
}

void insert_word(QByteArray &bytes, RandomSource &random)
{
    const auto word = static_cast<size_t>(random.below(int{WORDS.size()}));
    bytes.insert(any_place(bytes, random), WORDS[word]);
}

// The number that follows a random place becomes another one.
void change_number(QByteArray &bytes, RandomSource &random)
{
    const auto is_digit = [](char letter) { return letter >= '0' && letter <= '9'; };
    int start = any_place(bytes, random);
    while (start < bytes.size() && !is_digit(bytes.at(start)))
        ++start;
    int end = start;
    while (end < bytes.size() && is_digit(bytes.at(end)))
        ++end;
    const auto number = static_cast<size_t>(random.below(int{NUMBERS.size()}));
    bytes.replace(start, end - start, NUMBERS[number]);
}

// What stands behind a random colon becomes a value of another type.
void change_type(QByteArray &bytes, RandomSource &random)
{
    constexpr std::array values = {"null", "true", "7", "-0.25", "\"text\"", "[]", "{}", "[{}]"};
    const int colon = bytes.indexOf(':', any_place(bytes, random));
    if (colon < 0)
        return;
    int end = colon + 1;
    while (end < bytes.size() && bytes.at(end) != ',' && bytes.at(end) != '}')
        ++end;
    const auto value = static_cast<size_t>(random.below(int{values.size()}));
    bytes.replace(colon + 1, end - colon - 1, values[value]);
}

void nest_deeply(QByteArray &bytes, RandomSource &random)
{
    const bool is_list = random.happens(50);
    const int depth = random.between(1, 2000);
    const int place = bytes.indexOf(':', any_place(bytes, random)) + 1;
    const QByteArray before = QByteArray(is_list ? "[" : "{\"a\":").repeated(depth);
    const QByteArray after = QByteArray(is_list ? "]" : "}").repeated(depth);
    bytes.insert(place, before + '1' + after + ',');
}

struct DamageRow
{
    int weight = 1;
    void (*damage)(QByteArray &bytes, RandomSource &random) = nullptr;
};

constexpr std::array DAMAGES = {
    DamageRow{.damage = change_byte},
    DamageRow{.damage = flip_bit},
    DamageRow{.damage = cut_end},
    DamageRow{.damage = remove_part},
    DamageRow{.damage = double_part},
    DamageRow{.damage = insert_word},
    DamageRow{.weight = 2, .damage = change_type},
    DamageRow{.weight = 2, .damage = change_number},
    DamageRow{.damage = nest_deeply},
};

} // namespace

QByteArray damaged(const QByteArray &datagram, RandomSource &random)
{
    QByteArray bytes = datagram;
    // Damage in front of the old checksum would only ever meet the check.
    const bool has_trailer = bytes.lastIndexOf("\n//#") == bytes.size() - TRAILER_SIZE;
    if (has_trailer && random.happens(95))
        bytes.chop(TRAILER_SIZE);
    for (int i = random.between(1, 8); i > 0; --i)
        draw_by_weight(DAMAGES, random).damage(bytes, random);
    bytes.truncate(LARGEST_DATAGRAM - TRAILER_SIZE);
    append_trailer(bytes, random.happens(50) ? Checksum::RIGHT : Checksum::NONE);
    return bytes;
}
