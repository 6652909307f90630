// Firmware uploads in the real window while they run: what the operator sees, and how they end.
#include "firmware/tftp_uploader.h"
#include "firmware/uploads.h"
#include "support/upload_case.h"

#include <QPointer>
#include <QProgressBar>
#include <QStatusBar>

#include <vector>

class UploadCourseTest : public UploadCase
{
    Q_OBJECT

private slots:
    void init() { open_window(); }
    void cleanup() { close_window(); }

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
        const QPointer<QTFTPFileUploader> transfer = gui().transfer(device(0));
        device(0)->broken_net = true;
        gui().update(device(0));
        QCOMPARE(status(0), QString("Broken net, updating 39%"));
        device(0)->broken_net = false;
        peer(0).stop_at(100);
        peer(0).send(ack(5));
        QTRY_COMPARE(status(0), QString("Online, muted"));
        QVERIFY(device(0)->upload_ok);
        QTRY_VERIFY(transfer.isNull()); // and its socket with it
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

    void what_came_of_uploads_stays_until_it_is_clicked()
    {
        auto *message = gui().widget().statusBar()->findChild<QLabel *>("status_message");
        QVERIFY(message);
        add_devices(1);
        peer(0).stop_at(0);
        window->select({0});
        update_with(SMALL_IMAGE);
        QTRY_COMPARE(message->text(), QString("Updating 1 device, 0 %"));
        QTest::mouseClick(message, Qt::LeftButton);
        QCOMPARE(message->text(), QString("Updating 1 device, 0 %")); // it is not over
        peer(0).stop_at(100);
        peer(0).send(ack(0));
        QTRY_COMPARE(message->text(), QString("1 of 1 uploads succeeded."));
        window->press_edit();
        QTest::mouseClick(message, Qt::LeftButton); // on what an edit says
        window->press_cancel();
        QCOMPARE(message->text(), QString("1 of 1 uploads succeeded."));
        QTest::mouseClick(message, Qt::RightButton);
        QCOMPARE(message->text(), QString("1 of 1 uploads succeeded."));
        QTest::mouseClick(message, Qt::LeftButton);
        QCOMPARE(message->text(), QString());
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
        peer(0).send(error_packet(1, "full"));
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
        peer(2).send(error_packet(1, "full"));
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
        std::vector<QPointer<QTFTPFileUploader>> transfers;
        for (int number : {0, 1, 2}) {
            QTRY_COMPARE(peer(number).last_block, 4);
            transfers.emplace_back(gui().transfer(device(number)));
            QVERIFY(transfers.back());
        }
        gui().close();
        QVERIFY(gui().all_devices().empty());
        for (int number : {0, 1, 2}) {
            QVERIFY(transfers[static_cast<size_t>(number)].isNull());
            const int before = peer(number).seen;
            peer(number).send(ack(4)); // is late, and asks for the fifth block in vain
            expect_one_more(number, before);
        }
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

TEST_PART(UploadCourseTest)
#include "upload_test_course.moc"
