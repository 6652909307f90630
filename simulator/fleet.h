// A running fleet: devices, their time, and what a person asks of it while it runs. Datagrams and
// time come in as parameters; what it sends waits for whoever carries it, FleetNetwork or a test.
#pragma once

#include "simulator/member_reader.h"
#include "simulator/options.h"
#include "simulator/own_addresses.h"
#include "simulator/packet_socket.h"
#include "simulator/schedule.h"
#include "simulator/simulated_device.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QObject>

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

    // Makes the devices and gives out their addresses. Returns what went wrong, then nothing runs.
    QString take_addresses();
    // Switches on the plans' faults. Returns what is wrong with one.
    QString start_faults();
    int device_count() const { return static_cast<int>(devices.size()); }

    // µs of a clock that never goes back; holds for all that is heard, asked and run until the
    // next.
    void set_time(int64_t time) { now = time; }
    // A datagram that came to the port for requests and commands, or to the one for uploads.
    void hear(const ReceivedPacket &packet);
    void hear_upload(const ReceivedPacket &packet);
    // Carries out a request as it comes over standard input; the result is its answer.
    QJsonObject answer(const QJsonObject &request);
    // Does what is due by now, and tells when there is more to do.
    void run_due() { schedule.run_due(now); }
    int64_t next_due() const { return schedule.next_due(); }

    // To be sent from the port for requests, and from the one for uploads.
    std::vector<OutgoingPacket> outgoing = {};
    std::vector<OutgoingPacket> outgoing_uploads = {};

signals:
    // Something that a person at the fleet would see: a device blinks, boots, got a file.
    void happened(const QJsonObject &event);
    void quit_asked();

private:
    using DeviceList = std::vector<SimulatedDevice *>;

    // --- start and time: fleet.cpp
    QString make_devices(std::vector<uint32_t> &addresses);
    void index_address(SimulatedDevice &device, uint32_t address);
    const DeviceList &devices_at(uint32_t address) const;
    void after(int ms, std::function<void()> work);
    void report_event(const char *event, const SimulatedDevice &device, QJsonObject details = {});

    // --- datagrams of the device port: fleet_traffic.cpp
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
    void handle_tftp(SimulatedDevice &device, const ReceivedPacket &packet);
    void answer_tftp(SimulatedDevice &device, const TftpAnswer &tftp_answer,
                     const ReceivedPacket &packet);
    void finish_upload(SimulatedDevice &device);
    void await_reboot(SimulatedDevice &device);
    QString store_upload(const SimulatedDevice &device, const QByteArray &bytes) const;

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
    int64_t now = 0;

    bool is_ticking = false;
    int64_t last_tick = 0;
    int64_t metering_until = 0; // the last listener's patience
    Pace metering_pace = {};
    size_t next_to_meter = 0;
    DeviceList logging_devices = {};
};

} // namespace simulator
