// A device's log stream: escape filter, loss notes and lengths that lie.
#include "meter/log_stream.h"
#include "support/vectors.h"

#include <QJsonDocument>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QtTest>

namespace {
QByteArray attachment_of(const QByteArray &bytes)
{
    QByteArray result(2, '\0');
    result[0] = static_cast<char>(bytes.size() & 0xFF);
    result[1] = static_cast<char>(bytes.size() >> 8);
    return result + bytes;
}

QJsonObject message_at(double position)
{
    return {{"command", "raw_log"}, {"pos", position}};
}

QString take(LogStream &stream, double position, const QByteArray &bytes)
{
    return take_log_message(stream, read_log_head(message_at(position)), attachment_of(bytes))
        .value_or("dropped");
}

// The filter written down a second time, straight from the table of its states.
QByteArray filter_byte_by_byte(LogStream &stream, const QByteArray &bytes)
{
    QByteArray kept;
    for (const char signed_byte : bytes) {
        const auto byte = static_cast<unsigned char>(signed_byte);
        if (stream.log_escape_state == 0 && byte == 0x1B) {
            stream.log_escape_state = 1;
        } else if (stream.log_escape_state == 0) {
            kept += signed_byte;
        } else if (stream.log_escape_state == 1 && byte == '[') {
            stream.log_escape_state = 2;
            stream.log_escape_count = 0;
        } else if (stream.log_escape_state == 1) {
            stream.log_escape_state = 0;
            kept += signed_byte;
        } else if (byte >= 0x40 && byte <= 0x7E) {
            stream.log_escape_state = 0;
        } else if (++stream.log_escape_count == 64) {
            stream.log_escape_state = 0;
        }
    }
    return kept;
}

QByteArray random_bytes(QRandomGenerator &random)
{
    static const QByteArray alphabet("\x1B[[m1;\n a\0\x7F\x80\xC3\x9C@~", 17);
    QByteArray bytes;
    const int size = random.bounded(200);
    for (int i = 0; i < size; ++i)
        bytes += alphabet.at(random.bounded(alphabet.size()));
    return bytes;
}

// The bytes that all notes in a text own up to.
quint64 noted_losses(const QString &text)
{
    static const QRegularExpression note("\n\\[lost (\\d+) log bytes( or reboot happened)?\\]\n");
    quint64 lost = 0;
    QRegularExpressionMatchIterator notes = note.globalMatch(text);
    while (notes.hasNext())
        lost += notes.next().captured(1).toULongLong();
    return lost;
}
} // namespace

class LogStreamTest : public QObject
{
    Q_OBJECT

private slots:
    void golden_streams_hold_data() { add_vector_rows("log_stream"); }
    void golden_streams_hold();
    void a_first_message_at_0_has_no_note();
    void a_first_message_further_on_notes_the_loss();
    void a_reboot_is_noted();
    void an_overflow_is_noted_and_a_loss_replaces_the_note();
    void an_overflow_that_is_no_bool_is_none();
    void a_colour_code_split_anywhere_goes_whole();
    void escape_and_another_letter_keeps_the_letter();
    void a_sequence_swallows_64_bytes_at_most();
    void a_zero_byte_cuts_this_message_only();
    void padding_moves_the_position_and_shows_nowhere();
    void a_length_that_lies_is_dropped_data();
    void a_length_that_lies_is_dropped();
    void every_truncation_of_an_attachment_is_safe();
    void positions_are_read_modulo_2_to_the_32nd_data();
    void positions_are_read_modulo_2_to_the_32nd();
    void the_filter_agrees_with_its_table_on_random_bytes();
    void shown_and_noted_bytes_add_up_to_what_was_sent();
};

void LogStreamTest::golden_streams_hold()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);

    LogStream stream{.log_pos = read_log_position(input.value("log_pos"))};
    bool is_open = true;
    bool is_paused = false;
    const QJsonArray steps = input.value("steps").toArray();
    const QJsonArray after = expect.value("after").toArray();
    QCOMPARE(after.size(), steps.size());
    for (int i = 0; i < steps.size(); ++i) {
        const QJsonArray step = steps.at(i).toArray();
        const QString what = step.at(0).toString();
        std::optional<QString> text;
        if (what == "pause")
            is_paused = step.at(1).toBool();
        else if (what == "open")
            is_open = step.at(1).toBool();
        else if (is_open && !is_paused)
            text = take_log_message(stream, read_log_head(step.at(1).toObject()),
                                    QByteArray::fromBase64(step.at(2).toString().toLatin1()));
        const QJsonObject state = after.at(i).toObject();
        QCOMPARE(text.value_or(QString()), state.value("text").toString());
        QCOMPARE(stream.log_pos, read_log_position(state.value("log_pos")));
        QCOMPARE(stream.log_escape_state, state.value("escape_state").toInt(-1));
    }
}

