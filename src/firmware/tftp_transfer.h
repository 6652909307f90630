// The course of one TFTP write: which datagram comes next, when it is repeated, how it ends.
#pragma once

#include "firmware/tftp_packet.h"

#include <QByteArray>
#include <QString>

#include <optional>

constexpr qint64 TFTP_RESEND_INTERVAL = 500; // ms without an answer until a datagram is repeated
constexpr qint64 TFTP_IDLE_LIMIT = 20000;    // ms without a valid datagram until it is given up
constexpr qint64 TFTP_QUICK_ANSWER = 1;      // ms, of a clock that may just have ticked
constexpr int TFTP_QUICK_RUN = 16;           // such answers, one after the other
constexpr qsizetype TFTP_LARGEST_FILE = 0x1FFFE00; // bytes

// Times are ms of a steady clock with any origin.
struct TftpTransfer
{
    QByteArray data = {}; // what is written to the device
    QString filename = {};
    QString status = {}; // what the transfer is doing, for display

    int block_count = 0;        // DATA blocks: the last is shorter than 512 bytes, maybe empty
    size_t last_block_size = 0; // bytes
    int block = 0;              // number of the block last sent; 0 while the request stands
    bool active = false;
    int percent = 0;          // 0 to 100
    TftpPacket pending = {};  // awaits its answer; size 0 when nothing is to be repeated
    qint64 last_sent = 0;     // when `pending` went out last
    qint64 last_activity = 0; // start, or the latest datagram accepted
    int quick_answers = 0;    // one after the other, until now
};

// What the owner of a transfer has to do after an event.
enum TftpAction
{
    TFTP_NOTHING,
    TFTP_SEND,         // send `pending`
    TFTP_ACKNOWLEDGED, // announce `percent`, then call tftp_proceed
    TFTP_SUCCEEDED,    // announce `percent` and success
    TFTP_FAILED,       // announce failure; the reason stands in `status`
};

// The transfer begins: sends the write request, or fails. Files above TFTP_LARGEST_FILE and names
// above TFTP_LONGEST_NAME bytes of UTF-8 are refused.
TftpAction tftp_start(TftpTransfer &transfer, qint64 now);

// Instead of tftp_start: the transfer ends before its first datagram, for a reason of ours.
TftpAction tftp_refuse(TftpTransfer &transfer, const QString &error);

// Takes a datagram of `received` bytes that came from the device's address and port 69; `bytes` is
// what of it fitted into TFTP_PACKET_SIZE. Any datagram of legal size ends the repeating of the
// pending one, an ACK for an earlier block or an unknown opcode too: the transfer then waits for
// the next good ACK without a limit. This stays.
TftpAction tftp_receive(TftpTransfer &transfer, std::span<const char> bytes, qint64 received,
                        qint64 now);

// After TFTP_ACKNOWLEDGED: the next block, or the end.
TftpAction tftp_proceed(TftpTransfer &transfer, qint64 now);

// Whether the device has answered so fast, and so often, that its next answer is worth waiting for.
bool tftp_is_quick(const TftpTransfer &transfer);

// To be called when tftp_wait is over: repeats the pending datagram, or gives up once more than
// TFTP_IDLE_LIMIT has passed since the last sign of life. Too early a call does nothing.
TftpAction tftp_resend(TftpTransfer &transfer, qint64 now);

// Milliseconds from `now`, at least 0, until tftp_resend is due; nothing when no datagram waits.
std::optional<qint64> tftp_wait(const TftpTransfer &transfer, qint64 now);
