// A device's log: its text freed of terminal codes, positions, and notes on what was lost.
#include "fuzz/rules/fuzz_bytes.h"
#include "meter/log_stream.h"

namespace {

bool are_equal(const LogStream &left, const LogStream &right)
{
    const bool counts = left.log_escape_state == 2; // the count means nothing elsewhere
    return left.log_escape_state == right.log_escape_state
        && (!counts || left.log_escape_count == right.log_escape_count);
}

// Whether a terminal shows the byte.
bool is_shown(LogStream &stream, char byte)
{
    switch (stream.log_escape_state) {
    case 0:
        stream.log_escape_state = byte == 0x1B ? 1 : 0;
        return byte != 0x1B;
    case 1:
        stream.log_escape_state = byte == '[' ? 2 : 0;
        stream.log_escape_count = 0;
        return byte != '[';
    default:
        if ((byte >= 0x40 && byte <= 0x7E) || ++stream.log_escape_count == 64)
            stream.log_escape_state = 0;
        return false;
    }
}

// Byte for byte, as a terminal would read it.
QByteArray filtered_plainly(LogStream &stream, const QByteArray &bytes)
{
    QByteArray kept;
    for (const char byte : bytes)
        if (is_shown(stream, byte))
            kept.append(byte);
    return kept;
}

void check_filter(FuzzBytes &bytes)
{
    const LogStream before{.log_escape_state = bytes.below(3),
                           .log_escape_count = static_cast<uint8_t>(bytes.below(64))};
    const QByteArray text = bytes.bytes(bytes.u16() % 400);
    LogStream whole = before;
    const QByteArray kept = remove_escapes(whole, text);
    LogStream plain = before;
    expect(kept == filtered_plainly(plain, text), "the filter is what a terminal does");
    expect(are_equal(whole, plain), "it ends where a terminal ends");

    LogStream in_parts = before;
    QByteArray parts;
    for (int place = 0; place < text.size();) {
        const int length = 1 + bytes.below(40);
        parts += remove_escapes(in_parts, text.mid(place, length));
        place += length;
    }
    expect(parts == kept && are_equal(in_parts, whole), "it does not matter where a text is cut");
}

void take_message(LogStream &stream, FuzzBytes &bytes)
{
    const QJsonValue position = bytes.u8() % 4 == 0
        ? any_json(bytes)
        : QJsonValue(static_cast<qint64>(stream.log_pos) + (bytes.flag() ? 0 : bytes.u8()));
    const QJsonObject message{{"pos", position}, {"overflow", bytes.u8() % 8 == 0}};
    QByteArray attachment = bytes.bytes();
    if (bytes.flag() && attachment.size() >= 2) {
        attachment[0] = static_cast<char>(attachment.size() - 2);
        attachment[1] = 0;
    }
    const LogStream before = stream;
    const std::optional<QString> text
        = take_log_message(stream, read_log_head(message), attachment);
    expect(text.has_value() == is_log_attachment(attachment), "a wrong length is dropped");
    if (!text) {
        expect(stream.log_pos == before.log_pos, "what is dropped moves nothing");
        return;
    }
    const uint32_t told = read_log_position(position);
    expect(stream.log_pos == told + static_cast<uint32_t>(attachment.size()) - 2,
           "the next position follows the last byte");
    expect(text->contains("[lost ") || told == before.log_pos, "a gap is told");
    expect(text->size() <= attachment.size() + 80, "no text is longer than its bytes and a note");
}

} // namespace

void fuzz_log(const uint8_t *data, size_t size)
{
    FuzzBytes bytes(data, size);
    if (bytes.flag()) {
        check_filter(bytes);
        return;
    }
    LogStream stream;
    for (int i = 0; i < 12 && !bytes.is_empty(); ++i)
        take_message(stream, bytes);
}
