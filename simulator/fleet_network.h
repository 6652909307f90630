// A fleet in this machine's network: its two ports, its clock and its alarm.
#pragma once

#include "simulator/alarm_clock.h"
#include "simulator/fleet.h"
#include "simulator/packet_socket.h"

#include <QJsonObject>
#include <QObject>
#include <QSocketNotifier>
#include <QString>

#include <memory>

namespace simulator {

class FleetNetwork : public QObject
{
    Q_OBJECT

public:
    explicit FleetNetwork(Fleet &fleet);

    // Gives out the addresses, opens the ports and switches on the plans' faults. Returns what went
    // wrong, then nothing runs.
    QString start();
    // Has the fleet carry out a request, and sends what follows from it.
    QJsonObject answer(const QJsonObject &request);
    // Why there are no uploads; empty when there are.
    QString tftp_error() const { return tftp_fault; }

private:
    QString open_sockets();
    void listen_on(PacketSocket &socket, std::unique_ptr<QSocketNotifier> &notifier,
                   void (FleetNetwork::*handler)()) const;
    void on_device_packets();
    void on_tftp_packets();
    void on_alarm();
    // Every way in from the event loop: tells the fleet the time, does its work, sends what has
    // been queued, and sets the alarm.
    template<typename Work>
    void in_round(const Work &work);

    Fleet &fleet;
    AlarmClock alarm;
    PacketSocket device_socket;
    PacketSocket tftp_socket;
    std::unique_ptr<QSocketNotifier> device_notifier;
    std::unique_ptr<QSocketNotifier> tftp_notifier;
    QString tftp_fault = {};
};

} // namespace simulator
