// The course of a TFTP write: golden transcripts replayed against a made-up clock, and the limits.
#include "firmware/tftp_transfer.h"
#include "link/crc32.h"
#include "support/tftp_packets.h"
#include "support/vectors.h"

#include <QtTest>

namespace {

// Plays the owner of a transfer: keeps what went out and what was announced.
struct Owner
{
    TftpTransfer transfer = {};
    qint64 now = 1000000;
    std::vector<QByteArray> sent = {};
    QJsonArray signals_ = {};

    Owner(const QByteArray &data, const QString &filename)
    {
        transfer.data = data;
        transfer.filename = filename;
    }

    void carry_out(TftpAction action)
    {
        switch (action) {
        case TFTP_NOTHING:
            return;
        case TFTP_SEND:
            sent.push_back(
                QByteArray(transfer.pending.bytes.data(), static_cast<int>(transfer.pending.size)));
            return;
        case TFTP_ACKNOWLEDGED:
            signals_.append(QJsonArray{"progress", transfer.percent});
            return carry_out(tftp_proceed(transfer, now));
        case TFTP_SUCCEEDED:
            signals_.append(QJsonArray{"progress", transfer.percent});
            signals_.append(QJsonArray{"done", true});
            return;
        case TFTP_FAILED:
            signals_.append(QJsonArray{"done", false});
            return;
        }
    }

    void start()
    {
        const TftpAction action = tftp_start(transfer, now);
        carry_out(action);
        if (action == TFTP_SEND)
            signals_.append(QJsonArray{"progress", transfer.percent});
    }

    void receive(const QByteArray &datagram)
    {
        const size_t kept = qMin(static_cast<size_t>(datagram.size()), TFTP_PACKET_SIZE);
        carry_out(tftp_receive(transfer, {datagram.constData(), kept}, datagram.size(), now));
    }

    void acknowledge(int block) { receive(ack(block)); }

    // A timer that is told by tftp_wait when to fire next.
    void wait(qint64 duration)
    {
        const qint64 end = now + duration;
        while (true) {
            const std::optional<qint64> due = tftp_wait(transfer, now);
            if (!due || now + *due > end)
                break;
            now += *due;
            carry_out(tftp_resend(transfer, now));
        }
        now = end;
    }

    void step(const QJsonArray &step)
    {
        const QString kind = step.at(0).toString();
        if (kind == "start")
            start();
        else if (kind == "recv")
            receive(QByteArray::fromBase64(step.at(1).toString().toLatin1()));
        else if (kind == "wait")
            wait(step.at(1).toInt());
        // Datagrams from elsewhere never reach a transfer: the uploader drops them.
    }
};

QByteArray made_data(int size, int mult)
{
    QByteArray data(size, '\0');
    for (int i = 0; i < size; ++i)
        data[i] = static_cast<char>(i * mult + i / 256);
    return data;
}

// In the form of the golden cases.
QJsonObject describe(const QByteArray &datagram)
{
    if (datagram.size() <= 64)
        return {{"b64", QString::fromLatin1(datagram.toBase64())}};
    const auto *bytes = reinterpret_cast<const uint8_t *>(datagram.constData());
    return {{"len", datagram.size()},
            {"head", QString::fromLatin1(datagram.left(4).toBase64())},
            {"crc", static_cast<double>(crc32(0, bytes, static_cast<size_t>(datagram.size())))}};
}

QString compare_sent(const std::vector<QByteArray> &sent, const QJsonArray &expected)
{
    QJsonArray described;
    for (const QByteArray &datagram : sent)
        described.append(describe(datagram));
    QJsonObject first = expected.at(0).toObject();
    if (!first.contains("repeats"))
        return described == expected ? QString() : QJsonDocument(described).toJson();

    const int repeats = first.take("repeats").toInt();
    if (qAbs(described.size() - repeats) > 2)
        return QString::number(described.size()) + " repeats";
    for (const QJsonValue &one : described)
        if (one.toObject() != first)
            return "a different datagram";
    return {};
}

} // namespace

