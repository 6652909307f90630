// The three sockets over a real network of this test's own: what is handed on, and where things go.
#include "link/datagram.h"
#include "link/device_link.h"
#include "support/cable.h"
#include "support/fleet.h"
#include "support/private_network.h"

#include <QNetworkDatagram>
#include <QSignalSpy>

#include <arpa/inet.h>
#include <ctime>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

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

// Bytes of receive buffer of this process's UDP sockets with that local address; -1: not bound.
int receive_buffer_of(quint32 address, quint16 port)
{
    for (int handle = 3; handle < 200; ++handle) {
        sockaddr_in name{};
        socklen_t size = sizeof name;
        int protocol = 0;
        socklen_t protocol_size = sizeof protocol;
        if (getsockopt(handle, SOL_SOCKET, SO_PROTOCOL, &protocol, &protocol_size) != 0
            || protocol != IPPROTO_UDP
            || getsockname(handle, reinterpret_cast<sockaddr *>(&name), &size) != 0
            || ntohl(name.sin_addr.s_addr) != address
            || (port != 0 && ntohs(name.sin_port) != port))
            continue;
        int bytes = 0;
        socklen_t bytes_size = sizeof bytes;
        getsockopt(handle, SOL_SOCKET, SO_RCVBUF, &bytes, &bytes_size);
        return bytes;
    }
    return -1;
}

// What the system grants of 4 MiB.
int granted_buffer()
{
    QUdpSocket probe;
    probe.bind(LOOPBACK);
    probe.setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption, 4 << 20);
    return probe.socketOption(QAbstractSocket::ReceiveBufferSizeSocketOption).toInt();
}

// Another program that keeps a port to itself, also one that it has come to share with us.
class Squatter
{
public:
    Squatter(const char *address, quint16 port)
        : handle(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in name{};
        name.sin_family = AF_INET;
        name.sin_port = htons(port);
        inet_pton(AF_INET, address, &name.sin_addr);
        share(1);
        if (bind(handle, reinterpret_cast<const sockaddr *>(&name), sizeof name) != 0)
            qFatal("can't take the port");
        share(0);
    }
    ~Squatter() { close(handle); }
    Q_DISABLE_COPY_MOVE(Squatter)

private:
    void share(int may_others) const
    {
        setsockopt(handle, SOL_SOCKET, SO_REUSEADDR, &may_others, sizeof may_others);
    }

    int handle;
};

