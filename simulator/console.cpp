// Standard input and output: one JSON object a line in both directions.
#include "simulator/console.h"

#include <QJsonDocument>
#include <QJsonParseError>

#include <array>
#include <cerrno>
#include <cstdio>
#include <unistd.h>

namespace simulator {

namespace {

constexpr int LONGEST_LINE = 16 * 1024 * 1024;

} // namespace

Console::Console()
    : notifier(STDIN_FILENO, QSocketNotifier::Read)
{
    connect(&notifier, &QSocketNotifier::activated, this, &Console::on_readable);
}

void Console::print(const QJsonObject &object)
{
    const QByteArray line = QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
    std::fwrite(line.constData(), 1, static_cast<size_t>(line.size()), stdout);
    std::fflush(stdout);
}

void Console::on_readable()
{
    std::array<char, 65536> bytes{};
    const ssize_t count = read(STDIN_FILENO, bytes.data(), bytes.size());
    if (count < 0 && (errno == EINTR || errno == EAGAIN))
        return;
    if (count <= 0 || buffer.size() > LONGEST_LINE) {
        notifier.setEnabled(false);
        take_line(buffer);
        emit ended();
        return;
    }
    const int first_new = buffer.size(); // what stands before it has no end of a line
    buffer.append(bytes.data(), static_cast<int>(count));
    int start = 0;
    for (int end = buffer.indexOf('\n', first_new); end >= 0; end = buffer.indexOf('\n', start)) {
        take_line(buffer.mid(start, end - start));
        start = end + 1;
    }
    buffer.remove(0, start);
}

void Console::take_line(const QByteArray &line)
{
    if (line.trimmed().isEmpty())
        return;
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(line, &error);
    if (document.isObject()) {
        emit asked(document.object());
        return;
    }
    print({{"error", document.isNull() ? error.errorString() : "not a JSON object"}});
}

} // namespace simulator
