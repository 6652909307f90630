// The TFTP server of simulated devices and what it does to the files.
#include "link/crc32.h"
#include "simulator/image_check.h"
#include "simulator/tftp_session.h"
#include "support/tftp_packets.h"

#include <QFile>
#include <QtEndian>
#include <QtTest>

using namespace simulator;

namespace {

constexpr uint32_t MANAGER = 0x0A470001;
constexpr uint16_t PORT = 69;
constexpr uint32_t MODULE = 0x354A2936;

TftpOutcome hear(TftpSession &session, const QByteArray &packet, uint32_t from = MANAGER,
                 uint16_t port = PORT)
{
    return session.handle(from, port, packet.constData(), packet.size());
}

QByteArray only_answer(const TftpOutcome &outcome)
{
    return outcome.answers.size() == 1 ? outcome.answers[0].bytes : QByteArray("not one answer");
}

// Sends the whole file; the result is the last outcome.
TftpOutcome upload(TftpSession &session, const QByteArray &file)
{
    TftpOutcome outcome = hear(session, write_request());
    for (int number = 1; number <= last_block(file); ++number)
        outcome = hear(session, block_of(file, number));
    return outcome;
}

QByteArray word(uint32_t value)
{
    QByteArray bytes(4, '\0');
    qToLittleEndian(value, bytes.data());
    return bytes;
}

void seal(QByteArray &image)
{
    QByteArray header = image.left(128);
    header.replace(4, 4, QByteArray(4, '\0'));
    const uint32_t sum = crc32(0, reinterpret_cast<const uint8_t *>(header.constData()), 128);
    image.replace(4, 4, word(sum));
}

QByteArray make_image(uint32_t magic, const QByteArray &payload)
{
    QByteArray image(128, '\0');
    image.replace(0, 4, word(magic));
    image.replace(16, 9, "v1.5.5.8d");
    image.replace(44, 4, word(static_cast<uint32_t>(payload.size())));
    image += payload;
    seal(image);
    return image;
}

} // namespace

