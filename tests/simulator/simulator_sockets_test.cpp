// The socket of a whole fleet, on the loopback: who is told to have sent what to whom, and from
// where things leave.
#include "simulator/packet_socket.h"
#include "support/cable.h"
#include "support/private_network.h"

#include <QDir>
#include <QNetworkDatagram>
#include <QThread>
#include <QUdpSocket>
#include <QtTest>

#include <algorithm>
#include <fcntl.h>
#include <linux/capability.h>
#include <linux/sockios.h>
#include <memory>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

using namespace simulator;

namespace {

constexpr quint16 PORT = 7054;
constexpr uint32_t LOOPBACK = 0x7F000001;
constexpr int MUCH = 8 * 1024 * 1024; // bytes of buffer

// A packet with bytes of its own.
struct Kept
{
    ReceivedPacket packet = {};
    QByteArray bytes = {};
};

std::vector<Kept> take_round(PacketSocket &socket)
{
    std::vector<Kept> kept;
    socket.receive_round([&kept](const ReceivedPacket &packet) {
        kept.push_back({.packet = packet, .bytes = QByteArray(packet.bytes, packet.size)});
    });
    return kept;
}

int room(int descriptor, int option)
{
    int bytes = -1;
    socklen_t size = sizeof bytes;
    getsockopt(descriptor, SOL_SOCKET, option, &bytes, &size);
    return bytes;
}

int waiting_to_leave(int descriptor)
{
    int bytes = 0;
    ioctl(descriptor, SIOCOUTQ, &bytes);
    return bytes;
}

// What the system gives to who asks for much in this way.
int granted(int way, int option)
{
    const int probe = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    setsockopt(probe, SOL_SOCKET, way, &MUCH, sizeof MUCH);
    const int bytes = room(probe, option);
    close(probe);
    return bytes;
}

// While it lives, the program may not do what only an administrator of the network may.
class OrdinaryUser
{
public:
    OrdinaryUser() { change(false); }
    ~OrdinaryUser() { change(true); }
    Q_DISABLE_COPY_MOVE(OrdinaryUser)

private:
    static void change(bool may)
    {
        __user_cap_header_struct header{.version = _LINUX_CAPABILITY_VERSION_3, .pid = 0};
        __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3]{};
        syscall(SYS_capget, &header, data);
        const uint32_t right = 1U << CAP_NET_ADMIN;
        data[0].effective = may ? data[0].effective | right : data[0].effective & ~right;
        if (syscall(SYS_capset, &header, data) != 0)
            qFatal("can't change what the program may do");
    }
};

int open_files()
{
    return QDir("/proc/self/fd").entryList(QDir::AllEntries | QDir::System).size();
}

} // namespace

class SimulatorSocketsTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<PacketSocket> fleet;
    std::unique_ptr<QUdpSocket> manager;
    std::unique_ptr<QUdpSocket> mark;

    void say(const char *to, const QByteArray &bytes)
    {
        QCOMPARE(manager->writeDatagram(bytes, QHostAddress(QString(to)), PORT),
                 qint64{bytes.size()});
    }

    // Until what was sent before has arrived: some kernels deliver after the call that sends, in
    // order.
    void settle()
    {
        QCOMPARE(manager->writeDatagram("mark", QHostAddress(LOOPBACK), mark->localPort()), 4);
        QVERIFY(mark->waitForReadyRead(5000));
        QCOMPARE(mark->receiveDatagram().data(), QByteArray("mark"));
    }

    std::vector<Kept> taken()
    {
        settle();
        return take_round(*fleet);
    }

    QList<QNetworkDatagram> heard()
    {
        settle();
        QList<QNetworkDatagram> found;
        while (manager->hasPendingDatagrams())
            found.append(manager->receiveDatagram());
        return found;
    }

    OutgoingPacket packet(const QByteArray &bytes, uint32_t from = LOOPBACK + 19) const
    {
        return {.from = from, .to = LOOPBACK, .to_port = manager->localPort(), .bytes = bytes};
    }