void LogStreamTest::a_first_message_at_0_has_no_note()
{
    LogStream stream;
    QCOMPARE(take(stream, 0, "boot\n"), QString("boot\n"));
    QCOMPARE(stream.log_pos, 5U);
}

void LogStreamTest::a_first_message_further_on_notes_the_loss()
{
    LogStream stream;
    QCOMPARE(take(stream, 1000, "x"), QString("\n[lost 1000 log bytes]\nx"));
}

void LogStreamTest::a_reboot_is_noted()
{
    LogStream stream{.log_pos = 5000, .log_escape_state = 2};
    QCOMPARE(take(stream, 0, "x"), QString("\n[lost 4294962296 log bytes or reboot happened]\nx"));
    QCOMPARE(stream.log_pos, 1U);
}

void LogStreamTest::an_overflow_is_noted_and_a_loss_replaces_the_note()
{
    LogStream stream{.log_escape_state = 2};
    QJsonObject message = message_at(0);
    message["overflow"] = true;
    QCOMPARE(*take_log_message(stream, read_log_head(message), attachment_of("a")),
             QString("\n[internal log buffer overflow]\na"));
    message["pos"] = 8;
    QCOMPARE(*take_log_message(stream, read_log_head(message), attachment_of("b")),
             QString("\n[lost 7 log bytes]\nb"));
}

void LogStreamTest::an_overflow_that_is_no_bool_is_none()
{
    LogStream stream;
    QJsonObject message = message_at(0);
    message["overflow"] = 1;
    QCOMPARE(*take_log_message(stream, read_log_head(message), attachment_of("a")), QString("a"));
}

void LogStreamTest::a_colour_code_split_anywhere_goes_whole()
{
    const QByteArray bytes = "a\x1B[31;1mb";
    for (int split = 0; split <= bytes.size(); ++split) {
        LogStream stream;
        QString text = take(stream, 0, bytes.left(split));
        text += take(stream, split, bytes.mid(split));
        QCOMPARE(text, QString("ab"));
    }
}

void LogStreamTest::escape_and_another_letter_keeps_the_letter()
{
    LogStream stream;
    QCOMPARE(take(stream, 0, "\x1Bxy\x1B"), QString("xy"));
    QCOMPARE(take(stream, 4, "z"), QString("z"));
}

void LogStreamTest::a_sequence_swallows_64_bytes_at_most()
{
    LogStream stream;
    QCOMPARE(take(stream, 0, "\x1B[" + QByteArray(64, '1') + "22m"), QString("22m"));
    QCOMPARE(take(stream, 69, "\x1B[" + QByteArray(63, '1') + "m22"), QString("22"));
}

void LogStreamTest::a_zero_byte_cuts_this_message_only()
{
    LogStream stream;
    QCOMPARE(take(stream, 0, QByteArray("ab\0cd", 5)), QString("ab"));
    QCOMPARE(take(stream, 5, "e"), QString("e"));
}

void LogStreamTest::padding_moves_the_position_and_shows_nowhere()
{
    LogStream stream;
    QCOMPARE(*take_log_message(stream, read_log_head(message_at(0)), attachment_of("ab") + "###"),
             QString("ab"));
    QCOMPARE(stream.log_pos, 5U);
}

void LogStreamTest::a_length_that_lies_is_dropped_data()
{
    QTest::addColumn<QByteArray>("attachment");
    QTest::newRow("no attachment") << QByteArray();
    QTest::newRow("one byte") << QByteArray("\1", 1);
    QTest::newRow("one byte too long") << QByteArray("\3\0ab", 4);
    QTest::newRow("as long as can be") << QByteArray("\xFF\xFF"
                                                     "ab",
                                                     4);
    QTest::newRow("long and empty") << QByteArray("\1\0", 2);
}

void LogStreamTest::a_length_that_lies_is_dropped()
{
    QFETCH(QByteArray, attachment);
    LogStream stream{.log_pos = 3, .log_escape_state = 2, .log_escape_count = 9};
    QVERIFY(!is_log_attachment(attachment));
    QVERIFY(!take_log_message(stream, read_log_head(message_at(77)), attachment));
    QCOMPARE(stream.log_pos, 3U);
    QCOMPARE(stream.log_escape_state, 2);
    QCOMPARE(int(stream.log_escape_count), 9);
}

