// What is kept of devices between runs.
#include "model/saved_state.h"

#include "link/packet_kind.h"
#include "model/json_indent.h"
#include "model/registry_limit.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

namespace {

const QByteArray HEAD = "{\n    \"devices\": [\n";
const QByteArray SEPARATOR = ",\n";
const QByteArray TAIL = "    ]\n}\n";

// A part is these three with the indented report and the address between them.
const QByteArray BEFORE_REPORT = "        {\n            \"data\": ";
const QByteArray BEFORE_ADDRESS = ",\n            \"ip\": ";
const QByteArray AFTER_ADDRESS = "\n        }";
constexpr int REPORT_DEPTH = 3;

// In quotes, as JSON has it.
QByteArray quoted(const QHostAddress &address)
{
    // Digits and dots, as nearly always: nothing to escape.
    if (address.protocol() == QAbstractSocket::IPv4Protocol)
        return '"' + address.toString().toLatin1() + '"';
    const QByteArray list
        = QJsonDocument(QJsonArray{address.toString()}).toJson(QJsonDocument::Compact);
    return list.mid(1, list.size() - 2);
}

// What a part takes beside its report, with the longest address and what separates it from the
// next.
constexpr int LARGEST_FRAME = 192;

} // namespace

void renew_saved_text(SavedText &saved, const QHostAddress &address, const KeptReport &report,
                      int most)
{
    const bool is_same_report = saved.is_looked_at && saved.report == report;
    // Sharing the newer of two equal reports makes the next look at them a look at a pointer.
    saved.report = report;
    saved.is_looked_at = true;
    saved.address = address;
    if (is_same_report)
        return;
    const int room = most - LARGEST_FRAME;
    const QByteArray text = report.compact();
    const int size = indented_size(text, REPORT_DEPTH, room);
    if (size > room)
        return;
    saved.text = text;
    saved.size = size + LARGEST_FRAME;
}

int last_arrival_with_room(std::vector<const SavedText *> parts, int room)
{
    std::sort(parts.begin(), parts.end(), [](const SavedText *one, const SavedText *other) {
        return one->arrival < other->arrival;
    });
    qint64 size = 0;
    int last = 0;
    for (const SavedText *part : parts) {
        size += part->size;
        if (size > room && part->arrival > 0)
            break;
        last = part->arrival;
    }
    return last;
}

void begin_cache_text(QByteArray &text)
{
    text += HEAD;
}

void add_to_cache_text(QByteArray &text, const SavedText &saved)
{
    if (saved.size == 0)
        return;
    // A part ends with its brace, the head with a line end.
    if (text.endsWith('}'))
        text += SEPARATOR;
    text += BEFORE_REPORT;
    append_indented(text, saved.text, REPORT_DEPTH, saved.size - LARGEST_FRAME);
    text += BEFORE_ADDRESS + quoted(saved.address) + AFTER_ADDRESS;
}

void end_cache_text(QByteArray &text)
{
    if (text.endsWith('}'))
        text += '\n';
    text += TAIL;
}

std::vector<SavedDevice> read_cache_text(const QByteArray &text)
{
    QJsonParseError error{};
    QJsonDocument document = QJsonDocument::fromJson(text, &error);
    // KEPT: what follows the text is an older text's tail.
    if (error.error == QJsonParseError::GarbageAtEnd)
        document = QJsonDocument::fromJson(text.left(error.offset));

    const QJsonArray elements = document.object().value(QLatin1String("devices")).toArray();
    std::vector<SavedDevice> devices;
    for (int i = 0; i < std::min(elements.size(), MOST_DEVICES); ++i) {
        const QJsonObject element = elements.at(i).toObject();
        devices.push_back({.address = QHostAddress(element.value(QLatin1String("ip")).toString()),
                           .interface = element.value(QLatin1String("interface")).toString(),
                           .data = element.value(QLatin1String("data")).toObject()});
    }
    return devices;
}

bool is_device_json(const QJsonObject &object)
{
    return object.value(QLatin1String("product")).toString() == FAMILY;
}
