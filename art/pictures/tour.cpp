// A tour through the window as it fills the screen: what is looked at before a release.
#include "tour.h"

#include "eq/curve_widget.h"
#include "eq/filter.h"
#include "firmware/deppen_ass.h"
#include "gui/guide_link.h"
#include "gui/window_rules.h"
#include "meter/log_window.h"
#include "stage.h"

#include <QComboBox>
#include <QPlainTextEdit>
#include <QWindow>

#include <future>
#include <vector>

namespace {

class Tour
{
public:
    Tour(Stage &its_stage, const QString &its_folder)
        : stage(its_stage)
        , gui(its_stage.gui)
        , folder(its_folder)
    {
        Stage::settle();
        // The shares of a first window.
        gui.property_splitter()->setSizes(first_splitter_sizes(gui.widget().width()));
    }

    void run()
    {
        gui.view()->clearSelection();
        take("list");
        stage.select({"Main left"});
        take("panel");
        show_edit();
        show_eq_drag();
        show_update();
        show_about();
        show_logs();
        show_search_without_match();
        show_empty_network();
    }

    void show_assistant()
    {
        DeppenAss *assistant = stage.await_assistant();
        take("assistant-firmware");
        QComboBox *choice = Stage::await_product_choice(assistant);
        Stage::settle(); // a list is as wide as its box, which has to find its width first
        choice->showPopup();
        take("assistant-product");
    }

    // Packing a large screen takes seconds. A window that stands still for two takes every device
    // for silent, and what it says of an update then goes with the next report.
    static std::future<void> save(const QString &file)
    {
        Stage::settle();
        const QImage picture
            = Stage::screen(QGuiApplication::primaryScreen()->geometry()).toImage();
        return std::async(std::launch::async, [picture, file] {
            expect(picture.save(file), "the saving of a picture");
        });
    }

private:
    void take(const QString &name) { saving.push_back(save(folder + '/' + name + ".png")); }

    void show_edit()
    {
        stage.select({"Front fill left", "Front fill centre", "Amp rack"});
        stage.press(gui.edit_button());
        stage.type("ui/memo", "Spare in case 7");
        take("edit");
        stage.press(gui.cancel_button());
    }

    void show_eq_drag()
    {
        stage.select({"Main left"});
        stage.press(gui.eq_button());
        Stage::settle(300);
        stage.press(gui.edit_button());
        Stage::settle(300);
        const Filter &band = *gui.curve()->filters.at(2);
        const QPoint from(band.marker_x, band.marker_y);
        QWindow *handle = gui.widget().windowHandle();
        const auto place
            = [this](const QPoint &point) { return gui.curve()->mapTo(&gui.widget(), point); };
        QTest::mouseMove(handle, place(from));
        QTest::mousePress(handle, Qt::LeftButton, {}, place(from));
        for (int step = 1; step <= 12; ++step)
            QTest::mouseMove(handle, place(from + QPoint(4 * step, -2 * step)));
        take("eq-drag");
        QTest::mouseRelease(handle, Qt::LeftButton, {}, place(from + QPoint(48, -24)));
        stage.press(gui.cancel_button());
        stage.press(gui.eq_button());
    }

    void show_update()
    {
        stage.fleet.fault("all", "tftp", {{"ack_delay", 8}});
        stage.select({"Sub 1", "Sub 2", "Main left", "Recording bridge"});
        Stage::settle(300);
        stage.update_from_image();
        const Device *last = stage.device("Sub 1");
        const int patience = 60000; // ms, for a busy machine
        expect(runs_until([last] { return last->upload && last->upload->percent >= 35; }, patience),
               "an update");
        take("update");
        stage.fleet.fault("all", "tftp", {{"clear", true}});
        stage.fleet.fault("Sub 3", "tftp",
                          {{"strike", "error"}, {"at_block", 5}, {"code", 1}, {"text", "full"}});
        stage.select({"Sub 3"});
        stage.update_from_image();
        expect(runs_until([last] { return !last->upload; }, patience), "the end of the updates");
        Stage::settle(5000); // the devices restart
        expect(!stage.device("Recording bridge")->upload_error.isEmpty(), "a refusal that stays");
        take("updated");
    }

    void show_about()
    {
        DialogProbe probe;
        probe.answer = [this](QDialog *dialog) {
            expect(!find_guide(QCoreApplication::applicationDirPath()).isEmpty(), "the guide");
            take("about");
            DialogProbe::press_default(dialog);
        };
        gui.show_about();
    }

    void show_logs()
    {
        const QStringList names{"Main left", "Main right", "Sub 1", "Amp rack"};
        stage.select(names);
        gui.widget().activateWindow();
        gui.enable_logging();
        for (const QString &name : names) {
            const Device *device = stage.device(name);
            expect(runs_until([this, device] {
                       return gui.log_window(device) && gui.log_view(device)->blockCount() > 20;
                   }),
                   "lines of a log");
        }
        take("logs");
        for (const QString &name : names)
            gui.log_window(stage.device(name))->close();
    }

    void show_search_without_match()
    {
        QTest::keyClicks(gui.search_box()->lineEdit(), "gallery");
        take("no-match");
        gui.search_box()->lineEdit()->clear();
    }

    void show_empty_network()
    {
        stage.fleet.fault("all", "silent");
        expect(runs_until([this] { return stage.window.online_count() == 0; }), "silence");
        gui.view()->selectAll();
        gui.delete_selected();
        Stage::settle(3500); // the hint comes late
        take("no-device");
    }

    Stage &stage;
    WindowHandle &gui;
    QString folder;
    std::vector<std::future<void>> saving = {}; // each ends by itself; going waits for all
};

} // namespace

void take_tour(const QString &folder)
{
    {
        const WindowCase without_network;
        without_network.gui->widget().showMaximized();
        Tour::save(folder + "/no-network.png");
    }
    Stage stage("theatre.json", true);
    Tour(stage, folder).run();
}

void take_assistant(const QString &folder)
{
    Stage stage("new-module.json", true);
    Tour(stage, folder).show_assistant();
}