class SimulatorTftpTest : public QObject
{
    Q_OBJECT

private slots:
    void a_file_arrives_whole_data()
    {
        QTest::addColumn<int>("size");
        for (const int size : {0, 1, 511, 512, 513, 1024, 100'000})
            QTest::addRow("%d bytes", size) << size;
    }

    void a_file_arrives_whole()
    {
        QFETCH(int, size);
        QByteArray file;
        for (int i = 0; i < size; ++i)
            file.append(static_cast<char>(i * 7 + i / 512));
        TftpSession session;
        const TftpOutcome last = upload(session, file);
        QVERIFY(last.finished);
        QVERIFY(!session.running);
        QCOMPARE(session.data, file);
        QCOMPARE(session.file_name, QString("firmware.bin"));
        QCOMPARE(session.blocks, qint64{size / 512 + 1});
        QCOMPARE(only_answer(last), tftp_ack(static_cast<uint16_t>(size / 512 + 1)));
    }

    void block_numbers_wrap_in_huge_files()
    {
        TftpSession session;
        hear(session, write_request());
        const QByteArray block(512, 'x');
        for (int i = 1; i <= 65'536; ++i)
            QCOMPARE(only_answer(hear(session, data_block(i, block))),
                     tftp_ack(static_cast<uint16_t>(i)));
        QCOMPARE(session.data.size(), 65'536 * 512);
    }

    void a_file_beyond_64_mib_is_refused()
    {
        TftpSession session;
        hear(session, write_request());
        const QByteArray block(512, 'x');
        QByteArray answer;
        for (int i = 1; i <= 131'073; ++i)
            answer = only_answer(hear(session, data_block(i, block)));
        QCOMPARE(answer, tftp_error(3, "file too large"));
        QVERIFY(!session.running);
    }

    void a_repeated_block_is_acknowledged_but_not_stored_again()
    {
        TftpSession session;
        hear(session, write_request());
        const QByteArray block(512, 'x');
        hear(session, data_block(1, block));
        QCOMPARE(only_answer(hear(session, data_block(1, block))), tftp_ack(1));
        QCOMPARE(session.data.size(), 512);
    }

    void the_repeated_last_block_is_acknowledged_after_the_end()
    {
        TftpSession session;
        QVERIFY(upload(session, "abc").finished);
        const TftpOutcome again = hear(session, data_block(1, "abc"));
        QCOMPARE(only_answer(again), tftp_ack(1));
        QVERIFY(!again.finished);
        QVERIFY(hear(session, data_block(2, "more")).answers.isEmpty());
        QCOMPARE(session.data, QByteArray("abc"));
    }

    void blocks_out_of_order_are_ignored()
    {
        TftpSession session;
        hear(session, write_request());
        QVERIFY(hear(session, data_block(2, "x")).answers.isEmpty());
        QVERIFY(hear(session, data_block(0, "x")).answers.isEmpty());
        QVERIFY(hear(session, data_block(1, QByteArray(513, 'x'))).answers.isEmpty());
        QVERIFY(session.data.isEmpty());
    }

    void a_stranger_cannot_write_into_a_transfer()
    {
        TftpSession session;
        hear(session, write_request());
        QVERIFY(hear(session, data_block(1, "x"), MANAGER + 1).answers.isEmpty());
        QVERIFY(hear(session, data_block(1, "x"), MANAGER, 70).answers.isEmpty());
        QVERIFY(session.running);
    }

    void one_file_comes_after_the_other()
    {
        TftpSession session;
        for (const char *file : {"first", "second"}) {
            QVERIFY(upload(session, file).finished);
            QCOMPARE(session.take_file(), QByteArray(file));
            QVERIFY(session.data.isEmpty());
        }
    }

    void a_device_that_starts_anew_knows_of_no_transfer()
    {
        TftpSession session;
        session.faults.ack_delay = 5;
        upload(session, "abc");
        session.reset();
        QVERIFY(hear(session, data_block(1, "abc")).answers.isEmpty());
        hear(session, write_request());
        session.reset();
        QVERIFY(!session.running);
        QVERIFY(session.file_name.isEmpty());
        QVERIFY(hear(session, data_block(1, "abc")).answers.isEmpty());
        QCOMPARE(hear(session, write_request()).answers[0].delay, 5); // the faults stay
    }

    void a_new_request_starts_anew()
    {
        TftpSession session;
        hear(session, write_request());
        hear(session, data_block(1, QByteArray(512, 'x')));
        const TftpOutcome outcome = hear(session, write_request("lpi.bin"));
        QVERIFY(outcome.started);
        QCOMPARE(only_answer(outcome), tftp_ack(0));
        QCOMPARE(session.file_name, QString("lpi.bin"));
        QVERIFY(session.data.isEmpty());
    }

    void bad_requests_are_refused_data()
    {
        QTest::addColumn<QByteArray>("packet");
        QTest::newRow("text mode") << write_request("a", "netascii");
        QTest::newRow("no name") << write_request("");
        QTest::newRow("no end of name") << QByteArray("\0\2abc", 5);
        QTest::newRow("no mode") << QByteArray("\0\2abc\0", 6);
        QTest::newRow("no end of mode") << QByteArray("\0\2abc\0octet", 11);
        QTest::newRow("reading") << QByteArray("\0\1abc\0octet\0", 12);
    }

    void bad_requests_are_refused()
    {
        QFETCH(QByteArray, packet);
        TftpSession session;
        const TftpOutcome outcome = hear(session, packet);
        QVERIFY(only_answer(outcome).startsWith(QByteArray("\0\5\0\4", 4)));
        QVERIFY(only_answer(outcome).endsWith('\0'));
        QVERIFY(!outcome.started);
        QVERIFY(!session.running);
    }

    void every_truncation_of_a_request_is_survived()
    {
        const QByteArray request = write_request();
        for (int size = 0; size < request.size(); ++size) {
            TftpSession session;
            const QByteArray cut = request.left(size);
            session.handle(MANAGER, PORT, cut.constData(), cut.size());
            QVERIFY(!session.running);
        }
    }

    void the_mode_is_read_in_either_letter_case()
    {
        TftpSession session;
        QVERIFY(hear(session, write_request("a", "OcTeT")).started);
    }

    // What lies behind the datagram in the buffer is of another one.
    void a_block_without_its_whole_number_is_no_block()
    {
        TftpSession session;
        hear(session, write_request());
        const QByteArray block = data_block(1, "x");
        for (int size = 0; size < 4; ++size) {
            const TftpOutcome outcome = session.handle(MANAGER, PORT, block.constData(), size);
            QVERIFY(outcome.answers.isEmpty() && !outcome.finished);
        }
        QVERIFY(hear(session, block).finished);
    }

    void a_strike_at_the_last_block_leaves_no_file()
    {
        for (const TftpStrike strike : {TftpStrike::ERROR_SENT, TftpStrike::OFFLINE}) {
            TftpSession session;
            session.faults = {.strike = strike, .at_block = 1};
            QVERIFY(!upload(session, "abc").finished);
            QVERIFY(!session.running);
        }
    }

    void a_silent_server_says_nothing()
    {
        TftpSession session;
        session.faults.silent = true;
        QVERIFY(hear(session, write_request()).answers.isEmpty());
        QVERIFY(!session.running);
    }

    void strikes_data()
    {
        QTest::addColumn<int>("strike");
        QTest::addColumn<QList<QByteArray>>("answers");
        const QByteArray ack = tftp_ack(1);
        QTest::newRow("lost") << int(TftpStrike::LOSE) << QList<QByteArray>{};
        QTest::newRow("double") << int(TftpStrike::DOUBLE) << QList<QByteArray>{ack, ack};
        QTest::newRow("wrong") << int(TftpStrike::WRONG_ACK) << QList<QByteArray>{tftp_ack(4)};
        QTest::newRow("late") << int(TftpStrike::LATE) << QList<QByteArray>{ack};
        QTest::newRow("error") << int(TftpStrike::ERROR_SENT)
                               << QList<QByteArray>{error_packet(2, "why")};
        QTest::newRow("raw") << int(TftpStrike::RAW) << QList<QByteArray>{"why"};
        QTest::newRow("offline") << int(TftpStrike::OFFLINE) << QList<QByteArray>{};
    }

    void strikes()
    {
        QFETCH(int, strike);
        QFETCH(QList<QByteArray>, answers);
        TftpSession session;
        session.faults = {.strike = static_cast<TftpStrike>(strike),
                          .at_block = 1,
                          .offset = 3,
                          .code = 2,
                          .bytes = "why"};
        QCOMPARE(only_answer(hear(session, write_request())), tftp_ack(0));
        const TftpOutcome outcome = hear(session, data_block(1, QByteArray(512, 'x')));
        QList<QByteArray> got;
        for (const TftpAnswer &answer : outcome.answers)
            got.append(answer.bytes);
        QCOMPARE(got, answers);
        QCOMPARE(outcome.goes_offline, strike == int(TftpStrike::OFFLINE));
        const bool ends
            = strike == int(TftpStrike::OFFLINE) || strike == int(TftpStrike::ERROR_SENT);
        QCOMPARE(session.running, !ends);
        if (!ends) // once only
            QCOMPARE(only_answer(hear(session, data_block(2, "end"))), tftp_ack(2));
    }

    void a_strike_at_any_block_hits_the_next_one()
    {
        TftpSession session;
        session.faults = {.strike = TftpStrike::LOSE, .times = 2};
        QVERIFY(hear(session, write_request()).answers.isEmpty());
        QVERIFY(hear(session, write_request()).answers.isEmpty());
        QCOMPARE(only_answer(hear(session, write_request())), tftp_ack(0));
    }

    void answers_can_be_delayed()
    {
        TftpSession session;
        session.faults.ack_delay = 5;
        QCOMPARE(hear(session, write_request()).answers[0].delay, 5);
        session.faults = {.strike = TftpStrike::LATE, .late = 700};
        QCOMPARE(hear(session, write_request()).answers[0].delay, 700);
    }

    void an_image_for_the_module_is_accepted()
    {
        const QByteArray image = make_image(MODULE, "payload");
        QCOMPARE(image_error(image, MODULE), QString());
        QCOMPARE(image_version(image), QString("v1.5.5.8d"));
    }

    void the_stand_in_image_is_accepted()
    {
        QFile file(STAND_IN_IMAGE);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray image = file.readAll();
        QCOMPARE(image_error(image, MODULE), QString());
        QCOMPARE(image_version(image), QString("v1.5.5.8d"));
    }

    void bad_images_are_refused()
    {
        const QByteArray image = make_image(MODULE, "payload");
        QCOMPARE(image_error(image, MODULE + 1), QString("image is for another module"));
        QCOMPARE(image_error(image.left(127), MODULE), QString("image too short"));
        QCOMPARE(image_error({}, MODULE), QString("image too short"));
        QCOMPARE(image_error(image.chopped(1), MODULE), QString("image truncated"));
        for (int byte = 0; byte < 128; ++byte) {
            QByteArray flipped = image;
            flipped[byte] = static_cast<char>(flipped[byte] ^ 1);
            QCOMPARE(image_error(flipped, MODULE), QString("image header checksum error"));
        }
    }

    void a_version_that_fills_its_field_is_read_to_its_end()
    {
        QByteArray image = make_image(MODULE, "");
        image.replace(16, 16, "v123456789abcdef");
        QCOMPARE(image_version(image), QString("v123456789abcdef"));
        QCOMPARE(image_version("short"), QString());
    }
};

QTEST_GUILESS_MAIN(SimulatorTftpTest)
#include "simulator_tftp_test.moc"
