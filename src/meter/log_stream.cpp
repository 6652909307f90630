// A device's log stream: its bytes freed of terminal codes, and notes on what was lost.
#include "meter/log_stream.h"

#include <QtEndian>

#include <cmath>

namespace {
constexpr int LENGTH_SIZE = 2;
constexpr char ESC = 0x1B;
constexpr int32_t PLAIN = 0;
constexpr int32_t AFTER_ESC = 1;
constexpr int32_t IN_SEQUENCE = 2;
// A lost final byte can swallow no more than this.
constexpr uint8_t MAX_SEQUENCE = 64;

int stated_length(const QByteArray &attachment)
{
    return qFromLittleEndian<quint16>(attachment.constData());
}

bool ends_sequence(char byte)
{
    return byte >= 0x40 && byte <= 0x7E;
}

// A byte outside plain text; true when it belongs to the text after all.
bool is_text_after_escape(LogStream &stream, char byte)
{
    if (stream.log_escape_state == AFTER_ESC) {
        if (byte != '[') {
            stream.log_escape_state = PLAIN;
            return true;
        }
        stream.log_escape_state = IN_SEQUENCE;
        stream.log_escape_count = 0;
        return false;
    }
    if (ends_sequence(byte) || ++stream.log_escape_count == MAX_SEQUENCE)
        stream.log_escape_state = PLAIN;
    return false;
}

QString loss_note(uint32_t lost, uint32_t position)
{
    // A device that starts anew counts from 0 again.
    const QString reboot = position == 0 ? QStringLiteral(" or reboot happened") : QString();
    return QStringLiteral("\n[lost %1 log bytes%2]\n").arg(QString::number(lost), reboot);
}
} // namespace

bool is_log_attachment(const QByteArray &attachment)
{
    return attachment.size() >= LENGTH_SIZE
        && stated_length(attachment) <= attachment.size() - LENGTH_SIZE;
}

uint32_t read_log_position(const QJsonValue &value)
{
    constexpr double MODULUS = 4294967296.0;
    const double whole = std::trunc(value.toDouble(0));
    if (!std::isfinite(whole))
        return 0;
    const double rest = std::fmod(whole, MODULUS); // exact, with the sign of `whole`
    return static_cast<uint32_t>(static_cast<int64_t>(rest));
}

QByteArray remove_escapes(LogStream &stream, const QByteArray &bytes)
{
    QByteArray kept;
    kept.reserve(bytes.size());
    int position = 0;
    while (position < bytes.size()) {
        if (stream.log_escape_state != PLAIN) {
            const char byte = bytes.at(position++);
            if (is_text_after_escape(stream, byte))
                kept.append(byte);
            continue;
        }
        const int escape = bytes.indexOf(ESC, position);
        const int end = escape < 0 ? bytes.size() : escape;
        kept.append(bytes.constData() + position, end - position);
        position = end + 1;
        if (escape >= 0)
            stream.log_escape_state = AFTER_ESC;
    }
    return kept;
}

LogHead read_log_head(const QJsonObject &message)
{
    return {.overflow = message.value(QLatin1String("overflow")).toBool(false),
            .position = read_log_position(message.value(QLatin1String("pos")))};
}

std::optional<QString> take_log_message(LogStream &stream, const LogHead &head,
                                        const QByteArray &attachment)
{
    if (!is_log_attachment(attachment))
        return std::nullopt;

    QString note;
    if (head.overflow) {
        note = QStringLiteral("\n[internal log buffer overflow]\n");
        stream.log_escape_state = PLAIN;
    }
    const uint32_t gap = head.position - stream.log_pos;
    if (gap != 0) {
        // KEPT: a loss replaces the note on an overflow: it is what the overflow led to.
        note = loss_note(gap, head.position);
        stream.log_escape_state = PLAIN;
    }

    // KEPT: the device counts what it sent, padding included, and not the stated length.
    stream.log_pos = head.position + static_cast<uint32_t>(attachment.size() - LENGTH_SIZE);
    const QByteArray kept = remove_escapes(
        stream,
        QByteArray::fromRawData(attachment.constData() + LENGTH_SIZE, stated_length(attachment)));
    // Text ends at its first zero byte; what follows in this message is gone without a note.
    return note + QString::fromUtf8(kept.constData());
}