class tftp_transfer_test : public QObject
{
    Q_OBJECT

private slots:
    void golden_transcripts_hold_data()
    {
        QTest::addColumn<QJsonObject>("input");
        QTest::addColumn<QJsonArray>("expect");
        const QJsonArray cases = vector_cases("tftp");
        for (int i = 0; i < cases.size(); ++i) {
            const QJsonObject one = cases.at(i).toObject();
            const QByteArray name = QByteArray::number(i) + " " + one["why"].toString().toUtf8();
            QTest::newRow(name.constData()) << one["input"].toObject() << one["expect"].toArray();
        }
    }
    void golden_transcripts_hold()
    {
        QFETCH(QJsonObject, input);
        QFETCH(QJsonArray, expect);
        Owner owner(made_data(input["size"].toInt(), input["mult"].toInt()),
                    input["filename"].toString());
        const QJsonArray steps = input["steps"].toArray();
        QCOMPARE(steps.size(), expect.size());
        for (int i = 0; i < steps.size(); ++i) {
            const QJsonObject expected = expect.at(i).toObject();
            owner.sent.clear();
            owner.signals_ = {};
            owner.step(steps.at(i).toArray());
            QCOMPARE(compare_sent(owner.sent, expected["sent"].toArray()), QString());
            QCOMPARE(owner.signals_, expected["signals"].toArray());
            QCOMPARE(owner.transfer.status, expected["status"].toString());
            QCOMPARE(owner.transfer.percent, expected["percent"].toInt());
            QCOMPARE(owner.transfer.active, expected["active"].toBool());
        }
    }

    void a_whole_image_arrives_in_1811_blocks()
    {
        const QByteArray image = made_data(926841, 7);
        Owner owner(image, "firmware.bin");
        owner.start();
        QByteArray received;
        for (int block = 0; owner.transfer.active; ++block) {
            owner.acknowledge(block);
            if (owner.transfer.active)
                received += owner.sent.back().mid(4);
        }
        QCOMPARE(owner.transfer.block, 1811);
        QCOMPARE(owner.sent.size(), size_t{1812});
        QCOMPARE(owner.sent.back().size(), 4 + 121);
        QCOMPARE(received, image);
        QCOMPARE(owner.transfer.status, QString("Upload succeeded."));
    }

    void one_byte_above_the_limit_is_refused_before_anything_is_sent()
    {
        Owner owner(QByteArray(33'553'921, 'x'), "lpi.bin");
        owner.start();
        QVERIFY(owner.sent.empty());
        QCOMPARE(owner.transfer.status, QString("Error: file size too large"));
        QCOMPARE(owner.signals_, (QJsonArray{QJsonValue(QJsonArray{"done", false})}));
    }

    // Its last block has number 65536, of which the wire shows 0: no ACK can answer it.
    void the_largest_file_is_accepted_and_never_finishes()
    {
        Owner owner(QByteArray(33'553'920, 'x'), "lpi.bin");
        owner.start();
        for (int block = 0; block <= 65535; ++block)
            owner.acknowledge(block);
        QCOMPARE(owner.transfer.block, 65536);
        QCOMPARE(owner.sent.back(), QByteArray("\0\3\0\0", 4));
        owner.acknowledge(0);
        owner.wait(3600 * 1000);
        QVERIFY(owner.transfer.active);
        QCOMPARE(owner.transfer.percent, 65535 * 99 / 65536);
    }

    void names_are_limited_in_bytes_not_in_characters()
    {
        Owner fits({}, QString(250, QChar(0xE9)) + "n");
        fits.start();
        QVERIFY(fits.transfer.active);
        Owner too_long({}, QString(251, QChar(0xE9)));
        too_long.start();
        QCOMPARE(too_long.transfer.status, QString("Error: filename too long"));
        QVERIFY(too_long.sent.empty());
    }

    void a_silent_device_fails_after_20_seconds_and_not_sooner()
    {
        Owner owner("data", "firmware.bin");
        owner.start();
        owner.wait(TFTP_IDLE_LIMIT);
        QVERIFY(owner.transfer.active);
        QCOMPARE(owner.sent.size(), size_t{41});
        owner.wait(TFTP_RESEND_INTERVAL);
        QCOMPARE(owner.transfer.status, QString("Error: timeout"));
        QCOMPARE(owner.sent.size(), size_t{41});
        QCOMPARE(owner.signals_.last().toArray(), (QJsonArray{"done", false}));
    }

