// How many lines for the debug log a sender may cause.
#include "link/text_limit.h"

#include <QDebug>

namespace {

constexpr int LONGEST_TEXT = 512;

} // namespace

bool TextLimit::allows(const QHostAddress &sender, qint64 now)
{
    if (now / 1000 != second) {
        second = now / 1000;
        lines.clear();
    }
    const quint32 address = sender.toIPv4Address();
    if (lines.size() >= size_t{SENDERS} && lines.count(address) == 0)
        return false;
    return ++lines[address] <= LINES;
}

QString terminal_text(const QString &text)
{
    QString line;
    QDebug(&line).nospace() << text.left(LONGEST_TEXT);
    return text.size() > LONGEST_TEXT ? line + "..." : line;
}