void LogStreamTest::every_truncation_of_an_attachment_is_safe()
{
    const QByteArray whole = attachment_of("\x1B[32mhello\n");
    for (int size = 0; size < whole.size(); ++size) {
        // A copy of just this size, so that a read behind its end is seen by the sanitizer.
        const QByteArray part(whole.constData(), size);
        LogStream stream;
        QVERIFY(!take_log_message(stream, read_log_head(message_at(0)), part));
    }
    QVERIFY(is_log_attachment(whole));
    QVERIFY(is_log_attachment(QByteArray(2, '\0')));
}

void LogStreamTest::positions_are_read_modulo_2_to_the_32nd_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<uint>("position");
    QTest::newRow("missing") << QByteArray("{}") << 0U;
    QTest::newRow("whole") << QByteArray(R"({"pos": 7})") << 7U;
    QTest::newRow("largest") << QByteArray(R"({"pos": 4294967295})") << 4294967295U;
    QTest::newRow("one round further") << QByteArray(R"({"pos": 4294967301})") << 5U;
    QTest::newRow("a fraction") << QByteArray(R"({"pos": 7.9})") << 7U;
    QTest::newRow("negative") << QByteArray(R"({"pos": -1})") << 4294967295U;
    QTest::newRow("a negative fraction") << QByteArray(R"({"pos": -1.9})") << 4294967295U;
    QTest::newRow("nearly zero") << QByteArray(R"({"pos": -0.5})") << 0U;
    QTest::newRow("2 to the 63rd") << QByteArray(R"({"pos": 9223372036854775808})") << 0U;
    QTest::newRow("huge") << QByteArray(R"({"pos": 1e300})") << 0U;
    QTest::newRow("hugely negative") << QByteArray(R"({"pos": -1e300})") << 0U;
    QTest::newRow("beyond a double") << QByteArray(R"({"pos": 1e999})") << 0U;
    QTest::newRow("text") << QByteArray(R"({"pos": "7"})") << 0U;
    QTest::newRow("null") << QByteArray(R"({"pos": null})") << 0U;
    QTest::newRow("true") << QByteArray(R"({"pos": true})") << 0U;
    QTest::newRow("an array") << QByteArray(R"({"pos": [7]})") << 0U;
}

void LogStreamTest::positions_are_read_modulo_2_to_the_32nd()
{
    QFETCH(QByteArray, json);
    QFETCH(uint, position);
    const QJsonObject message = QJsonDocument::fromJson(json).object();
    QCOMPARE(read_log_position(message.value("pos")), position);
    for (const double number : {qQNaN(), qInf(), -qInf()})
        QCOMPARE(read_log_position(QJsonValue(number)), 0U);
}

void LogStreamTest::the_filter_agrees_with_its_table_on_random_bytes()
{
    QRandomGenerator random(7054);
    LogStream fast;
    LogStream slow;
    for (int round = 0; round < 2000; ++round) {
        const QByteArray bytes = random_bytes(random);
        QCOMPARE(remove_escapes(fast, bytes), filter_byte_by_byte(slow, bytes));
        QCOMPARE(fast.log_escape_state, slow.log_escape_state);
        QCOMPARE(int(fast.log_escape_count), int(slow.log_escape_count));
    }
}

void LogStreamTest::shown_and_noted_bytes_add_up_to_what_was_sent()
{
    QRandomGenerator random(5);
    LogStream stream;
    quint64 sent = 0;
    quint64 shown = 0;
    quint64 noted = 0;
    int lost_messages = 0;
    // 10 minutes of 20 messages a second, 5 % of which never arrive.
    for (int number = 0; number < 12000; ++number) {
        const QByteArray bytes(1 + random.bounded(1000), 'x');
        const quint64 position = sent;
        sent += static_cast<quint64>(bytes.size());
        const bool is_last = number == 11999;
        if (random.bounded(100) < 5 && !is_last) {
            ++lost_messages;
            continue;
        }
        const QString text = take(stream, static_cast<double>(position), bytes);
        shown += static_cast<quint64>(text.count('x'));
        noted += noted_losses(text);
    }
    QVERIFY(lost_messages > 400);
    QVERIFY(noted > 0);
    QCOMPARE(shown + noted, sent);
}

QTEST_GUILESS_MAIN(LogStreamTest)
#include "log_stream_test.moc"
