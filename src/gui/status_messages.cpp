// Which of several messages the status bar shows.
#include "gui/status_messages.h"

#include <algorithm>

void StatusMessages::put(MessageKind kind, const QString &text, const QString &tip, bool tells_news)
{
    StatusMessage &message = messages[static_cast<size_t>(kind)];
    const bool keeps_place = !tells_news && !message.text.isEmpty();
    if (text.isEmpty())
        message.number = 0;
    else if (!keeps_place)
        message.number = ++last_number;
    message.text = text;
    message.tip = tip;
}

const StatusMessage &StatusMessages::shown() const
{
    const StatusMessage &editing = of(MessageKind::EDITING);
    if (!editing.text.isEmpty())
        return editing;
    return *std::max_element(messages.begin(), messages.end(),
                             [](const StatusMessage &one, const StatusMessage &other) {
                                 return one.number < other.number;
                             });
}
