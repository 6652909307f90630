// An ordinary user may not open port 69: uploads fail, and the debug log tells why, once.
// VELMARK_LONG_TESTS=1 waits for their end after 20 s too.
#include "firmware/tftp_uploader.h"
#include "support/image_file.h"
#include "support/panel_case.h"
#include "support/tftp_peer.h"

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

const QByteArray IMAGE = image_section(MODULE_MAGIC, made_data(5000));
QStringList told; // debug messages

void keep_message(QtMsgType, const QMessageLogContext &, const QString &text)
{
    told << text;
}

// Takes the right to open ports below 1024 from this process, as an ordinary user lacks it.
bool give_up_low_ports()
{
    __user_cap_header_struct header{.version = _LINUX_CAPABILITY_VERSION_3, .pid = 0};
    __user_cap_data_struct rights[2] = {};
    if (syscall(SYS_capget, &header, rights) != 0)
        return false;
    rights[0].effective &= ~(1U << CAP_NET_BIND_SERVICE);
    return syscall(SYS_capset, &header, rights) == 0;
}

} // namespace

class UploadWithoutRightTest : public QObject
{
    Q_OBJECT

private slots:
    // The devices answer to port 69, where nobody is.
    void uploads_fail_and_the_reason_is_told_once()
    {
        PanelCase window;
        std::vector<std::unique_ptr<Peer>> peers;
        for (int number = 0; number < 2; ++number) {
            peers.push_back(std::make_unique<Peer>(11 + number));
            FakeDevice &added = window.add({});
            added.state.insert("fw_magic", qint64{MODULE_MAGIC});
            added.report();
        }
        QVERIFY(give_up_low_ports());
        QUdpSocket probe;
        QVERIFY(!probe.bind(QHostAddress(), 69, QAbstractSocket::ReuseAddressHint));
        QCOMPARE(probe.error(), QAbstractSocket::SocketAccessError);

        Device *first = window.devices[0]->record();
        Device *second = window.devices[1]->record();
        told.clear();
        const QtMessageHandler usual = qInstallMessageHandler(keep_message);
        for (Device *device : {first, second, first}) {
            QByteArray bytes = IMAGE;
            window.gui->upload(device, bytes, "firmware.bin");
        }
        qInstallMessageHandler(usual);
        QCOMPARE(told.filter("port 69").size(), 1);
        QVERIFY2(told.filter("port 69").at(0).contains("Permission denied"),
                 qPrintable(told.join('\n')));

        // Its requests arrive, and go unanswered like those to a silent device.
        for (const auto &peer : peers)
            QTRY_VERIFY(peer->requests >= 2);
        for (const int number : {0, 1}) {
            const Device *device = window.devices[size_t(number)]->record();
            QVERIFY(device->upload && device->upload->is_active);
            QCOMPARE(window.gui->transfer(device)->status(), QString("Initializing..."));
            QCOMPARE(window.cell(window.devices[size_t(number)]->record(), "status"),
                     QString("Online, updating 0%"));
        }
        if (!qEnvironmentVariableIsSet("VELMARK_LONG_TESTS"))
            return;
        QTRY_VERIFY_WITH_TIMEOUT(!first->upload && !second->upload, 25000);
        QVERIFY(!first->upload_ok && !second->upload_ok);
        QCOMPARE(window.cell(first, "status"), QString("Online"));
    }
};

WINDOW_TEST_MAIN(UploadWithoutRightTest)
#include "upload_without_right_test.moc"
