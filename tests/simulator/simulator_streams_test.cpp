// Metering frames and log streams of simulated devices, byte for byte.
#include "link/crc32.h"
#include "simulator/channel_levels.h"
#include "simulator/datagrams.h"
#include "simulator/log_stream.h"
#include "simulator/pace.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

using namespace simulator;

namespace {

struct Parsed
{
    QJsonObject object = {};
    QByteArray attachment = {};
    bool is_right = false;
};

Parsed parse(QByteArray datagram)
{
    Parsed parsed;
    const uint32_t sum = datagram.right(8).toUInt(nullptr, 16);
    datagram.chop(12);
    parsed.is_right = sum
        == crc32(0, reinterpret_cast<const uint8_t *>(datagram.constData()),
                 static_cast<size_t>(datagram.size()));
    const int separator = datagram.indexOf('\0');
    parsed.object
        = QJsonDocument::fromJson(separator < 0 ? datagram : datagram.left(separator)).object();
    if (separator >= 0)
        parsed.attachment = datagram.mid(separator + 1);
    return parsed;
}

QByteArray joined(const std::vector<QByteArray> &pieces)
{
    QByteArray text;
    for (const QByteArray &piece : pieces)
        text += piece;
    return text;
}

} // namespace

class SimulatorStreamsTest : public QObject
{
    Q_OBJECT

private slots:
    void a_frame_is_the_json_that_the_library_would_write()
    {
        const QByteArray frame = metering_datagram("id1", {0, 35, 70}, {0, 0, 1}, Checksum::RIGHT);
        const QJsonObject expected{{"api_version", 6},
                                   {"command", "broadcast_info"},
                                   {"device_id", "id1"},
                                   {"metering",
                                    QJsonObject{{"channel_overdrive", QJsonArray{0, 0, 1}},
                                                {"channel_peaks", QJsonArray{0, 35, 70}}}}};
        QCOMPARE(frame, json_datagram(expected, Checksum::RIGHT));
        QVERIFY(parse(frame).is_right);
    }

    void a_frame_without_channels_is_valid_too()
    {
        const Parsed parsed = parse(metering_datagram("id1", {}, {}, Checksum::RIGHT));
        QVERIFY(parsed.object.value("metering").toObject().value("channel_peaks").isArray());
    }

    void a_wrong_checksum_is_wrong_and_none_is_none()
    {
        QVERIFY(!parse(json_datagram({{"a", 1}}, Checksum::WRONG)).is_right);
        QVERIFY(parse(json_datagram({{"a", 1}}, Checksum::RIGHT)).is_right);
        QCOMPARE(json_datagram({{"a", 1}}, Checksum::NONE), QByteArray("{\"a\":1}\n"));
    }

