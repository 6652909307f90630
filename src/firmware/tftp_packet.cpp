// Datagrams of a TFTP write (RFC 1350): building requests and blocks, reading replies.
#include "firmware/tftp_packet.h"

#include "support/fatal_assert.h"

#include <cstring>

namespace {

enum Opcode : uint16_t
{
    OPCODE_WRQ = 2,
    OPCODE_DATA = 3,
    OPCODE_ACK = 4,
    OPCODE_ERROR = 5
};

void append_u16(TftpPacket &packet, int value)
{
    packet.bytes[packet.size++] = static_cast<char>((value >> 8) & 0xFF);
    packet.bytes[packet.size++] = static_cast<char>(value & 0xFF);
}

void append(TftpPacket &packet, const char *bytes, size_t count)
{
    FATAL_ASSERT("tftp_packet", count <= packet.bytes.size() - packet.size);
    if (count > 0)
        std::memcpy(packet.bytes.data() + packet.size, bytes, count);
    packet.size += count;
}

int byte_at(std::span<const char> bytes, size_t position)
{
    return static_cast<uint8_t>(bytes[position]);
}

int u16_at(std::span<const char> bytes, size_t position)
{
    return byte_at(bytes, position) << 8 | byte_at(bytes, position + 1);
}

TftpReply fatal(const QString &error)
{
    return {.kind = TFTP_REPLY_FATAL, .error = error};
}

TftpReply read_error_packet(std::span<const char> bytes)
{
    if (bytes.size() < 5 || bytes.back() != 0)
        return fatal(QStringLiteral("bad TFTP ERROR packet"));
    const int code = byte_at(bytes, 2) | byte_at(bytes, 3) << 8;
    // The last byte is a NUL, so the text ends within the packet.
    return fatal(QStringLiteral("got TFTP ERROR packet, code=") + QString::number(code)
                 + QStringLiteral(", msg='") + QString::fromUtf8(bytes.data() + 4)
                 + QLatin1Char('\''));
}

} // namespace

void build_write_request(TftpPacket &packet, const QByteArray &name)
{
    FATAL_ASSERT("tftp_packet", name.size() <= TFTP_LONGEST_NAME);
    packet.size = 0;
    append_u16(packet, OPCODE_WRQ);
    append(packet, name.constData(), static_cast<size_t>(name.size()) + 1);
    append(packet, "octet", sizeof "octet");
}

void build_data_block(TftpPacket &packet, int block, std::span<const char> bytes)
{
    packet.size = 0;
    append_u16(packet, OPCODE_DATA);
    append_u16(packet, block);
    append(packet, bytes.data(), bytes.size());
}

TftpReply read_tftp_reply(std::span<const char> bytes, qint64 received)
{
    if (received < 2 || bytes.size() < 2)
        return fatal(QStringLiteral("bad TFTP packet (size too small)"));
    if (received > static_cast<qint64>(TFTP_PACKET_SIZE))
        return fatal(QStringLiteral("bad TFTP packet (size too large)"));

    switch (u16_at(bytes, 0)) {
    case OPCODE_ACK:
        if (bytes.size() < 4)
            return fatal(QStringLiteral("bad TFTP ACK packet (size too small)"));
        return {.kind = TFTP_REPLY_ACK, .block = u16_at(bytes, 2)};
    case OPCODE_ERROR:
        return read_error_packet(bytes);
    default:
        return {};
    }
}
