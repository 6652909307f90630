// Writes the start corpus of the inbound harness: make_inbound_corpus FOLDER. The datagrams are
// those of the simulator, and some that no device sends.
#include "fuzz/inbound_steps.h"
#include "model/meta.h"
#include "simulator/datagrams.h"
#include "simulator/device_commands.h"
#include "simulator/fleet_mix.h"
#include "simulator/simulated_device.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>

#include <memory>
#include <vector>

using namespace simulator;

namespace {

std::vector<std::unique_ptr<SimulatedDevice>> fleet;
QDir folder;

QByteArray arrival(const QByteArray &datagram, int sender = 0)
{
    return "D" + QByteArray(1, static_cast<char>(sender)) + datagram;
}

QByteArray burst(const QByteArray &datagram, int sender)
{
    return "B" + arrival(datagram, sender).mid(1);
}

SimulatedDevice &device(int index)
{
    return *fleet[static_cast<size_t>(index)];
}

QByteArray report(int index, const QJsonObject &changes = {}, int sender = -1)
{
    QJsonObject state = device(index).state;
    for (auto change = changes.begin(); change != changes.end(); ++change)
        state.insert(change.key(), change.value());
    return arrival(json_datagram(state, Checksum::RIGHT), sender < 0 ? index : sender);
}

QByteArray metering(int index, const std::vector<int> &peaks, const std::vector<int> &overdrive)
{
    return arrival(metering_datagram(device(index).id_bytes(), peaks, overdrive, Checksum::RIGHT),
                   index);
}

QByteArray log_message(int index, const LogMessage &message)
{
    return arrival(log_datagram(device(index).device_id(), message, Checksum::RIGHT), index);
}

QByteArray reply(int index, const QJsonObject &command)
{
    return arrival(json_datagram(answer_command(device(index), command), Checksum::RIGHT), index);
}

void write(const QString &name, const QList<QByteArray> &steps)
{
    QFile file(folder.filePath(name));
    const QByteArray input = input_of(steps);
    if (!file.open(QIODevice::WriteOnly) || file.write(input) != input.size())
        qFatal("can't write %s", qPrintable(file.fileName()));
}

void write_presence()
{
    write("one_report", {report(0)});
    write("three_selected", {report(0), report(1), report(2), QByteArray("S\0\1\2", 4), "P"});
    write("burst", {burst(report(3).mid(2), 3), burst(report(4).mid(2), 4), report(5), "P"});
    write("silence", {report(0), report(1), "T\x19", report(1), "P"});
    write("same_bytes_again", {report(0), report(0), "T\x19", report(0)});
    write("same_id_twice", {report(0, {}, 0), report(0, {}, 1), reply(0, {{"command", "x"}})});
    write("reply", {report(0), QByteArray("S\0", 2), reply(0, {{"command", "blink_leds"}})});
    write("dummy_and_delete", {"U", report(0), QByteArray("S\0\1", 3), "X", report(0)});
    write("cache", {report(0), report(1), "C", "T\x19", "C"});
    write("texts",
          {report(0, {{"warning", "w"}, {"error", "e"}}),
           arrival(json_datagram({{"error", "alone"}}, Checksum::NONE))});
}

void write_edits()
{
    const QByteArray first("S\0", 2);
    write("edit_confirm", {report(0), first, "I", "E\x06New name", "Y", report(0)});
    write("edit_cancel", {report(0), first, "I", "E\x0C3.5", report(0, {{"ui", 7}}), "N"});
    write("edit_all", {report(0), report(1), QByteArray("S\0\1", 3), "I", "E\x07Place", "Y"});
    write("edit_offline", {report(0), first, "T\x30", "I", "E\x06Gone", "Y"});
    write("curve", {report(6), first, "Q", "P", "I", QByteArray("E\x10\0", 3), "P", "N"});
    write("search_sort_hide", {report(0), report(1), "F10.71", "O\x02", "H\x05", "P", "F"});
    write("product_changes", {report(0), first, report(0, {{"product_id", 2001}}), "P"});
    write(
        "sessions",
        {report(8), first, report(8, {{"streams", QJsonObject{{"list", usual_sessions()}}}}), "P"});
}

void write_assistants()
{
    write("no_product", {report(33), "A", "P", QByteArray("A\1", 2), report(33), "P"});
    write("outdated", {report(0, {{"firmware_version", "1.1"}}), "A", "P", "T\x19", report(0)});
    write("no_number", {report(0, {{"fw_magic", QJsonValue()}}), report(1, {{"product_id", "x"}})});
}

void write_streams()
{
    const QByteArray open = report(0) + STEP_END + QByteArray("S\0", 2) + STEP_END + "L";
    write("meters", {report(0), "M", metering(0, {10, 70}, {0, 1}), "M", "P"});
    write("odd_meters",
          {report(0), metering(0, {}, {}), metering(0, std::vector<int>(64, 30), {1}),
           QByteArray("S\0", 2), "M", "P"});
    write("log",
          {open, log_message(0, {.bytes = "line\n\x1B[31mred\x1B[0m\n"}),
           log_message(0, {.position = 900, .overflow = true, .bytes = "later"}), "P", "W"});
    write("log_lies",
          {open, log_message(0, {.bytes = "abc", .length_error = 900}),
           log_message(0, {.bytes = "abc\x1B[", .length_error = -2, .padding = 9}),
           log_message(0, {.position = 4294967295U, .bytes = "\x1B"})});
    write("console", {open, "K{\"command\":\"x\"}", reply(0, {{"command", "x"}}), "W", report(0)});
}

void write_nonsense()
{
    const QByteArray good = report(0).mid(2);
    const auto nested = [](int depth) {
        return QByteArray("{\"product\":\"KESTA\",\"seq\":0,\"device_id\":\"d\",\"dsp\":")
            + QByteArray("[").repeated(depth) + QByteArray("]").repeated(depth) + "}";
    };
    write("empty_ones", {"D", arrival(""), arrival(QByteArray(1, '\0')), arrival("\n//#00000000")});
    write("truncated", {arrival(good.left(good.size() / 2)), arrival(good.left(good.size() - 3))});
    write("wrong_checksum", {arrival(json_datagram(device(0).state, Checksum::WRONG))});
    write("no_checksum", {arrival(json_datagram(device(0).state, Checksum::NONE))});
    write("nested", {arrival(nested(500)), arrival(nested(1023)), arrival(nested(5000)), "C"});
    write("wrong_types",
          {report(0, {{"ui", QJsonArray{1}}, {"dsp", "text"}, {"streams", 1e300}}),
           report(0, {{"ui", QJsonObject{{"name", 5}, {"order", -1e300}}}, {"rtp", true}}),
           QByteArray("S\0", 2), "P"});
    write("odd_letters",
          {report(0,
                  {{"ui",
                    QJsonObject{{"name", QString(QChar(0xD800)) + "<b>"},
                                {"loc", QString(3000, 'x')}}}}),
           "C", "P"});
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2)
        return 2;
    folder = QDir(argv[1]);
    folder.mkpath(".");
    build_catalogue();
    const std::vector<DevicePlan> plans = make_fleet_mix(34);
    for (size_t i = 0; i < plans.size(); ++i)
        fleet.push_back(std::make_unique<SimulatedDevice>(static_cast<int>(i), plans[i], 1));
    write_presence();
    write_edits();
    write_assistants();
    write_streams();
    write_nonsense();
    return 0;
}
