// Datagrams of a TFTP write (RFC 1350) by hand, as either side sends them.
#pragma once

#include <QByteArray>

// 16 bits, the high byte first.
inline QByteArray tftp_word(int number)
{
    return QByteArray(1, static_cast<char>(number >> 8)) + static_cast<char>(number);
}

inline QByteArray write_request(const QByteArray &name = "firmware.bin",
                                const QByteArray &mode = "octet")
{
    return tftp_word(2) + name + '\0' + mode + '\0';
}

inline QByteArray data_block(int number, const QByteArray &bytes)
{
    return tftp_word(3) + tftp_word(number) + bytes;
}

// The block of this number, which may be the last and short, or empty.
inline QByteArray block_of(const QByteArray &file, int number)
{
    return data_block(number, file.mid((number - 1) * 512, 512));
}

// One that is not full ends a file.
inline int last_block(const QByteArray &file)
{
    return file.size() / 512 + 1;
}

inline QByteArray ack(int number)
{
    return tftp_word(4) + tftp_word(number);
}

inline QByteArray error_packet(int code, const QByteArray &text)
{
    return tftp_word(5) + tftp_word(code) + text + '\0';
}
