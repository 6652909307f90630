// Metering frames that are read the short way: what it takes, the long way reads alike.
#include "link/datagram.h"
#include "link/packet_kind.h"
#include "meter/meter_frame.h"
#include "support/two_ways.h"

#include <QtTest>

namespace {

const QByteArray USUAL = R"({"api_version":6,"command":"broadcast_info","device_id":"0a1b-22",)"
                         R"("metering":{"channel_overdrive":[0,0,1,0],"channel_peaks":[52,0,70,)"
                         R"(-3]}})"
                         "\n";

// What the window does with a datagram that is read whole: nothing of it but levels.
std::optional<QPair<QString, MeterReport>> read_the_long_way(const QByteArray &datagram)
{
    const Frame frame = read_frame(datagram);
    if (frame.verdict != FrameVerdict::OK || packet_kind(frame.object) != PacketKind::METERING
        || frame.object.contains("warning") || frame.object.contains("error"))
        return {};
    return QPair(frame.object.value("device_id").toString(), read_meter_report(frame.object));
}

// Whether the short way took it.
bool reads_alike(const QByteArray &datagram)
{
    const std::optional<MeterFrame> frame = read_usual_meter_frame(datagram);
    if (!frame)
        return false;
    const auto whole = read_the_long_way(datagram);
    const bool is_equal = whole && whole->first == frame->device_id
        && whole->second.peaks == frame->report.peaks
        && whole->second.overdrive == frame->report.overdrive;
    if (!is_equal)
        QTest::qFail(datagram.constData(), __FILE__, __LINE__);
    return true;
}

} // namespace

class MeterFrameTest : public QObject
{
    Q_OBJECT

private slots:
    void a_usual_frame_is_taken_data();
    void a_usual_frame_is_taken();
    void anything_else_is_left_to_the_long_way_data();
    void anything_else_is_left_to_the_long_way();
    void every_part_of_a_frame_is_read_alike();
    void every_other_byte_at_every_place_is_read_alike();
    void shuffled_pieces_are_read_alike();
};

void MeterFrameTest::a_usual_frame_is_taken_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("as devices write it") << USUAL;
    QTest::newRow("without channels")
        << QByteArray(R"({"api_version":6,"command":"broadcast_info","device_id":"a",)"
                      R"("metering":{"channel_overdrive":[],"channel_peaks":[]}})");
    QTest::newRow("in another order, with spaces")
        << QByteArray("\t{ \"metering\" : { \"channel_peaks\" : [ 1 , 2 ] } ,\r\n \"device_id\" : "
                      "\"a b\" , \"command\" : \"broadcast_info\" } \n");
    QTest::newRow("without levels") << QByteArray(R"({"command":"broadcast_info","device_id":""})");
}

void MeterFrameTest::a_usual_frame_is_taken()
{
    QFETCH(QByteArray, text);
    QVERIFY(reads_alike(text));
    QVERIFY(reads_alike(with_checksum(text)));
}

void MeterFrameTest::anything_else_is_left_to_the_long_way_data()
{
    QTest::addColumn<QByteArray>("datagram");
    const auto row = [](const char *what, const char *from, const QByteArray &to) {
        QTest::newRow(what) << QByteArray(USUAL).replace(from, to);
    };
    QTest::newRow("a wrong checksum") << USUAL + "\n//#00000000";
    QTest::newRow("an attachment") << USUAL + QByteArray("\0\1", 2);
    row("another command", "broadcast_info", "raw_log");
    row("a warning", R"("api_version":6)", R"("warning":"hot")");
    row("a key said twice", R"("api_version":6)", R"("device_id":"b")");
    row("a list said twice", "channel_overdrive", "channel_peaks");
    row("an escape", "0a1b", "\\u0061");
    row("a letter beyond ASCII", "0a1b", "\xC3\xA4");
    row("a fraction", "52", "52.0");
    row("a number of ten digits", "52", "1000000000");
    row("a zero in front", "52", "052");
    row("a minus without digits", "52", "-");
    row("a negative zero", "52", "-0");
    row("a text among the levels", "52", "\"52\"");
    row("a comma too many", "[52", "[52,");
    row("levels of another type", "[0,0,1,0]", "7");
    row("more channels than are shown", "52", QByteArray("1,").repeated(MAX_METER_CHANNELS) + "52");
    row("no device", R"("device_id":"0a1b-22",)", "");
    row("no command", R"("command":"broadcast_info",)", "");
}

void MeterFrameTest::anything_else_is_left_to_the_long_way()
{
    QFETCH(QByteArray, datagram);
    QVERIFY(!read_usual_meter_frame(datagram));
}

void MeterFrameTest::every_part_of_a_frame_is_read_alike()
{
    play_every_part(with_checksum(USUAL), reads_alike);
}

void MeterFrameTest::every_other_byte_at_every_place_is_read_alike()
{
    const int taken = play_every_other_byte(USUAL, reads_alike);
    QVERIFY(taken > 1000); // other digits, other letters of the id
}

// Half of them stay usual, so that both answers are seen of each piece.
void MeterFrameTest::shuffled_pieces_are_read_alike()
{
    const QList<QByteArray> pieces = {"\"api_version\":6",
                                      "\"command\":\"broadcast_info\"",
                                      "\"device_id\":\"a\"",
                                      "\"metering\":{\"channel_peaks\":[1,2]}",
                                      "\"metering\":{}",
                                      "\"metering\":[1]",
                                      "\"metering\":{\"channel_overdrive\":[0,-7,999999999]}",
                                      "\"seq\":0",
                                      "\"device_id\":\"b\"",
                                      "\"command\":\"raw_log\"",
                                      "\"error\":\"no\"",
                                      "\"api_version\":0",
                                      "\"api_version\":12345678901",
                                      " ",
                                      ""};
    const int taken = play_shuffled(pieces, 4, {}, reads_alike);
    QVERIFY(taken > 500);
}

QTEST_GUILESS_MAIN(MeterFrameTest)
#include "meter_frame_test.moc"
