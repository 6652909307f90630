// Sends datagrams, and tells the operator when that fails.
#include "gui/gui.h"
#include "link/command.h"
#include "link/datagram.h"
#include "link/interface_rules.h"
#include "model/presence.h"

#include <QDebug>
#include <QMessageBox>
#include <QNetworkDatagram>

namespace {

// A thousand reports of 2.5 KB may arrive at once; a default buffer holds 48 of them. The system
// grants up to its own limit (net.core.rmem_max).
constexpr int RECEIVE_BUFFER = 4 * 1024 * 1024;

} // namespace

// A failure stays silent for the operator: the program then hears nothing on this socket.
void Gui::bind_socket(QUdpSocket &socket, const QHostAddress &address, quint16 port)
{
    if (!socket.bind(address, port, QAbstractSocket::ReuseAddressHint)) {
        qDebug().noquote() << "can't bind UDP port" << port << "-" << socket.errorString();
        return;
    }
    socket.setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption, RECEIVE_BUFFER);
}

QString Gui::send_datagram(const QString &network, bool use_broadcast, QHostAddress address,
                           const QByteArray &payload)
{
    int index = -1;
    QHostAddress broadcast;
    QHostAddress source;
    find_network(network, index, broadcast, source);
    if (use_broadcast)
        address = broadcast;
    if (index < 0) {
        qDebug() << "can't send to unknown network" << network;
        return "network not found";
    }
    if (source != bound_address) {
        send_socket.close();
        // Also when the bind fails: it is not tried again before the source changes.
        bound_address = source;
        bind_socket(send_socket, source, DEVICE_PORT);
    }

    QNetworkDatagram datagram(payload, address, DEVICE_PORT);
    datagram.setInterfaceIndex(static_cast<uint>(index));
    return send_socket.writeDatagram(datagram) < 0 ? "sending packet failed" : QString();
}

QString Gui::send_json(const QString &network, bool use_broadcast, const QHostAddress &address,
                       const QJsonObject &object)
{
    return send_datagram(network, use_broadcast, address, write_frame(object));
}

// The device counts as asked even when the sending then fails. No caller is quiet so far.
QString Gui::send_to_device(Device *device, QJsonObject object, bool quiet)
{
    object.insert("api_version", API_VERSION);
    if (!quiet)
        append_log(device, true, traffic_line("Sending JSON: ", object));
    note_command_sent(*device);
    return send_json(device->interface, false, device->address, object);
}

void Gui::report_device_error(QString &errors, Device *device, const QString &result)
{
    append_network_error(errors, device->address, result);
}

// The empty bold tag makes the box take the text for rich text, so that "<br>" breaks lines.
void Gui::show_network_errors(const QString &errors)
{
    if (!errors.isEmpty())
        QMessageBox::warning(this, "Network error", "<b></b>" + errors, QMessageBox::Ok);
}
