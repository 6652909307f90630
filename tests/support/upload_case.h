// A window with devices that take firmware, and what an operator does to send it.
#pragma once

#include "support/dialog_probe.h"
#include "support/image_file.h"
#include "support/panel_case.h"
#include "support/tftp_peer.h"

constexpr int FIRST_ADDRESS = 11; // of 127.0.0.x
inline const QByteArray SMALL_IMAGE = image_section(MODULE_MAGIC, made_data(5000));

class UploadCase : public QObject
{
protected:
    std::unique_ptr<PanelCase> window;
    std::vector<std::unique_ptr<Peer>> peers;

    void open_window() { window = std::make_unique<PanelCase>(); }

    void close_window()
    {
        window.reset();
        peers.clear();
    }

    WindowHandle &gui() { return *window->gui; }
    Device *device(int number) { return window->devices[size_t(number)]->record(); }
    Peer &peer(int number) { return *peers[size_t(number)]; }
    QString status(int number) { return window->cell(device(number), "status"); }

    // Devices with a TFTP server each, number 0 at 127.0.0.11.
    void add_devices(int count, uint32_t fw_magic = MODULE_MAGIC)
    {
        for (int i = 0; i < count; ++i) {
            peers.push_back(std::make_unique<Peer>(FIRST_ADDRESS + int(peers.size())));
            FakeDevice &added = window->add({});
            added.state.insert("fw_magic", qint64{fw_magic});
            added.report();
        }
    }

    // A datagram comes behind all that has been sent so far: it is the only one.
    void expect_nothing_sent(int number) { expect_one_more(number, 0); }
    void expect_one_more(int number, int before)
    {
        QCoreApplication::processEvents(); // what is about to be sent
        QUdpSocket().writeDatagram(error_packet(0, ""), device_address(FIRST_ADDRESS + number), 69);
        QTRY_VERIFY(peer(number).seen > before);
        QCOMPARE(peer(number).seen, before + 1);
    }

    QString file_with(const QByteArray &content)
    {
        const QString path = window->folder.filePath("offered file");
        write_test_file(path, content);
        return path;
    }

    void press_update()
    {
        QPushButton *button = window->row("firmware_version").button;
        QTRY_VERIFY(!button->rect().isEmpty()); // the row has just come up
        QTest::mouseClick(button, Qt::LeftButton);
    }
    void press_lpi_upload() { QTest::keyClick(&gui().widget(), Qt::Key_P, Qt::ControlModifier); }

    // The operator picks a file with this content in the dialog that "Update" opens.
    void update_with(const QByteArray &content)
    {
        DialogProbe probe;
        probe.choose_file(file_with(content));
        press_update();
        QCOMPARE(probe.titles.size(), 1);
    }
    void lpi_upload_with(const QByteArray &content)
    {
        DialogProbe probe;
        probe.choose_file(file_with(content));
        gui().widget().activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&gui().widget()));
        press_lpi_upload();
        QCOMPARE(probe.titles.size(), 1);
    }

    bool is_idle()
    {
        for (const auto &[id, one] : gui().all_devices())
            if (one->upload)
                return false;
        return true;
    }
};