private slots:
    void init()
    {
        fleet = std::make_unique<PacketSocket>();
        QVERIFY(!fleet->is_open());
        QCOMPARE(fleet->open(PORT), QString());
        QVERIFY(fleet->is_open());
        manager = std::make_unique<QUdpSocket>();
        QVERIFY(manager->bind(QHostAddress(LOOPBACK), 0));
        manager->setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption, MUCH);
        mark = std::make_unique<QUdpSocket>();
        QVERIFY(mark->bind(QHostAddress(LOOPBACK), 0));
    }

    void cleanup()
    {
        mark.reset();
        manager.reset();
        fleet.reset();
        remove_cable("near");
    }

    void each_packet_tells_who_sent_it_to_whom()
    {
        say("127.0.0.10", "to one");
        say("127.0.0.11", "to another");
        say("127.255.255.255", "to all");
        const std::vector<Kept> kept = taken();
        QCOMPARE(kept.size(), size_t{3});
        for (const Kept &one : kept) {
            QCOMPARE(one.packet.from, LOOPBACK);
            QCOMPARE(one.packet.from_port, manager->localPort());
            QCOMPARE(one.packet.interface_index, int(if_nametoindex("lo")));
        }
        QCOMPARE(kept[0].packet.to, LOOPBACK + 9);
        QCOMPARE(kept[1].packet.to, LOOPBACK + 10);
        QCOMPARE(kept[2].packet.to, uint32_t{0x7FFFFFFF});
        QVERIFY(!kept[0].packet.is_broadcast && !kept[1].packet.is_broadcast);
        QVERIFY(kept[2].packet.is_broadcast);
        QCOMPARE(kept[1].bytes, QByteArray("to another"));
    }

    void nothing_comes_where_nothing_was_sent()
    {
        QVERIFY(taken().empty());
        say("127.0.0.10", "once");
        QCOMPARE(taken().size(), size_t{1});
        QVERIFY(taken().empty());
    }

    void packets_of_all_sizes_come_whole()
    {
        const int largest = PacketSocket::LARGEST_PAYLOAD;
        // Twice each: what a large one leaves in its place is no part of a small one.
        const QList<int> sizes{largest, 0, 1, 2500, 2500, largest, 0, 1};
        for (const int size : sizes)
            say("127.0.0.10", QByteArray(size, static_cast<char>('a' + size % 26)));
        const std::vector<Kept> kept = taken();
        QCOMPARE(static_cast<int>(kept.size()), sizes.size());
        for (int i = 0; i < sizes.size(); ++i)
            QCOMPARE(kept[static_cast<size_t>(i)].bytes,
                     QByteArray(sizes[i], static_cast<char>('a' + sizes[i] % 26)));
    }

    // The clock has its turn, whatever comes.
    void a_round_takes_so_much_and_the_next_one_the_rest_in_order()
    {
        constexpr size_t most = 1024;
        if (room(fleet->native_descriptor(), SO_RCVBUF) < 2 * 1024 * 1024)
            QSKIP("the system lends this user no buffer for so many");
        for (size_t i = 0; i < most + 70; ++i)
            say("127.0.0.10", QByteArray::number(static_cast<int>(i)));
        std::vector<Kept> kept = taken();
        QCOMPARE(kept.size(), most);
        const std::vector<Kept> rest = taken();
        QCOMPARE(rest.size(), size_t{70});
        kept.insert(kept.end(), rest.begin(), rest.end());
        for (size_t i = 0; i < kept.size(); ++i)
            QCOMPARE(kept[i].bytes, QByteArray::number(static_cast<int>(i)));
    }

    void packets_leave_from_any_address_to_any_port()
    {
        QUdpSocket other;
        QVERIFY(other.bind(QHostAddress("127.0.0.2"), 0));
        std::vector<OutgoingPacket> packets{packet("one", LOOPBACK + 19),
                                            packet("two", LOOPBACK + 20)};
        packets.push_back({.from = LOOPBACK + 21,
                           .to = LOOPBACK + 1,
                           .to_port = other.localPort(),
                           .bytes = "three"});
        fleet->send(packets);
        QVERIFY(packets.empty());
        const QList<QNetworkDatagram> found = heard();
        QCOMPARE(found.size(), 2);
        QCOMPARE(found[0].senderAddress(), QHostAddress("127.0.0.20"));
        QCOMPARE(found[1].senderAddress(), QHostAddress("127.0.0.21"));
        QCOMPARE(found[0].senderPort(), int(PORT));
        QCOMPARE(found[0].data(), QByteArray("one"));
        const QNetworkDatagram third = other.receiveDatagram();
        QCOMPARE(third.senderAddress(), QHostAddress("127.0.0.22"));
        QCOMPARE(third.data(), QByteArray("three"));
    }

    void what_is_sent_to_all_leaves()
    {
        QUdpSocket all;
        QVERIFY(all.bind(QHostAddress("127.255.255.255"), 0));
        std::vector<OutgoingPacket> packets{{.from = LOOPBACK + 19,
                                             .to = 0x7FFFFFFF,
                                             .to_port = all.localPort(),
                                             .bytes = "to all"}};
        fleet->send(packets);
        settle();
        QCOMPARE(all.receiveDatagram().data(), QByteArray("to all"));
    }

    // No way leads there.
    void a_packet_that_is_refused_is_the_only_one_that_stays()
    {
        std::vector<OutgoingPacket> packets;
        for (int i = 0; i < 200; ++i) {
            packets.push_back(packet(QByteArray::number(i)));
            if (i == 0 || i == 70 || i == 127 || i == 199)
                packets.back().to = 0xCB007101; // 203.0.113.1
        }
        fleet->send(packets);
        QVERIFY(packets.empty());
        QStringList expected;
        for (int i = 0; i < 200; ++i)
            if (i != 0 && i != 70 && i != 127 && i != 199)
                expected.append(QString::number(i));
        QStringList found;
        for (const QNetworkDatagram &datagram : heard())
            found.append(QString::fromLatin1(datagram.data()));
        QCOMPARE(found, expected);
    }

    // As behind a slow wire: the kernel keeps what is sent until it knows where the receiver is.
    void what_finds_no_room_waits_for_it()
    {
        lay_cable("near", "10.8.0.1/24");
        CableEnd far("nearx");
        // What waits for a neighbour goes after three questions, where this may not be changed.
        shell("echo 100 2>/dev/null >/proc/sys/net/ipv4/neigh/near/mcast_solicit || true");
        const int descriptor = fleet->native_descriptor();
        const int little = 1; // the system makes it two packets
        setsockopt(descriptor, SOL_SOCKET, SO_SNDBUF, &little, sizeof little);
        std::vector<OutgoingPacket> packets;
        for (int i = 10; i < 30; ++i)
            packets.push_back({.from = 0x0A080001, // 10.8.0.1
                               .to = 0x0A080032,   // 10.8.0.50
                               .to_port = PORT,
                               .bytes = QByteArray(1000, 'x') + QByteArray::number(i)});
        const std::vector<OutgoingPacket> sent = packets;
        std::thread neighbour([descriptor] {
            for (int i = 0;
                 i < 50'000 && waiting_to_leave(descriptor) < room(descriptor, SO_SNDBUF); ++i)
                QThread::usleep(200);
            shell("ip neigh replace 10.8.0.50 lladdr 02:00:00:00:00:50 dev near");
        });
        fleet->send(packets);
        neighbour.join();
        for (const OutgoingPacket &one : sent)
            QTRY_VERIFY(far.has_heard(one.bytes));
    }

    void it_asks_for_much_room()
    {
        for (const auto &[way, option] :
             {std::pair(SO_RCVBUFFORCE, SO_RCVBUF), std::pair(SO_SNDBUFFORCE, SO_SNDBUF)})
            QCOMPARE(room(fleet->native_descriptor(), option),
                     std::max(granted(way, option), granted(option, option)));
    }

    void an_ordinary_user_gets_what_the_system_allows()
    {
        fleet = std::make_unique<PacketSocket>();
        const OrdinaryUser user;
        QCOMPARE(fleet->open(PORT + 2), QString());
        for (const int option : {SO_RCVBUF, SO_SNDBUF})
            QCOMPARE(room(fleet->native_descriptor(), option), granted(option, option));
    }

    void what_the_program_starts_does_not_hold_the_port()
    {
        QVERIFY((fcntl(fleet->native_descriptor(), F_GETFD) & FD_CLOEXEC) != 0);
    }

    void the_port_is_not_shared_and_is_free_again_afterwards()
    {
        const int before = open_files();
        PacketSocket other;
        QCOMPARE(other.open(PORT), QString("UDP port 7054: Address already in use"));
        QVERIFY(!other.is_open());
        QCOMPARE(open_files(), before);
        say("127.0.0.10", "still heard");
        QCOMPARE(taken().size(), size_t{1});
        fleet.reset();
        QCOMPARE(other.open(PORT), QString());
        QVERIFY(other.is_open());
    }
};

int main(int argc, char **argv)
{
    std::string reason;
    if (!enter_private_network(&reason))
        qFatal("no private network: %s", reason.c_str());
    QCoreApplication application(argc, argv);
    SimulatorSocketsTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "simulator_sockets_test.moc"
