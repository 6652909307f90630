// The AES67 sessions that a device has heard of, and the choices that they make.
#include "model/sessions.h"

#include <QJsonArray>

#include <algorithm>

namespace {

// KEPT: a device's number never decides how much memory we take.
constexpr int MOST_SESSIONS = 1024;

} // namespace

void register_session_item()
{
    qRegisterMetaType<session_item>("session_item");
    // Without a comparator two sessions that are alike count as different, and every rebuilt
    // session list would rebuild its row.
    static const bool registered = QMetaType::registerEqualsComparator<session_item>();
    Q_UNUSED(registered)
}

std::vector<session_item> sessions_of(const QJsonObject &report)
{
    const QJsonArray list
        = report.value(QLatin1String("streams")).toObject().value(QLatin1String("list")).toArray();
    std::vector<session_item> sessions;
    for (int i = 0; i < list.size() && i < MOST_SESSIONS; ++i) {
        const QJsonObject session = list.at(i).toObject();
        sessions.push_back({.name = session.value(QLatin1String("n")).toString(),
                            .info = session.value(QLatin1String("i")).toString(),
                            .channels = session.value(QLatin1String("c")).toInt(0)});
    }
    return sessions;
}

std::vector<PropertyChoice> session_choices(const std::vector<session_item> &sessions)
{
    std::vector<PropertyChoice> choices;
    choices.reserve(sessions.size() + 1);
    choices.push_back({.value = QString(""), .label = "<disable>", .data = {}});
    for (const session_item &session : sessions)
        choices.push_back({.value = session.name,
                           .label = (session.name + " (" + session.info + ")").toStdString(),
                           .data = QVariant::fromValue(session)});
    std::stable_sort(choices.begin() + 1, choices.end(),
                     [](const PropertyChoice &left, const PropertyChoice &right) {
                         return left.label < right.label;
                     });
    return choices;
}
