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

template<typename Work>
void FleetNetwork::in_round(const Work &work)
{
    fleet.set_time(steady_time());
    work();
    if (device_socket.is_open())
        device_socket.send(fleet.outgoing);
    if (tftp_socket.is_open())
        tftp_socket.send(fleet.outgoing_uploads);
    alarm.set(fleet.next_due());
}

QString FleetNetwork::start()
{
    QString error;
    in_round([this, &error] {
        error = fleet.take_addresses();
        if (error.isEmpty())
            error = open_sockets();
        if (error.isEmpty())
            error = fleet.start_faults();
    });
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
    QJsonObject result;
    in_round([this, request, &result] { result = fleet.answer(request); });
    return result;
}

void FleetNetwork::on_device_packets()
{
    const auto hear = [this](const ReceivedPacket &packet) { fleet.hear(packet); };
    in_round([this, hear] { device_socket.receive_round(hear); });
}

void FleetNetwork::on_tftp_packets()
{
    const auto hear = [this](const ReceivedPacket &packet) { fleet.hear_upload(packet); };
    in_round([this, hear] { tftp_socket.receive_round(hear); });
}

void FleetNetwork::on_alarm()
{
    in_round([this] { fleet.run_due(); });
}

} // namespace simulator
