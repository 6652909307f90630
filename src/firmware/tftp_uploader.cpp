// Writes one block of bytes to one device by TFTP, over one network interface.
#include "firmware/tftp_uploader.h"

#include "support/descriptor_limit.h"

#include <QHash>
#include <QVariant>
#include <QtDebug>

#include <algorithm>
#include <array>

namespace {

constexpr int RECEIVE_BUFFER_SIZE = 4 << 20; // bytes, for the answers of a whole fleet
constexpr int DATAGRAMS_PER_TURN = 64;       // then the window gets its turn

using UploaderMap = QHash<QHostAddress, QTFTPFileUploader *>;

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

QTFTPFileUploader::QTFTPFileUploader(unsigned interface_index, const QHostAddress &device_address,
                                     const QByteArray &data, const QString &filename)
    : address(device_address)
{
    transfer.data = data;
    transfer.filename = filename;
    datagram.setDestination(address, TFTP_PORT);
    datagram.setInterfaceIndex(interface_index);
    resend_timer.setSingleShot(true);
    resend_timer.setTimerType(Qt::PreciseTimer);
    connect(&resend_timer, &QTimer::timeout, this, &QTFTPFileUploader::resend);
    connect(&socket, &QUdpSocket::readyRead, this, &QTFTPFileUploader::read_waiting);
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
    bind_socket();
    running_uploaders().insert(address, this);
    return tftp_start(transfer, clock.elapsed());
}

void QTFTPFileUploader::bind_socket()
{
    if (!socket.bind(QHostAddress(), TFTP_PORT, QAbstractSocket::ReuseAddressHint))
        warn_once_about_port(socket.errorString());
    socket.setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption, RECEIVE_BUFFER_SIZE);
}

// Answers may arrive as fast as they are read here, so a turn is limited; what is left over makes
// the socket report itself again. Behind the answer to a transfer that runs alone stands another
// one only if the device answers at once.
void QTFTPFileUploader::read_waiting()
{
    const bool is_slow = clock.elapsed() > transfer.last_sent;
    for (int i = 0; i < DATAGRAMS_PER_TURN; ++i)
        if (!read_datagram() || (is_slow && running_uploaders().size() == 1))
            return;
}

// False when none waits. One byte of room more than a legal answer takes tells a longer one.
bool QTFTPFileUploader::read_datagram()
{
    std::array<char, TFTP_PACKET_SIZE + 1> buffer;
    quint16 port = 0;
    const qint64 received = socket.readDatagram(buffer.data(), buffer.size(), &last_sender, &port);
    if (received < 0)
        return false;
    if (port != TFTP_PORT)
        return true;
    QTFTPFileUploader *const receiver
        = last_sender == address ? this : running_uploaders().value(last_sender);
    const auto size = std::min(static_cast<size_t>(received), TFTP_PACKET_SIZE);
    if (receiver)
        receiver->take({buffer.data(), size}, received);
    return true;
}

void QTFTPFileUploader::take(std::span<const char> bytes, qint64 received)
{
    carry_out(tftp_receive(transfer, bytes, received, clock.elapsed()));
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
    datagram.setData(QByteArray::fromRawData(packet.bytes.data(), static_cast<int>(packet.size)));
    socket.writeDatagram(datagram); // a lost or refused datagram is sent again by the timer
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
    while (!running_uploaders().isEmpty() && socket.hasPendingDatagrams()) {
        const qint64 received = socket.pendingDatagramSize();
        const QNetworkDatagram waiting = socket.receiveDatagram(TFTP_PACKET_SIZE);
        QTFTPFileUploader *const receiver = running_uploaders().value(waiting.senderAddress());
        if (!receiver || waiting.senderPort() != TFTP_PORT)
            continue;
        const auto deliver = [receiver, bytes = waiting.data(), received] {
            receiver->take({bytes.constData(), static_cast<size_t>(bytes.size())}, received);
        };
        QMetaObject::invokeMethod(receiver, deliver, Qt::QueuedConnection);
    }
}
