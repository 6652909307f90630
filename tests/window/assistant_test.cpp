// The setup assistant in the real window: when it opens, what leads from page to page, how it goes.
#include "firmware/assistant_rules.h"
#include "firmware/deppen_ass.h"
#include "firmware/tftp_uploader.h"
#include "gui/input_guard.h"
#include "meter/log_window.h"
#include "support/dialog_probe.h"
#include "support/image_file.h"
#include "support/panel_case.h"
#include "support/tftp_peer.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPointer>
#include <QProgressBar>

namespace {

constexpr int FIRST_ADDRESS = 11; // of 127.0.0.x
const QString FAILURE = "Something unexpected happened.";

// What a device may say of itself.
struct Told
{
    QString version = "v1.5.5.8d";
    QJsonValue product_id = 3; // undefined: nothing
};

const Told OUTDATED{.version = "1.1"};
const Told OUTDATED_WITHOUT_PRODUCT{.version = "v1.5.4.1d", .product_id = 0};
const Told CURRENT{};
const Told CURRENT_WITHOUT_PRODUCT{.product_id = 0};
const Told CURRENT_SILENT{.product_id = QJsonValue::Undefined};
const Told CURRENT_UNKNOWN{.product_id = 9999};

int page_of_text(const QString &text)
{
    if (text == FAILURE)
        return PAGE_UPDATING;
    for (int page = PAGE_OUTDATED; page <= PAGE_RESTARTING; ++page)
        if (text.left(20) == assistant_page_text(page, "").left(20))
            return page;
    return PAGE_NONE;
}

enum Leaving
{
    BY_CLOSING,
    BY_ESCAPE,
};

} // namespace

Q_DECLARE_METATYPE(Told)

class AssistantTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<PanelCase> window;
    std::vector<std::unique_ptr<Peer>> peers;

    WindowHandle &gui() { return *window->gui; }
    FakeDevice &fake(int number = 0) { return *window->devices[size_t(number)]; }
    Device *device(int number = 0) { return fake(number).record(); }
    Peer &peer(int number = 0) { return *peers[size_t(number)]; }

    // A device with a TFTP server, number 0 at 127.0.0.11, that has only said what needs no help.
    void add_device()
    {
        peers.push_back(std::make_unique<Peer>(FIRST_ADDRESS + int(peers.size())));
        FakeDevice &added = window->add({});
        added.state.insert("fw_magic", qint64{MODULE_MAGIC});
        added.report();
    }

    void tell(const Told &told, int number = 0)
    {
        fake(number).state.insert("firmware_version", told.version);
        fake(number).state.insert("product_id", told.product_id); // undefined removes
        fake(number).report();
        QCoreApplication::processEvents();
    }

    void go_offline(int number = 0)
    {
        device(number)->online = false;
        gui().update(device(number));
        QCoreApplication::processEvents();
    }

    // The open dialog, null when there is none.
    DeppenAss *dialog()
    {
        DeppenAss *open = nullptr;
        for (const auto &[id, one] : gui().all_devices())
            if (one->has_assistant)
                open = gui().assistant(one);
        return open;
    }

    DeppenAss &open_dialog()
    {
        DeppenAss *open = dialog();
        if (!open)
            qFatal("no assistant is open");
        return *open;
    }

    QString text() { return dialog() ? open_dialog().findChild<QLabel *>()->text() : "no dialog"; }
    int page() { return dialog() ? page_of_text(text()) : -1; }

    QPushButton *button(const QString &caption)
    {
        for (auto *one : open_dialog().findChildren<QPushButton *>())
            if (one->text() == caption)
                return one;
        return nullptr;
    }
    InputGuard &guard() { return *open_dialog().findChild<InputGuard *>(); }
    // As one who has read the page does.
    void press(const QString &caption)
    {
        guard().lift();
        QTest::mouseClick(button(caption), Qt::LeftButton);
    }

    QComboBox *combo() { return open_dialog().findChild<QComboBox *>(); }
    QProgressBar *bar() { return open_dialog().findChild<QProgressBar *>(); }

    // Page 3 and its product number `index`, by keys.
    void choose(int index)
    {
        guard().lift();
        combo()->setFocus();
        for (int i = 0; i < index; ++i)
            QTest::keyClick(combo(), Qt::Key_Down);
    }

    // Leads device `number` to a page as an operator would get there.
    void reach(int wanted, int number = 0)
    {
        switch (AssistantPage(wanted)) {
        case PAGE_NONE:
            break;
        case PAGE_OUTDATED:
            tell(OUTDATED, number);
            break;
        case PAGE_UPDATING:
            reach(PAGE_OUTDATED, number);
            peer(number).stop_at(3);
            press("Next");
            break;
        case PAGE_CHOOSE_PRODUCT:
            tell(CURRENT_WITHOUT_PRODUCT, number);
            break;
        case PAGE_CONFIRM_PRODUCT:
            reach(PAGE_CHOOSE_PRODUCT, number);
            choose(2);
            press("Next");
            break;
        case PAGE_SETTING_PRODUCT:
            reach(PAGE_CONFIRM_PRODUCT, number);
            press("Next");
            break;
        case PAGE_DONE:
            reach(PAGE_CHOOSE_PRODUCT, number);
            tell(CURRENT, number);
            break;
        case PAGE_OFFLINE:
            reach(PAGE_CHOOSE_PRODUCT, number);
            go_offline(number);
            break;
        case PAGE_RESTARTING:
            reach(PAGE_OUTDATED, number);
            press("Next");
            break;
        }
        QTRY_COMPARE(page(), wanted);
    }

    void press_escape(DeppenAss &open)
    {
        guard().lift();
        QTest::keyClick(&open, Qt::Key_Escape);
    }

    void leave(DeppenAss &open, int how)
    {
        if (how == BY_ESCAPE)
            press_escape(open);
        else
            open.close();
    }

    void select_row(int number)
    {
        gui().view()->selectionModel()->select(gui().model().index(gui().row_of(device(number)), 0),
                                               QItemSelectionModel::ClearAndSelect
                                                   | QItemSelectionModel::Rows);
    }

    static void every_page()
    {
        QTest::addColumn<int>("wanted");
        for (int page = PAGE_OUTDATED; page <= PAGE_RESTARTING; ++page)
            QTest::addRow("page %d", page) << page;
    }

    static void every_page_and_way_out()
    {
        QTest::addColumn<int>("wanted");
        QTest::addColumn<int>("how");
        for (int page = PAGE_OUTDATED; page <= PAGE_RESTARTING; ++page) {
            QTest::addRow("page %d, closed", page) << page << int{BY_CLOSING};
            QTest::addRow("page %d, Escape", page) << page << int{BY_ESCAPE};
        }
    }

