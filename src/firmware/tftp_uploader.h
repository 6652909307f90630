// Writes one block of bytes to one device by TFTP, over one network interface.
#pragma once

#include "firmware/tftp_socket.h"
#include "firmware/tftp_transfer.h"

#include <QElapsedTimer>
#include <QHostAddress>
#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <memory>

// One object serves one transfer; any number may run at once, one per device. The owner deletes it
// after `done`, with deleteLater: `done` may come from inside start().
class QTFTPFileUploader : public QObject
{
    Q_OBJECT

public:
    // Starts nothing. Every datagram leaves by the interface `interface_index`, or by the one the
    // system picks when that is 0. `filename` tells the device what it gets.
    QTFTPFileUploader(unsigned interface_index, const QHostAddress &address, const QByteArray &data,
                      const QString &filename);
    ~QTFTPFileUploader() override;

    // Sends the write request from port 69, or fails at once when the program has as many sockets
    // as it may have. KEPT: where that port can't be bound, the transfer runs all the same from
    // another one, and times out if the device insists on port 69.
    void start();

    int percent() const { return transfer.percent; } // 0 to 100
    bool is_active() const { return transfer.active; }
    // What the transfer is doing, or why it failed ("Error: timeout").
    QString status() const { return transfer.status; }

signals:
    void progress(int percent); // 0 at start, with each accepted ACK, 100 at the end
    void done(bool success);    // exactly once for a transfer that has begun

private:
    TftpAction begin();
    QString open_socket();
    void read_waiting();
    bool read_next(TftpDatagram &datagram, qint64 turn_end) const;
    void hand_out(const TftpDatagram &datagram);
    void take(const TftpDatagram &datagram);
    void carry_out(TftpAction action);
    void send_pending();
    void resend();
    void leave();
    void hand_over_waiting();

    TftpTransfer transfer;
    unsigned interface_index;
    quint32 address; // of the device
    TftpSocket socket;
    std::unique_ptr<QSocketNotifier> notifier; // null without a socket; gone before it
    QTimer resend_timer;
    QElapsedTimer clock; // steady: setting the wall clock must not end a transfer
};
