// A device's TFTP server on the loopback: 127.0.0.x, port 69, in a private network.
#pragma once

#include "support/tftp_packets.h"

#include <QHostAddress>
#include <QNetworkDatagram>
#include <QUdpSocket>

#include <functional>

inline QHostAddress device_address(int number)
{
    return QHostAddress(0x7F000000U + static_cast<uint32_t>(number));
}

inline QByteArray made_data(int size)
{
    QByteArray data(size, '\0');
    for (int i = 0; i < size; ++i)
        data[i] = static_cast<char>(i * 7 + i / 256);
    return data;
}

// Stores what it gets and acknowledges it, unless a test takes over.
struct Peer
{
    QUdpSocket socket;
    QByteArray name = {};   // of the file, from the write request
    QByteArray stored = {}; // blocks in order, each once
    int last_block = -1;
    int requests = 0;
    int seen = 0; // datagrams
    QHostAddress client = {};
    std::function<bool(int seen)> misses = [](int) { return false; }; // datagram number `seen`
    // What goes back for block `block` (0: the request) as datagram number `seen`.
    std::function<QList<QByteArray>(int block, int seen)> reply
        = [](int block, int) { return QList<QByteArray>{ack(block)}; };

    explicit Peer(int number)
    {
        if (!socket.bind(device_address(number), 69, QAbstractSocket::ReuseAddressHint))
            qFatal("can't bind port 69 of device %d", number);
        socket.setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption, 1 << 20);
        QObject::connect(&socket, &QUdpSocket::readyRead, &socket, [this] { answer(); });
    }

    // From now on the transfer gets no further than this block.
    void stop_at(int last)
    {
        reply = [last](int block, int) {
            return block < last ? QList<QByteArray>{ack(block)} : QList<QByteArray>();
        };
    }

    void answer()
    {
        while (socket.hasPendingDatagrams()) {
            const QNetworkDatagram request = socket.receiveDatagram();
            client = request.senderAddress();
            if (misses(++seen))
                continue;
            const int block = store(request.data());
            for (const QByteArray &one : reply(block, seen))
                send(one);
        }
    }

    // A repeated request starts anew, as a device would.
    int store(const QByteArray &datagram)
    {
        const auto byte = [&datagram](int i) { return static_cast<uint8_t>(datagram.at(i)); };
        if (byte(1) == 2) {
            name = datagram.mid(2).split('\0').at(0);
            stored.clear();
            last_block = 0;
            ++requests;
            return 0;
        }
        const int block = byte(2) << 8 | byte(3);
        if (block == last_block + 1) {
            stored += datagram.mid(4);
            last_block = block;
        }
        return block;
    }

    void send(const QByteArray &datagram) { socket.writeDatagram(datagram, client, 69); }
};
