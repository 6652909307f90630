// The setup assistant's pages: texts and buttons, every transition, and when the assistant opens.
#include "firmware/assistant_rules.h"
#include "model/device.h"

#include <QtTest>

namespace {

// The pages that a refresh in one situation leads to, by the page before (0 to 8).
QList<int> pages_after(bool online, bool is_outdated, int found_product_id)
{
    QList<int> pages;
    for (int page = PAGE_NONE; page <= PAGE_RESTARTING; ++page)
        pages.append(next_assistant_page(page, online, is_outdated, found_product_id));
    return pages;
}

} // namespace

class assistant_rules_test : public QObject
{
    Q_OBJECT

private slots:
    void every_page_has_its_buttons_data()
    {
        QTest::addColumn<int>("page");
        QTest::addColumn<bool>("has_back");
        QTest::addColumn<bool>("has_next");
        QTest::addColumn<QString>("start");
        QTest::newRow("none") << 0 << false << false << "";
        QTest::newRow("outdated") << 1 << false << true << "A device with outdated firmware";
        QTest::newRow("updating") << 2 << false << false << "Updating...";
        QTest::newRow("choose") << 3 << false << true << "You must choose the product type.";
        QTest::newRow("confirm") << 4 << true << true
                                 << "You chose to set the product to <b>VELMARK R2 dp</b>. "
                                    "<b>This cannot be undone!</b>";
        QTest::newRow("setting") << 5 << false << false << "Setting product type...";
        QTest::newRow("done") << 6 << false << true << "The device has been setup. The 'Next'";
        QTest::newRow("offline") << 7 << false << false << "Device unexpectedly went offline.";
        QTest::newRow("restarting") << 8 << false << false << "Finished, waiting for restart...";
    }
    void every_page_has_its_buttons()
    {
        QFETCH(int, page);
        QFETCH(bool, has_back);
        QFETCH(bool, has_next);
        QFETCH(QString, start);
        const AssistantPageDesc &desc = assistant_page(page);
        QCOMPARE(int{desc.page}, page);
        QCOMPARE(desc.has_back, has_back);
        QCOMPARE(desc.has_next, has_next);
        const QString text = assistant_page_text(page, "VELMARK R2 dp");
        QCOMPARE(text.left(start.size()), start);
        QCOMPARE(text.isEmpty(), start.isEmpty());
    }

    void only_the_confirmation_puts_the_product_into_its_text()
    {
        for (int page = PAGE_NONE; page <= PAGE_RESTARTING; ++page)
            QCOMPARE(assistant_page_text(page, "100 %1").contains("100 %1"),
                     page == PAGE_CONFIRM_PRODUCT);
    }

    void offline_leads_to_page_7_but_for_a_restart()
    {
        QCOMPARE(pages_after(false, true, 0), (QList<int>{7, 7, 7, 7, 7, 7, 7, 7, 8}));
        QCOMPARE(pages_after(false, true, 11), (QList<int>{7, 7, 7, 7, 7, 7, 7, 7, 8}));
    }

    void outdated_leads_to_page_1_but_for_a_running_update()
    {
        QCOMPARE(pages_after(true, true, 0), (QList<int>{1, 1, 2, 1, 1, 1, 1, 1, 8}));
        QCOMPARE(pages_after(true, true, 11), (QList<int>{1, 1, 2, 1, 1, 1, 1, 1, 8}));
    }

    void a_product_leads_to_page_6()
    {
        QCOMPARE(pages_after(true, false, 11), (QList<int>{6, 6, 6, 6, 6, 6, 6, 6, 6}));
    }

    // find_product gives the first row for an unknown number, and that row's number is not 0.
    void an_unknown_product_leads_to_page_6()
    {
        QCOMPARE(next_assistant_page(PAGE_RESTARTING, true, false, -2147483647), int{PAGE_DONE});
    }

    void no_product_leads_to_page_3_but_for_a_choice_under_way()
    {
        QCOMPARE(pages_after(true, false, 0), (QList<int>{3, 3, 3, 3, 4, 5, 3, 3, 3}));
    }

    void the_assistant_is_wanted_data()
    {
        QTest::addColumn<bool>("is_outdated");
        QTest::addColumn<QVariant>("product_id");
        QTest::addColumn<bool>("is_wanted");
        QTest::newRow("outdated, silent") << true << QVariant() << true;
        QTest::newRow("outdated, product") << true << QVariant(11) << true;
        QTest::newRow("no product") << false << QVariant(0) << true;
        QTest::newRow("no product, 64 bits") << false << QVariant(qlonglong{0}) << true;
        QTest::newRow("silent") << false << QVariant() << false;
        QTest::newRow("product") << false << QVariant(11) << false;
        QTest::newRow("unknown product") << false << QVariant(9999) << false;
    }
    void the_assistant_is_wanted()
    {
        QFETCH(bool, is_outdated);
        QFETCH(QVariant, product_id);
        QFETCH(bool, is_wanted);
        QCOMPARE(wants_assistant(is_outdated, product_id), is_wanted);
    }

    void the_assistant_opens_once_and_only_online()
    {
        Device device;
        device.values["product_id"] = 0;
        QVERIFY(!opens_assistant(device, false, false));
        device.online = true;
        QVERIFY(opens_assistant(device, false, false));
        QVERIFY(!opens_assistant(device, false, true));
        device.assistant_dismissed = true;
        QVERIFY(!opens_assistant(device, false, false));
    }

    void the_choice_starts_with_nothing_chosen_and_leaves_out_the_unknown_product()
    {
        const std::vector<ProductDesc> catalogue = {{.product_id = -5, .name = "B"},
                                                    {.product_id = 0, .name = "<unknown>"},
                                                    {.product_id = 11, .name = "A"}};
        const std::vector<PropertyChoice> choices = assistant_products(catalogue);
        QCOMPARE(choices.size(), size_t{3});
        QCOMPARE(choices[0].label, std::string("<Select here>"));
        QCOMPARE(choices[0].value, QVariant(0));
        QCOMPARE(choices[1].label, std::string("B"));
        QCOMPARE(choices[2].value, QVariant(11));
    }

    void the_command_sets_the_product()
    {
        const QJsonObject expected{{"command", "set_params"}, {"seq", 1}, {"product_id", 11}};
        QCOMPARE(set_product_command(11), expected);
    }
};

QTEST_GUILESS_MAIN(assistant_rules_test)
#include "assistant_rules_test.moc"
