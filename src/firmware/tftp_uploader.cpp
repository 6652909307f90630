// Writes one block of bytes to one device by TFTP, over one network interface.
#include "firmware/tftp_uploader.h"

#include "support/descriptor_limit.h"

#include <QHash>
#include <QtDebug>

#include <algorithm>

namespace {

constexpr int DATAGRAMS_PER_TURN = 64; // then the window gets its turn
constexpr qint64 TURN_LIMIT = 2;       // ms, likewise

using UploaderMap = QHash<quint32, QTFTPFileUploader *>;

// The running transfers by device. All sockets share port 69, and on Linux the one bound last gets
// every unicast datagram, whichever transfer it is meant for: that one has to pass it on.
UploaderMap &running_uploaders()
{
    static UploaderMap uploaders;
    return uploaders;
}

void warn_once_about_port(const QString &reason)
{
    static bool is_told = false;
    if (!is_told)
        qDebug("can't bind UDP port %d for uploads: %s", int{TFTP_PORT}, qPrintable(reason));
    is_told = true;
}

} // namespace

QTFTPFileUploader::QTFTPFileUploader(unsigned index, const QHostAddress &device_address,
                                     const QByteArray &data, const QString &filename)
    : interface_index(index)
    , address(device_address.toIPv4Address())
{
    transfer.data = data;
    transfer.filename = filename;
    resend_timer.setSingleShot(true);
    resend_timer.setTimerType(Qt::PreciseTimer);
    connect(&resend_timer, &QTimer::timeout, this, &QTFTPFileUploader::resend);
}

QTFTPFileUploader::~QTFTPFileUploader()
{
    leave();
    hand_over_waiting();
}

void QTFTPFileUploader::start()
{
    clock.start();
    const TftpAction action = begin();
    carry_out(action);
    if (action == TFTP_SEND)
        emit progress(percent());
}

// Each transfer has a socket of its own. Without one nothing would ever be sent, and the transfer
// would stand at 0 % until it timed out.
TftpAction QTFTPFileUploader::begin()
{
    raise_descriptor_limit();
    if (!has_spare_descriptor())
        return tftp_refuse(transfer, QStringLiteral("too many open files"));
    const QString error = open_socket();
    if (!error.isEmpty())
        return tftp_refuse(transfer, error);
    running_uploaders().insert(address, this);
    return tftp_start(transfer, clock.elapsed());
}

QString QTFTPFileUploader::open_socket()
{
    const QString error = socket.open();
    if (!error.isEmpty())
        return error;
    const QString no_port = socket.bind(TFTP_PORT);
    if (!no_port.isEmpty())
        warn_once_about_port(no_port);
    notifier = std::make_unique<QSocketNotifier>(socket.native_descriptor(), QSocketNotifier::Read);
    connect(notifier.get(), &QSocketNotifier::activated, this, &QTFTPFileUploader::read_waiting);
    return {};
}

// Answers may arrive as fast as they are read here, so a turn is limited; what is left over makes
// the socket report itself again.
void QTFTPFileUploader::read_waiting()
{
    const qint64 turn_end = clock.elapsed() + TURN_LIMIT;
    TftpDatagram datagram;
    bool is_there = socket.receive(datagram);
    for (int taken = 1; is_there; ++taken) {
        hand_out(datagram);
        is_there = taken < DATAGRAMS_PER_TURN && read_next(datagram, turn_end);
    }
}

// Behind the answer to a transfer that runs alone stands no other, unless the device repeats
// itself. The next one may be worth waiting for: the way back to the event loop and here again
// takes longer than a block.
bool QTFTPFileUploader::read_next(TftpDatagram &datagram, qint64 turn_end) const
{
    const UploaderMap &running = running_uploaders();
    if (running.size() != 1)
        return socket.receive(datagram);
    const bool is_quick = tftp_is_quick(running.constBegin().value()->transfer);
    return is_quick && clock.elapsed() < turn_end && socket.await(datagram);
}

// To the transfer that it is meant for, if there is one.
void QTFTPFileUploader::hand_out(const TftpDatagram &datagram)
{
    if (datagram.port != TFTP_PORT)
        return;
    QTFTPFileUploader *const receiver
        = datagram.address == address ? this : running_uploaders().value(datagram.address);
    if (receiver)
        receiver->take(datagram);
}

void QTFTPFileUploader::take(const TftpDatagram &datagram)
{
    const auto size = std::min(static_cast<size_t>(datagram.size), TFTP_PACKET_SIZE);
    carry_out(
        tftp_receive(transfer, {datagram.bytes.data(), size}, datagram.size, clock.elapsed()));
}

void QTFTPFileUploader::carry_out(TftpAction action)
{
    switch (action) {
    case TFTP_NOTHING:
        return;
    case TFTP_SEND:
        send_pending();
        return;
    case TFTP_ACKNOWLEDGED:
        emit progress(percent());
        carry_out(tftp_proceed(transfer, clock.elapsed()));
        return;
    case TFTP_SUCCEEDED:
        leave();
        emit progress(percent());
        emit done(true);
        return;
    case TFTP_FAILED:
        leave();
        emit done(false);
        return;
    }
}

void QTFTPFileUploader::send_pending()
{
    const TftpPacket &packet = transfer.pending;
    socket.send({packet.bytes.data(), packet.size}, address, TFTP_PORT, interface_index);
    // Not restarted with each block, which costs more than the block: resend asks the clock.
    if (!resend_timer.isActive())
        resend_timer.start(static_cast<int>(TFTP_RESEND_INTERVAL));
}

void QTFTPFileUploader::resend()
{
    carry_out(tftp_resend(transfer, clock.elapsed()));
    const std::optional<qint64> wait = tftp_wait(transfer, clock.elapsed());
    if (wait)
        resend_timer.start(static_cast<int>(*wait));
}

void QTFTPFileUploader::leave()
{
    resend_timer.stop();
    if (running_uploaders().value(address) == this)
        running_uploaders().remove(address);
}

// The socket may hold answers for other transfers, which would otherwise have to wait for a repeat.
// They are passed on from the event loop: whoever deletes this object expects no signal of another.
void QTFTPFileUploader::hand_over_waiting()
{
    TftpDatagram datagram;
    while (!running_uploaders().isEmpty() && socket.receive(datagram)) {
        QTFTPFileUploader *const receiver = running_uploaders().value(datagram.address);
        if (!receiver || datagram.port != TFTP_PORT)
            continue;
        const auto deliver = [receiver, datagram] { receiver->take(datagram); };
        QMetaObject::invokeMethod(receiver, deliver, Qt::QueuedConnection);
    }
}
