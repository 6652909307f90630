// A fleet in this machine's network: its two ports, its clock and its alarm.
#include "simulator/fleet_network.h"

#include "link/datagram.h"

namespace simulator {

namespace {

constexpr uint16_t TFTP_PORT = 69;

} // namespace

FleetNetwork::FleetNetwork(Fleet &fleet_)
    : fleet(fleet_)
{
    connect(&alarm, &AlarmClock::rings, this, &FleetNetwork::on_alarm);
}

QString FleetNetwork::start()
{
    fleet.set_time(steady_time());
    QString error = fleet.take_addresses();
    if (error.isEmpty())
        error = open_sockets();
    if (error.isEmpty())
        error = fleet.start_faults();
    finish_round();
    return error;
}

// Without uploads a fleet is still of use, and an ordinary user may not open their port.
QString FleetNetwork::open_sockets()
{
    const QString error = device_socket.open(DEVICE_PORT);
    if (!error.isEmpty())
        return error + " (does the manager run on this machine outside a network of its own?)";
    listen_on(device_socket, device_notifier, &FleetNetwork::on_device_packets);
    tftp_fault = tftp_socket.open(TFTP_PORT);
    if (tftp_fault.isEmpty())
        listen_on(tftp_socket, tftp_notifier, &FleetNetwork::on_tftp_packets);
    return {};
}

void FleetNetwork::listen_on(PacketSocket &socket, std::unique_ptr<QSocketNotifier> &notifier,
                             void (FleetNetwork::*handler)()) const
{
    notifier = std::make_unique<QSocketNotifier>(socket.native_descriptor(), QSocketNotifier::Read);
    connect(notifier.get(), &QSocketNotifier::activated, this, handler);
}

QJsonObject FleetNetwork::answer(const QJsonObject &request)
{
    fleet.set_time(steady_time());
    const QJsonObject result = fleet.answer(request);
    finish_round();
    return result;
}

void FleetNetwork::on_device_packets()
{
    fleet.set_time(steady_time());
    device_socket.receive_round([this](const ReceivedPacket &packet) { fleet.hear(packet); });
    finish_round();
}

void FleetNetwork::on_tftp_packets()
{
    fleet.set_time(steady_time());
    tftp_socket.receive_round([this](const ReceivedPacket &packet) { fleet.hear_upload(packet); });
    finish_round();
}

void FleetNetwork::on_alarm()
{
    fleet.set_time(steady_time());
    fleet.run_due();
    finish_round();
}

void FleetNetwork::finish_round()
{
    if (device_socket.is_open())
        device_socket.send(fleet.outgoing);
    if (tftp_socket.is_open())
        tftp_socket.send(fleet.outgoing_uploads);
    alarm.set(fleet.next_due());
}

} // namespace simulator
