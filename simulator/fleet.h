// A running fleet: devices, sockets, time, and what a person asks of it while it runs.
#pragma once

#include "simulator/alarm_clock.h"
#include "simulator/member_reader.h"
#include "simulator/options.h"
#include "simulator/own_addresses.h"
#include "simulator/packet_socket.h"
#include "simulator/schedule.h"
#include "simulator/simulated_device.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QObject>
#include <QSocketNotifier>

#include <functional>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

namespace simulator {

// What a manager asks of all devices at once.
struct ReportRequest
{
    bool wants_checksum = false;
    bool wants_metering = false;
};

class Fleet : public QObject
{
    Q_OBJECT

public:
    Fleet(SimulatorOptions options, std::vector<DevicePlan> plans);
    ~Fleet() override;

    // Gives out the addresses, opens the sockets and switches on the plans' faults. Returns what
    // went wrong, then nothing runs.
    QString start();
    // Carries out a request as it comes over standard input; the result is its answer.
    QJsonObject answer(const QJsonObject &request);
    int device_count() const { return static_cast<int>(devices.size()); }
    // Why there are no uploads; empty when there are.
    QString tftp_error() const { return tftp_fault; }

signals:
    // Something that a person at the fleet would see: a device blinks, boots, got a file.
    void happened(const QJsonObject &event);
    void quit_asked();

private:
    using DeviceList = std::vector<SimulatedDevice *>;

    // --- start and time: fleet.cpp
    QString add_addresses();
    QString open_sockets();
    QString start_faults();
    void listen_on(PacketSocket &socket, std::unique_ptr<QSocketNotifier> &notifier,
                   void (Fleet::*handler)()) const;
    void index_address(SimulatedDevice &device, uint32_t address);
    const DeviceList &devices_at(uint32_t address) const;
    void after(int ms, std::function<void()> work);
    void on_alarm();
    // Sends what has been queued and sets the alarm. Every way in from the event loop ends here.
    void finish_round();
    void report_event(const char *event, const SimulatedDevice &device, QJsonObject details = {});

    // --- datagrams of the device port: fleet_traffic.cpp
    void on_device_packets();
    void handle_packet(const ReceivedPacket &packet);
    void handle_broadcast(const QJsonObject &object, const ReceivedPacket &packet);
    void handle_unicast(SimulatedDevice &device, const QJsonDocument &document,
                        const ReceivedPacket &packet);
    void refuse(SimulatedDevice &device, const QJsonObject &reply, uint32_t to);
    void hear_request(SimulatedDevice &device, ReportRequest request, uint32_t from);
    void hear_command(SimulatedDevice &device, const QJsonObject &command, uint32_t from);
    void send_report(SimulatedDevice &device, uint32_t to);
    void send_reply(SimulatedDevice &device, const QJsonObject &reply, uint32_t to);
    // False when the datagram was lost on purpose, or fits no datagram, which makes an event.
    bool send(SimulatedDevice &device, uint32_t to, uint16_t port, const QByteArray &bytes);
    void reboot(SimulatedDevice &device);
    void boot(SimulatedDevice &device);

    // --- streams: fleet_streams.cpp
    void start_ticking();
    void tick();
    void send_frames(double seconds);
    void send_frame(SimulatedDevice &device);
    void send_logs(double seconds);
    void send_log(SimulatedDevice &device, const QByteArray &text);
    void follow_logging(SimulatedDevice &device);

    // --- uploads: fleet_tftp.cpp
    void on_tftp_packets();
    void handle_tftp(SimulatedDevice &device, const ReceivedPacket &packet);
    void answer_tftp(SimulatedDevice &device, const TftpAnswer &tftp_answer,
                     const ReceivedPacket &packet);
    void finish_upload(SimulatedDevice &device);
    void await_reboot(SimulatedDevice &device);
    QString store_upload(const SimulatedDevice &device) const;

    // --- requests: fleet_control.cpp
    struct RequestRow;
    struct FaultRow;
    static const RequestRow REQUESTS[];
    static const FaultRow FAULTS[];
    QJsonObject carry_out(const QJsonObject &request);
    QJsonObject switch_fault(const QJsonObject &request);
    QJsonObject switch_later(const QJsonObject &request);
    QJsonObject tell_stats(const QJsonObject &request);
    QJsonObject tell_state(const QJsonObject &request);
    QJsonObject change_options(const QJsonObject &request);
    QJsonObject quit(const QJsonObject &request);
    QString apply_fault(SimulatedDevice &device, const QJsonObject &request);
    QString change_address(SimulatedDevice &device, MemberReader &request);
    QString reboot_now(SimulatedDevice &device, MemberReader &request);
    QString report_now(SimulatedDevice &device, MemberReader &request);
    QString send_raw(SimulatedDevice &device, MemberReader &request);
    std::optional<DeviceList> select_devices(const QJsonValue &which);
    SimulatedDevice *find_device(const QJsonValue &which);

    // --- fields
    SimulatorOptions options;
    std::vector<DevicePlan> plans;
    std::vector<std::unique_ptr<SimulatedDevice>> devices = {};
    std::unordered_map<uint32_t, DeviceList> by_address = {};
    OwnAddresses own_addresses;
    int interface_index = 0; // 0: requests are heard on every interface

    Schedule schedule;
    AlarmClock alarm;
    int64_t now = 0; // µs, read once per round

    PacketSocket device_socket;
    PacketSocket tftp_socket;
    std::unique_ptr<QSocketNotifier> device_notifier;
    std::unique_ptr<QSocketNotifier> tftp_notifier;
    QString tftp_fault = {};

    bool is_ticking = false;
    int64_t last_tick = 0;
    int64_t metering_until = 0; // the last listener's patience
    Pace metering_pace = {};
    size_t next_to_meter = 0;
    DeviceList logging_devices = {};
};

} // namespace simulator
