// The setup assistant in the real window: what a press sends, and how uploads and answers lead on.
#include "firmware/uploads.h"
#include "support/assistant_case.h"
#include "support/dialog_probe.h"

#include <QMessageBox>
#include <QPlainTextEdit>

class AssistantCourseTest : public AssistantCase
{
    Q_OBJECT

private slots:
    void init() { start(); }
    void cleanup() { end(); }

    void an_upload_that_ends_while_the_device_is_away_counts_for_nothing()
    {
        reach(PAGE_UPDATING);
        QTRY_COMPARE(peer().last_block, 3);
        go_offline();
        QCOMPARE(page(), int{PAGE_OFFLINE});
        peer().stop_at(5000);
        peer().send(ack(3));
        QTRY_VERIFY(device()->upload_ok);
        QCOMPARE(page(), int{PAGE_OFFLINE});
        fake().report();
        QTRY_COMPARE(page(), int{PAGE_OUTDATED});
    }

    void the_whole_course_of_an_old_device_without_product()
    {
        tell(OUTDATED_WITHOUT_PRODUCT);
        QCOMPARE(page(), 1);
        press("Next");
        QCOMPARE(page(), 2);
        QTRY_COMPARE(page(), 8);
        QCOMPARE(peer().name, QByteArray("firmware.bin"));
        QCOMPARE(peer().stored, stand_in_image());
        go_offline();
        QCOMPARE(page(), 8);
        tell(OUTDATED_WITHOUT_PRODUCT);
        QCOMPARE(page(), 8);
        tell(CURRENT_WITHOUT_PRODUCT);
        QCOMPARE(page(), 3);
        choose(1);
        press("Next");
        QCOMPARE(page(), 4);
        press("Next");
        QCOMPARE(page(), 5);
        const int product_id = assistant_products(catalogue().product_table)[1].value.toInt();
        QTRY_COMPARE(fake().commands().size(), 1);
        QCOMPARE(fake().commands().front(),
                 QJsonObject({{"command", "set_params"}, {"seq", 1}, {"product_id", product_id}}));
        tell(CURRENT_WITHOUT_PRODUCT);
        QCOMPARE(page(), 5);
        tell({.product_id = product_id});
        QCOMPARE(page(), 6);
        press("Next");
        QCOMPARE(page(), -1);
        QVERIFY(device()->assistant_dismissed);
        QCOMPARE(fake().commands().size(), 1);
    }

    void the_bar_follows_the_transfer()
    {
        reach(PAGE_UPDATING);
        QCOMPARE(bar()->minimum(), 0);
        QCOMPARE(bar()->maximum(), 100);
        QTRY_COMPARE(peer().last_block, 3);
        QCOMPARE(bar()->value(), 0);
        peer().stop_at(900); // of 1,811
        peer().send(ack(3));
        QTRY_COMPARE(bar()->value(), 899 * 99 / 1811);
    }

    void products_stand_in_the_catalogues_order_and_none_is_chosen()
    {
        reach(PAGE_CHOOSE_PRODUCT);
        QStringList expected = {"<Select here>"};
        QList<int> ids = {0};
        for (const ProductDesc &product : catalogue().product_table) {
            if (product.product_id == 0)
                continue;
            expected.append(QString::fromStdString(product.name));
            ids.append(product.product_id);
        }
        QCOMPARE(combo()->count(), expected.size());
        for (int i = 0; i < expected.size(); ++i) {
            QCOMPARE(combo()->itemText(i), expected.at(i));
            QCOMPARE(combo()->itemData(i).toInt(), ids.at(i));
        }
        QCOMPARE(combo()->currentIndex(), 0);
    }

    void next_without_a_product_is_refused_and_sends_nothing()
    {
        reach(PAGE_CHOOSE_PRODUCT);
        DialogProbe probe;
        QMessageBox::Icon icon = QMessageBox::NoIcon;
        probe.answer = [&icon](QDialog *open) {
            auto *box = qobject_cast<QMessageBox *>(open);
            if (!box)
                return;
            icon = box->icon();
            QTest::mouseClick(box->button(QMessageBox::Ok), Qt::LeftButton);
        };
        press("Next");
        QCOMPARE(probe.texts, QStringList("You need to select a product."));
        QVERIFY(probe.titles.contains("Please note"));
        QCOMPARE(icon, QMessageBox::Critical);
        QCOMPARE(page(), int{PAGE_CHOOSE_PRODUCT});
        QVERIFY(fake().commands().isEmpty());
    }

    void the_device_may_vanish_under_the_refusal()
    {
        reach(PAGE_CHOOSE_PRODUCT);
        DialogProbe probe;
        bool is_still_drawn = false;
        probe.answer = [this, &is_still_drawn](QDialog *open) {
            if (!qobject_cast<QMessageBox *>(open))
                return;
            go_offline();
            open_dialog().close();
            QCoreApplication::processEvents(); // what the closed dialog was drawn on could go now
            is_still_drawn = open->isVisible() && open->windowHandle()->handle();
            select_row(0);
            gui().delete_selected();
            open->reject();
        };
        press("Next");
        QCOMPARE(probe.texts.size(), 1);
        QVERIFY(is_still_drawn);
        QVERIFY(gui().all_devices().empty());
    }