private slots:
    void init()
    {
        window = std::make_unique<PanelCase>();
        add_device();
    }
    void cleanup()
    {
        window.reset();
        peers.clear();
    }

    void it_opens_by_itself_for_who_needs_it_data()
    {
        QTest::addColumn<Told>("told");
        QTest::addColumn<int>("expected");
        QTest::newRow("1.1") << OUTDATED << int{PAGE_OUTDATED};
        QTest::newRow("v1.5.4.1d without product")
            << OUTDATED_WITHOUT_PRODUCT << int{PAGE_OUTDATED};
        QTest::newRow("1.1 and silent about its product")
            << Told{.version = "1.1", .product_id = QJsonValue::Undefined} << int{PAGE_OUTDATED};
        QTest::newRow("no product") << CURRENT_WITHOUT_PRODUCT << int{PAGE_CHOOSE_PRODUCT};
        QTest::newRow("all well") << CURRENT << -1;
        QTest::newRow("silent about its product") << CURRENT_SILENT << -1;
        QTest::newRow("unknown product") << CURRENT_UNKNOWN << -1;
        QTest::newRow("another old version") << Told{.version = "1.0"} << -1;
        QTest::newRow("another spelling") << Told{.version = "V1.5.4.1d"} << -1;
    }
    void it_opens_by_itself_for_who_needs_it()
    {
        QFETCH(Told, told);
        QFETCH(int, expected);
        tell(told);
        QCOMPARE(page(), expected);
        if (expected < 0)
            return;
        QVERIFY(open_dialog().isVisible());
        QCOMPARE(QApplication::activeModalWidget(), dialog());
    }

    void it_does_not_open_for_a_device_that_is_offline()
    {
        fake().state.insert("product_id", 0);
        go_offline();
        gui().report(fake().address, fake().state, false, "lo");
        QCOMPARE(page(), -1);
    }

    void it_is_a_small_modal_dialog_without_a_title()
    {
        tell(OUTDATED);
        QVERIFY(open_dialog().isModal());
        QVERIFY(open_dialog().parent() == &gui().widget());
        QCOMPARE(open_dialog().size(), QSize(400, 200));
        QCOMPARE(open_dialog().windowTitle(), QString());
        QVERIFY(open_dialog().findChild<QLabel *>()->wordWrap());
        auto *buttons = open_dialog().findChild<QDialogButtonBox *>();
        QCOMPARE(buttons->buttons().size(), 2);
        for (const char *caption : {"Back", "Next"})
            QCOMPARE(buttons->buttonRole(button(caption)), QDialogButtonBox::ActionRole);
        QVERIFY(button("Back")->x() < button("Next")->x());
        QCOMPARE(gui().assistant(device()), &open_dialog());
    }

    void every_page_shows_its_text_buttons_and_widget_data()
    {
        QTest::addColumn<int>("wanted");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<QString>("buttons");
        QTest::newRow("outdated")
            << 1
            << "A device with outdated firmware was detected. It must be updated to make it work "
               "with this software. Be sure that there is no other similar device with old "
               "firmware connected to the network."
            << "Next";
        QTest::newRow("updating") << 2 << "Updating..."
                                  << "";
        QTest::newRow("choose") << 3 << "You must choose the product type."
                                << "Next";
        QTest::newRow("confirm") << 4
                                 << "You chose to set the product to <b>%1</b>. "
                                    "<b>This cannot be undone!</b>"
                                 << "BackNext";
        QTest::newRow("setting") << 5 << "Setting product type..."
                                 << "";
        QTest::newRow("done") << 6
                              << "The device has been setup. The 'Next' button closes the window."
                              << "Next";
        QTest::newRow("offline")
            << 7
            << "Device unexpectedly went offline. Be sure that there is no other device with old "
               "firmware connected to the network."
            << "";
        QTest::newRow("restarting") << 8 << "Finished, waiting for restart..."
                                    << "";
    }
    void every_page_shows_its_text_buttons_and_widget()
    {
        QFETCH(int, wanted);
        QFETCH(QString, expected);
        QFETCH(QString, buttons);
        reach(wanted);
        const QString product
            = QString::fromStdString(assistant_products(catalogue().product_table)[2].label);
        QCOMPARE(text(), wanted == PAGE_CONFIRM_PRODUCT ? expected.arg(product) : expected);
        QString enabled;
        for (const char *caption : {"Back", "Next"})
            if (button(caption)->isEnabled())
                enabled += caption;
        QCOMPARE(enabled, buttons);
        QTRY_COMPARE(combo() != nullptr, wanted == PAGE_CHOOSE_PRODUCT);
        QTRY_COMPARE(bar() != nullptr, wanted == PAGE_UPDATING);
    }

    // Rows say what happens, columns the page it happens on.
    void what_a_report_leads_to_data()
    {
        QTest::addColumn<QString>("event");
        QTest::addColumn<int>("from");
        QTest::addColumn<int>("expected");
        const std::vector<std::pair<QString, std::vector<int>>> table = {
            {"offline", {7, 7, 7, 7, 7, 7, 7, 8}},
            {"outdated", {1, 2, 1, 1, 1, 1, 1, 8}},
            {"outdated without product", {1, 2, 1, 1, 1, 1, 1, 8}},
            {"current", {6, 6, 6, 6, 6, 6, 6, 6}},
            {"current, unknown product", {6, 6, 6, 6, 6, 6, 6, 6}},
            {"current without product", {3, 3, 3, 4, 5, 3, 3, 3}},
            {"current, silent", {3, 3, 3, 4, 5, 3, 3, 3}},
        };
        for (const auto &[event, pages] : table)
            for (int from = PAGE_OUTDATED; from <= PAGE_RESTARTING; ++from)
                QTest::addRow("%s on page %d", qPrintable(event), from)
                    << event << from << pages[size_t(from) - 1];
    }
    void what_a_report_leads_to()
    {
        QFETCH(QString, event);
        QFETCH(int, from);
        QFETCH(int, expected);
        const std::map<QString, Told> reports
            = {{"outdated", OUTDATED},
               {"outdated without product", OUTDATED_WITHOUT_PRODUCT},
               {"current", CURRENT},
               {"current, unknown product", CURRENT_UNKNOWN},
               {"current without product", CURRENT_WITHOUT_PRODUCT},
               {"current, silent", CURRENT_SILENT}};
        reach(from);
        if (event == "offline")
            go_offline();
        else
            tell(reports.at(event));
        QCOMPARE(page(), expected);
        // And it stays there with the same news.
        gui().update(device());
        QCoreApplication::processEvents();
        QCOMPARE(page(), expected);
    }

    void the_first_page_follows_the_devices_state_data()
    {
        QTest::addColumn<Told>("told");
        QTest::addColumn<bool>("online");
        QTest::addColumn<int>("expected");
        QTest::newRow("offline") << CURRENT << false << 7;
        QTest::newRow("outdated") << OUTDATED << true << 1;
        QTest::newRow("current") << CURRENT << true << 6;
        QTest::newRow("without product") << CURRENT_WITHOUT_PRODUCT << true << 3;
    }
    void the_first_page_follows_the_devices_state()
    {
        QFETCH(Told, told);
        QFETCH(bool, online);
        QFETCH(int, expected);
        device()->assistant_dismissed = true; // none opens by itself
        tell(told);
        device()->online = online;
        DeppenAss *made = gui().make_assistant(device());
        made->show();
        QCOMPARE(page(), expected);
    }

    void a_device_may_vanish_and_return_on_each_page_data() { every_page(); }
    void a_device_may_vanish_and_return_on_each_page()
    {
        QFETCH(int, wanted);
        reach(wanted);
        go_offline();
        QCOMPARE(page(), wanted == PAGE_RESTARTING ? 8 : 7);
        fake().report();
        QCoreApplication::processEvents();
        const bool is_outdated = wanted == PAGE_OUTDATED || wanted == PAGE_UPDATING;
        const int expected = wanted == PAGE_RESTARTING ? 8
            : is_outdated                              ? 1
            : wanted == PAGE_DONE                      ? 6
                                                       : 3;
        QCOMPARE(page(), expected);
    }

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
        probe.answer = [this](QDialog *open) {
            if (!qobject_cast<QMessageBox *>(open))
                return;
            go_offline();
            open_dialog().close();
            select_row(0);
            gui().delete_selected();
            open->reject();
        };
        press("Next");
        QCOMPARE(probe.texts.size(), 1);
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

    // Keys as they come from a keyboard: to whatever has the focus.
    static void type(Qt::Key key)
    {
        QWidget *target = QApplication::focusWidget();
        QTest::keyClick(target ? target : QApplication::activeWindow(), key);
    }
    bool await_active() { return QTest::qWaitForWindowActive(&open_dialog()); }
    bool a_button_is_ready()
    {
        for (const auto *one : open_dialog().findChildren<QPushButton *>())
            if (one->hasFocus() || one->isDefault() || one->autoDefault())
                return true;
        return false;
    }

    void no_button_has_the_focus_or_is_default_on_any_page_data() { every_page(); }
    void no_button_has_the_focus_or_is_default_on_any_page()
    {
        QFETCH(int, wanted);
        reach(wanted);
        QVERIFY(await_active());
        QVERIFY(!a_button_is_ready());
        guard().lift();
        const QString before = text();
        for (const Qt::Key key : {Qt::Key_Space, Qt::Key_Return, Qt::Key_Enter, Qt::Key_X})
            type(key);
        QCoreApplication::processEvents();
        QCOMPARE(text(), before);
        QCOMPARE(page(), wanted);
    }

    void what_is_typed_as_it_opens_presses_nothing_data()
    {
        QTest::addColumn<int>("wanted");
        for (const int page : {PAGE_OUTDATED, PAGE_CHOOSE_PRODUCT, PAGE_DONE})
            QTest::addRow("page %d", page) << page;
    }
    void what_is_typed_as_it_opens_presses_nothing()
    {
        QFETCH(int, wanted);
        tell(wanted == PAGE_OUTDATED ? OUTDATED : CURRENT_WITHOUT_PRODUCT);
        if (wanted == PAGE_DONE)
            tell(CURRENT);
        QVERIFY(await_active());
        QVERIFY(guard().is_on());
        const QPointer<DeppenAss> open = dialog();
        for (const Qt::Key key : {Qt::Key_Space, Qt::Key_Tab, Qt::Key_V, Qt::Key_O, Qt::Key_Tab,
                                  Qt::Key_Space, Qt::Key_Space, Qt::Key_Return, Qt::Key_Escape})
            type(key);
        QTest::mouseClick(button("Next"), Qt::LeftButton);
        QTest::mouseDClick(button("Next"), Qt::LeftButton);
        QCoreApplication::processEvents();
        QVERIFY(open && open->isVisible());
        QCOMPARE(page(), wanted);
        QVERIFY(!device()->upload);
        QVERIFY(fake().commands().isEmpty());
        if (combo())
            QCOMPARE(combo()->currentIndex(), 0);

        // Afterwards it does what it is told to.
        QTRY_VERIFY(!guard().is_on());
        const int tabs = wanted == PAGE_CHOOSE_PRODUCT ? 2 : 1;
        for (int i = 0; i < tabs; ++i)
            type(Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), button("Next"));
        DialogProbe probe; // "You need to select a product."
        type(Qt::Key_Space);
        QVERIFY(page() != wanted || !probe.texts.isEmpty());
    }

    void the_irreversible_page_takes_nothing_at_first()
    {
        reach(PAGE_CHOOSE_PRODUCT);
        choose(2);
        button("Next")->setFocus();
        type(Qt::Key_Space);
        QCOMPARE(page(), int{PAGE_CONFIRM_PRODUCT});
        QVERIFY(guard().is_on());
        QVERIFY(!a_button_is_ready());
        // The rest of a hasty double click, of a held key, and of what was typed ahead.
        QTest::mouseClick(button("Next"), Qt::LeftButton);
        for (const Qt::Key key : {Qt::Key_Space, Qt::Key_Tab, Qt::Key_Tab, Qt::Key_Space,
                                  Qt::Key_Return, Qt::Key_Escape})
            type(key);
        QCOMPARE(page(), int{PAGE_CONFIRM_PRODUCT});
        QVERIFY(fake().commands().isEmpty());
        QTRY_VERIFY(!guard().is_on());
        QVERIFY(!a_button_is_ready());
        type(Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), button("Back"));
        type(Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), button("Next"));
        type(Qt::Key_Return);
        QCOMPARE(page(), int{PAGE_SETTING_PRODUCT});
        QTRY_COMPARE(fake().commands().size(), 1);
    }

    void the_guard_lasts_seven_tenths_of_a_second()
    {
        reach(PAGE_OUTDATED);
        QCOMPARE(InputGuard::DURATION, 700);
        // Begun anew, as the way to this page may have taken longer than that on a busy computer.
        guard().start();
        // The toolkit's timers are 5 % early or late.
        QVERIFY(guard().rest() > 0 && guard().rest() <= 735);
    }

    // A technician types into the panel when a device from the factory joins.
    void what_is_typed_in_the_panel_goes_on_harming_nobody()
    {
        add_device();
        select_row(1);
        gui().set_edit_mode(true);
        auto *location = gui().widget().findChild<QLineEdit *>();
        QVERIFY(location);
        QApplication::setActiveWindow(&gui().widget());
        location->setFocus();
        tell(CURRENT_WITHOUT_PRODUCT);
        QVERIFY(await_active());
        for (const Qt::Key key : {Qt::Key_Tab, Qt::Key_V, Qt::Key_O, Qt::Key_I, Qt::Key_C,
                                  Qt::Key_E, Qt::Key_Tab, Qt::Key_Space, Qt::Key_Space})
            type(key);
        QCOMPARE(page(), int{PAGE_CHOOSE_PRODUCT});
        QCOMPARE(combo()->currentIndex(), 0);
        QVERIFY(fake().commands().isEmpty());
        QVERIFY(gui().is_editing());
    }

    void it_tells_which_device_it_means()
    {
        reach(PAGE_CHOOSE_PRODUCT);
        const QString id = device()->device_id;
        for (const QWidget *widget :
             {static_cast<QWidget *>(dialog()),
              static_cast<QWidget *>(open_dialog().findChild<QLabel *>())}) {
            QVERIFY2(widget->accessibleDescription().contains("127.0.0.11"),
                     qPrintable(widget->accessibleDescription()));
            QVERIFY(widget->accessibleDescription().contains(id));
            QVERIFY(widget->toolTip().contains("127.0.0.11"));
            QVERIFY(widget->toolTip().contains(id));
        }
        QCOMPARE(text(), QString("You must choose the product type."));
        // A device that moves is followed, and none chooses how its id is shown.
        device()->address = QHostAddress("127.0.0.99");
        device()->device_id = "<b>x</b>";
        gui().update(device());
        QTRY_VERIFY(open_dialog().toolTip().contains("127.0.0.99"));
        QVERIFY(open_dialog().toolTip().contains("&lt;b&gt;"));
        device()->device_id = id;
    }

    void products_are_shown_with_their_pictures()
    {
        reach(PAGE_CHOOSE_PRODUCT);
        QVERIFY(combo()->itemIcon(0).isNull());
        for (int i = 1; i < combo()->count(); ++i) {
            const ProductDesc &product = find_product(combo()->itemData(i).toInt());
            QVERIFY2(!combo()->itemIcon(i).isNull(), qPrintable(combo()->itemText(i)));
            const QIcon expected(QString::fromStdString(product.icon));
            QCOMPARE(combo()->itemIcon(i).pixmap(32).toImage(), expected.pixmap(32).toImage());
        }
        QCOMPARE(combo()->iconSize(), QSize(32, 32));
    }

    void next_can_be_pressed_by_keys_alone()
    {
        reach(PAGE_CHOOSE_PRODUCT);
        choose(2);
        button("Next")->setFocus();
        QTest::keyClick(button("Next"), Qt::Key_Space);
        QCOMPARE(page(), int{PAGE_CONFIRM_PRODUCT});
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
        peer().send(QByteArray("\0\5\0\3full\0", 9));
        QTRY_COMPARE(text(), FAILURE);
        QTRY_VERIFY(bar()->isVisible());
        tell(OUTDATED);
        QCOMPARE(text(), FAILURE);
        QVERIFY(!button("Back")->isEnabled() && !button("Next")->isEnabled());
        leave(open_dialog(), BY_CLOSING);
        QCOMPARE(page(), -1);
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

    void leaving_frees_the_device_on_each_page_data() { every_page_and_way_out(); }
    void leaving_frees_the_device_on_each_page()
    {
        QFETCH(int, wanted);
        QFETCH(int, how);
        add_device();
        reach(wanted);
        const QPointer<DeppenAss> left = dialog();
        tell(CURRENT_WITHOUT_PRODUCT, 1); // has to wait for its turn
        QCOMPARE(dialog(), left.data());
        emit left->update_props(); // on its way while the dialog goes
        leave(*left, how);
        QVERIFY(!left->isVisible());
        QVERIFY(!device()->has_assistant);
        QVERIFY(device()->assistant_dismissed);

        fake(1).report();
        QVERIFY(device(1)->has_assistant);
        select_row(0);
        gui().delete_selected();
        QCOMPARE(gui().all_devices().size(), size_t(1));
        emit left->update_props();
        QCoreApplication::processEvents();
        QVERIFY(!left.isNull());        // stays with the window
        QVERIFY(!left->windowHandle()); // but not what it was drawn on
        left->close();
        left->refresh();
        left->on_next();
        left->on_back();
        left->update_progress();
        QVERIFY(device(1)->has_assistant);
    }

    void a_closed_assistant_comes_back_only_after_the_device_was_offline_data()
    {
        QTest::addColumn<int>("how");
        QTest::newRow("closed") << int{BY_CLOSING};
        QTest::newRow("Escape") << int{BY_ESCAPE};
    }
    void a_closed_assistant_comes_back_only_after_the_device_was_offline()
    {
        QFETCH(int, how);
        reach(PAGE_SETTING_PRODUCT);
        leave(open_dialog(), how);
        QTRY_COMPARE(fake().commands().size(), 1);
        for (int i = 0; i < 3; ++i)
            tell(CURRENT_WITHOUT_PRODUCT);
        QCOMPARE(page(), -1);
        go_offline();
        QVERIFY(!device()->assistant_dismissed);
        tell(CURRENT_WITHOUT_PRODUCT);
        QCOMPARE(page(), int{PAGE_CHOOSE_PRODUCT});
    }

    void a_transfer_goes_on_after_the_assistant_was_closed()
    {
        reach(PAGE_UPDATING);
        QTRY_COMPARE(peer().last_block, 3);
        leave(open_dialog(), BY_CLOSING);
        peer().stop_at(5000);
        peer().send(ack(3));
        QTRY_VERIFY(device()->upload_ok);
        QCOMPARE(peer().stored, stand_in_image());
    }

    void of_two_devices_the_second_waits_for_its_turn()
    {
        add_device();
        tell(OUTDATED, 1);
        tell(OUTDATED, 0);
        tell(OUTDATED, 1);
        QVERIFY(!device(0)->has_assistant);
        QVERIFY(device(1)->has_assistant);
        QCOMPARE(gui().widget().findChildren<DeppenAss *>().size(), 1);
        leave(open_dialog(), BY_CLOSING);
        QCOMPARE(page(), -1);
        fake(1).report(); // has had its turn
        QCOMPARE(page(), -1);
        fake(0).report();
        QVERIFY(device(0)->has_assistant);
        QVERIFY(!device(1)->has_assistant);
        press("Next");
        QTRY_COMPARE(page(), int{PAGE_RESTARTING});
        QCOMPARE(peer(0).stored, stand_in_image());
        QCOMPARE(peer(1).seen, 0);
    }

    void a_device_with_an_open_assistant_can_not_be_deleted_data() { every_page(); }
    void a_device_with_an_open_assistant_can_not_be_deleted()
    {
        QFETCH(int, wanted);
        add_device();
        reach(wanted);
        gui().view()->selectAll();
        gui().delete_selected();
        QCOMPARE(gui().all_devices().size(), size_t(1));
        QVERIFY(dialog());
        QCOMPARE(page(), wanted);
    }

    // The toolkit closes every window a second time when the program quits.
    void the_main_window_may_close_under_each_page_data() { every_page(); }
    void the_main_window_may_close_under_each_page()
    {
        QFETCH(int, wanted);
        reach(wanted);
        const QPointer<DeppenAss> open = dialog();
        emit open->update_props();
        gui().close();
        QVERIFY(gui().all_devices().empty());
        QVERIFY(!open->isVisible());
        QCoreApplication::processEvents();
        QApplication::closeAllWindows();
        QTest::keyClick(open.data(), Qt::Key_Escape);
        QCoreApplication::processEvents();
    }

    void quitting_with_an_assistant_a_transfer_and_a_log_is_clean()
    {
        add_device();
        gui().open_log(device(1));
        reach(PAGE_UPDATING);
        QTimer::singleShot(0, &gui().widget(), &QWidget::close);
        QTimer::singleShot(20, qApp, &QApplication::closeAllWindows);
        QTimer::singleShot(40, qApp, &QCoreApplication::quit);
        QApplication::exec();
        QVERIFY(gui().all_devices().empty());
    }

    void a_window_destroyed_with_an_open_assistant_is_clean()
    {
        reach(PAGE_UPDATING);
        window->gui.reset();
    }
};

WINDOW_TEST_MAIN(AssistantTest)
#include "assistant_test.moc"
