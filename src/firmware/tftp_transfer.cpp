// The course of one TFTP write: which datagram comes next, when it is repeated, how it ends.
#include "firmware/tftp_transfer.h"

#include <QtDebug>

#include <algorithm>

namespace {

TftpAction fail(TftpTransfer &transfer, const QString &error)
{
    if (!transfer.active)
        return TFTP_NOTHING;
    transfer.pending.size = 0;
    transfer.status = QStringLiteral("Error: ") + error;
    transfer.active = false;
    return TFTP_FAILED;
}

TftpAction send(TftpTransfer &transfer, qint64 now)
{
    transfer.last_sent = now;
    return TFTP_SEND;
}

TftpAction take_ack(TftpTransfer &transfer, int number)
{
    if (number < transfer.block)
        return TFTP_NOTHING;
    // KEPT: the text has no closing parenthesis.
    if (number > transfer.block)
        return fail(transfer,
                    QStringLiteral("bad TFTP ACK sequence NR (expected ")
                        + QString::number(transfer.block) + QStringLiteral(" got ")
                        + QString::number(number));
    transfer.status = QStringLiteral("Uploading...");
    // 100 is kept for the end: 99 is the most that an acknowledged block can show.
    transfer.percent = transfer.block * 99 / transfer.block_count;
    return TFTP_ACKNOWLEDGED;
}

// The bytes of the present block. A view into the file: cutting sent blocks off its front would
// copy the rest each time.
std::span<const char> block_bytes(const TftpTransfer &transfer)
{
    const std::span<const char> file(transfer.data.constData(),
                                     static_cast<size_t>(transfer.data.size()));
    const auto offset = static_cast<size_t>(transfer.block - 1) * TFTP_BLOCK_SIZE;
    return file.subspan(offset, std::min(TFTP_BLOCK_SIZE, file.size() - offset));
}

TftpAction succeed(TftpTransfer &transfer)
{
    transfer.status = QStringLiteral("Upload succeeded.");
    transfer.active = false;
    transfer.percent = 100;
    return TFTP_SUCCEEDED;
}

} // namespace

TftpAction tftp_start(TftpTransfer &transfer, qint64 now)
{
    transfer.active = true;
    transfer.last_activity = now;
    transfer.status = QStringLiteral("Initializing...");
    if (transfer.data.size() > TFTP_LARGEST_FILE)
        return fail(transfer, QStringLiteral("file size too large"));
    const auto size = static_cast<size_t>(transfer.data.size());
    transfer.block = 0;
    transfer.block_count = static_cast<int>(size / TFTP_BLOCK_SIZE) + 1;
    transfer.last_block_size = size % TFTP_BLOCK_SIZE;

    const QByteArray name = transfer.filename.toUtf8();
    if (name.size() > TFTP_LONGEST_NAME)
        return fail(transfer, QStringLiteral("filename too long"));
    build_write_request(transfer.pending, name);
    transfer.percent = 0;
    return send(transfer, now);
}

TftpAction tftp_refuse(TftpTransfer &transfer, const QString &error)
{
    transfer.active = true;
    return fail(transfer, error);
}

TftpAction tftp_receive(TftpTransfer &transfer, std::span<const char> bytes, qint64 received,
                        qint64 now)
{
    // A late or doubled ACK must not end the transfer a second time.
    if (!transfer.active)
        return TFTP_NOTHING;
    const TftpReply reply = read_tftp_reply(bytes, received);
    const bool is_quick = now - transfer.last_sent <= TFTP_QUICK_ANSWER;
    transfer.quick_answers = is_quick ? std::min(transfer.quick_answers + 1, TFTP_QUICK_RUN) : 0;
    // Before the reply is looked at: a device that says anything at all has the datagram, so it is
    // not repeated any more, even if the reply itself is useless.
    transfer.pending.size = 0;
    transfer.last_activity = now;

    switch (reply.kind) {
    case TFTP_REPLY_ACK:
        return take_ack(transfer, reply.block);
    case TFTP_REPLY_FATAL:
        return fail(transfer, reply.error);
    case TFTP_REPLY_UNKNOWN:
        qDebug("ignoring packet with unknown TFTP opcode");
        return TFTP_NOTHING;
    }
    return TFTP_NOTHING;
}

TftpAction tftp_proceed(TftpTransfer &transfer, qint64 now)
{
    if (!transfer.active)
        return TFTP_NOTHING;
    if (transfer.block == transfer.block_count)
        return succeed(transfer);

    ++transfer.block;
    const std::span<const char> bytes = block_bytes(transfer);
    const bool is_last = transfer.block == transfer.block_count;
    if (bytes.size() != (is_last ? transfer.last_block_size : TFTP_BLOCK_SIZE))
        return fail(transfer, QStringLiteral("internal TFTP error"));
    build_data_block(transfer.pending, transfer.block, bytes);
    return send(transfer, now);
}

bool tftp_is_quick(const TftpTransfer &transfer)
{
    return transfer.quick_answers == TFTP_QUICK_RUN;
}

TftpAction tftp_resend(TftpTransfer &transfer, qint64 now)
{
    const std::optional<qint64> wait = tftp_wait(transfer, now);
    if (!wait || *wait > 0)
        return TFTP_NOTHING;
    if (now - transfer.last_activity > TFTP_IDLE_LIMIT)
        return fail(transfer, QStringLiteral("timeout"));
    return send(transfer, now);
}

std::optional<qint64> tftp_wait(const TftpTransfer &transfer, qint64 now)
{
    if (!transfer.active || transfer.pending.size == 0)
        return {};
    return std::max<qint64>(0, transfer.last_sent + TFTP_RESEND_INTERVAL - now);
}
