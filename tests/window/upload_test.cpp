// A file is offered to the selected devices: who gets what, and what the list says about it.
#include "firmware/tftp_uploader.h"
#include "firmware/uploads.h"
#include "support/dialog_probe.h"
#include "support/image_file.h"
#include "support/panel_case.h"
#include "support/tftp_peer.h"

#include <QPointer>
#include <QProgressBar>
#include <QStatusBar>

#include <map>
#include <sys/stat.h>

namespace {

constexpr int FIRST_ADDRESS = 11; // of 127.0.0.x
// By this process, from files of all kinds.
qint64 bytes_read()
{
    const QByteArray counts = file_content("/proc/self/io");
    return counts.mid(counts.indexOf("rchar: ") + 7).split('\n').at(0).toLongLong();
}

const QByteArray SMALL_IMAGE = image_section(MODULE_MAGIC, made_data(5000));

} // namespace

class UploadTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<PanelCase> window;
    std::vector<std::unique_ptr<Peer>> peers;

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

private slots:
    void init() { window = std::make_unique<PanelCase>(); }
    void cleanup()
    {
        window.reset();
        peers.clear();
    }

    void update_sends_the_devices_section_under_its_fixed_name()
    {
        add_devices(1);
        window->select({0});
        update_with(image_section(OTHER_MAGIC, "not for us") + SMALL_IMAGE);
        QTRY_VERIFY(device(0)->upload_ok);
        QCOMPARE(peer(0).name, QByteArray("firmware.bin"));
        QCOMPARE(peer(0).stored, SMALL_IMAGE);
        QVERIFY(!device(0)->upload);
        QCOMPARE(status(0), QString("Online"));
    }

    void lpi_upload_sends_the_file_byte_for_byte()
    {
        add_devices(1);
        window->select({0});
        const QByteArray truncated = SMALL_IMAGE.left(3000);
        lpi_upload_with(truncated);
        QTRY_VERIFY(device(0)->upload_ok);
        QCOMPARE(peer(0).name, QByteArray("lpi.bin"));
        QCOMPARE(peer(0).stored, truncated);
    }

    void an_empty_file_is_sent_too()
    {
        add_devices(1);
        window->select({0});
        lpi_upload_with("");
        QTRY_VERIFY(device(0)->upload_ok);
        QCOMPARE(peer(0).last_block, 1);
        QVERIFY(peer(0).stored.isEmpty());
    }

    void every_selected_device_gets_its_own_section()
    {
        add_devices(2);
        add_devices(1, OTHER_MAGIC);
        add_devices(1);
        window->select({0, 1, 2});
        const QByteArray other_section = image_section(OTHER_MAGIC, made_data(1024));
        update_with(SMALL_IMAGE + other_section);
        QTRY_VERIFY(device(0)->upload_ok && device(1)->upload_ok && device(2)->upload_ok);
        QCOMPARE(peer(0).stored, SMALL_IMAGE);
        QCOMPARE(peer(1).stored, SMALL_IMAGE);
        QCOMPARE(peer(2).stored, other_section);
        QCOMPARE(peer(3).seen, 0);
    }

    void a_device_of_the_containers_own_number_gets_the_leading_part()
    {
        add_devices(1, FIRMWARE_CONTAINER_MAGIC);
        window->select({0});
        QByteArray container = image_section(FIRMWARE_CONTAINER_MAGIC, "leading");
        container[8] = container[10] = 1; // format and section type of a container
        container.replace(4, 4, QByteArray(4, '\0'));
        const uint32_t sum = crc32(0, reinterpret_cast<const uint8_t *>(container.constData()),
                                   FIRMWARE_HEADER_SIZE);
        qToLittleEndian(sum, container.data() + 4);
        update_with(container);
        QTRY_VERIFY(device(0)->upload_ok);
        QCOMPARE(peer(0).stored, container);
    }

    void in_a_mixed_selection_exactly_the_right_devices_receive_data()
    {
        add_devices(2);              // 0: right; 1: with a transfer that runs
        add_devices(1, OTHER_MAGIC); // 2
        add_devices(1);              // 3: offline
        add_devices(1, 0);           // 4: unknown module
        device(3)->online = false;
        peer(1).stop_at(3);
        window->select({1});
        update_with(SMALL_IMAGE);
        QTRY_COMPARE(peer(1).last_block, 3);
        QPointer<QTFTPFileUploader> first = gui().transfer(device(1));
        peer(1).stop_at(100);

        window->select({0, 1, 2, 3, 4});
        update_with(SMALL_IMAGE);
        QVERIFY(first.isNull());
        QTRY_VERIFY(device(0)->upload_ok && device(1)->upload_ok);
        QCOMPARE(peer(0).stored, SMALL_IMAGE);
        QCOMPARE(peer(1).stored, SMALL_IMAGE);
        QCOMPARE(peer(1).requests, 2);
        for (int number : {2, 3, 4}) {
            QCOMPARE(peer(number).seen, 0);
            QVERIFY(!device(number)->upload && !device(number)->upload_ok);
        }
        QCOMPARE(status(2), QString("Online / device not supported by image"));
        QCOMPARE(status(3), QString("Offline / not updating"));
        QCOMPARE(status(4), QString("Online / unknown device"));
    }

    void hidden_rows_get_nothing()
    {
        add_devices(2);
        window->select({0, 1});
        gui().view()->setRowHidden(gui().row_of(device(1)), {}, true);
        update_with(SMALL_IMAGE);
        QTRY_VERIFY(device(0)->upload_ok);
        QCOMPARE(peer(1).seen, 0);
    }

    void a_refused_file_is_told_in_the_status_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("expected");
        QTest::newRow("truncated") << SMALL_IMAGE.left(3000) << "Online / invalid image";
        QTest::newRow("empty") << QByteArray() << "Online / invalid image";
        QTest::newRow("for another module")
            << image_section(OTHER_MAGIC, "x") << "Online / device not supported by image";
    }
    void a_refused_file_is_told_in_the_status()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, expected);
        add_devices(1);
        window->select({0});
        update_with(content);
        QCOMPARE(status(0), expected);
        QVERIFY(!device(0)->upload);
        QTest::qWait(50); // what would have been sent has arrived by now
        QCOMPARE(peer(0).seen, 0);
    }

    void an_unknown_module_is_refused_under_either_name()
    {
        add_devices(1, 0);
        window->select({0});
        update_with(SMALL_IMAGE);
        QCOMPARE(status(0), QString("Online / unknown device"));
        device(0)->upload_error.clear();
        lpi_upload_with(SMALL_IMAGE);
        QCOMPARE(status(0), QString("Online / unknown device"));
        QVERIFY(!device(0)->upload);
        QCOMPARE(peer(0).seen, 0);
    }

    void our_refusal_hides_what_the_device_reports()
    {
        add_devices(1);
        window->devices[0]->state.insert("firmware_update_error", "flash worn out");
        window->devices[0]->report();
        QCOMPARE(status(0), QString("Online / flash worn out"));
        window->select({0});
        update_with("no image");
        QCOMPARE(status(0), QString("Online / invalid image"));
    }

    void a_refusal_stands_until_the_next_attempt_or_the_devices_return()
    {
        add_devices(1);
        window->select({0});
        update_with("no image");
        window->devices[0]->report();
        QCOMPARE(status(0), QString("Online / invalid image"));
        update_with(SMALL_IMAGE);
        QTRY_COMPARE(status(0), QString("Online"));

        update_with("no image");
        QCOMPARE(status(0), QString("Online / invalid image"));
        device(0)->online = false;
        gui().update(device(0));
        QCOMPARE(status(0), QString("Offline / invalid image"));
        window->devices[0]->report();
        QCOMPARE(status(0), QString("Online"));
    }

    void nothing_happens_without_a_readable_file_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("refused dialog") << "";
        QTest::newRow("no such file") << "/nowhere/at all";
        QTest::newRow("a pipe that nobody writes into") << "pipe";
    }
    // Opening the pipe would wait for a writer for ever.
    void nothing_happens_without_a_readable_file()
    {
        QFETCH(QString, path);
        add_devices(1);
        window->select({0});
        device(0)->upload_error = "untouched";
        const QString pipe = window->folder.filePath("pipe");
        QCOMPARE(mkfifo(qPrintable(pipe), 0600), 0);
        DialogProbe probe;
        probe.choose_file(path == "pipe" ? pipe : path);
        if (path.isEmpty())
            probe.answer = DialogProbe::cancel;
        QVERIFY(QTest::qWaitForWindowActive(&gui().widget()));
        press_lpi_upload();
        QVERIFY(!probe.titles.isEmpty());
        QVERIFY(probe.texts.isEmpty());
        QCOMPARE(device(0)->upload_error, QString("untouched"));
        QVERIFY(!device(0)->upload);
    }

    void without_a_selection_nothing_happens()
    {
        add_devices(1);
        lpi_upload_with(SMALL_IMAGE);
        QVERIFY(is_idle());
        QCOMPARE(peer(0).seen, 0);
    }

    void a_device_that_goes_while_the_dialog_is_open_is_left_out()
    {
        add_devices(2);
        window->select({0, 1});
        DialogProbe probe;
        const QString path = file_with(SMALL_IMAGE);
        probe.answer = [this, path](QDialog *dialog) {
            window->select({0});
            gui().delete_selected();
            window->select({1});
            dialog->findChild<QLineEdit *>("fileNameEdit")->setText(path);
            DialogProbe::press_default(dialog);
        };
        press_update();
        QTRY_VERIFY(device(1)->upload_ok);
        QCOMPARE(gui().all_devices().size(), size_t(1));
        QCOMPARE(peer(0).seen, 0);
    }

    void the_status_follows_the_transfer()
    {
        add_devices(1);
        window->devices[0]->report("dsp", "mute", true);
        QCOMPARE(status(0), QString("Online, muted"));
        peer(0).stop_at(5);
        window->select({0});
        update_with(image_section(MODULE_MAGIC, QByteArray(9 * 512 - 128 + 1, 'x')));
        // Block 5 of 10 is in the air, 4 are acknowledged.
        QTRY_COMPARE(status(0), QString("Online, updating 39%"));
        device(0)->broken_net = true;
        gui().update(device(0));
        QCOMPARE(status(0), QString("Broken net, updating 39%"));
        device(0)->broken_net = false;
        peer(0).stop_at(100);
        peer(0).send(ack(5));
        QTRY_COMPARE(status(0), QString("Online, muted"));
        QVERIFY(device(0)->upload_ok);
    }

    void the_status_bar_shows_how_far_transfers_are_while_they_run()
    {
        const auto *bar = gui().widget().statusBar()->findChild<QProgressBar *>();
        QVERIFY(bar && !bar->isVisible());
        add_devices(1);
        peer(0).stop_at(5);
        window->select({0});
        update_with(image_section(MODULE_MAGIC, QByteArray(9 * 512 - 128 + 1, 'x')));
        QTRY_COMPARE(bar->value(), 39);
        QVERIFY(bar->isVisible());
        peer(0).stop_at(100);
        peer(0).send(ack(5));
        QTRY_VERIFY(!bar->isVisible());
    }

    // Where firmware is picked nothing is to be renamed or deleted.
    void the_file_dialog_changes_nothing_on_the_disk()
    {
        add_devices(1);
        window->select({0});
        DialogProbe probe;
        QList<bool> only_reads;
        probe.answer = [&only_reads](QDialog *dialog) {
            auto *files = qobject_cast<QFileDialog *>(dialog);
            only_reads += files && files->testOption(QFileDialog::ReadOnly);
            DialogProbe::cancel(dialog);
        };
        press_update();
        gui().widget().activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&gui().widget()));
        press_lpi_upload();
        QCOMPARE(only_reads, QList<bool>({true, true}));
    }

    // The moment between a transfer's end and its removal. No row is written in it today.
    void the_end_of_a_failing_transfer_reads_failed_for_a_moment()
    {
        add_devices(1);
        device(0)->upload = UploadState{.percent = 39, .is_active = false};
        gui().update(device(0));
        QCOMPARE(status(0), QString("Online, updating 39% (failed)"));
        device(0)->upload = UploadState{.percent = 100, .is_active = false};
        gui().update(device(0));
        QCOMPARE(status(0), QString("Online, updating 100%"));
        device(0)->upload = {};
        gui().update(device(0));
        QCOMPARE(status(0), QString("Online"));
    }

    void a_failed_transfer_leaves_the_status_as_it_was_and_keeps_its_reason()
    {
        add_devices(1);
        peer(0).stop_at(0);
        window->select({0});
        QStringList seen;
        connect(&gui().model(), &QStandardItemModel::dataChanged, this,
                [this, &seen] { seen.append(status(0)); });
        update_with(SMALL_IMAGE);
        QTRY_COMPARE(peer(0).requests, 1);
        QCOMPARE(status(0), QString("Online, updating 0%"));
        peer(0).send(QByteArray("\0\5\0\1full\0", 9));
        QTRY_VERIFY(!device(0)->upload);
        QCOMPARE(status(0), QString("Online"));
        QVERIFY(!device(0)->upload_ok);
        QVERIFY(seen.contains("Online, updating 0%"));
        QVERIFY(seen.filter("failed").isEmpty());
        disconnect(&gui().model(), nullptr, this, nullptr);
        QCOMPARE(upload_failure_list(gui().uploads().summary()),
                 QString("Left: got TFTP ERROR packet, code=256, msg='full'"));
    }

    void one_round_tells_of_all_that_were_started_together()
    {
        add_devices(4);
        const auto summary = [this] { return gui().uploads().summary(); };
        QCOMPARE(upload_message(summary()), QString());
        device(1)->online = false;
        device(2)->values["ui/name"] = QString();
        peer(2).stop_at(0);
        peer(3).stop_at(0);
        window->select({0, 1, 2, 3});
        update_with(SMALL_IMAGE);
        QCOMPARE(upload_message(summary()), QString("Updating 3 devices, 0 %"));
        QTRY_VERIFY(device(0)->upload_ok);
        QTRY_COMPARE(peer(3).requests, 1);
        // One has ended: a third of the whole.
        QCOMPARE(upload_message(summary()), QString("Updating 2 devices, 33 %"));
        peer(2).send(QByteArray("\0\5\0\1full\0", 9));
        QTRY_VERIFY(!device(2)->upload);
        peer(3).stop_at(100);
        peer(3).send(ack(0));
        QTRY_VERIFY(device(3)->upload_ok);
        QCOMPARE(upload_message(summary()),
                 QString("2 of 4 uploads succeeded; failed: Left, device 002"));
        QCOMPARE(upload_failure_list(summary()),
                 QString("Left: not updating\ndevice 002: got TFTP ERROR packet, code=256, "
                         "msg='full'"));

        // The next one begins anew, and nothing of it is left of a device that goes.
        peer(0).stop_at(0);
        window->select({0});
        update_with(SMALL_IMAGE);
        QCOMPARE(upload_message(summary()), QString("Updating 1 device, 0 %"));
        QSignalSpy changes(&gui().uploads(), &Uploads::summary_changed);
        gui().delete_selected();
        QCOMPARE(upload_message(summary()), QString());
        QVERIFY(!changes.isEmpty());
    }

    void a_second_upload_during_a_round_joins_it_and_counts_its_device_once()
    {
        add_devices(2);
        peer(0).stop_at(0);
        peer(1).stop_at(0);
        const auto message = [this] { return upload_message(gui().uploads().summary()); };
        window->select({0});
        update_with(SMALL_IMAGE);
        update_with(SMALL_IMAGE);
        QCOMPARE(message(), QString("Updating 1 device, 0 %"));
        window->select({1});
        update_with(SMALL_IMAGE);
        QCOMPARE(message(), QString("Updating 2 devices, 0 %"));
        // What is refused now disturbs nothing that runs.
        device(1)->online = false;
        update_with(SMALL_IMAGE);
        QCOMPARE(message(), QString("Updating 2 devices, 0 %"));
        for (const int number : {0, 1}) {
            QTRY_VERIFY(peer(number).requests > 0);
            peer(number).stop_at(100);
            peer(number).send(ack(0));
            QTRY_VERIFY(device(number)->upload_ok);
        }
        QCOMPARE(message(), QString("2 of 2 uploads succeeded."));
    }

    void refused_ones_count_without_a_transfer()
    {
        add_devices(2, 0);
        window->select({0, 1});
        update_with(SMALL_IMAGE);
        QCOMPARE(upload_message(gui().uploads().summary()),
                 QString("0 of 2 uploads succeeded; failed: Left, Left"));
    }

    void a_failed_transfer_leaves_no_text_behind()
    {
        add_devices(1);
        device(0)->upload_ok = true;
        peer(0).reply = [](int, int) { return QList<QByteArray>{ack(7)}; };
        window->select({0});
        update_with(SMALL_IMAGE);
        QTRY_VERIFY(!device(0)->upload);
        QVERIFY(!device(0)->upload_ok);
        QCOMPARE(device(0)->upload_error, QString());
        QCOMPARE(status(0), QString("Online"));
    }

    void a_failed_transfer_disturbs_no_other()
    {
        add_devices(12);
        peer(11).reply
            = [](int block, int) { return QList<QByteArray>{ack(block == 3 ? 9 : block)}; };
        peer(10).stop_at(0);
        gui().view()->selectAll();
        update_with(SMALL_IMAGE);
        for (int number = 0; number < 10; ++number) {
            QTRY_VERIFY(device(number)->upload_ok);
            QCOMPARE(peer(number).stored, SMALL_IMAGE);
        }
        QVERIFY(!device(11)->upload_ok && !device(11)->upload);
        QVERIFY(device(10)->upload);
        QCOMPARE(status(10), QString("Online, updating 0%"));
    }

    void pressing_update_again_starts_from_the_beginning()
    {
        add_devices(1);
        peer(0).stop_at(6);
        window->select({0});
        update_with(SMALL_IMAGE);
        QTRY_COMPARE(peer(0).last_block, 6);
        QPointer<QTFTPFileUploader> first = gui().transfer(device(0));
        const QByteArray second_file = image_section(MODULE_MAGIC, "second");
        peer(0).stop_at(100);
        update_with(second_file);
        QVERIFY(first.isNull());
        QTRY_VERIFY(device(0)->upload_ok);
        QCOMPARE(peer(0).requests, 2);
        QCOMPARE(peer(0).stored, second_file);
    }

    void a_refused_second_attempt_lets_the_running_transfer_go_on()
    {
        add_devices(1);
        peer(0).stop_at(6);
        window->select({0});
        update_with(SMALL_IMAGE);
        QTRY_COMPARE(peer(0).last_block, 6);
        update_with("no image");
        QVERIFY(device(0)->upload);
        QVERIFY(status(0).endsWith("% / invalid image"));
        peer(0).stop_at(100);
        peer(0).send(ack(6));
        QTRY_VERIFY(device(0)->upload_ok);
        QCOMPARE(peer(0).stored, SMALL_IMAGE);
    }

    void success_of_an_earlier_transfer_outlives_a_refusal()
    {
        add_devices(1);
        window->select({0});
        update_with(SMALL_IMAGE);
        QTRY_VERIFY(device(0)->upload_ok);
        update_with("no image");
        QVERIFY(device(0)->upload_ok);
    }

    void a_lost_network_does_not_keep_a_transfer_from_starting()
    {
        add_devices(1);
        window->select({0});
        device(0)->interface = "gone";
        update_with(SMALL_IMAGE);
        QTRY_VERIFY(device(0)->upload_ok);
        QCOMPARE(peer(0).stored, SMALL_IMAGE);
    }

    void a_file_too_large_fails_before_any_datagram_goes_out()
    {
        add_devices(1);
        device(0)->upload_ok = true;
        window->select({0});
        lpi_upload_with(QByteArray(33'553'921, 'x'));
        QVERIFY(!device(0)->upload);
        QVERIFY(!device(0)->upload_ok);
        QCOMPARE(status(0), QString("Online"));
        QTest::qWait(50); // what would have been sent has arrived by now
        QCOMPARE(peer(0).seen, 0);
    }

    // A device must get neither the front part of such a file nor the nothing that a file of more
    // than 2 GB reads as, and the window must not stand still while it is read in vain.
    void a_huge_file_is_refused_unread_data()
    {
        QTest::addColumn<qint64>("size");
        QTest::addColumn<QByteArray>("head");
        QTest::addColumn<bool>("is_image");
        QTest::addColumn<QString>("expected");
        const QByteArray header = image_section(MODULE_MAGIC, {});
        QTest::newRow("no image, as one")
            << (qint64{1} << 30) << QByteArray() << true << "Online / invalid image";
        QTest::newRow("an image") << (qint64{1} << 30) << header << true << "Online";
        QTest::newRow("any other file") << (qint64{1} << 30) << QByteArray() << false << "Online";
        QTest::newRow("more than memory") << (qint64{3} << 30) << QByteArray() << false << "Online";
    }
    void a_huge_file_is_refused_unread()
    {
        QFETCH(const qint64, size);
        QFETCH(const QByteArray, head);
        QFETCH(const bool, is_image);
        add_devices(1);
        window->select({0});
        const QString path = file_with(head);
        QVERIFY(QFile::resize(path, size));
        DialogProbe probe;
        probe.choose_file(path);
        QVERIFY(QTest::qWaitForWindowActive(&gui().widget()));
        const qint64 before = bytes_read();
        if (is_image)
            press_update();
        else
            press_lpi_upload();
        QVERIFY2(bytes_read() - before < 10'000'000, qPrintable(QString::number(bytes_read())));
        QCOMPARE(probe.titles.size(), 1);
        QTEST(status(0), "expected");
        QVERIFY(!device(0)->upload && !device(0)->upload_ok);
        QCOMPARE(peer(0).seen, 0);
    }

    void the_largest_file_is_accepted()
    {
        add_devices(1);
        peer(0).stop_at(0);
        window->select({0});
        lpi_upload_with(QByteArray(33'553'920, 'x'));
        QTRY_COMPARE(peer(0).requests, 1);
        QVERIFY(device(0)->upload);
        QCOMPARE(status(0), QString("Online, updating 0%"));
    }

    void a_device_may_be_deleted_while_its_transfer_runs()
    {
        add_devices(2);
        for (int number : {0, 1})
            peer(number).stop_at(4);
        window->select({0, 1});
        update_with(SMALL_IMAGE);
        QTRY_COMPARE(peer(0).last_block, 4);
        QTRY_COMPARE(peer(1).last_block, 4);
        window->select({1});
        gui().delete_selected();
        QCOMPARE(gui().all_devices().size(), size_t(1));
        peer(1).send(ack(4));
        peer(0).stop_at(100);
        peer(0).send(ack(4));
        QTRY_VERIFY(device(0)->upload_ok);
        QCOMPARE(peer(0).stored, SMALL_IMAGE);
    }

    void the_window_may_close_while_transfers_run()
    {
        add_devices(3);
        for (int number : {0, 1, 2})
            peer(number).stop_at(4);
        gui().view()->selectAll();
        update_with(SMALL_IMAGE);
        QTRY_COMPARE(peer(2).last_block, 4);
        gui().close();
        QVERIFY(gui().all_devices().empty());
        for (int number : {0, 1, 2})
            peer(number).send(ack(4));
        QTest::qWait(50); // whatever is late arrives now
    }

    void a_device_that_goes_offline_keeps_its_transfer()
    {
        add_devices(1);
        peer(0).stop_at(4);
        window->select({0});
        update_with(SMALL_IMAGE);
        QTRY_COMPARE(peer(0).last_block, 4);
        device(0)->online = false;
        gui().update(device(0));
        QCOMPARE(status(0), QString("Offline, updating 27%"));
        peer(0).stop_at(100);
        peer(0).send(ack(4));
        QTRY_VERIFY(device(0)->upload_ok);
        QCOMPARE(status(0), QString("Offline"));
    }
};

WINDOW_TEST_MAIN(UploadTest)
#include "upload_test.moc"
