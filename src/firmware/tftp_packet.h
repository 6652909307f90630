// Datagrams of a TFTP write (RFC 1350): building requests and blocks, reading replies.
#pragma once

#include <QByteArray>
#include <QString>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

// The modules answer from port 69 itself and not from a fresh port, so both sides use it.
constexpr uint16_t TFTP_PORT = 69;
constexpr size_t TFTP_BLOCK_SIZE = 512;
constexpr size_t TFTP_PACKET_SIZE = 4 + TFTP_BLOCK_SIZE; // the largest datagram of either side
constexpr qsizetype TFTP_LONGEST_NAME = 501;             // bytes

// A datagram to be sent; size 0 means none.
struct TftpPacket
{
    std::array<char, TFTP_PACKET_SIZE> bytes = {};
    size_t size = 0;
};

enum TftpReplyKind
{
    TFTP_REPLY_ACK,
    TFTP_REPLY_FATAL,   // ends the transfer with `error`
    TFTP_REPLY_UNKNOWN, // an opcode that means nothing to the writing side
};

struct TftpReply
{
    TftpReplyKind kind = TFTP_REPLY_UNKNOWN;
    int block = 0;      // of an ACK, 0 to 65535
    QString error = {}; // of a fatal reply
};

// A write request (WRQ) in mode "octet" without options, which keeps the block size at 512. `name`
// has at most TFTP_LONGEST_NAME bytes.
void build_write_request(TftpPacket &packet, const QByteArray &name);

// DATA block number `block`, of which the wire carries the low 16 bits; at most 512 bytes.
void build_data_block(TftpPacket &packet, int block, std::span<const char> bytes);

// Takes a reply apart. `received` is the datagram's length on the wire, `bytes` what of it fitted
// into a buffer of TFTP_PACKET_SIZE: a longer datagram is fatal, as is one of less than 2 bytes, a
// short ACK and every ERROR packet. KEPT: the number in an ERROR's text is the code read low byte
// first, unlike all other numbers: code 1 prints as 256.
TftpReply read_tftp_reply(std::span<const char> bytes, qint64 received);