const QString TAKEN = "Port 7054 is taken by another program: devices may not be heard.";

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
    void cleanup()
    {
        link.reset();
        for (const char *name : {"near", "far"})
            remove_cable(name);
    }

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

    // Two cables carry the same addresses: only the interface tells them apart.
    void datagrams_leave_by_the_networks_own_interface()
    {
        lay_cable("near", "10.8.0.1/24");
        lay_cable("far", "10.8.0.2/24");
        CableEnd near("nearx");
        CableEnd far("farx");
        link->open();
        QCOMPARE(link->send("far", false, QHostAddress("10.8.0.99"), "to far"), QString());
        QTRY_VERIFY(far.has_heard("to far"));
        QVERIFY(!near.has_heard("to far"));
        QCOMPARE(link->source_address(), QHostAddress("10.8.0.2"));
        QCOMPARE(link->send("near", false, QHostAddress("10.8.0.99"), "to near"), QString());
        QTRY_VERIFY(near.has_heard("to near"));
        QVERIFY(!far.has_heard("to near"));
        QCOMPARE(link->source_address(), QHostAddress("10.8.0.1"));
    }

    // The kernel finds out about the far end in its own time.
    void interfaces_are_told_as_they_are()
    {
        const auto told = [](const QString &name) {
            for (const NetworkInterface &interface : present_interfaces())
                if (interface.name == name)
                    return interface;
            return NetworkInterface();
        };
        shell("ip link add near type veth peer name nearx");
        QCOMPARE(told("near").name, QString("near"));
        QVERIFY(!told("near").is_up && !told("near").is_running);
        shell("ip link set near up; ip link set nearx up");
        QTRY_VERIFY(told("near").is_up && told("near").is_running);
        QVERIFY(told("near").can_broadcast);
        shell("ip link set nearx down");
        QTRY_VERIFY(!told("near").is_running);
        QVERIFY(told("lo").is_up && told("lo").is_running && !told("lo").can_broadcast);
    }

    void a_broadcast_goes_to_the_networks_own_address()
    {
        lay_cable("near", "10.8.0.1/24");
        CableEnd near("nearx");
        link->open();
        QCOMPARE(link->send("near", true, QHostAddress("10.1.1.1"), "to all"), QString());
        QTRY_VERIFY(near.has_heard("to all"));
    }

    void what_cannot_be_sent_is_told()
    {
        link->open();
        QCOMPARE(link->send("lo", false, LOOPBACK, "x"), QString());
        QCOMPARE(link->send("lo", false, LOOPBACK, QByteArray()), QString());
        QCOMPARE(link->send("lo", false, LOOPBACK, QByteArray(70000, 'x')),
                 QString("sending packet failed"));
        QTest::ignoreMessage(QtDebugMsg, "can't send to unknown network \"nowhere\"");
        QCOMPARE(link->send("nowhere", false, LOOPBACK, "x"), QString("network not found"));
    }

    void two_hundred_sends_read_the_interfaces_at_most_twice()
    {
        link->open();
        for (int i = 0; i < 200; ++i)
            QCOMPARE(link->send("lo", false, LOOPBACK, "x"), QString());
        QVERIFY(link->interface_readings() >= 1);
        QVERIFY2(link->interface_readings() <= 2,
                 qPrintable(QString::number(link->interface_readings())));
        const int before = link->interface_readings();
        link->renew_interfaces();
        QCOMPARE(link->interface_readings(), before + 1);
    }

    void a_network_that_comes_or_goes_is_known_to_the_next_send()
    {
        link->open();
        link->renew_interfaces();
        QTest::ignoreMessage(QtDebugMsg, "can't send to unknown network \"near\"");
        QCOMPARE(link->send("near", true, {}, "x"), QString("network not found"));
        lay_cable("near", "10.8.0.1/24");
        QCOMPARE(link->send("near", true, {}, "x"), QString());
        shell("ip address del 10.8.0.1/24 dev near; ip address add 10.8.0.7/24 dev near");
        QCOMPARE(link->send("near", true, {}, "x"), QString());
        QCOMPARE(link->source_address(), QHostAddress("10.8.0.7"));
        remove_cable("near");
        QTest::ignoreMessage(QtDebugMsg, "can't send to unknown network \"near\"");
        QCOMPARE(link->send("near", true, {}, "x"), QString("network not found"));
        QCOMPARE(link->find_network("near").index, -1);
    }

    void an_interface_that_goes_down_is_news()
    {
        lay_cable("near", "10.8.0.1/24");
        QVERIFY(link->find_network("near").index > 0);
        const int before = link->interface_readings();
        shell("ip link set near down");
        QVERIFY(link->find_network("near").index > 0);
        QVERIFY(link->interface_readings() > before);
    }

    // The kernel keeps so many messages and says only that there were more.
    void more_changes_than_the_kernel_keeps_count_as_one()
    {
        lay_cable("near", "10.8.0.1/24");
        QVERIFY(link->find_network("near").index > 0);
        shell("for i in $(seq 1000); do echo address add 10.9.$((i / 250)).$((i % 250 + 1))/32 dev "
              "near; done | ip -batch -");
        shell("ip link set near down; ip link set near name far");
        QCOMPARE(link->find_network("near").index, -1);
    }

    void the_report_tells_each_address_and_its_kind()
    {
        lay_cable("near", "169.254.3.4/16");
        const auto has_line = [](const QString &pattern) {
            const QRegularExpression line("^    - " + pattern + "$",
                                          QRegularExpression::MultilineOption);
            return network_report().contains(line);
        };
        QVERIFY2(has_line(R"(link-local IPv4 169\.254\.3\.4/255\.255\.0\.0/[0-9.]*)"),
                 qPrintable(network_report()));
        QVERIFY2(has_line(R"(loopback IPv4 127\.0\.0\.1/255\.0\.0\.0/[0-9.]*)"),
                 qPrintable(network_report()));
        QTRY_VERIFY2(has_line("link-local other fe80::[^/]*/ffff:ffff:ffff:ffff::/"),
                     qPrintable(network_report())); // the kernel gives it in its own time
    }

    void sockets_ask_for_room_for_a_burst()
    {
        const int granted = granted_buffer();
        link->open();
        QCOMPARE(receive_buffer_of(0, DEVICE_PORT), granted);
        QCOMPARE(receive_buffer_of(0, BROADCAST_PORT), granted);
        lay_cable("near", "10.8.0.1/24");
        QCOMPARE(link->send("near", true, {}, "x"), QString());
        QCOMPARE(receive_buffer_of(0x0A080001, DEVICE_PORT), granted);
    }

    // The first write binds the socket to a port that the system picks, and answers come there.
    void a_socket_that_could_not_be_bound_gets_its_room_with_the_first_write()
    {
        link->open();
        lay_cable("near", "10.8.0.1/24");
        const Squatter other("10.8.0.1", DEVICE_PORT);
        CableEnd near("nearx");
        QTest::ignoreMessage(QtDebugMsg, QRegularExpression("can't bind UDP port 7054"));
        QCOMPARE(link->send("near", true, {}, "all the same"), QString());
        QTRY_VERIFY(near.has_heard("all the same"));
        int ephemeral = -1;
        for (int port = 1024; port < 65536 && ephemeral < 0; ++port)
            if (port != DEVICE_PORT && port != BROADCAST_PORT)
                ephemeral = receive_buffer_of(0, static_cast<quint16>(port));
        QCOMPARE(ephemeral, granted_buffer());
    }

    void a_bind_that_failed_is_told_until_the_socket_is_bound()
    {
        link->open();
        QCOMPARE(link->bind_troubles(), QStringList());
        QSignalSpy changed(link.get(), &DeviceLink::bind_troubles_changed);
        lay_cable("near", "10.8.0.1/24");
        {
            const Squatter other("10.8.0.1", DEVICE_PORT);
            QTest::ignoreMessage(QtDebugMsg, QRegularExpression("can't bind UDP port 7054"));
            QCOMPARE(link->send("near", true, {}, "x"), QString());
            QCOMPARE(link->bind_troubles(), QStringList{TAKEN});
            QCOMPARE(changed.count(), 1);
        }
        // The port is free now, but it is not tried again before the source changes.
        QCOMPARE(link->send("near", true, {}, "x"), QString());
        QCOMPARE(link->bind_troubles(), QStringList{TAKEN});
        QCOMPARE(receive_buffer_of(0x0A080001, DEVICE_PORT), -1);
        shell("ip address del 10.8.0.1/24 dev near; ip address add 10.8.0.7/24 dev near");
        QCOMPARE(link->send("near", true, {}, "x"), QString());
        QCOMPARE(link->bind_troubles(), QStringList());
        QCOMPARE(changed.count(), 2);
        QVERIFY(receive_buffer_of(0x0A080007, DEVICE_PORT) > 0);
        // What goes on as it was is no news.
        QCOMPARE(link->send("lo", false, LOOPBACK, "x"), QString());
        QCOMPARE(link->source_address(), QHostAddress());
        QCOMPARE(changed.count(), 2);
    }

    void each_port_that_is_taken_at_the_start_is_told_once()
    {
        const Squatter first("0.0.0.0", DEVICE_PORT);
        const Squatter second("0.0.0.0", BROADCAST_PORT);
        for (const char *port : {"7054", "7054", "7055"})
            QTest::ignoreMessage(QtDebugMsg,
                                 QRegularExpression(QString("can't bind UDP port %1").arg(port)));
        link->open();
        QCOMPARE(link->bind_troubles(),
                 (QStringList{TAKEN,
                              "Port 7055 is taken by another program: devices may not be heard."}));
    }

    void a_port_that_nobody_has_taken_is_told_otherwise()
    {
        rlimit limit{};
        getrlimit(RLIMIT_NOFILE, &limit);
        const int next = dup(STDERR_FILENO);
        const rlimit none{.rlim_cur = static_cast<rlim_t>(next), .rlim_max = limit.rlim_max};
        ::close(next);
        for (const char *port : {"7054", "7054", "7055"})
            QTest::ignoreMessage(QtDebugMsg,
                                 QRegularExpression(QString("can't bind UDP port %1").arg(port)));
        setrlimit(RLIMIT_NOFILE, &none);
        link->open();
        setrlimit(RLIMIT_NOFILE, &limit);
        QCOMPARE(link->bind_troubles(),
                 (QStringList{"Port 7054 could not be opened: devices may not be heard.",
                              "Port 7055 could not be opened: devices may not be heard."}));
    }
};

int main(int argc, char **argv)
{
    std::string reason;
    if (!enter_private_network(&reason))
        qFatal("no private network: %s", reason.c_str());
    QCoreApplication application(argc, argv);
    DeviceLinkTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "device_link_test.moc"
