// A file is offered to the selected devices: who gets what, and what the list says about it.
#include "firmware/tftp_uploader.h"
#include "support/upload_case.h"

#include <QFileSystemModel>
#include <QPointer>

#include <sys/stat.h>

namespace {

// By this process, from files of all kinds.
qint64 bytes_read()
{
    const QByteArray counts = file_content("/proc/self/io");
    return counts.mid(counts.indexOf("rchar: ") + 7).split('\n').at(0).toLongLong();
}

} // namespace

class UploadTest : public UploadCase
{
    Q_OBJECT

private slots:
    void init() { open_window(); }
    void cleanup() { close_window(); }

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
        expect_nothing_sent(0);
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
        QTest::newRow("two files") << R"("offered file" "another")";
        // It says 4096 bytes, of which there are few: a device would get the front part of a file.
        QTest::newRow("less than the file says") << "/sys/devices/system/cpu/online";
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
        file_with(SMALL_IMAGE);
        write_test_file(window->folder.filePath("another"), SMALL_IMAGE);
        DialogProbe probe;
        probe.choose_file(path == "pipe" ? pipe : path);
        if (path.startsWith('"'))
            probe.answer = [this, path](QDialog *dialog) {
                qobject_cast<QFileDialog *>(dialog)->setDirectory(window->folder.path());
                dialog->findChild<QLineEdit *>("fileNameEdit")->setText(path);
                DialogProbe::press_default(dialog);
            };
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

    // A pattern is compiled anew for each file: a folder of 20,000 would hold up the window.
    void the_file_dialog_compares_no_names_with_patterns()
    {
        add_devices(1);
        window->select({0});
        DialogProbe probe;
        QStringList patterns("not seen");
        QStringList kinds;
        probe.answer = [&patterns, &kinds](QDialog *dialog) {
            patterns = dialog->findChild<QFileSystemModel *>()->nameFilters();
            kinds = qobject_cast<QFileDialog *>(dialog)->nameFilters();
            DialogProbe::cancel(dialog);
        };
        press_update();
        QCOMPARE(patterns, QStringList());
        QCOMPARE(kinds, QStringList("All Files (*)"));
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
        expect_nothing_sent(0);
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

    void what_was_said_of_one_file_holds_for_no_other()
    {
        add_devices(1);
        peer(0).stop_at(0);
        window->select({0});
        lpi_upload_with(QByteArray(33'553'921, 'x')); // for which no device is asked
        QByteArray image = SMALL_IMAGE;
        gui().upload(device(0), image, "firmware.bin"); // as the assistant does
        QVERIFY(device(0)->upload);
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
};

WINDOW_TEST_MAIN(UploadTest)
#include "upload_test.moc"
