// A device's last report, in as little memory as its text takes.
#include "model/kept_report.h"

#include "link/datagram.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace {

constexpr int HEAVIEST_PARSED = 64 * 1024; // bytes: as much as the longest datagram
constexpr int CONTAINER_WEIGHT = 96;       // bytes of an object or array without its members
constexpr int MEMBER_WEIGHT = 32;          // bytes, of a name and a value

template<typename Container>
int container_weight(const Container &container, int most)
{
    int weight = CONTAINER_WEIGHT + MEMBER_WEIGHT * container.size();
    for (const QJsonValue &member : container) {
        if (weight > most)
            break;
        weight += parsed_weight(member, most - weight);
    }
    return weight;
}

} // namespace

int parsed_weight(const QJsonValue &value, int most)
{
    if (value.isObject())
        return container_weight(value.toObject(), most);
    if (value.isArray())
        return container_weight(value.toArray(), most);
    return 0;
}

KeptReport::KeptReport(const QJsonObject &report)
    : parsed(report)
{
}

KeptReport &KeptReport::operator=(const QJsonObject &report)
{
    parsed = report;
    text.clear();
    return *this;
}

QJsonObject KeptReport::object() const
{
    return is_text() ? read_frame(text).object : parsed;
}

QByteArray KeptReport::compact() const
{
    return QJsonDocument(object()).toJson(QJsonDocument::Compact);
}

void KeptReport::settle(const QByteArray &datagram)
{
    if (is_text() || parsed_weight(parsed, HEAVIEST_PARSED) <= HEAVIEST_PARSED)
        return;
    text = datagram.isEmpty() ? compact() : datagram;
    parsed = QJsonObject();
}

bool KeptReport::operator==(const KeptReport &other) const
{
    return text == other.text && parsed == other.parsed;
}