    void back_starts_the_choice_anew()
    {
        reach(PAGE_CONFIRM_PRODUCT);
        press("Back");
        QCOMPARE(page(), int{PAGE_CHOOSE_PRODUCT});
        QTRY_COMPARE(open_dialog().findChildren<QComboBox *>().size(), 1);
        QCOMPARE(combo()->currentText(), QString("<Select here>"));
        QVERIFY(!button("Back")->isEnabled());
        QVERIFY(fake().commands().isEmpty());
    }

    void the_command_shows_in_the_log()
    {
        gui().open_log(device());
        reach(PAGE_SETTING_PRODUCT);
        QTRY_VERIFY(gui().log_view(device())->toPlainText().contains("\"product_id\""));
        QVERIFY(gui().log_view(device())->toPlainText().contains("Sending JSON: "));
    }

    void a_failing_command_shows_nowhere()
    {
        reach(PAGE_CONFIRM_PRODUCT);
        device()->interface = "gone";
        DialogProbe probe;
        press("Next");
        QCOMPARE(page(), int{PAGE_SETTING_PRODUCT});
        QVERIFY(probe.texts.isEmpty());
    }

    void no_time_out_ends_the_wait_for_the_product()
    {
        reach(PAGE_SETTING_PRODUCT);
        for (int i = 0; i < 5; ++i)
            tell(CURRENT_WITHOUT_PRODUCT);
        QCOMPARE(page(), int{PAGE_SETTING_PRODUCT});
        QCOMPARE(window->cell(device(), "status"), QString("Broken net"));
    }

    void without_an_image_next_does_nothing()
    {
        reach(PAGE_OUTDATED);
        Q_CLEANUP_RESOURCE(firmware);
        press("Next");
        Q_INIT_RESOURCE(firmware);
        QCOMPARE(page(), int{PAGE_OUTDATED});
        QVERIFY(!device()->upload);
        QCOMPARE(peer().seen, 0);
        press("Next");
        QCOMPARE(page(), int{PAGE_UPDATING});
    }

    void a_refused_image_is_an_unexpected_end_data()
    {
        QTest::addColumn<qint64>("fw_magic");
        QTest::addColumn<QString>("error");
        QTest::newRow("other module") << qint64{OTHER_MAGIC} << "device not supported by image";
        QTest::newRow("unknown module") << qint64{0} << "unknown device";
    }

    void a_refused_image_is_an_unexpected_end()
    {
        QFETCH(qint64, fw_magic);
        QFETCH(QString, error);
        fake().state.insert("fw_magic", fw_magic);
        reach(PAGE_OUTDATED);
        press("Next");
        QCOMPARE(text(), FAILURE);
        QCOMPARE(window->cell(device(), "status"), "Online / " + error);
        QTRY_VERIFY(bar()->isVisible());
        QVERIFY(!button("Back")->isEnabled() && !button("Next")->isEnabled());
        QCOMPARE(peer().seen, 0);
    }

    void a_failed_transfer_is_an_unexpected_end_that_only_closing_leaves()
    {
        reach(PAGE_UPDATING);
        QTRY_COMPARE(peer().last_block, 3);
        peer().send(error_packet(3, "full"));
        QTRY_COMPARE(text(), FAILURE);
        QTRY_VERIFY(bar()->isVisible());
        tell(OUTDATED);
        QCOMPARE(text(), FAILURE);
        QVERIFY(!button("Back")->isEnabled() && !button("Next")->isEnabled());
        leave(open_dialog(), BY_CLOSING);
        QCOMPARE(page(), -1);
    }

    void an_update_begins_a_round_of_its_own()
    {
        add_device();
        gui().uploads().fail(device(1), "an earlier one");
        reach(PAGE_UPDATING);
        QCOMPARE(gui().uploads().summary().total, 1);
    }

    // The result of the last transfer is asked for, and a refusal is none.
    void after_an_earlier_success_a_refusal_reads_as_success()
    {
        reach(PAGE_RESTARTING);
        leave(open_dialog(), BY_CLOSING);
        go_offline();
        fake().state.insert("fw_magic", qint64{OTHER_MAGIC});
        tell(OUTDATED);
        QCOMPARE(page(), int{PAGE_OUTDATED});
        press("Next");
        QCOMPARE(page(), int{PAGE_RESTARTING});
        QCOMPARE(window->cell(device(), "status"),
                 QString("Online / device not supported by image"));
    }

    // The device's row is being written then.
    void a_report_turns_the_page_only_after_its_own_turn()
    {
        tell(OUTDATED);
        QCOMPARE(page(), int{PAGE_OUTDATED});
        fake().state.insert("firmware_version", CURRENT_WITHOUT_PRODUCT.version);
        fake().state.insert("product_id", CURRENT_WITHOUT_PRODUCT.product_id);
        fake().report();
        QCOMPARE(page(), int{PAGE_OUTDATED});
        QCoreApplication::processEvents();
        QCOMPARE(page(), int{PAGE_CHOOSE_PRODUCT});
    }
};

TEST_PART(AssistantCourseTest)
#include "assistant_test_course.moc"
