// The sockets by which the program hears the devices and speaks to them.
#pragma once

#include "link/datagram_batch.h"
#include "link/interface_list.h"

#include <QHostAddress>
#include <QObject>
#include <QStringList>
#include <QTimer>
#include <QUdpSocket>

#include <array>
#include <vector>

// What has arrived is handed on in slices, one per turn of the event loop, so that a burst of a
// thousand reports does not stop the painting: `draining`, any number of `received`, `drained`.
class DeviceLink : public QObject
{
    Q_OBJECT

public:
    DeviceLink();

    // Binds the three sockets to all addresses of this computer.
    void open();
    // Closes them, at once: another copy may be waiting to hear the devices. Nothing is handed on
    // any more.
    void close();
    bool is_open() const; // whether any socket is bound

    // Sends to a device, or with `use_broadcast` to all on that network, by its interface and from
    // its address. Returns an error text, empty on success.
    [[nodiscard]] QString send(const QString &network, bool use_broadcast, QHostAddress address,
                               const QByteArray &bytes);

    // The interfaces, read anew: due once in each round of discovery.
    const std::vector<NetworkInterface> &renew_interfaces() { return interfaces.renew(); }
    // What a network's name stands for now.
    FoundNetwork find_network(const QString &name);

    // Ends the slice behind the datagram that is being handed on. The rest comes in the next turn.
    void end_slice() { slice_is_full = true; }

    // Whether nothing waits: the last slice took all there was.
    bool is_drained() const { return !drain_timer.isActive(); }

    // One line for each port that could not be bound, until it is.
    QStringList bind_troubles() const;

    // What the sending socket was last bound to; null at start.
    const QHostAddress &source_address() const { return bound_address; }
    // How often the list of interfaces has been read.
    int interface_readings() const { return interfaces.readings(); }

public slots:
    // Hands on what waits: a slice of it.
    void on_packet();

signals:
    void draining();
    // The bytes are gone when the last slot has returned.
    void received(const QHostAddress &from, const QByteArray &bytes);
    void drained();
    void bind_troubles_changed();

private:
    // A socket with the port that it is meant for, and what became of its last bind.
    struct Socket : QUdpSocket
    {
        explicit Socket(quint16 its_port)
            : port(its_port)
        {
        }

        quint16 port;
        bool has_large_buffer = false;
        bool has_signalled = false; // and was not read one by one since
        QString trouble = {};
    };

    void bind_socket(Socket &socket, const QHostAddress &address);
    static void enlarge_buffer(Socket &socket);
    bool receive_datagram(QByteArray &payload, QHostAddress &sender);
    bool fill_batch();
    bool read_after_signals(QByteArray &payload, QHostAddress &sender);

    Socket send_socket;
    QHostAddress bound_address; // what send_socket was last bound to
    Socket listen_socket;
    Socket broadcast_socket;
    std::array<Socket *, 3> sockets; // all of them, in the order of reading
    QTimer drain_timer;              // single-shot, 0 ms: the rest of a burst
    DatagramBatch waiting;           // taken from a socket and not handed on yet
    std::vector<char> last_datagram; // what a read in vain brought after all
    bool slice_is_full = false;
    InterfaceList interfaces;
};
