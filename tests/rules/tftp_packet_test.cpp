// Datagrams of a TFTP write: exact bytes, every length.
#include "firmware/tftp_packet.h"

#include <QtTest>

namespace {

QByteArray bytes_of(const TftpPacket &packet)
{
    return QByteArray(packet.bytes.data(), static_cast<int>(packet.size));
}

TftpReply read(const QByteArray &datagram)
{
    // A copy of just what fits, so that a sanitizer sees a read behind the end.
    const std::vector<char> buffer(
        datagram.cbegin(), datagram.cbegin() + qMin(datagram.size(), int{TFTP_PACKET_SIZE}));
    return read_tftp_reply(buffer, datagram.size());
}

QByteArray filled(const char *start, int start_size, int size)
{
    return QByteArray(start, start_size).leftJustified(size, '\0');
}

} // namespace

class tftp_packet_test : public QObject
{
    Q_OBJECT

private slots:
    void a_write_request_names_the_file_and_the_mode()
    {
        TftpPacket packet;
        build_write_request(packet, "lpi.bin");
        QCOMPARE(bytes_of(packet), QByteArray("\0\2lpi.bin\0octet\0", 16));
    }

    void the_longest_name_fits()
    {
        TftpPacket packet;
        build_write_request(packet, QByteArray(TFTP_LONGEST_NAME, 'n'));
        QCOMPARE(packet.size, size_t{TFTP_LONGEST_NAME + 9});
    }

    void a_block_carries_its_number_in_network_order()
    {
        TftpPacket packet;
        const QByteArray bytes = "abc";
        build_data_block(packet, 0x1234, {bytes.constData(), 3});
        QCOMPARE(bytes_of(packet),
                 QByteArray("\0\3\x12\x34"
                            "abc",
                            7));
    }

    void an_empty_block_is_four_bytes()
    {
        TftpPacket packet;
        build_data_block(packet, 2, {});
        QCOMPARE(bytes_of(packet), QByteArray("\0\3\0\2", 4));
    }

    void block_65536_shows_as_0()
    {
        TftpPacket packet;
        build_data_block(packet, 65536, {});
        QCOMPARE(bytes_of(packet), QByteArray("\0\3\0\0", 4));
    }

    void a_packet_built_anew_forgets_the_longer_one_before()
    {
        TftpPacket packet;
        build_data_block(packet, 1, std::vector<char>(TFTP_BLOCK_SIZE));
        QCOMPARE(packet.size, size_t{TFTP_PACKET_SIZE});
        build_data_block(packet, 2, {});
        QCOMPARE(packet.size, size_t{4});
    }

    void replies_of_every_size_are_judged_data()
    {
        QTest::addColumn<QByteArray>("datagram");
        QTest::addColumn<QString>("error");
        const auto row = [](const char *name, const QByteArray &datagram, const char *error) {
            QTest::newRow(name) << datagram << QString(error);
        };
        row("nothing", "", "bad TFTP packet (size too small)");
        row("one byte", filled("", 1, 1), "bad TFTP packet (size too small)");
        row("517 bytes", filled("\0\4\0\1", 4, 517), "bad TFTP packet (size too large)");
        row("600 bytes", filled("\0\4\0\1", 4, 600), "bad TFTP packet (size too large)");
        row("ACK of 2", filled("\0\4", 2, 2), "bad TFTP ACK packet (size too small)");
        row("ACK of 3", filled("\0\4\0", 3, 3), "bad TFTP ACK packet (size too small)");
        row("ACK of 4", filled("\0\4\0\1", 4, 4), "");
        row("ACK of 516", filled("\0\4\0\1", 4, 516), "");
        row("ERROR of 2", filled("\0\5", 2, 2), "bad TFTP ERROR packet");
        row("ERROR of 4", filled("\0\5\0\0", 4, 4), "bad TFTP ERROR packet");
        row("ERROR of 5", filled("\0\5\0\0\0", 5, 5), "got TFTP ERROR packet, code=0, msg=''");
        row("ERROR without NUL", filled("\0\5\0\1oops", 8, 8), "bad TFTP ERROR packet");
        row("opcode 0", filled("\0\0", 2, 2), "");
        row("opcode 0x0400", filled("\4\0\0\0", 4, 4), "");
    }
    void replies_of_every_size_are_judged()
    {
        QFETCH(QByteArray, datagram);
        QFETCH(QString, error);
        const TftpReply reply = read(datagram);
        QCOMPARE(reply.error, error);
        QCOMPARE(reply.kind == TFTP_REPLY_FATAL, !error.isEmpty());
    }

    void an_ack_number_is_unsigned_in_network_order()
    {
        const TftpReply reply = read(QByteArray("\0\4\xFE\xDC", 4));
        QCOMPARE(reply.kind, TFTP_REPLY_ACK);
        QCOMPARE(reply.block, 0xFEDC);
    }

    void an_error_code_is_read_low_byte_first()
    {
        QCOMPARE(read(QByteArray("\0\5\0\1full\0", 9)).error,
                 QString("got TFTP ERROR packet, code=256, msg='full'"));
        QCOMPARE(read(QByteArray("\0\5\0\2x\0", 6)).error,
                 QString("got TFTP ERROR packet, code=512, msg='x'"));
        QCOMPARE(read(QByteArray("\0\5\xFF\xFF\0", 5)).error,
                 QString("got TFTP ERROR packet, code=65535, msg=''"));
    }

    void an_error_text_is_utf8_up_to_its_first_nul()
    {
        QCOMPARE(read(QByteArray("\0\5\0\0caf\xC3\xA9\0rest\0", 15)).error,
                 QString::fromUtf8("got TFTP ERROR packet, code=0, msg='caf\xC3\xA9'"));
        QCOMPARE(read(QByteArray("\0\5\0\0%1\0", 7)).error,
                 QString("got TFTP ERROR packet, code=0, msg='%1'"));
    }

    void an_unknown_opcode_is_no_error()
    {
        for (int opcode : {0, 1, 2, 3, 6, 255}) {
            QByteArray datagram(2, '\0');
            datagram[1] = static_cast<char>(opcode);
            QCOMPARE(read(datagram).kind, TFTP_REPLY_UNKNOWN);
        }
    }
};

QTEST_GUILESS_MAIN(tftp_packet_test)
#include "tftp_packet_test.moc"
