// The setup assistant in the real window: when it opens, what leads from page to page, how it goes.
#include "support/assistant_case.h"
#include "support/dialog_probe.h"

#include <QAbstractItemView>
#include <QDialogButtonBox>
#include <QGuiApplication>
#include <QPointer>
#include <QScreen>
#include <QWheelEvent>

#include <array>
#include <cstdlib>

namespace {

const Told CURRENT_SILENT{.product_id = QJsonValue::Undefined};
const Told CURRENT_UNKNOWN{.product_id = 9999};

// What the toolkit takes a window's frame for before it has seen one.
constexpr QSize FRAME(10 + 1, 40 + 1);

} // namespace

class AssistantTest : public AssistantCase
{
    Q_OBJECT

private slots:
    void init() { start(); }
    void cleanup() { end(); }

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

    // Each of them where the window is then, and whole on the screen.
    void it_opens_in_the_middle_of_its_window()
    {
        add_device();
        const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
        gui().resize(0, 500); // as narrow as it can be
        const std::array places{QPoint(20, 30), QPoint(60, 200), screen.bottomRight() / 2};
        for (size_t i = 0; i < places.size(); ++i) {
            gui().widget().move(places[i]);
            const int number = static_cast<int>(i % 2);
            tell(OUTDATED, number);
            const QRect opened = open_dialog().geometry();
            QVERIFY(screen.contains(opened));
            QPoint middle = gui().widget().geometry().center();
            // No nearer to the screen's edges than it fits.
            middle.setX(std::min(middle.x(), screen.right() - opened.width() / 2));
            middle.setY(std::min(middle.y(), screen.bottom() - opened.height() / 2));
            const QPoint off = opened.center() - middle;
            QVERIFY2(std::abs(off.x()) <= FRAME.width() && std::abs(off.y()) <= FRAME.height(),
                     qPrintable(QString("%1, %2").arg(off.x()).arg(off.y())));
            open_dialog().close();
            go_offline(number);
        }
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

    // A click on what was there before it, the wheel that scrolled it, and a key that came before
    // anything in it had the focus.
    void what_was_meant_for_the_window_behind_chooses_nothing_and_closes_nothing()
    {
        reach(PAGE_CHOOSE_PRODUCT);
        QVERIFY(await_active());
        QVERIFY(guard().is_on());
        const QPointer<DeppenAss> open = dialog();
        const QPointF middle = combo()->rect().center();
        QWheelEvent down(middle, combo()->mapToGlobal(middle.toPoint()), {}, {0, -120},
                         Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        const auto act = [this, &down] {
            QApplication::sendEvent(combo(), &down);
            QTest::mouseClick(combo(), Qt::LeftButton);
            const bool is_list_open = combo()->view()->isVisible();
            combo()->hidePopup();
            QTest::keyClick(&open_dialog(), Qt::Key_Escape);
            return is_list_open;
        };
        QVERIFY(!act());
        QVERIFY(open && open->isVisible());
        QCOMPARE(combo()->currentIndex(), 0);

        guard().lift();
        const QPointer<QComboBox> choice = combo();
        QVERIFY(act());
        QCOMPARE(choice->currentIndex(), 1);
        QVERIFY(!open->isVisible());
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

    // Who types for another window has not looked up yet.
    void each_key_begins_the_guarded_moment_anew()
    {
        reach(PAGE_OUTDATED);
        guard().start();
        QTest::qSleep(100); // no event passes meanwhile, so the guard stays on
        const int before = guard().rest();
        type(Qt::Key_V);
        QVERIFY(guard().rest() > before);
        QTRY_VERIFY(!guard().is_on());
        type(Qt::Key_Tab);
        QVERIFY(!guard().is_on());
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

    void the_keypads_enter_presses_the_button_that_has_the_focus()
    {
        reach(PAGE_CHOOSE_PRODUCT);
        choose(2);
        button("Next")->setFocus();
        QTest::keyClick(button("Next"), Qt::Key_Enter);
        QCOMPARE(page(), int{PAGE_CONFIRM_PRODUCT});
    }
};

WINDOW_TEST_MAIN(AssistantTest)
#include "assistant_test.moc"
