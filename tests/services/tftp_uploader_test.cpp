// Uploads over real sockets in a private network: 127.0.0.x play the devices, all on port 69.
#include "firmware/tftp_uploader.h"
#include "support/cable.h"
#include "support/private_network.h"
#include "support/test_parts.h"
#include "support/tftp_upload.h"

#include <QNetworkInterface>
#include <QPointer>
#include <QtTest>

#include <functional>
#include <map>
#include <memory>

namespace {

constexpr int IMAGE_SIZE = 926841;

QStringList told; // debug messages

void keep_message(QtMsgType, const QMessageLogContext &, const QString &text)
{
    told << text;
}

} // namespace

class tftp_uploader_test : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QCOMPARE(QNetworkInterface::interfaceFromIndex(LOOPBACK).name(), QString("lo"));
    }

    void files_of_every_size_arrive_whole_data()
    {
        QTest::addColumn<int>("size");
        for (int size : {0, 1, 511, 512, 513, 1024, 5000, IMAGE_SIZE})
            QTest::addRow("%d bytes", size) << size;
    }
    void files_of_every_size_arrive_whole()
    {
        QFETCH(int, size);
        const QByteArray data = made_data(size);
        Peer peer(11);
        Upload upload(11, data);
        upload.uploader.start();
        QTRY_VERIFY(upload.is_good());
        QCOMPARE(peer.name, QByteArray("firmware.bin"));
        QCOMPARE(peer.stored, data);
        QCOMPARE(peer.seen, size / 512 + 2);
        QCOMPARE(upload.progress.size(), size / 512 + 4);
        QCOMPARE(upload.progress.last().at(0).toInt(), 100);
    }

    void the_state_is_told_from_start_to_end()
    {
        Peer peer(11);
        peer.reply = [](int, int) { return QList<QByteArray>{}; };
        Upload upload(11, made_data(700));
        QCOMPARE(upload.uploader.status(), QString());
        QVERIFY(!upload.uploader.is_active());
        upload.uploader.start();
        QCOMPARE(upload.uploader.status(), QString("Initializing..."));
        QVERIFY(upload.uploader.is_active());
        QCOMPARE(upload.progress.size(), 1);
        QTRY_COMPARE(peer.seen, 1);
        peer.send(ack(0));
        QTRY_COMPARE(upload.uploader.status(), QString("Uploading..."));
        QTRY_COMPARE(peer.seen, 2);
        peer.send(ack(1));
        QTRY_COMPARE(upload.uploader.percent(), 49);
        peer.send(ack(2));
        QTRY_VERIFY(upload.is_good());
    }

    void percent_and_activity_agree_with_each_signal()
    {
        Peer peer(11);
        Upload upload(11, made_data(100));
        QStringList lines;
        connect(&upload.uploader, &QTFTPFileUploader::progress, this,
                [&upload, &lines](int percent) {
                    lines << QString("%1 %2 %3")
                                 .arg(percent)
                                 .arg(upload.uploader.percent())
                                 .arg(upload.uploader.is_active());
                });
        upload.uploader.start();
        QTRY_VERIFY(upload.is_good());
        QCOMPARE(lines, (QStringList{"0 0 1", "0 0 1", "99 99 1", "100 100 0"}));
    }

    // The kernel gives every datagram to the socket bound last.
    void twelve_transfers_at_once_all_arrive()
    {
        const QByteArray data = made_data(IMAGE_SIZE);
        std::vector<std::unique_ptr<Peer>> peers;
        std::vector<std::unique_ptr<Upload>> uploads;
        for (int i = 0; i < 12; ++i) {
            peers.push_back(std::make_unique<Peer>(11 + i));
            uploads.push_back(std::make_unique<Upload>(11 + i, data));
        }
        for (const auto &upload : uploads)
            upload->uploader.start();
        for (const auto &upload : uploads)
            QTRY_VERIFY_WITH_TIMEOUT(upload->is_good(), 60000);
        for (const auto &peer : peers)
            QCOMPARE(peer->stored, data);
    }

    void lost_datagrams_are_made_good_for()
    {
        const QByteArray data = made_data(20000);
        std::vector<std::unique_ptr<Peer>> peers;
        std::vector<std::unique_ptr<Upload>> uploads;
        for (int i = 0; i < 6; ++i) {
            peers.push_back(std::make_unique<Peer>(11 + i));
            peers.back()->misses = [i](int seen) { return (seen + i) % 11 == 0; };
            peers.back()->reply = [i](int block, int seen) {
                return (seen + i) % 9 == 0 ? QList<QByteArray>{} : QList<QByteArray>{ack(block)};
            };
            uploads.push_back(std::make_unique<Upload>(11 + i, data));
            uploads.back()->uploader.start();
        }
        for (const auto &upload : uploads)
            QTRY_VERIFY_WITH_TIMEOUT(upload->is_good(), 30000);
        for (const auto &peer : peers)
            QCOMPARE(peer->stored, data);
    }

    // Ends by the real limit of 20 seconds, not sooner.
    void a_silent_newest_transfer_disturbs_no_other()
    {
        const QByteArray data = made_data(100000);
        Peer first(11);
        Peer second(12);
        Upload to_first(11, data);
        Upload to_second(12, data);
        Upload to_nobody(13, data);
        QElapsedTimer since_start;
        since_start.start();
        to_first.uploader.start();
        to_second.uploader.start();
        to_nobody.uploader.start();
        QTRY_VERIFY(to_first.is_good() && to_second.is_good());
        QCOMPARE(first.stored, data);
        QCOMPARE(second.stored, data);
        QVERIFY(to_nobody.uploader.is_active());

        QTRY_COMPARE_WITH_TIMEOUT(to_nobody.done.size(), 1, 25000);
        QVERIFY2(since_start.elapsed() > 20000, "given up too soon");
        QCOMPARE(to_nobody.done.at(0).at(0).toBool(), false);
        QCOMPARE(to_nobody.uploader.status(), QString("Error: timeout"));
    }

    void an_unanswered_datagram_is_repeated_every_500_ms()
    {
        Peer peer(11);
        QList<qint64> times;
        QElapsedTimer clock;
        clock.start();
        peer.reply = [&times, &clock](int, int) {
            times << clock.elapsed();
            return QList<QByteArray>{};
        };
        Upload upload(11, "data");
        upload.uploader.start();
        QTRY_COMPARE(peer.seen, 4);
        for (int i = 1; i < times.size(); ++i)
            QVERIFY2(times[i] - times[i - 1] >= 495, qPrintable(QString::number(times[i])));
    }

    void fatal_answers_data()
    {
        QTest::addColumn<QByteArray>("datagram");
        QTest::addColumn<QString>("status");
        const auto row = [](const char *why, const QByteArray &datagram, const char *text) {
            QTest::newRow(why) << datagram << QString(text);
        };
        row("one byte", QByteArray(1, '\0'), "Error: bad TFTP packet (size too small)");
        row("no byte", QByteArray(), "Error: bad TFTP packet (size too small)");
        row("600 bytes", ack(0).leftJustified(600, '\0'),
            "Error: bad TFTP packet (size too large)");
        row("short ACK", ack(0).chopped(1), "Error: bad TFTP ACK packet (size too small)");
        row("ACK ahead", ack(1), "Error: bad TFTP ACK sequence NR (expected 0 got 1");
        row("ERROR", error_packet(2, "x"), "Error: got TFTP ERROR packet, code=512, msg='x'");
        row("unended ERROR", error_packet(2, "x").chopped(1), "Error: bad TFTP ERROR packet");
    }
    void fatal_answers()
    {
        QFETCH(QByteArray, datagram);
        QFETCH(QString, status);
        Peer peer(11);
        peer.reply = [datagram](int, int) { return QList<QByteArray>{datagram, ack(0)}; };
        Upload upload(11, "data");
        upload.uploader.start();
        QTRY_COMPARE(upload.done.size(), 1);
        QCOMPARE(upload.done.at(0).at(0).toBool(), false);
        QCOMPARE(upload.uploader.status(), status);
        QVERIFY(!upload.uploader.is_active());
        QCOMPARE(upload.uploader.percent(), 0);
    }

    void a_wrong_ack_to_one_transfer_leaves_the_others_alone()
    {
        const QByteArray data = made_data(100000);
        Peer good(11);
        Peer bad(12);
        bad.reply = [](int block, int) { return QList<QByteArray>{ack(block < 50 ? block : 99)}; };
        Upload to_good(11, data);
        Upload to_bad(12, data);
        to_good.uploader.start();
        to_bad.uploader.start();
        QTRY_VERIFY(to_good.is_good());
        QCOMPARE(good.stored, data);
        QTRY_COMPARE(to_bad.uploader.status(),
                     QString("Error: bad TFTP ACK sequence NR (expected 50 got 99"));
        QCOMPARE(to_bad.uploader.percent(), 49 * 99 / 196);
    }

    void doubled_acks_do_no_harm_while_nothing_is_lost()
    {
        const QByteArray data = made_data(50000);
        Peer peer(11);
        peer.reply = [](int block, int) { return QList<QByteArray>{ack(block), ack(block)}; };
        Upload upload(11, data);
        upload.uploader.start();
        QTRY_VERIFY(upload.is_good());
        QCOMPARE(peer.stored, data);
        QCOMPARE(upload.done.size(), 1);
    }

    void strangers_are_not_heard()
    {
        Peer peer(11);
        Peer stranger(12);
        QUdpSocket other_port;
        QVERIFY(other_port.bind(device_address(11), 6969));
        peer.reply = [](int, int) { return QList<QByteArray>{}; };
        Upload upload(11, "data");
        upload.uploader.start();
        QTRY_COMPARE(peer.seen, 1);
        stranger.client = peer.client;
        const QByteArray too_large(600, '\0');
        for (const QByteArray &datagram : {ack(0), ack(7), QByteArray("x"), too_large}) {
            stranger.send(datagram);
            other_port.writeDatagram(datagram, peer.client, 69);
        }
        QTRY_COMPARE(peer.seen, 2); // its repeat: none of them ended it
        QCOMPARE(upload.uploader.status(), QString("Initializing..."));
        peer.send(ack(0));
        QTRY_COMPARE(upload.uploader.status(), QString("Uploading..."));
    }

    void a_file_too_large_fails_inside_start()
    {
        Peer peer(11);
        Upload upload(11, QByteArray(33'553'921, 'x'));
        upload.uploader.start();
        QCOMPARE(upload.done.size(), 1);
        QVERIFY(upload.progress.isEmpty());
        QCOMPARE(upload.uploader.status(), QString("Error: file size too large"));
        QCOMPARE(peer.seen, 0);
    }

    void the_owner_may_delete_it_later_from_done()
    {
        Peer peer(11);
        peer.reply = [](int block, int) { return QList<QByteArray>{ack(block), ack(block)}; };
        QPointer<QTFTPFileUploader> uploader
            = new QTFTPFileUploader(LOOPBACK, device_address(11), made_data(600), "lpi.bin");
        connect(uploader, &QTFTPFileUploader::done, uploader, &QObject::deleteLater);
        uploader->start();
        QTRY_VERIFY(uploader.isNull());
        QCOMPARE(peer.last_block, 2);
    }

    void deleting_one_that_runs_disturbs_no_other()
    {
        const QByteArray data = made_data(IMAGE_SIZE);
        Peer first(11);
        Peer second(12);
        Upload to_first(11, data);
        to_first.uploader.start();
        auto to_second = std::make_unique<Upload>(12, data);
        to_second->uploader.start();
        QTRY_VERIFY(second.last_block > 10);
        to_second.reset();
        QTRY_VERIFY(to_first.is_good());
        QCOMPARE(first.stored, data);
    }

    // What its socket has received for others is handed on, not lost until their next repeat.
    void deleting_one_hands_on_what_waits_for_the_others()
    {
        Peer first(11);
        first.reply = [](int, int) { return QList<QByteArray>{}; };
        Upload to_first(11, "data");
        to_first.uploader.start();
        QTRY_COMPARE(first.seen, 1);
        auto newest = std::make_unique<Upload>(12, "data");
        newest->uploader.start();
        first.send(ack(0));
        newest.reset();
        QCOMPARE(to_first.progress.size(), 1); // whoever deletes one expects no signal of another
        QTRY_COMPARE(to_first.uploader.status(),
                     QString("Uploading...")); // else never: no other comes
    }

    void what_strangers_sent_to_one_that_is_deleted_is_not_handed_on()
    {
        Peer first(11);
        first.reply = [](int, int) { return QList<QByteArray>{}; };
        QUdpSocket other_port;
        QVERIFY(other_port.bind(device_address(11), 6969));
        Upload to_first(11, "data");
        to_first.uploader.start();
        QTRY_COMPARE(first.seen, 1);
        auto newest = std::make_unique<Upload>(12, "data");
        newest->uploader.start();
        other_port.writeDatagram(ack(7), first.client, 69); // would end it
        first.send(ack(0));
        newest.reset();
        QTRY_COMPARE(to_first.uploader.status(), QString("Uploading..."));
        QVERIFY(to_first.done.isEmpty());
    }

    void a_new_transfer_to_the_same_device_takes_over()
    {
        const QByteArray data = made_data(3000);
        Peer peer(11);
        peer.reply = [](int, int) { return QList<QByteArray>{}; };
        auto old = std::make_unique<Upload>(11, "old");
        old->uploader.start();
        QTRY_COMPARE(peer.seen, 1);
        old.reset();
        peer.reply = [](int block, int) { return QList<QByteArray>{ack(block)}; };
        Upload upload(11, data);
        upload.uploader.start();
        QTRY_VERIFY(upload.is_good());
        QCOMPARE(peer.stored, data);
    }

    // The one before goes late when its owner lets go of it with deleteLater.
    void a_transfer_is_still_known_after_the_one_before_it_has_gone()
    {
        Peer peer(11);
        peer.reply = [](int, int) { return QList<QByteArray>{}; };
        auto old = std::make_unique<Upload>(11, "old");
        old->uploader.start();
        Upload upload(11, "new");
        upload.uploader.start();
        QTRY_COMPARE(peer.requests, 2);
        old.reset();
        Upload newest(12, "data"); // hears all from now on, and passes on what is for others
        newest.uploader.start();
        peer.send(ack(0));
        QTRY_COMPARE(upload.uploader.status(), QString("Uploading...")); // no other answer comes
    }

    void datagrams_leave_by_the_given_interface_data()
    {
        QTest::addColumn<QString>("given");
        QTest::addColumn<QString>("other");
        QTest::newRow("near") << "near"
                              << "far";
        QTest::newRow("far") << "far"
                             << "near";
    }

    // Two cables lead to the same address; by itself the kernel would take the first.
    void datagrams_leave_by_the_given_interface()
    {
        QFETCH(QString, given);
        QFETCH(QString, other);
        lay_cable("near", "10.8.0.1/24");
        lay_cable("far", "10.8.0.2/24");
        {
            CableEnd right(qPrintable(given + "x"));
            CableEnd wrong(qPrintable(other + "x"));
            const auto index
                = static_cast<unsigned>(QNetworkInterface::interfaceFromName(given).index());
            QTFTPFileUploader uploader(index, QHostAddress("10.8.0.99"), "data", "by-" + given);
            const QByteArray request = "by-" + given.toLatin1() + QByteArray("\0octet\0", 7);
            uploader.start();
            QTRY_VERIFY(right.has_heard(request));
            QVERIFY(!wrong.has_heard(request));
            QVERIFY(uploader.is_active());
        }
        remove_cable("near");
        remove_cable("far");
    }

    void a_port_that_is_taken_is_told_once()
    {
        QUdpSocket blocker; // without the hint that lets others share the port
        QVERIFY(blocker.bind(QHostAddress(), 69, QAbstractSocket::DontShareAddress));
        Upload first(11, "data");
        Upload second(12, "data");
        told.clear();
        const QtMessageHandler usual = qInstallMessageHandler(keep_message);
        first.uploader.start();
        second.uploader.start();
        qInstallMessageHandler(usual);
        QCOMPARE(told.size(), 1);
        QVERIFY2(told[0].startsWith("can't bind UDP port 69 "), qPrintable(told[0]));
        QVERIFY2(told[0].contains("address", Qt::CaseInsensitive), qPrintable(told[0]));
        QVERIFY(first.uploader.is_active());
        QVERIFY(second.uploader.is_active());
    }
};

int main(int argument_count, char **arguments)
{
    std::string reason;
    if (!enter_private_network(&reason)) // before Qt starts any thread: the kernel asks for that
        qFatal("no private network: %s", reason.c_str());
    QCoreApplication application(argument_count, arguments);
    return run_tests<tftp_uploader_test>(argument_count, arguments, __FILE__);
}

#include "tftp_uploader_test.moc"
