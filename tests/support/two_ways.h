// Datagrams that may be read a short way: whatever it takes, the long way has to read alike.
#pragma once

#include "link/crc32.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QList>

#include <random>

// The text with the trailer that devices send behind it.
inline QByteArray with_checksum(const QByteArray &text)
{
    const uint32_t sum = crc32(0, reinterpret_cast<const uint8_t *>(text.constData()),
                               static_cast<size_t>(text.size()));
    return text + "\n//#" + QByteArray::number(sum, 16).rightJustified(8, '0');
}

// Each of these plays datagrams with `reads_alike`, which compares both ways and returns whether
// the short one took the datagram, and returns how many it took.

template<typename ReadsAlike>
int play_every_part(const QByteArray &whole, ReadsAlike reads_alike)
{
    int taken = 0;
    for (int begin = 0; begin < whole.size(); ++begin)
        for (int size = 1; size <= whole.size() - begin; ++size)
            taken += reads_alike(whole.mid(begin, size));
    return taken;
}

template<typename ReadsAlike>
int play_every_other_byte(const QByteArray &usual, ReadsAlike reads_alike)
{
    int taken = 0;
    for (int at = 0; at < usual.size(); ++at) {
        for (int byte = 0; byte < 256; ++byte) {
            QByteArray changed = usual;
            changed[at] = static_cast<char>(byte);
            taken += reads_alike(changed) + reads_alike(with_checksum(changed));
        }
    }
    return taken;
}

// Objects of some of these members; the first `usual_pieces` are drawn as often as all together.
template<typename ReadsAlike>
int play_shuffled(const QList<QByteArray> &pieces, unsigned usual_pieces, const QByteArray &behind,
                  ReadsAlike reads_alike)
{
    std::mt19937 random(1);
    const auto all_pieces = static_cast<unsigned>(pieces.size());
    int taken = 0;
    for (int round = 0; round < 20000; ++round) {
        QByteArrayList chosen;
        for (int i = static_cast<int>(random() % 5); i >= 0; --i)
            chosen.append(
                pieces.at(static_cast<int>(random() % (random() % 2 ? usual_pieces : all_pieces))));
        taken += reads_alike("{" + chosen.join(',') + "}" + behind);
    }
    return taken;
}
