// The TFTP server of one device (RFC 1350, writing only), with faults on demand.
#include "simulator/tftp_session.h"

#include <QtEndian>

#include <cstring>
#include <utility>

namespace simulator {

namespace {

constexpr int OPCODE_READ = 1;
constexpr int OPCODE_WRITE = 2;
constexpr int OPCODE_DATA = 3;
constexpr int OPCODE_ACK = 4;
constexpr int OPCODE_ERROR = 5;

constexpr int ERROR_DISK_FULL = 3;
constexpr int ERROR_ILLEGAL = 4;

constexpr int DATA_HEADER = 4;
constexpr int BLOCK_SIZE = 512;
constexpr int LARGEST_FILE = 64 * 1024 * 1024;

void append_word(QByteArray &packet, uint16_t word)
{
    packet.append(static_cast<char>(word >> 8U));
    packet.append(static_cast<char>(word & 0xFFU));
}

uint16_t word_at(const char *bytes)
{
    return qFromBigEndian<quint16>(bytes);
}

// The zero-terminated text that starts at `offset`; null when nothing ends it.
QByteArray text_at(const char *bytes, int size, int offset)
{
    if (offset >= size)
        return {};
    const auto room = static_cast<size_t>(size - offset);
    const void *end = std::memchr(bytes + offset, 0, room);
    if (end == nullptr)
        return {};
    return QByteArray(bytes + offset); // not null, even when empty
}

} // namespace

QByteArray tftp_ack(uint16_t block)
{
    QByteArray packet;
    append_word(packet, OPCODE_ACK);
    append_word(packet, block);
    return packet;
}

QByteArray tftp_error(uint16_t code, const QByteArray &text)
{
    QByteArray packet;
    append_word(packet, OPCODE_ERROR);
    append_word(packet, code);
    return packet.append(text).append('\0');
}

QByteArray TftpSession::take_file()
{
    return std::exchange(data, {});
}

void TftpSession::reset()
{
    running = false;
    complete = false;
    file_name.clear();
    data.clear();
    blocks = 0;
}

TftpOutcome TftpSession::handle(uint32_t peer_address, uint16_t peer_port, const char *bytes,
                                int size)
{
    TftpOutcome outcome;
    if (faults.silent || size < DATA_HEADER)
        return outcome;
    const int opcode = word_at(bytes);
    const bool is_peer = peer_address == address && peer_port == port;
    if (opcode == OPCODE_WRITE) {
        address = peer_address;
        port = peer_port;
        on_request(bytes, size, outcome);
    } else if (opcode == OPCODE_DATA && is_peer) {
        on_data(bytes, size, outcome);
    } else if (opcode == OPCODE_READ) {
        outcome.answers.append({.bytes = tftp_error(ERROR_ILLEGAL, "only writing is possible")});
    }
    return outcome;
}

// A repeated request starts anew: the client has heard no answer yet, so nothing is lost.
void TftpSession::on_request(const char *bytes, int size, TftpOutcome &outcome)
{
    reset();
    const QByteArray name = text_at(bytes, size, 2);
    const QByteArray mode = text_at(bytes, size, 2 + name.size() + 1);
    if (name.isEmpty() || mode.toLower() != "octet") {
        outcome.answers.append({.bytes = tftp_error(ERROR_ILLEGAL, "octet mode only")});
        return;
    }
    running = true;
    outcome.started = true;
    file_name = QString::fromUtf8(name);
    acknowledge(outcome);
}

void TftpSession::on_data(const char *bytes, int size, TftpOutcome &outcome)
{
    if (!running && !complete)
        return;
    const uint16_t number = word_at(bytes + 2);
    if (number == static_cast<uint16_t>(blocks) && blocks > 0) {
        acknowledge(outcome); // our ACK was lost
        return;
    }
    const int length = size - DATA_HEADER;
    if (complete || number != static_cast<uint16_t>(blocks + 1) || length > BLOCK_SIZE)
        return;
    if (data.size() + length > LARGEST_FILE) {
        reset();
        outcome.answers.append({.bytes = tftp_error(ERROR_DISK_FULL, "file too large")});
        return;
    }
    data.append(bytes + DATA_HEADER, length);
    ++blocks;
    acknowledge(outcome);
    if (running && length < BLOCK_SIZE) {
        running = false;
        complete = true;
        outcome.finished = true;
    }
}

bool TftpSession::strikes_now()
{
    if (faults.strike == TftpStrike::NONE || faults.times < 1)
        return false;
    if (faults.at_block >= 0 && faults.at_block != blocks)
        return false;
    --faults.times;
    return true;
}

void TftpSession::acknowledge(TftpOutcome &outcome)
{
    if (strikes_now()) {
        strike(outcome);
        return;
    }
    outcome.answers.append(
        {.bytes = tftp_ack(static_cast<uint16_t>(blocks)), .delay = faults.ack_delay});
}

void TftpSession::strike(TftpOutcome &outcome)
{
    const auto block = static_cast<uint16_t>(blocks);
    switch (faults.strike) {
    case TftpStrike::NONE:
    case TftpStrike::LOSE:
        return;
    case TftpStrike::DOUBLE:
        outcome.answers.append({.bytes = tftp_ack(block)});
        outcome.answers.append({.bytes = tftp_ack(block)});
        return;
    case TftpStrike::WRONG_ACK:
        outcome.answers.append({.bytes = tftp_ack(static_cast<uint16_t>(block + faults.offset))});
        return;
    case TftpStrike::LATE:
        outcome.answers.append({.bytes = tftp_ack(block), .delay = faults.late});
        return;
    case TftpStrike::ERROR_SENT:
        outcome.answers.append(
            {.bytes = tftp_error(static_cast<uint16_t>(faults.code), faults.bytes)});
        reset();
        return;
    case TftpStrike::RAW:
        outcome.answers.append({.bytes = faults.bytes});
        return;
    case TftpStrike::OFFLINE:
        outcome.goes_offline = true;
        reset();
        return;
    }
}

} // namespace simulator
