// The three sockets over a real network of this test's own: where things go, and what stands in the
// way.
#include "link/datagram.h"
#include "link/device_link.h"
#include "support/cable.h"
#include "support/fleet.h"
#include "support/no_more_files.h"
#include "support/test_parts.h"

#include <QSignalSpy>
#include <QUdpSocket>
#include <QtTest>

#include <arpa/inet.h>
#include <memory>
#include <optional>
#include <sys/socket.h>
#include <unistd.h>

namespace {

const QHostAddress LOOPBACK(QHostAddress::LocalHost);

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

class DeviceLinkSendingTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<DeviceLink> link;

private slots:
    void init() { link = std::make_unique<DeviceLink>(); }
    void cleanup()
    {
        link.reset();
        for (const char *name : {"near", "far"})
            remove_cable(name);
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
        for (const char *port : {"7054", "7054", "7055"})
            QTest::ignoreMessage(QtDebugMsg,
                                 QRegularExpression(QString("can't bind UDP port %1").arg(port)));
        std::optional<NoMoreFiles> limit(std::in_place);
        link->open();
        limit.reset();
        QCOMPARE(link->bind_troubles(),
                 (QStringList{"Port 7054 could not be opened: devices may not be heard.",
                              "Port 7055 could not be opened: devices may not be heard."}));
    }
};

TEST_PART(DeviceLinkSendingTest)
#include "device_link_test_sending.moc"
