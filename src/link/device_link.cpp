// The sockets by which the program hears the devices and speaks to them.
#include "link/device_link.h"

#include "link/datagram.h"
#include "link/drain_rules.h"

#include <QDebug>
#include <QElapsedTimer>
#include <QNetworkDatagram>

#include <algorithm>
#include <ctime>

namespace {

// A thousand reports of 2.5 KB may arrive at once; a default buffer holds 48 of them. The system
// grants up to its own limit (net.core.rmem_max).
constexpr int RECEIVE_BUFFER = 4 * 1024 * 1024;

int64_t thread_cpu_milliseconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return now.tv_sec * 1000 + now.tv_nsec / 1000000;
}

QString trouble_text(quint16 port, QAbstractSocket::SocketError error)
{
    const QString reason = error == QAbstractSocket::AddressInUseError
        ? "is taken by another program"
        : "could not be opened";
    return "Port " + QString::number(port) + " " + reason + ": devices may not be heard.";
}

} // namespace

DeviceLink::DeviceLink()
    : send_socket(MANAGER_PORT)
    , listen_socket(MANAGER_PORT)
    , broadcast_socket(BROADCAST_PORT)
    , sockets{&send_socket, &listen_socket, &broadcast_socket}
    , last_datagram(DatagramBatch::LARGEST_DATAGRAM)
{
    for (Socket *socket : sockets)
        connect(socket, &QUdpSocket::readyRead, this, [this, socket] {
            socket->has_signalled = true;
            if (is_drained()) // else the timer is about to: one slice per turn is enough
                on_packet();
        });
    drain_timer.setSingleShot(true);
    drain_timer.setInterval(0);
    connect(&drain_timer, &QTimer::timeout, this, &DeviceLink::on_packet);
}

void DeviceLink::open()
{
    for (Socket *socket : sockets)
        bind_socket(*socket, QHostAddress());
}

void DeviceLink::close()
{
    drain_timer.stop();
    waiting.clear();
    for (Socket *socket : sockets)
        socket->close();
}

bool DeviceLink::is_open() const
{
    return std::any_of(sockets.begin(), sockets.end(), [](const Socket *socket) {
        return socket->state() == QAbstractSocket::BoundState;
    });
}

// A failure ends nothing: the program then hears nothing on this socket.
void DeviceLink::bind_socket(Socket &socket, const QHostAddress &address)
{
    const QString former_trouble = socket.trouble;
    socket.trouble.clear();
    socket.has_large_buffer = false;
    if (socket.bind(address, socket.port, QAbstractSocket::ReuseAddressHint)) {
        enlarge_buffer(socket);
    } else {
        qDebug().noquote() << "can't bind UDP port" << socket.port << "-" << socket.errorString();
        socket.trouble = trouble_text(socket.port, socket.error());
    }
    if (socket.trouble != former_trouble)
        emit bind_troubles_changed();
}

void DeviceLink::enlarge_buffer(Socket &socket)
{
    socket.setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption, RECEIVE_BUFFER);
    socket.has_large_buffer = true;
}

QStringList DeviceLink::bind_troubles() const
{
    QStringList troubles;
    for (const Socket *socket : sockets)
        if (!socket->trouble.isEmpty())
            troubles.append(socket->trouble);
    troubles.removeDuplicates();
    return troubles;
}

FoundNetwork DeviceLink::find_network(const QString &name)
{
    return find_network_among(interfaces.present(), name);
}

QString DeviceLink::send(const QString &network, bool use_broadcast, QHostAddress address,
                         const QByteArray &bytes)
{
    const FoundNetwork found = find_network(network);
    if (use_broadcast)
        address = found.broadcast;
    if (found.index < 0) {
        qDebug() << "can't send to unknown network" << network;
        return "network not found";
    }
    if (found.source != bound_address) {
        send_socket.close();
        // KEPT: also when the bind fails: it is not tried again before the source changes.
        bound_address = found.source;
        bind_socket(send_socket, found.source);
    }

    QNetworkDatagram datagram(bytes, address, DEVICE_PORT);
    datagram.setInterfaceIndex(static_cast<uint>(found.index));
    const bool is_sent = send_socket.writeDatagram(datagram) >= 0;
    // After a failed bind the first write binds the socket to a port that the system picks, and
    // all answers come there.
    if (!send_socket.has_large_buffer)
        enlarge_buffer(send_socket);
    return is_sent ? QString() : "sending packet failed";
}

void DeviceLink::on_packet()
{
    QElapsedTimer elapsed;
    elapsed.start();
    const int64_t start = thread_cpu_milliseconds();
    const auto cpu_time = [start] { return thread_cpu_milliseconds() - start; };
    QByteArray payload;
    QHostAddress sender;
    bool is_drained = false;
    slice_is_full = false;
    emit draining();
    for (int taken = 0;
         !is_drained && !slice_is_full && slice_goes_on(taken, elapsed.elapsed(), cpu_time);
         ++taken) {
        is_drained = !receive_datagram(payload, sender);
        if (!is_drained)
            emit received(sender, payload);
    }
    // A socket that was left unread after its signal stays silent until somebody reads it.
    if (is_drained)
        drain_timer.stop();
    else
        drain_timer.start();
    emit drained();
}

// The next datagram; false when there is none. Its bytes stand until the next call.
bool DeviceLink::receive_datagram(QByteArray &payload, QHostAddress &sender)
{
    if (waiting.is_empty() && !fill_batch())
        return read_after_signals(payload, sender);
    waiting.hand_on(payload, sender);
    return true;
}

// From the first of the three sockets, in this order, that has any.
bool DeviceLink::fill_batch()
{
    return std::any_of(sockets.begin(), sockets.end(), [this](const Socket *socket) {
        return socket->state() == QAbstractSocket::BoundState
            && waiting.read(socket->socketDescriptor());
    });
}

// A socket that has signalled does so again only after a read of its own kind, even one in vain.
// Such a read may bring what has come since the batch was empty.
bool DeviceLink::read_after_signals(QByteArray &payload, QHostAddress &sender)
{
    for (Socket *socket : sockets) {
        if (!socket->has_signalled || socket->state() != QAbstractSocket::BoundState)
            continue;
        const qint64 size = socket->readDatagram(
            last_datagram.data(), static_cast<qint64>(last_datagram.size()), &sender);
        if (size >= 0) {
            payload = QByteArray::fromRawData(last_datagram.data(), static_cast<int>(size));
            return true;
        }
        socket->has_signalled = false;
    }
    return false;
}
