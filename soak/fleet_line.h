// The simulated fleet at the other end of a cable, asked without making the window wait.
#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QObject>
#include <QProcess>
#include <QStringList>

#include <map>
#include <optional>

class FleetLine : public QObject
{
    Q_OBJECT

public:
    // Lays the cable "loudspeakers" (10.71.0.1/16) into a network namespace of its own and starts
    // the simulator behind it, with devices from 10.71.0.10 on. Ends the program when that fails.
    // Call it inside a private network only.
    explicit FleetLine(const QStringList &options);
    ~FleetLine() override;

    // Sends a request; its answer is counted when it comes.
    void tell(QJsonObject request);
    // Sends a request and lets the program run until the answer is there.
    QJsonObject ask(QJsonObject request);
    // What each device has counted since the last call, in the order of the devices.
    QJsonArray stats();
    // Each device's whole state, in the same order.
    QJsonArray states();

    int count = 0;                         // devices
    qint64 answers = 0;                    // requests that were answered well
    qint64 refusal_count = 0;              // the others
    QStringList refusals = {};             // what was wrong with the first of them
    std::map<QString, qint64> events = {}; // "reboot", "boot", "upload"..., how often

private:
    void read_lines();
    void take(const QJsonObject &line);

    QProcess process;
    int last_id = 0;
    std::optional<QJsonObject> awaited = {}; // the answer that `ask` waits for
    int awaited_id = -1;
};

// Runs a command of the shell; ends the program when it fails.
void run_shell(const QString &command);
