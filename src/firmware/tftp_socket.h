// The UDP socket of one TFTP transfer. Unlike QUdpSocket it can wait for an answer, which makes
// transfers a seventh faster than going back to the event loop each time.
#pragma once

#include "firmware/tftp_packet.h"

#include <QString>

#include <array>

struct TftpDatagram
{
    // One byte of room more than a legal datagram takes tells a longer one.
    std::array<char, TFTP_PACKET_SIZE + 1> bytes;
    qint64 size = 0;     // of `bytes`
    quint32 address = 0; // of the sender, as QHostAddress::toIPv4Address tells it
    quint16 port = 0;    // likewise
};

class TftpSocket
{
public:
    TftpSocket() = default;
    ~TftpSocket();
    Q_DISABLE_COPY_MOVE(TftpSocket)

    // Returns why there is no socket, empty on success.
    [[nodiscard]] QString open();
    // Takes a port, which other transfers may have too. Returns why it can't be had, empty on
    // success: the system picks another one then.
    [[nodiscard]] QString bind(quint16 port) const;
    int native_descriptor() const { return descriptor; } // negative before open()

    // By the network interface `interface_index`, or by the one the system picks when that is 0.
    // What can't be sent is lost, as on the network.
    void send(std::span<const char> bytes, quint32 address, quint16 port,
              unsigned interface_index) const;
    // Takes the next datagram; false when none is there.
    bool receive(TftpDatagram &datagram) const;
    // The same, but gives the next datagram a few milliseconds to come.
    bool await(TftpDatagram &datagram) const;

private:
    bool take(TftpDatagram &datagram, int flags) const;

    int descriptor = -1;
};
