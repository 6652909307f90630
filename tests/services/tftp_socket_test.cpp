// The socket of an upload on the loopback, in a private network.
#include "firmware/tftp_socket.h"
#include "support/no_more_files.h"
#include "support/private_network.h"

#include <QHostAddress>
#include <QUdpSocket>
#include <QtTest>

#include <chrono>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr quint16 PORT = 1069;
const QHostAddress LOOPBACK_ADDRESS(QHostAddress::LocalHost);

} // namespace

class tftp_socket_test : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY2(network_error.empty(), network_error.c_str()); }

    void sender_and_bytes_are_told()
    {
        TftpSocket socket;
        QUdpSocket peer;
        open(socket);
        QVERIFY(peer.bind(QHostAddress("127.0.0.7"), 5069));
        peer.writeDatagram("answer", LOOPBACK_ADDRESS, PORT);
        TftpDatagram datagram;
        QVERIFY(socket.receive(datagram));
        QCOMPARE(QByteArray(datagram.bytes.data(), static_cast<int>(datagram.size)),
                 QByteArray("answer"));
        QCOMPARE(QHostAddress(datagram.address), QHostAddress("127.0.0.7"));
        QCOMPARE(datagram.port, quint16{5069});
        QVERIFY(!socket.receive(datagram));
    }

    void a_datagram_that_is_too_long_is_told_by_one_byte()
    {
        TftpSocket socket;
        QUdpSocket peer;
        open(socket);
        TftpDatagram datagram;
        for (int size : {0, 516, 517, 60000}) {
            peer.writeDatagram(QByteArray(size, 'x'), LOOPBACK_ADDRESS, PORT);
            QVERIFY(socket.receive(datagram));
            QCOMPARE(datagram.size, qint64{qMin(size, 517)});
        }
    }

    void what_is_sent_arrives_from_the_port()
    {
        TftpSocket socket;
        QUdpSocket peer;
        open(socket);
        QVERIFY(peer.bind(LOOPBACK_ADDRESS, 5069));
        const QByteArray bytes = "block";
        socket.send({bytes.constData(), 5}, LOOPBACK_ADDRESS.toIPv4Address(), 5069, 0);
        QVERIFY(peer.waitForReadyRead());
        QByteArray heard(10, '\0');
        quint16 port = 0;
        heard.truncate(static_cast<int>(peer.readDatagram(heard.data(), 10, nullptr, &port)));
        QCOMPARE(heard, bytes);
        QCOMPARE(port, PORT);
    }

    void what_cannot_be_sent_is_lost_in_silence()
    {
        TftpSocket socket;
        open(socket);
        socket.send({"block", 5}, LOOPBACK_ADDRESS.toIPv4Address(), 5069, 4711); // no interface
        socket.send({"block", 5}, QHostAddress("192.0.2.1").toIPv4Address(), 5069, 0); // no route
        TftpDatagram datagram;
        QVERIFY(!socket.receive(datagram));
    }

    void a_port_may_be_shared_with_other_transfers()
    {
        TftpSocket first;
        TftpSocket second;
        open(first);
        open(second);
    }

    void a_port_that_another_program_keeps_to_itself_is_told_and_any_other_serves()
    {
        QUdpSocket other;
        QVERIFY(other.bind(QHostAddress::AnyIPv4, PORT, QAbstractSocket::DontShareAddress));
        QUdpSocket peer;
        QVERIFY(peer.bind(LOOPBACK_ADDRESS, 5069));
        TftpSocket socket;
        QCOMPARE(socket.open(), QString());
        QVERIFY(!socket.bind(PORT).isEmpty());
        socket.send({"block", 5}, LOOPBACK_ADDRESS.toIPv4Address(), 5069, 0);
        QVERIFY(peer.waitForReadyRead());
    }

    // The window stands still meanwhile.
    void an_answer_is_awaited_for_a_moment_only()
    {
        TftpSocket socket;
        open(socket);
        timeval wait{};
        socklen_t size = sizeof wait;
        QCOMPARE(getsockopt(socket.native_descriptor(), SOL_SOCKET, SO_RCVTIMEO, &wait, &size), 0);
        QCOMPARE(wait.tv_sec, time_t{0});
        QVERIFY(wait.tv_usec > 0);
        QVERIFY(wait.tv_usec <= 10000);
        TftpDatagram datagram;
        QVERIFY(!socket.await(datagram));
    }

    void an_answer_may_come_while_it_is_awaited()
    {
        TftpSocket socket;
        open(socket);
        be_patient(socket);
        std::thread device([] {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            QUdpSocket().writeDatagram("answer", LOOPBACK_ADDRESS, PORT);
        });
        TftpDatagram datagram;
        const bool is_there = socket.await(datagram);
        device.join();
        QVERIFY(is_there);
        QCOMPARE(datagram.size, qint64{6});
    }

    void nothing_is_awaited_unless_that_is_asked_for()
    {
        TftpSocket socket;
        open(socket);
        be_patient(socket);
        TftpDatagram datagram;
        QVERIFY(!socket.receive(datagram)); // at once
    }

    void an_answer_that_is_there_is_not_awaited()
    {
        TftpSocket socket;
        QUdpSocket peer;
        open(socket);
        peer.writeDatagram("answer", LOOPBACK_ADDRESS, PORT);
        TftpDatagram datagram;
        QVERIFY(socket.await(datagram));
        QCOMPARE(datagram.size, qint64{6});
    }

    void why_there_is_no_socket_is_told()
    {
        const NoMoreFiles limit;
        QCOMPARE(TftpSocket().open(), QString("Too many open files"));
    }

    void it_ends_with_its_object_and_is_no_other_programs()
    {
        int descriptor = -1;
        {
            TftpSocket socket;
            open(socket);
            descriptor = socket.native_descriptor();
            QCOMPARE(fcntl(descriptor, F_GETFD), FD_CLOEXEC);
        }
        QCOMPARE(fcntl(descriptor, F_GETFD), -1);
    }

    void a_burst_of_answers_finds_room()
    {
        TftpSocket socket;
        open(socket);
        int room = 0;
        int usual = 0;
        socklen_t size = sizeof room;
        getsockopt(socket.native_descriptor(), SOL_SOCKET, SO_RCVBUF, &room, &size);
        const int plain = ::socket(AF_INET, SOCK_DGRAM, 0);
        getsockopt(plain, SOL_SOCKET, SO_RCVBUF, &usual, &size);
        close(plain);
        QVERIFY2(room >= 2 * usual || room >= (4 << 20), qPrintable(QString::number(room)));
    }

public:
    static std::string network_error;

private:
    static void open(TftpSocket &socket)
    {
        QCOMPARE(socket.open(), QString());
        QCOMPARE(socket.bind(PORT), QString());
        QVERIFY(socket.native_descriptor() >= 0);
    }

    // Waits for an answer without end.
    static void be_patient(const TftpSocket &socket)
    {
        const timeval endless{};
        QCOMPARE(setsockopt(socket.native_descriptor(), SOL_SOCKET, SO_RCVTIMEO, &endless,
                            sizeof endless),
                 0);
    }
};

std::string tftp_socket_test::network_error;

int main(int argument_count, char **arguments)
{
    enter_private_network(&tftp_socket_test::network_error); // before Qt starts any thread
    QCoreApplication application(argument_count, arguments);
    tftp_socket_test test;
    return QTest::qExec(&test, argument_count, arguments);
}

#include "tftp_socket_test.moc"
