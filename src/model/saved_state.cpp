// What is kept of devices between runs.
#include "model/saved_state.h"
#include "model/registry_limit.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

namespace {

const QByteArray HEAD = "{\n    \"devices\": [\n";
const QByteArray SEPARATOR = ",\n";
const QByteArray TAIL = "    ]\n}\n";

constexpr int ELEMENT_DEPTH = 2;             // of a device's braces in the text
constexpr int INDENT = 4;                    // blanks per level
constexpr int DEEPEST = 512;                 // the JSON reader gives up at 1,024
constexpr int LONGEST_INDENTATION = 1 << 20; // bytes per device; a real report has 10,000

QByteArray indented(const QJsonArray &devices)
{
    return QJsonDocument(QJsonObject{{"devices", devices}}).toJson();
}

bool fits_below(const QJsonValue &value, int depth, int &budget);

template<typename Container>
bool members_fit(const Container &container, int depth, int &budget)
{
    return depth < DEEPEST
        && std::all_of(container.begin(), container.end(),
                       [depth, &budget](const QJsonValue &member) {
                           return fits_below(member, depth + 1, budget);
                       });
}

// Takes the indentation of all lines of `value` off the budget.
bool fits_below(const QJsonValue &value, int depth, int &budget)
{
    budget -= INDENT * depth;
    if (budget < 0)
        return false;
    if (value.isObject())
        return members_fit(value.toObject(), depth, budget);
    if (value.isArray())
        return members_fit(value.toArray(), depth, budget);
    return true;
}

bool fits_cache(const QJsonObject &report)
{
    int budget = LONGEST_INDENTATION;
    return members_fit(report, ELEMENT_DEPTH + 1, budget);
}

} // namespace

bool renew_saved_text(SavedText &saved, const QHostAddress &address, const QJsonObject &report)
{
    const bool is_same
        = !saved.text.isEmpty() && saved.address == address && saved.report == report;
    // Sharing the newer of two equal reports makes the next look at them a look at a pointer.
    saved.report = report;
    if (is_same)
        return false;
    saved.address = address;
    saved.text.clear();
    if (!fits_cache(report))
        return true;
    const QByteArray whole = indented({QJsonObject{{"ip", address.toString()}, {"data", report}}});
    saved.text = whole.mid(HEAD.size(), whole.size() - HEAD.size() - TAIL.size() - 1);
    return true;
}

void begin_cache_text(QByteArray &text)
{
    text += HEAD;
}

void add_to_cache_text(QByteArray &text, const SavedText &saved)
{
    if (saved.text.isEmpty() || text.size() > LARGEST_CACHE - saved.text.size())
        return;
    // A part ends with its brace, the head with a line end.
    if (text.endsWith('}'))
        text += SEPARATOR;
    text += saved.text;
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
    if (error.error == QJsonParseError::GarbageAtEnd)
        document = QJsonDocument::fromJson(text.left(error.offset));

    const QJsonArray elements = document.object().value("devices").toArray();
    std::vector<SavedDevice> devices;
    for (int i = 0; i < std::min(elements.size(), MOST_DEVICES); ++i) {
        const QJsonObject element = elements.at(i).toObject();
        devices.push_back({.address = QHostAddress(element.value("ip").toString()),
                           .interface = element.value("interface").toString(),
                           .data = element.value("data").toObject()});
    }
    return devices;
}

bool is_device_json(const QJsonObject &object)
{
    return object.value("product").toString() == QLatin1String("KESTA");
}
