// Plays every fault that the simulator knows, at random.
#pragma once

#include "simulator/random_source.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QObject>
#include <QTimer>

#include <map>
#include <vector>

class FleetLine;

struct FaultPlan
{
    uint64_t seed = 1;
    int longest = 8; // s until a fault ends by itself
};

class FaultPlay : public QObject
{
    Q_OBJECT

public:
    // `states` are the devices' states while all is well; what a fault has spoilt is mended with
    // them.
    FaultPlay(FleetLine &fleet, QJsonArray states, const FaultPlan &plan);

    void start();
    void stop();
    // Ends every fault. What ends by itself within the plan's longest time still does so again.
    void clear_all();
    // Changes something for good in what each device reports, while nothing else goes on.
    void leave_traces();
    // Gives every device the state back that it had at the start.
    void heal_states();

    std::map<QString, qint64> counts = {}; // faults by name

private:
    struct Row;
    static const std::vector<Row> &rows();

    void play_one();
    void strike(const Row &row);
    void send(QJsonObject request, const QString &name);
    void heal(const QJsonValue &devices, const QString &name, QJsonObject more = {});
    QJsonValue some_devices();

    QJsonObject come_late();
    QJsonObject lose_datagrams();
    QJsonObject set_state();
    QJsonObject remove_member();
    QJsonObject take_identity();
    QJsonObject move_address();
    QJsonObject raw_datagram();
    QJsonObject log_fault();
    QJsonObject tftp_fault();
    QJsonObject options();
    void pull_cable();
    void restore_identities();
    QByteArray some_datagram(int device);

    FleetLine &fleet;
    QJsonArray healthy;
    FaultPlan plan;
    simulator::RandomSource random;
    QTimer timer;
    QJsonValue devices = {}; // whom the fault that is being made up strikes
};
