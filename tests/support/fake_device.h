// A device on the loopback: hears what the window sends it.
#pragma once

#include "link/datagram.h"
#include "support/window_main.h"

#include <QNetworkDatagram>
#include <QUdpSocket>

class FakeDevice
{
public:
    // `address` is one of 127.0.0.0/8. The state is reported at once, as heard on the loopback.
    FakeDevice(WindowHandle *window, const QString &its_address, const QJsonObject &its_state)
        : gui(window)
        , address(its_address)
        , state(its_state)
    {
        if (!socket.bind(address, DEVICE_PORT, QAbstractSocket::ReuseAddressHint))
            qFatal("can't bind %s", qPrintable(its_address));
        report();
    }

    Device *record() const { return gui->find_device(state.value("device_id").toString()); }

    void report() const { gui->report(address, state, true, "lo"); }

    // The state with one more or changed part, reported.
    void report(const QString &part, const QString &key, const QJsonValue &value)
    {
        QJsonObject object = state.value(part).toObject();
        object.insert(key, value);
        state.insert(part, object);
        report();
    }

    // What has come so far, discovery apart, each without the version that sending adds.
    QList<QJsonObject> commands()
    {
        while (socket.hasPendingDatagrams()) {
            QJsonObject object = read_frame(socket.receiveDatagram().data()).object;
            object.remove("api_version");
            if (object.value("command") != QJsonValue("device_info"))
                received.append(object);
        }
        return received;
    }

    WindowHandle *gui;
    QHostAddress address;
    QJsonObject state;

private:
    QUdpSocket socket;
    QList<QJsonObject> received = {};
};
