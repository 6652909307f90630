// The three sockets over a real network of this test's own: what is heard and handed on.
#include "link/datagram.h"
#include "link/device_link.h"
#include "support/private_network.h"
#include "support/test_parts.h"

#include <QThread>
#include <QUdpSocket>
#include <QtTest>

#include <ctime>
#include <memory>

namespace {

const QHostAddress LOOPBACK(QHostAddress::LocalHost);

void burn_cpu(double milliseconds)
{
    const clock_t end = clock() + static_cast<clock_t>(milliseconds * CLOCKS_PER_SEC / 1000);
    while (clock() < end) {
    }
}

void send_some(int count, quint16 port = DEVICE_PORT)
{
    QUdpSocket sender;
    for (int i = 0; i < count; ++i)
        sender.writeDatagram(QByteArray::number(i), LOOPBACK, port);
}

} // namespace

class DeviceLinkTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<DeviceLink> link;
    QList<QByteArray> heard;
    QList<int> slices; // datagrams in each
    double burden = 0; // ms of CPU time that one datagram costs

private slots:
    void init()
    {
        link = std::make_unique<DeviceLink>();
        heard.clear();
        slices.clear();
        burden = 0;
        connect(link.get(), &DeviceLink::draining, this, [this] { slices.append(0); });
        connect(link.get(), &DeviceLink::received, this,
                [this](const QHostAddress &, const QByteArray &bytes) {
                    heard.append(QByteArray(bytes.constData(), bytes.size()));
                    ++slices.last();
                    if (burden > 0)
                        burn_cpu(burden);
                });
    }
    void cleanup() { link.reset(); }

    void all_three_sockets_are_heard_with_their_senders()
    {
        link->open();
        QHostAddress last_sender;
        connect(
            link.get(), &DeviceLink::received, this,
            [&last_sender](const QHostAddress &from, const QByteArray &) { last_sender = from; });
        send_some(1, DEVICE_PORT);
        QTRY_COMPARE(heard, QList<QByteArray>{"0"});
        QCOMPARE(last_sender, LOOPBACK);
        send_some(2, BROADCAST_PORT);
        QTRY_COMPARE(heard, (QList<QByteArray>{"0", "0", "1"}));
    }

    void a_datagram_without_bytes_is_handed_on_and_ends_nothing()
    {
        link->open();
        QUdpSocket sender;
        sender.writeDatagram(QByteArray(), LOOPBACK, DEVICE_PORT);
        sender.writeDatagram("after", LOOPBACK, DEVICE_PORT);
        QTRY_COMPARE(heard, (QList<QByteArray>{"", "after"}));
    }

    // More than are read at once, and as long as UDP carries them.
    void a_burst_comes_in_its_order_and_whole_with_its_senders()
    {
        link->open();
        QList<QHostAddress> senders;
        connect(link.get(), &DeviceLink::received, this,
                [&senders](const QHostAddress &from, const QByteArray &) { senders.append(from); });
        QList<QByteArray> sent;
        QList<QHostAddress> sent_from;
        for (int i = 0; i < 150; ++i) {
            sent_from.append(QHostAddress(LOOPBACK.toIPv4Address() + static_cast<quint32>(i % 5)));
            sent.append(QByteArray(i % 40 == 0 ? 65507 : i * 7, static_cast<char>('A' + i % 26)));
            QUdpSocket sender;
            sender.bind(sent_from.last());
            QCOMPARE(sender.writeDatagram(sent.last(), LOOPBACK, DEVICE_PORT), sent.last().size());
        }
        QTRY_COMPARE(heard.size(), sent.size());
        QCOMPARE(heard, sent);
        QCOMPARE(senders, sent_from);
    }

    // A socket that has told of a datagram tells of the next one only when it was read to its end.
    void each_burst_after_a_silence_is_heard()
    {
        link->open();
        for (const quint16 port : {DEVICE_PORT, BROADCAST_PORT})
            for (const int count : {1, 3, 64, 65, 1}) {
                heard.clear();
                send_some(count, port);
                QTRY_COMPARE(heard.size(), count);
                QTRY_VERIFY(link->is_drained());
            }
    }

    void each_slice_is_told_of_at_both_ends()
    {
        link->open();
        QStringList told;
        connect(link.get(), &DeviceLink::draining, this, [&told] { told.append("begin"); });
        connect(link.get(), &DeviceLink::received, this,
                [&told](const QHostAddress &, const QByteArray &) { told.append("bytes"); });
        connect(link.get(), &DeviceLink::drained, this, [&told] { told.append("end"); });
        send_some(2);
        link->on_packet();
        QCOMPARE(told, (QStringList{"begin", "bytes", "bytes", "end"}));
        QVERIFY(link->is_drained());
    }

    void dear_datagrams_end_their_slice_after_20_ms()
    {
        link->open();
        burden = 7;
        send_some(20);
        link->on_packet();
        // 8 ms are over after two, 20 ms of CPU time after three.
        QCOMPARE(slices, QList<int>{3});
        QVERIFY(!link->is_drained());
        QTRY_COMPARE(heard.size(), 20);
        QCOMPARE(heard.last(), QByteArray("19"));
    }

    void on_a_busy_computer_64_are_taken_all_the_same()
    {
        link->open();
        // What other programs take is time, but not ours.
        connect(link.get(), &DeviceLink::received, this,
                [](const QHostAddress &, const QByteArray &) { QThread::usleep(1000); });
        send_some(80);
        link->on_packet();
        QCOMPARE(slices, QList<int>{64});
        QTRY_COMPARE(heard.size(), 80);
    }

    // The socket tells of more while the timer is about to read on: two slices would be twice as
    // long.
    void no_turn_of_the_event_loop_takes_two_slices()
    {
        link->open();
        burden = 7;
        send_some(30);
        for (int turn = 0; heard.size() < 30 && turn < 1000; ++turn) {
            const auto before = slices.size();
            QCoreApplication::processEvents(QEventLoop::AllEvents);
            QVERIFY2(slices.size() - before <= 1, qPrintable(QString::number(turn)));
        }
        QCOMPARE(heard.size(), 30);
    }

    void another_socket_that_tells_of_more_starts_no_second_slice_in_a_turn()
    {
        link->open();
        burden = 7;
        send_some(30);
        link->on_packet();
        QVERIFY(!link->is_drained());
        send_some(1, BROADCAST_PORT);
        const auto before = slices.size();
        QCoreApplication::processEvents(QEventLoop::AllEvents);
        QCOMPARE(slices.size(), before + 1);
        QTRY_COMPARE(heard.size(), 31);
    }

    void what_waits_is_read_port_by_port()
    {
        link->open();
        QUdpSocket sender;
        sender.writeDatagram("second", LOOPBACK, BROADCAST_PORT);
        sender.writeDatagram("first", LOOPBACK, DEVICE_PORT);
        link->on_packet();
        QCOMPARE(heard, (QList<QByteArray>{"first", "second"}));
    }

    void a_slot_may_end_the_slice()
    {
        link->open();
        const auto stop
            = connect(link.get(), &DeviceLink::received, this,
                      [this](const QHostAddress &, const QByteArray &) { link->end_slice(); });
        send_some(3);
        link->on_packet();
        QCOMPARE(slices, QList<int>{1});
        QTRY_COMPARE(heard.size(), 3);
        disconnect(stop);
        connect(link.get(), &DeviceLink::draining, this, [this] { link->end_slice(); });
        slices.clear();
        send_some(1);
        link->on_packet();
        QCOMPARE(slices, QList<int>{0});
        QVERIFY(!link->is_drained());
    }

    void nothing_is_handed_on_after_closing()
    {
        link->open();
        QVERIFY(link->is_open());
        send_some(1);
        link->close();
        QVERIFY(!link->is_open());
        QCoreApplication::processEvents(); // in which a socket would tell of it
        QCOMPARE(slices, QList<int>());
        link->on_packet();
        QCOMPARE(heard.size(), 0);
    }

    void what_a_slice_left_is_gone_with_closing()
    {
        link->open();
        connect(link.get(), &DeviceLink::received, this,
                [this](const QHostAddress &, const QByteArray &) { link->end_slice(); });
        send_some(3);
        link->on_packet();
        link->close();
        QVERIFY(link->is_drained());
        QCoreApplication::processEvents(); // in which the rest would have come
        QCOMPARE(slices, QList<int>{1});
        link->on_packet();
        QCOMPARE(heard, QList<QByteArray>{"0"});
    }
};

int main(int argc, char **argv)
{
    std::string reason;
    if (!enter_private_network(&reason))
        qFatal("no private network: %s", reason.c_str());
    QCoreApplication application(argc, argv);
    return run_tests<DeviceLinkTest>(argc, argv, __FILE__);
}

#include "device_link_test.moc"
