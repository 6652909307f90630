// The simulated fleet at the other end of a cable.
#include "soak/fleet_line.h"

#include "soak/waiting.h"

#include <QCoreApplication>
#include <QJsonDocument>

namespace {

constexpr int ANSWER_TIME = 60'000; // ms
constexpr int REFUSALS_KEPT = 10;

QJsonObject parsed(const QByteArray &line)
{
    return QJsonDocument::fromJson(line).object();
}

} // namespace

void run_shell(const QString &command)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start("/bin/sh", {"-ec", command});
    if (!process.waitForFinished(20'000) || process.exitCode() != 0)
        qFatal("failed: %s", qPrintable(command));
}

FleetLine::FleetLine(const QStringList &options)
{
    const QString script = "ip link set lo up; ip link add fleet type veth peer name loudspeakers"
                           " netns "
        + QString::number(QCoreApplication::applicationPid())
        + "; ip link set fleet up; exec " SIMULATOR_PATH
          " --interface fleet --exit-with-stdin \"$@\"";
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start("unshare", QStringList{"--net", "--", "/bin/sh", "-ec", script, "sh"} + options);
    while (!process.canReadLine())
        if (!process.waitForReadyRead(30'000))
            qFatal("the simulator does not start");
    const QJsonObject ready = parsed(process.readLine());
    if (!ready.value("ready").toBool() || !ready.value("tftp").toBool())
        qFatal("the simulator is not ready");
    count = ready.value("devices").toInt();
    run_shell("ip address add 10.71.0.1/16 broadcast + dev loudspeakers;"
              " ip link set loudspeakers up");
    connect(&process, &QProcess::readyReadStandardOutput, this, &FleetLine::read_lines);
}

FleetLine::~FleetLine()
{
    process.disconnect(this);
    process.closeWriteChannel();
    if (!process.waitForFinished(10'000)) {
        process.kill();
        process.waitForFinished(5000);
    }
}

void FleetLine::tell(QJsonObject request)
{
    request.insert("id", ++last_id);
    process.write(QJsonDocument(request).toJson(QJsonDocument::Compact) + '\n');
}

QJsonObject FleetLine::ask(QJsonObject request)
{
    awaited.reset();
    awaited_id = last_id + 1;
    tell(std::move(request));
    if (!await([this] { return awaited.has_value(); }, ANSWER_TIME))
        qFatal("the simulator does not answer");
    awaited_id = -1;
    return *awaited;
}

QJsonArray FleetLine::stats()
{
    return ask({{"stats", true}, {"reset", true}}).value("stats").toArray();
}

QJsonArray FleetLine::states()
{
    return ask({{"state", true}, {"device", "all"}}).value("states").toArray();
}

void FleetLine::read_lines()
{
    while (process.canReadLine())
        take(parsed(process.readLine()));
}

void FleetLine::take(const QJsonObject &line)
{
    if (line.contains("event")) {
        ++events[line.value("event").toString()];
        return;
    }
    const QString refusal = line.value("error").toString();
    answers += refusal.isEmpty();
    refusal_count += !refusal.isEmpty();
    if (!refusal.isEmpty() && refusals.size() < REFUSALS_KEPT)
        refusals.append(refusal);
    if (line.value("id").toInt(-2) == awaited_id)
        awaited = line;
}
