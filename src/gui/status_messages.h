// Which of several messages the status bar shows.
#pragma once

#include <QString>

#include <array>

enum class MessageKind
{
    SECOND_COPY,
    BIND_TROUBLE,
    COMMAND, // what was sent last; goes by itself
    UPLOADS,
    EDITING, // before all others, as long as there is one
};

struct StatusMessage
{
    QString text = {};
    QString tip = {}; // all of it, where the text is shortened
    int number = 0;   // the higher, the newer
};

// One message of each kind at most.
class StatusMessages
{
public:
    // The newest from now on, unless `tells_news` is false and there was one of the kind already:
    // then it keeps its place, as a percentage does that counts up. An empty text takes it away.
    void put(MessageKind kind, const QString &text, const QString &tip = QString(),
             bool tells_news = true);
    // An empty one when there is nothing to say.
    const StatusMessage &shown() const;
    bool is_shown(MessageKind kind) const { return &shown() == &of(kind); }
    const QString &text(MessageKind kind) const { return of(kind).text; }

private:
    const StatusMessage &of(MessageKind kind) const { return messages[static_cast<size_t>(kind)]; }

    std::array<StatusMessage, 5> messages = {};
    int last_number = 0;
};
