// Log messages that are read the short way: what it takes, the long way reads alike.
#include "link/datagram.h"
#include "link/packet_kind.h"
#include "meter/log_frame.h"
#include "support/two_ways.h"

#include <QtTest>

namespace {

const QByteArray HEAD = R"({"api_version":6,"command":"raw_log","device_id":"0a1b-22",)"
                        R"("overflow":false,"pos":4294967290})";
const QByteArray TEXT("\0\4\0log\n", 7); // a zero byte, the length, the bytes
const QByteArray USUAL = HEAD + TEXT;

struct LongReading
{
    QString device_id = {};
    LogHead head = {};
    QByteArray attachment = {};
};

// What the window does with a datagram that is read whole: nothing of it but a log's text.
std::optional<LongReading> read_the_long_way(const QByteArray &datagram)
{
    const Frame frame = read_frame(datagram);
    if (frame.verdict != FrameVerdict::OK || packet_kind(frame.object) != PacketKind::LOG_STREAM
        || frame.object.contains("warning") || frame.object.contains("error"))
        return {};
    return LongReading{.device_id = frame.object.value("device_id").toString(),
                       .head = read_log_head(frame.object),
                       .attachment = frame.attachment};
}

// Whether the short way took it.
bool reads_alike(const QByteArray &datagram)
{
    const std::optional<LogFrame> frame = read_usual_log_frame(datagram);
    if (!frame)
        return false;
    const auto whole = read_the_long_way(datagram);
    const bool is_equal = whole && whole->device_id == frame->device_id
        && whole->head.overflow == frame->head.overflow
        && whole->head.position == frame->head.position && whole->attachment == frame->attachment;
    if (!is_equal)
        QTest::qFail(datagram.constData(), __FILE__, __LINE__);
    return true;
}

} // namespace

class LogFrameTest : public QObject
{
    Q_OBJECT

private slots:
    void a_usual_message_is_taken_data();
    void a_usual_message_is_taken();
    void its_text_stays_where_it_is();
    void anything_else_is_left_to_the_long_way_data();
    void anything_else_is_left_to_the_long_way();
    void every_part_of_a_message_is_read_alike();
    void every_other_byte_at_every_place_is_read_alike();
    void shuffled_pieces_are_read_alike();
};

void LogFrameTest::a_usual_message_is_taken_data()
{
    QTest::addColumn<QByteArray>("datagram");
    const auto row = [](const char *what, const char *from, const QByteArray &to) {
        QTest::newRow(what) << QByteArray(USUAL).replace(from, to);
    };
    QTest::newRow("as devices write it") << USUAL;
    QTest::newRow("without an attachment") << HEAD;
    QTest::newRow("with an empty one") << HEAD + QByteArray(1, '\0');
    QTest::newRow("with zero bytes in its text") << USUAL + QByteArray(3, '\0');
    QTest::newRow("in another order, with spaces")
        << QByteArray("\t{ \"pos\" : 7 ,\r\n \"device_id\" : \"a b\" , \"command\" : \"raw_log\" "
                      "} \n")
            + TEXT;
    row("without a position", R"(,"pos":4294967290)", "");
    row("without a word on overflow", R"("overflow":false,)", "");
    row("after an overflow", "false", "true");
    row("a position that has run over", "4294967290", "4294967297");
    row("a position of fifteen digits", "4294967290", "999999999999999");
    row("a negative position", "4294967290", "-5");
}

void LogFrameTest::a_usual_message_is_taken()
{
    QFETCH(QByteArray, datagram);
    QVERIFY(reads_alike(datagram));
    QVERIFY(reads_alike(with_checksum(datagram)));
}

void LogFrameTest::its_text_stays_where_it_is()
{
    const QByteArray datagram = with_checksum(USUAL);
    const std::optional<LogFrame> frame = read_usual_log_frame(datagram);
    QVERIFY(frame);
    QCOMPARE(frame->attachment.constData(), datagram.constData() + HEAD.size() + 1);
}

void LogFrameTest::anything_else_is_left_to_the_long_way_data()
{
    QTest::addColumn<QByteArray>("datagram");
    const auto row = [](const char *what, const char *from, const QByteArray &to) {
        QTest::newRow(what) << QByteArray(USUAL).replace(from, to);
    };
    QTest::newRow("a wrong checksum") << USUAL + "\n//#00000000";
    QTest::newRow("nothing") << QByteArray();
    row("another command", "raw_log", "broadcast_info");
    row("a warning", R"("api_version":6)", R"("warning":"hot")");
    row("an error", R"("api_version":6)", R"("error":"hot")");
    for (const char *key : {"api_version", "command", "device_id", "overflow", "pos"})
        QTest::addRow("%s said twice", key)
            << QByteArray(USUAL).replace("{", "{\"" + QByteArray(key) + "\":0,");
    row("an escape", "0a1b", "\\u0061");
    row("a letter beyond ASCII", "0a1b", "\xC3\xA4");
    row("a fraction", "4294967290", "1.5");
    row("a power", "4294967290", "1e3");
    row("a position of sixteen digits", "4294967290", "1000000000000000");
    row("a zero in front", "4294967290", "05");
    row("a negative zero", "4294967290", "-0");
    row("a text as position", "4294967290", "\"5\"");
    row("a number as overflow", "false", "1");
    row("half a word", "false", "fals");
    row("a comma too many", "}", ",}");
    row("no end", "}", "");
    row("something behind the end", "}", "} x");
    row("no device", R"("device_id":"0a1b-22",)", "");
    row("no command", R"("command":"raw_log",)", "");
}

void LogFrameTest::anything_else_is_left_to_the_long_way()
{
    QFETCH(QByteArray, datagram);
    QVERIFY(!read_usual_log_frame(datagram));
}

void LogFrameTest::every_part_of_a_message_is_read_alike()
{
    play_every_part(with_checksum(USUAL), reads_alike);
}

void LogFrameTest::every_other_byte_at_every_place_is_read_alike()
{
    const int taken = play_every_other_byte(USUAL, reads_alike);
    QVERIFY(taken > 1000); // other digits, other letters of the id, other bytes of the text
}

// A third of them stay usual, so that both answers are seen of each piece.
void LogFrameTest::shuffled_pieces_are_read_alike()
{
    const QList<QByteArray> pieces = {"\"api_version\":6",
                                      "\"command\":\"raw_log\"",
                                      "\"device_id\":\"a\"",
                                      "\"pos\":17",
                                      "\"overflow\":true",
                                      "\"pos\":null",
                                      "\"overflow\":{}",
                                      "\"seq\":0",
                                      "\"device_id\":\"b\"",
                                      "\"command\":\"broadcast_info\"",
                                      "\"error\":\"no\"",
                                      "\"pos\":-1",
                                      "\"pos\":12345678901",
                                      " ",
                                      ""};
    const int taken = play_shuffled(pieces, 5, TEXT, reads_alike);
    QVERIFY(taken > 500);
}

QTEST_GUILESS_MAIN(LogFrameTest)
#include "log_frame_test.moc"
