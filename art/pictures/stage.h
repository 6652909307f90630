// The real window with the loudspeakers of a fleet file, and what pictures of it need.
#pragma once

#include "firmware/deppen_ass.h"
#include "gui/input_guard.h"
#include "gui/value_spinner.h"
#include "support/dialog_probe.h"
#include "support/fleet_window.h"

#include <QAction>
#include <QComboBox>
#include <QGuiApplication>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QScreen>
#include <QSplitter>

// A step towards a picture did not come about: ends the program.
inline void expect(bool is_so, const char *what)
{
    if (!is_so)
        qFatal("did not happen: %s", what);
}

struct Stage
{
    SimulatedFleet fleet;
    FleetWindow window{fleet};
    WindowHandle &gui = *window.gui;
    QPixmap picture = {};

    // The file is one of docs/guide. The window has its size before a device is heard: an assistant
    // that opens by itself stands in its middle.
    explicit Stage(const QString &fleet_file, bool is_maximised = false)
        : fleet({"--fleet", GUIDE_FOLDER "/" + fleet_file}, "speakers")
    {
        gui.resize(1500, 720);
        gui.property_splitter()->setSizes({985, 500});
        if (is_maximised)
            maximise();
        expect(runs_until([this] { return window.online_count() == fleet.count; }), "online");
        settle();
    }

    void maximise()
    {
        gui.discovery_timer().stop();
        gui.widget().showMaximized();
        const int wanted = QGuiApplication::primaryScreen()->availableGeometry().width();
        expect(runs_until([this, wanted] { return gui.widget().width() >= wanted; }),
               "the largest window");
        gui.discovery_timer().start(0);
    }

    // Time for the window manager, the last paint and a few rounds of levels.
    static void settle(int ms = 700)
    {
        QElapsedTimer elapsed;
        elapsed.start();
        runs_until([&elapsed, ms] { return elapsed.hasExpired(ms); });
    }

    // What the screen shows of a rectangle, frames and all that lies over it included.
    static QPixmap screen(const QRect &area)
    {
        return QGuiApplication::primaryScreen()->grabWindow(0, area.x(), area.y(), area.width(),
                                                            area.height());
    }

    void take(const QWidget *widget)
    {
        if (widget->isWindow())
            expect(runs_until([widget] { return widget->frameGeometry() != widget->geometry(); }),
                   "the window manager's frame");
        settle();
        const QRect area = widget->isWindow()
            ? widget->frameGeometry()
            : QRect(widget->mapToGlobal(QPoint(0, 0)), widget->size());
        picture = screen(area);
    }

    Device *device(const QString &name)
    {
        for (const auto &[id, device] : gui.all_devices())
            if (device->values["ui/name"].toString() == name)
                return device;
        qFatal("no device %s", qPrintable(name));
    }

    // Clicks the rows of these names, holding Ctrl after the first.
    void select(const QStringList &names)
    {
        Qt::KeyboardModifiers modifiers = Qt::NoModifier;
        for (const QString &name : names) {
            const QModelIndex index
                = gui.model().index(gui.row_of(device(name)), window.column("ui/name"));
            gui.view()->scrollTo(index);
            QTest::mouseClick(gui.view()->viewport(), Qt::LeftButton, modifiers,
                              gui.view()->visualRect(index).center());
            modifiers = Qt::ControlModifier;
        }
        settle(200);
    }

    void press(QWidget *button) { QTest::mouseClick(button, Qt::LeftButton); }

    // Chooses the image in the dialog that "Update" opens.
    void update_from_image()
    {
        DialogProbe probe;
        probe.choose_file(STAND_IN_IMAGE);
        press(row("firmware_version").button);
    }

    // The first assistant that opens by itself.
    DeppenAss *await_assistant()
    {
        DeppenAss *assistant = nullptr;
        expect(runs_until([this, &assistant] {
                   for (const auto &[id, device] : gui.all_devices())
                       assistant = device->has_assistant ? gui.assistant(device) : assistant;
                   return assistant != nullptr;
               }),
               "the assistant");
        return assistant;
    }

    // The assistant takes no click in its first moment, which is over here.
    static void press_next(DeppenAss *assistant)
    {
        assistant->findChild<InputGuard *>()->lift();
        for (auto *button : assistant->findChildren<QPushButton *>())
            if (button->text() == "Next")
                QTest::mouseClick(button, Qt::LeftButton);
    }

    static QComboBox *await_product_choice(DeppenAss *assistant)
    {
        press_next(assistant);
        expect(runs_until([assistant] { return assistant->findChild<QComboBox *>(); }),
               "the choice of the product");
        return assistant->findChild<QComboBox *>();
    }

    // As by the list head's menu, which learns what shows only when it opens.
    void show_column(const QString &caption, bool shown = true)
    {
        QAction *action
            = gui.column_actions()[static_cast<size_t>(gui.column_names().indexOf(caption))];
        action->setChecked(!shown);
        action->setChecked(shown);
    }

    PanelRow row(const std::string &key) { return gui.row(key); }

    void type(const std::string &key, const QString &text)
    {
        const PanelRow prop = row(key);
        QWidget *editor = prop.spinner;
        if (prop.line_edit)
            editor = prop.line_edit;
        editor->setFocus();
        QTest::keyClick(editor, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(editor, text);
    }

    // Does what opens a dialog, takes the picture of the window with the dialog on it, and accepts.
    template<typename Opening>
    void take_with_dialog(Opening opening)
    {
        DialogProbe probe;
        probe.answer = [this](QDialog *dialog) {
            take(dialog);
            DialogProbe::press_default(dialog);
        };
        opening();
        expect(!picture.isNull(), "a dialog");
    }

    QModelIndex cell(const QString &name, const std::string &column)
    {
        return gui.model().index(gui.row_of(device(name)), window.column(column));
    }
};
