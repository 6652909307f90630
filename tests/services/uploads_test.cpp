// Transfers of several devices over real sockets in a private network: what is told of them and
// when they go.
#include "firmware/tftp_uploader.h"
#include "firmware/uploads.h"
#include "model/device.h"
#include "support/private_network.h"
#include "support/tftp_peer.h"

#include <QPointer>
#include <QtTest>

#include <memory>

namespace {

constexpr unsigned LOOPBACK = 1; // its index in a fresh network namespace
const QByteArray ERROR_ANSWER = error_packet(1, "full");

} // namespace

class uploads_test : public QObject
{
    Q_OBJECT

    Device device;
    std::unique_ptr<Peer> peer;
    std::unique_ptr<Uploads> uploads;
    QStringList told = {};

    void begin() { uploads->begin(&device, LOOPBACK, "data", "firmware.bin"); }

    // Of a device that answers nothing yet.
    void begin_and_be_asked()
    {
        peer->reply = [](int, int) { return QList<QByteArray>(); };
        begin();
        QTRY_COMPARE(peer->requests, 1);
    }

    QString message() const { return upload_message(uploads->summary()); }

private slots:
    void initTestCase() { QVERIFY2(network_error.empty(), network_error.c_str()); }

    void init()
    {
        device.address = device_address(11);
        device.device_id = "left";
        device.upload = {};
        device.upload_ok = false;
        peer = std::make_unique<Peer>(11);
        uploads = std::make_unique<Uploads>();
        connect(uploads.get(), &Uploads::changed, this, [this](const Device *changed) {
            const QString state = changed->upload ? QString("at %1").arg(changed->upload->percent)
                                                  : QString("ok %1").arg(changed->upload_ok);
            told.append(state);
        });
        connect(uploads.get(), &Uploads::summary_changed, this, [this] { told.append(message()); });
        told.clear();
    }
    void cleanup()
    {
        uploads.reset();
        peer.reset();
    }

    void each_step_is_told_of_the_device_and_of_all()
    {
        begin();
        QTRY_VERIFY(device.upload_ok);
        QTRY_COMPARE(told.size(), 10);
        QCOMPARE(told,
                 QStringList({"at 0", "Updating 1 device, 0 %", "at 0", "Updating 1 device, 0 %",
                              "at 99", "Updating 1 device, 99 %", "at 100",
                              "Updating 1 device, 100 %", "ok 1", "1 of 1 uploads succeeded."}));
    }

    void an_end_without_success_is_told_too()
    {
        begin_and_be_asked();
        told.clear();
        peer->send(ERROR_ANSWER);
        QTRY_COMPARE(told, QStringList({"ok 0", "0 of 1 uploads succeeded; failed: left"}));
        QVERIFY(!device.upload);
    }

    void a_file_that_nobody_can_take_is_told_as_failed()
    {
        uploads->fail(&device, "file size too large");
        QCOMPARE(told, QStringList({"ok 0", "0 of 1 uploads succeeded; failed: left"}));
    }

    void a_new_round_forgets_the_one_before_and_says_so()
    {
        begin();
        QTRY_VERIFY(device.upload_ok);
        told.clear();
        uploads->open_round();
        QCOMPARE(told, QStringList(""));
    }

    void a_round_with_a_running_transfer_goes_on()
    {
        begin_and_be_asked();
        told.clear();
        uploads->open_round();
        QCOMPARE(told, QStringList());
        QCOMPARE(message(), QString("Updating 1 device, 0 %"));
    }

    void a_transfer_that_has_ended_goes()
    {
        begin();
        const QPointer<QTFTPFileUploader> transfer = uploads->transfer(&device);
        QVERIFY(transfer);
        QTRY_VERIFY(device.upload_ok);
        QCOMPARE(uploads->transfer(&device), nullptr);
        QTRY_VERIFY(transfer.isNull()); // and its socket with it
    }

    void a_device_that_leaves_takes_its_transfer_along()
    {
        begin_and_be_asked();
        const QPointer<QTFTPFileUploader> transfer = uploads->transfer(&device);
        QVERIFY(device.upload);
        told.clear();
        uploads->drop(&device);
        QVERIFY(transfer.isNull());
        QVERIFY(!device.upload);
        QCOMPARE(told, QStringList(""));
        uploads->drop(&device); // which is not part of the round any more
        QCOMPARE(told, QStringList(""));
    }

    void a_second_transfer_takes_the_place_of_the_first()
    {
        begin_and_be_asked();
        const QPointer<QTFTPFileUploader> first = uploads->transfer(&device);
        device.upload_ok = true;
        begin();
        QVERIFY(first.isNull());
        QVERIFY(!device.upload_ok);
        QCOMPARE(message(), QString("Updating 1 device, 0 %"));
    }

    void all_transfers_go_with_their_owner()
    {
        begin_and_be_asked();
        const QPointer<QTFTPFileUploader> transfer = uploads->transfer(&device);
        QVERIFY(transfer);
        uploads.reset();
        QVERIFY(transfer.isNull());
    }

public:
    static std::string network_error;
};

std::string uploads_test::network_error;

int main(int argument_count, char **arguments)
{
    // Before Qt starts any thread: the kernel asks for that.
    enter_private_network(&uploads_test::network_error);
    QCoreApplication application(argument_count, arguments);
    uploads_test test;
    return QTest::qExec(&test, argument_count, arguments);
}

#include "uploads_test.moc"