    void the_limit_counts_from_the_last_sign_of_life()
    {
        Owner owner(made_data(2000, 3), "firmware.bin");
        owner.start();
        owner.wait(19000);
        owner.acknowledge(0);
        owner.wait(19000);
        owner.acknowledge(1);
        owner.wait(20000);
        QVERIFY(owner.transfer.active);
        owner.wait(1000);
        QCOMPARE(owner.transfer.status, QString("Error: timeout"));
    }

    void a_block_is_repeated_500_ms_after_it_went_out()
    {
        Owner owner(made_data(2000, 3), "firmware.bin");
        owner.start();
        owner.wait(300);
        owner.acknowledge(0);
        owner.sent.clear();
        owner.wait(499);
        QVERIFY(owner.sent.empty());
        owner.wait(1);
        QCOMPARE(owner.sent.size(), size_t{1});
        QCOMPARE(owner.sent[0].left(4), QByteArray("\0\3\0\1", 4));
    }

    void a_timer_that_fires_early_sends_nothing()
    {
        Owner owner("data", "firmware.bin");
        owner.start();
        QCOMPARE(tftp_resend(owner.transfer, owner.now + 499), TFTP_NOTHING);
        QCOMPARE(tftp_resend(owner.transfer, owner.now + 500), TFTP_SEND);
    }

    void a_device_is_quick_after_16_quick_answers_in_a_row()
    {
        Owner owner(made_data(100 * 512, 3), "firmware.bin");
        owner.start();
        int block = 0;
        const auto answer = [&owner, &block](qint64 after) {
            owner.now += after;
            owner.acknowledge(block++);
            return tftp_is_quick(owner.transfer);
        };
        for (int i = 1; i < 16; ++i)
            QVERIFY2(!answer(i % 2), qPrintable(QString::number(i)));
        QVERIFY(answer(1));
        QVERIFY(answer(0)); // and stays so
        QVERIFY(answer(1));
        QVERIFY(!answer(2));
        for (int i = 1; i < 16; ++i)
            QVERIFY2(!answer(1), qPrintable(QString::number(i)));
        QVERIFY(answer(1));
    }

    void a_useless_datagram_ends_the_repeating_for_good()
    {
        for (const QByteArray &useless : {QByteArray("\0\6", 2), QByteArray("\0\3\0\0x", 5)}) {
            Owner owner("data", "firmware.bin");
            owner.start();
            owner.receive(useless);
            owner.wait(3600 * 1000);
            QCOMPARE(owner.sent.size(), size_t{1});
            QVERIFY(owner.transfer.active);
        }
        Owner owner(made_data(2000, 3), "firmware.bin");
        owner.start();
        owner.acknowledge(0);
        owner.acknowledge(
            0); // doubled on its way: should block 1 be lost too, nothing brings it back
        owner.wait(3600 * 1000);
        QCOMPARE(owner.sent.size(), size_t{2});
        QVERIFY(owner.transfer.active);
        owner.acknowledge(1);
        QCOMPARE(owner.sent.size(), size_t{3});
    }

    void a_doubled_last_ack_does_not_finish_twice()
    {
        Owner owner("data", "firmware.bin");
        owner.start();
        owner.acknowledge(0);
        owner.acknowledge(1);
        const QJsonArray announced = owner.signals_;
        owner.acknowledge(1);
        owner.acknowledge(2);
        QCOMPARE(owner.signals_, announced);
        QCOMPARE(owner.transfer.status, QString("Upload succeeded."));
        QCOMPARE(owner.transfer.percent, 100);
    }

    void nothing_happens_before_the_start()
    {
        Owner owner("data", "firmware.bin");
        owner.acknowledge(0);
        owner.wait(60000);
        QVERIFY(owner.sent.empty());
        QVERIFY(owner.signals_.isEmpty());
    }
};

QTEST_GUILESS_MAIN(tftp_transfer_test)
#include "tftp_transfer_test.moc"
