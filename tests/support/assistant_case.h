// A window with devices that need help, and the setup assistant as an operator uses it.
#pragma once

#include "firmware/assistant_rules.h"
#include "firmware/deppen_ass.h"
#include "gui/input_guard.h"
#include "support/image_file.h"
#include "support/panel_case.h"
#include "support/tftp_peer.h"

#include <QComboBox>
#include <QProgressBar>

constexpr int FIRST_ADDRESS = 11; // of 127.0.0.x
inline const QString FAILURE = "Something unexpected happened.";

// What a device may say of itself.
struct Told
{
    QString version = "v1.5.5.8d";
    QJsonValue product_id = 3; // undefined: nothing
};

inline const Told OUTDATED{.version = "1.1"};
inline const Told OUTDATED_WITHOUT_PRODUCT{.version = "v1.5.4.1d", .product_id = 0};
inline const Told CURRENT{};
inline const Told CURRENT_WITHOUT_PRODUCT{.product_id = 0};

inline int page_of_text(const QString &text)
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

Q_DECLARE_METATYPE(Told)

class AssistantCase : public QObject
{
protected:
    std::unique_ptr<PanelCase> window;
    std::vector<std::unique_ptr<Peer>> peers;

    WindowHandle &gui() { return *window->gui; }
    FakeDevice &fake(int number = 0) { return *window->devices[size_t(number)]; }
    Device *device(int number = 0) { return fake(number).record(); }
    Peer &peer(int number = 0) { return *peers[size_t(number)]; }

    void start()
    {
        window = std::make_unique<PanelCase>();
        add_device();
    }
    void end()
    {
        window.reset();
        peers.clear();
    }

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
        QTRY_COMPARE_WITH_TIMEOUT(page(), wanted, 20000); // a busy computer took six seconds
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
};
