// How many lines for the debug log a sender may cause.
#pragma once

#include <QHostAddress>

#include <unordered_map>

// Whoever sends may write as often as the network carries: a terminal that prints each line would
// hold the window up. Forgets everything once a second, so that ever new senders fill no memory.
class TextLimit
{
public:
    static constexpr int LINES = 5;      // per sender and second
    static constexpr int SENDERS = 1024; // per second; further ones are not heard

    // Whether one more line of this sender is due at `now` (ms).
    bool allows(const QHostAddress &sender, qint64 now);

private:
    qint64 second = 0;
    std::unordered_map<quint32, int> lines = {}; // in this second, by IPv4 address
};

// A text from the wire as one line of letters that a terminal may print: quoted, with all else
// escaped, and cut where it gets long.
QString terminal_text(const QString &text);
