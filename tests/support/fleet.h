// A simulated fleet at the other end of a cable, for tests in a private network.
#pragma once

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QtTest>

#include <algorithm>
#include <climits>

// Runs a command of the shell; ends the test program when it fails.
inline void shell(const QString &command)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start("/bin/sh", {"-ec", command});
    if (!process.waitForFinished(20000) || process.exitCode() != 0)
        qFatal("failed: %s", qPrintable(command));
}

// The cable "loudspeakers" (10.71.0.1/16) leads into a network namespace of its own, where the
// simulator plays its devices from 10.71.0.10 on. Call it inside a private network only.
class SimulatedFleet
{
public:
    explicit SimulatedFleet(const QStringList &options, const QString &its_cable = "loudspeakers",
                            const QString &address = "10.71.0.1/16")
        : cable(its_cable)
    {
        const QString script = "ip link set lo up; ip link add fleet type veth peer name " + cable
            + " netns " + QString::number(QCoreApplication::applicationPid())
            + "; ip link set fleet up; exec " SIMULATOR_PATH
              " --interface fleet --exit-with-stdin \"$@\"";
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start("unshare",
                      QStringList{"--net", "--", "/bin/sh", "-ec", script, "sh"} + options);
        if (!process.waitForStarted())
            qFatal("the simulator did not start");
        const QJsonObject ready = next_line();
        if (!ready.value("ready").toBool())
            qFatal("the simulator is not ready");
        count = ready.value("devices").toInt();
        shell("ip address add " + address + " broadcast + dev " + cable + "; ip link set " + cable
              + " up");
    }

    ~SimulatedFleet()
    {
        process.closeWriteChannel();
        if (!process.waitForFinished(5000)) {
            process.kill();
            process.waitForFinished(5000);
        }
        // The kernel takes its time to clear the far end away, and the next fleet needs the name.
        shell("ip link del " + cable + " 2>/dev/null || true");
    }

    // One request, one answer. Events that the simulator prints on the way are kept in `events`.
    QJsonObject ask(const QJsonObject &request)
    {
        process.write(QJsonDocument(request).toJson(QJsonDocument::Compact) + "\n");
        forever
        {
            const QJsonObject line = next_line();
            // The event of an upload tells in "ok" whether the device took the image.
            if (!line.contains("event"))
                return line;
            events.append(line);
        }
    }

    void fault(const QJsonValue &device, const QString &name, const QJsonObject &more = {})
    {
        QJsonObject request = more;
        request.insert("device", device);
        request.insert("fault", name);
        const QJsonObject answer = ask(request);
        if (!answer.value("ok").toBool())
            qFatal("fault %s: %s", qPrintable(name), qPrintable(answer.value("error").toString()));
    }

    // What every device has counted, in the order of their numbers.
    QJsonArray stats()
    {
        const QJsonArray devices = ask({{"stats", true}}).value("stats").toArray();
        if (devices.size() != count)
            qFatal("the simulator tells of %d devices", devices.size());
        return devices;
    }

    // How often every device was asked for a report: rounds of discovery, one each half second for
    // each manager.
    int rounds_heard()
    {
        int least = INT_MAX;
        for (const QJsonValue &device : stats())
            least = std::min(least, device.toObject().value("requests").toInt());
        return least;
    }

    qint64 process_id() const { return process.processId(); }

    int count = 0;
    QJsonArray events = {};

private:
    QJsonObject next_line()
    {
        QElapsedTimer elapsed;
        elapsed.start();
        while (!process.canReadLine())
            if (!process.waitForReadyRead(100) && elapsed.hasExpired(30000))
                qFatal("the simulator says nothing");
        return QJsonDocument::fromJson(process.readLine()).object();
    }

    QString cable;
    QProcess process;
};
