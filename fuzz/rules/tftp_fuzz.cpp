// Uploads as sequences of datagrams and time, with a peer that behaves, loses, repeats or lies.
#include "firmware/tftp_packet.h"
#include "firmware/tftp_transfer.h"
#include "fuzz/rules/fuzz_bytes.h"

#include <QLoggingCategory>

#include <algorithm>
#include <memory>

namespace {

constexpr int MOST_TRANSFER_STEPS = 200;

uint8_t byte_at(const TftpPacket &packet, size_t place)
{
    return static_cast<uint8_t>(packet.bytes[place]);
}

// A device that takes what it is sent, in order.
struct Peer
{
    QByteArray file = {};
    int blocks = -1; // taken so far; -1: no request yet
    bool is_whole = false;

    void take(const TftpPacket &packet)
    {
        const int opcode = byte_at(packet, 0) << 8 | byte_at(packet, 1);
        if (opcode == 2 && blocks <= 0) {
            blocks = 0;
            return;
        }
        expect(opcode == 3 && packet.size >= 4, "behind the request come blocks only");
        const int number = byte_at(packet, 2) << 8 | byte_at(packet, 3);
        if (is_whole || number != (blocks + 1) % 65536)
            return;
        ++blocks;
        file.append(packet.bytes.data() + 4, static_cast<int>(packet.size - 4));
        is_whole = packet.size < TFTP_PACKET_SIZE;
    }
};

QByteArray ack(int number)
{
    const char bytes[] = {0, 4, static_cast<char>(number >> 8), static_cast<char>(number)};
    return QByteArray(bytes, sizeof bytes);
}

struct TransferPlay
{
    FuzzBytes &bytes;
    TftpTransfer transfer = {};
    Peer peer = {};
    qint64 now = 0;
    int percent = 0;
    bool was_honest = true; // the peer has acknowledged nothing but what it took
    bool is_over = false;

    void check()
    {
        expect(transfer.block >= 0 && transfer.block <= transfer.block_count,
               "no block behind the last");
        expect(transfer.percent >= percent && transfer.percent <= 100, "progress only grows");
        expect(transfer.pending.size <= TFTP_PACKET_SIZE, "a datagram has its bound");
        expect(!is_over || !transfer.active, "what has ended stays ended");
        percent = transfer.percent;
        const std::optional<qint64> wait = tftp_wait(transfer, now);
        expect(!wait || (*wait >= 0 && transfer.active && transfer.pending.size > 0),
               "only what is on its way is waited for");
    }

    void follow(TftpAction action)
    {
        expect(!is_over || action == TFTP_NOTHING, "after the end nothing is to be done");
        switch (action) {
        case TFTP_NOTHING:
            break;
        case TFTP_SEND:
            expect(transfer.pending.size >= 4, "there is something to be sent");
            if (bytes.u8() % 8 != 0) // or it gets lost
                peer.take(transfer.pending);
            break;
        case TFTP_ACKNOWLEDGED:
            check();
            follow(tftp_proceed(transfer, now));
            break;
        case TFTP_SUCCEEDED:
            is_over = true;
            expect(transfer.percent == 100, "success is 100 percent");
            expect(!was_honest || peer.file == transfer.data, "the device has the whole file");
            break;
        case TFTP_FAILED:
            is_over = true;
            expect(transfer.status.startsWith("Error: "), "a failure has its reason");
            break;
        }
        check();
    }

    void receive(const QByteArray &datagram)
    {
        const auto size = static_cast<size_t>(datagram.size());
        const size_t length = std::min(size, TFTP_PACKET_SIZE);
        const std::unique_ptr<char[]> block(new char[length]);
        std::copy_n(datagram.constData(), length, block.get());
        follow(tftp_receive(transfer, std::span<const char>(block.get(), length),
                            static_cast<qint64>(size), now));
    }

    void step()
    {
        switch (bytes.u8() % 8) {
        case 0:
            was_honest = false;
            receive(bytes.bytes());
            break;
        case 1:
            was_honest = false;
            receive(ack(transfer.block + bytes.below(5) - 2));
            break;
        case 2:
            now += bytes.u16() % 700;
            follow(tftp_resend(transfer, now));
            break;
        case 3:
            now += bytes.u16();
            follow(tftp_resend(transfer, now));
            break;
        default:
            if (peer.blocks >= 0)
                receive(ack(peer.blocks));
            else
                follow(tftp_resend(transfer, now += TFTP_RESEND_INTERVAL));
        }
    }
};

void check_packets(FuzzBytes &bytes)
{
    TftpPacket packet;
    const QByteArray block = bytes.bytes(bytes.u16() % 513);
    const int number = bytes.u16();
    build_data_block(packet, number, {block.constData(), static_cast<size_t>(block.size())});
    expect(packet.size == 4 + static_cast<size_t>(block.size()), "a block is its header and bytes");
    expect(QByteArray(packet.bytes.data() + 4, block.size()) == block, "its bytes are the file's");
    const QByteArray answer = ack(number);
    const TftpReply reply = read_tftp_reply({answer.constData(), 4}, 4);
    expect(reply.kind == TFTP_REPLY_ACK && reply.block == number, "an ACK is read as written");
}

} // namespace

void fuzz_tftp(const uint8_t *data, size_t size)
{
    static const bool is_silent = [] {
        QLoggingCategory::setFilterRules("*.debug=false"); // each unknown datagram is told
        return true;
    }();
    Q_UNUSED(is_silent)
    FuzzBytes bytes(data, size);
    if (bytes.u8() % 16 == 0) {
        check_packets(bytes);
        return;
    }
    TransferPlay play{.bytes = bytes};
    play.transfer.filename = bytes.u8() % 16 == 0
        ? QString(QLatin1Char('x')).repeated(bytes.u16() % 600)
        : QString("firmware.bin");
    play.transfer.data = QByteArray(bytes.u16() % 6000, 'f') + bytes.bytes();
    play.follow(tftp_start(play.transfer, play.now));
    for (int i = 0; i < MOST_TRANSFER_STEPS && !bytes.is_empty(); ++i)
        play.step();
}