    void levels_stay_on_the_scale_and_move()
    {
        RandomSource random(3);
        ChannelLevels levels(8, {}, random);
        QCOMPARE(levels.peaks.size(), size_t{8});
        const std::vector<int> first = levels.peaks;
        int overdriven = 0;
        for (int i = 0; i < 20'000; ++i) {
            levels.step(random);
            for (size_t channel = 0; channel < 8; ++channel) {
                QVERIFY(levels.peaks[channel] >= 0 && levels.peaks[channel] <= 70);
                QCOMPARE(levels.overdrive[channel] == 1, levels.peaks[channel] == 70);
                overdriven += levels.overdrive[channel];
            }
        }
        QVERIFY(levels.peaks != first);
        QVERIFY2(overdriven > 0 && overdriven < 20'000, qPrintable(QString::number(overdriven)));
    }

    void levels_follow_the_wanted_means()
    {
        RandomSource random(3);
        ChannelLevels levels(3, {60, 5}, random);
        qint64 sums[3] = {0, 0, 0};
        for (int i = 0; i < 5000; ++i) {
            levels.step(random);
            for (size_t channel = 0; channel < 3; ++channel)
                sums[channel] += levels.peaks[channel];
        }
        QVERIFY(sums[0] > 55 * 5000);
        QVERIFY(sums[1] < 12 * 5000);
        QVERIFY(sums[2] < 12 * 5000); // the last mean stands for the rest
    }

    void a_log_message_carries_position_length_and_text()
    {
        const QByteArray datagram
            = log_datagram("id1", {.position = 1000, .bytes = "hello\n"}, Checksum::RIGHT);
        const Parsed parsed = parse(datagram);
        QVERIFY(parsed.is_right);
        QCOMPARE(parsed.object.value("command").toString(), QString("raw_log"));
        QCOMPARE(parsed.object.value("device_id").toString(), QString("id1"));
        QCOMPARE(parsed.object.value("pos").toInt(), 1000);
        QCOMPARE(parsed.object.value("overflow"), QJsonValue(false));
        const LogMessage spilt{.overflow = true, .bytes = "x"};
        QCOMPARE(parse(log_datagram("id1", spilt, Checksum::RIGHT)).object.value("overflow"),
                 QJsonValue(true));
        QCOMPARE(parsed.attachment, QByteArray("\x06\0hello\n", 8));
    }

    void a_position_uses_all_32_bits()
    {
        const Parsed parsed
            = parse(log_datagram("x", {.position = 4'294'967'290U, .bytes = "a"}, Checksum::RIGHT));
        QCOMPARE(parsed.object.value("pos").toDouble(), 4'294'967'290.0);
    }

    void a_lying_length_and_padding_leave_the_text_alone()
    {
        const LogMessage lie{.bytes = "abc", .length_error = 300};
        QCOMPARE(parse(log_datagram("x", lie, Checksum::RIGHT)).attachment,
                 QByteArray("\x2f\x01"
                            "abc"));
        const LogMessage padded{.bytes = "abc", .padding = 2};
        QCOMPARE(parse(log_datagram("x", padded, Checksum::RIGHT)).attachment,
                 QByteArray("\x03\0abc\0\0", 7));
    }

    void positions_follow_the_bytes()
    {
        RandomSource random(1);
        LogStream log;
        uint32_t expected = 0;
        for (int i = 0; i < 500; ++i) {
            for (const LogMessage &message : log.take(believable_log_line(i, random), random)) {
                QCOMPARE(message.position, expected);
                QVERIFY(!message.overflow);
                expected += static_cast<uint32_t>(message.bytes.size());
                log.count(message, true);
            }
        }
        QCOMPARE(log.counters.bytes_sent, qint64{expected});
        QCOMPARE(log.counters.messages_sent, 500);
    }

    void a_long_text_comes_in_several_messages()
    {
        RandomSource random(1);
        LogStream log;
        QCOMPARE(log.take(QByteArray(2500, 'x'), random).size(), size_t{3});
        QVERIFY(log.take("", random).empty());
        QCOMPARE(log.position, 2500U);
    }

    void positions_wrap()
    {
        RandomSource random(1);
        LogStream log;
        log.position = 4'294'967'294U;
        log.take("abcd", random);
        QCOMPARE(log.position, 2U);
    }

    void lost_messages_leave_a_gap_that_adds_up()
    {
        RandomSource random(1);
        LogStream log;
        log.faults.loss_percent = 30;
        for (int i = 0; i < 2000; ++i)
            for (const LogMessage &message : log.take(believable_log_line(i, random), random))
                log.count(message, i % 10 != 0); // the network loses some more
        QCOMPARE(log.counters.bytes_sent + log.counters.bytes_lost, qint64{log.position});
        QVERIFY(log.counters.bytes_lost > qint64{log.position} / 4);
    }

    void faults_with_a_count_run_out()
    {
        RandomSource random(1);
        LogStream log;
        log.faults = {.lose = 2, .overflow = 1, .nul = 1, .length_error = 9, .lie = 1};
        QVERIFY(log.take("first", random).empty());
        QVERIFY(log.take("second", random).empty());
        const LogMessage spoilt = log.take("third", random).front();
        QCOMPARE(spoilt.position, 11U);
        QVERIFY(spoilt.overflow);
        QCOMPARE(spoilt.bytes, QByteArray("th\0rd", 5));
        QCOMPARE(spoilt.length_error, 9);
        const LogMessage healthy = log.take("fourth", random).front();
        QVERIFY(!healthy.overflow);
        QCOMPARE(healthy.bytes, QByteArray("fourth"));
        QCOMPARE(healthy.length_error, 0);
    }

    void escape_sequences_are_cut_inside()
    {
        const QByteArray text = "a\x1b[31mred\x1b[0m b";
        const std::vector<QByteArray> pieces = log_pieces(text, 1024, true);
        QCOMPARE(joined(pieces), text);
        QCOMPARE(pieces.size(), size_t{3});
        QVERIFY(pieces[0].endsWith("\x1b[3"));
        QVERIFY(pieces[1].startsWith("1m"));
        QVERIFY(pieces[1].endsWith("\x1b[0"));
    }

    void pieces_are_never_empty_nor_too_long()
    {
        for (const char *text : {"\x1b", "\x1b[", "\x1b\x1b\x1b", "x\x1b", "\x1b[0m\x1b[0m"}) {
            const std::vector<QByteArray> pieces = log_pieces(text, 2, true);
            QCOMPARE(joined(pieces), QByteArray(text));
            for (const QByteArray &piece : pieces)
                QVERIFY(!piece.isEmpty() && piece.size() <= 2);
        }
    }

    void a_reboot_starts_the_stream_at_0()
    {
        RandomSource random(1);
        LogStream log;
        log.take("before", random);
        log.restart();
        QCOMPARE(log.take(boot_log("v1.5.5.8d"), random).front().position, 0U);
    }

    void lines_look_like_a_firmware_log()
    {
        RandomSource random(1);
        for (int i = 0; i < 300; ++i) {
            const QByteArray line = believable_log_line(61'042, random);
            QVERIFY(line.startsWith("[    61.042] \x1b["));
            QVERIFY(line.endsWith('\n'));
            QVERIFY(!line.contains('%') || line.contains(" %\n"));
            QCOMPARE(line.count('\n'), 1);
        }
        QVERIFY(boot_log("v7").contains("v7"));
    }

    void warnings_and_errors_are_rare()
    {
        RandomSource random(1);
        QMap<QByteArray, int> levels;
        for (int i = 0; i < 5000; ++i)
            ++levels[believable_log_line(i, random).mid(18, 4)];
        QCOMPARE(levels.keys(), (QList<QByteArray>{"DBG ", "ERR ", "INFO", "WARN"}));
        const int rare = levels["WARN"] + levels["ERR "];
        QVERIFY2(rare > 300 && rare < 500, qPrintable(QString::number(rare))); // 8 of 100
    }

    void a_pace_keeps_its_rate()
    {
        Pace pace;
        int done = 0;
        for (int i = 0; i < 2000; ++i)
            done += pace.due(10, 0.005);
        QVERIFY(done == 100 || done == 99);
        QCOMPARE(pace.due(0, 1000), 0);
    }

    void a_pace_does_not_catch_up_a_long_stall()
    {
        Pace pace;
        QCOMPARE(pace.due(1000, 60), 200);
        QCOMPARE(Pace().due(1, 60), 1);
    }
};

QTEST_GUILESS_MAIN(SimulatorStreamsTest)
#include "simulator_streams_test.moc"
