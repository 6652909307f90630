// guide_pictures FOLDER NAME: makes one picture of the guide, FOLDER/NAME.png; --list tells the
// names. guide_pictures FOLDER --tour light|dark: pictures of the whole screen, to be looked at.
// Wants a screen of its own with a window manager.
#include "eq/curve_widget.h"
#include "eq/filter.h"
#include "firmware/tftp_uploader.h"
#include "meter/log_window.h"
#include "meter/meter_object.h"
#include "stage.h"
#include "support/contrast.h"
#include "tour.h"

#include <QHeaderView>
#include <QPlainTextEdit>
#include <QStyleFactory>

#include <algorithm>
#include <cstdio>

namespace {

void show_eq(Stage &stage)
{
    stage.select({"Main left"});
    stage.press(stage.gui.eq_button());
    stage.gui.eq_splitter()->setSizes({330, 330});
    Stage::settle(300);
}

const Filter &band(const Stage &stage, int number)
{
    return *stage.gui.curve()->filters.at(number - 1);
}

void move_to_marker(Stage &stage, int number)
{
    const Filter &filter = band(stage, number);
    QTest::mouseMove(stage.gui.curve(), {filter.marker_x, filter.marker_y});
}

void click_marker(Stage &stage, int number)
{
    const Filter &filter = band(stage, number);
    QTest::mouseClick(stage.gui.curve(), Qt::LeftButton, Qt::NoModifier,
                      {filter.marker_x, filter.marker_y});
}

void await_update_of(Stage &stage, const QString &name, int from_percent)
{
    Device *device = stage.device(name);
    expect(runs_until([device, from_percent] {
               return device->upload && device->upload->percent >= from_percent;
           }),
           "an update");
}

// ---- the pictures
// --------------------------------------------------------------------------------

void window_picture(Stage &stage)
{
    stage.select({"Main left"});
    stage.take(&stage.gui.widget());
}

// The first network that qualifies is not always the right one.
void network_box(Stage &stage)
{
    shell("ip link add office type veth peer name office-far; ip link set office-far up; "
          "ip address add 192.168.20.15/24 broadcast + dev office; ip link set office up");
    const int offered = 2;
    expect(runs_until([&stage] { return stage.gui.network_box()->count() == offered; }),
           "a second network");
    stage.gui.network_box()->setCurrentText("office");
    stage.gui.view()->selectAll();
    stage.gui.delete_selected();
    stage.gui.network_box()->showPopup();
    stage.take(&stage.gui.widget());
}

void network_info(Stage &stage)
{
    stage.take_with_dialog([&stage] { stage.gui.show_network_info(); });
}

void states(Stage &stage)
{
    stage.show_column("IP", false);
    stage.fleet.fault("Sub 2", "silent");
    stage.fleet.fault("Front fill centre", "drop_replies");
    stage.fleet.fault(
        "Surround left", "set",
        {{"state", QJsonObject{{"dsp", QJsonObject{{"error", "over temperature"}}}}}});
    stage.fleet.fault("Amp rack", "set",
                      {{"state", QJsonObject{{"rtp", QJsonObject{{"lock", 0}}}}}});
    stage.select({"Front fill centre"});
    stage.press(stage.gui.identify_button());
    expect(runs_until([&stage] {
               return stage.device("Front fill centre")->broken_net
                   && !stage.device("Sub 2")->online;
           }),
           "two bad states");
    stage.gui.view()->clearSelection();
    stage.take(stage.gui.view());
}

void mixed_values(Stage &stage)
{
    stage.select({"Front fill left", "Front fill centre", "Front fill right"});
    stage.press(stage.gui.edit_button());
    stage.type("ui/memo", "Spare in case 7");
    stage.take(&stage.gui.widget());
}

void value_error(Stage &stage)
{
    stage.select({"Amp rack"});
    stage.press(stage.gui.edit_button());
    stage.type("stream/rtp/ip", "239.69.1.2");
    stage.type("stream/rtp/ip", "239.69.1");
    stage.take_with_dialog([&stage] { stage.press(stage.gui.confirm_button()); });
}

void offline_edit(Stage &stage)
{
    stage.fleet.fault("Sub 2", "silent");
    expect(runs_until([&stage] { return !stage.device("Sub 2")->online; }), "an offline device");
    stage.select({"Sub 1", "Sub 2"});
    stage.press(stage.gui.edit_button());
    stage.type("ui/memo", "Polarity checked");
    stage.take_with_dialog([&stage] { stage.press(stage.gui.confirm_button()); });
}

void search(Stage &stage)
{
    QTest::keyClicks(stage.gui.search_box()->lineEdit(), "stage");
    stage.take(&stage.gui.widget());
}

void eq(Stage &stage)
{
    show_eq(stage);
    stage.take(&stage.gui.widget());
}

void eq_hover(Stage &stage)
{
    show_eq(stage);
    move_to_marker(stage, 3);
    stage.take(stage.gui.curve());
}

void edit_band(Stage &stage, int number)
{
    show_eq(stage);
    stage.press(stage.gui.edit_button());
    Stage::settle(300);
    click_marker(stage, number);
}

void eq_handles(Stage &stage)
{
    edit_band(stage, 3);
    stage.take(stage.gui.curve());
}

void eq_shelf(Stage &stage)
{
    edit_band(stage, 1);
    stage.take(stage.gui.curve());
}

void updating(Stage &stage)
{
    stage.show_column("Firmware Version");
    for (const char *caption : {"Location", "AES67 Clock Status", "Metering"})
        stage.show_column(caption, false);
    stage.fleet.fault("Sub 4", "silent");
    stage.fleet.fault("Sub 3", "tftp", {{"refuse", "image signature is wrong"}});
    expect(runs_until([&stage] { return !stage.device("Sub 4")->online; }), "an offline device");
    stage.select({"Sub 3"});
    stage.update_from_image();
    expect(runs_until([&stage] { return !stage.device("Sub 3")->firmware_update_error.isEmpty(); }),
           "a refusal");
    stage.fleet.fault("all", "tftp", {{"ack_delay", 8}});
    stage.select({"Sub 1", "Main left", "Sub 4", "Recording bridge"});
    stage.update_from_image();
    await_update_of(stage, "Sub 1", 35);
    stage.take(&stage.gui.widget());
}

void assistant_outdated(Stage &stage)
{
    stage.take(stage.await_assistant());
}

void assistant_product(Stage &stage)
{
    DeppenAss *assistant = stage.await_assistant();
    stage.take(assistant); // pressed before it has its frame, it would never hear of one
    Stage::await_product_choice(assistant);
    stage.take(assistant);
}

void meters(Stage &stage)
{
    for (const char *caption : {"Location", "AES67 Clock Status", "IP"})
        stage.show_column(caption, false);
    stage.fleet.fault("Foyer ceiling 2", "silent");
    const Device *silent = stage.device("Foyer ceiling 2");
    const Device *rack = stage.device("Amp rack");
    expect(runs_until([silent] { return !silent->online; }), "an offline device");
    const auto clips = [rack] {
        return std::count(rack->meter.overdrive.begin(), rack->meter.overdrive.end(), true) > 0;
    };
    stage.gui.view()->scrollToBottom();
    Stage::settle();
    expect(runs_until(clips), "overdrive");
    Stage::settle(100);
    const QWidget *view = stage.gui.view()->viewport();
    const QRect first = stage.gui.view()->visualRect(stage.cell("Surround left", "ui/name"));
    const QPoint end(
        stage.gui.view()->visualRect(stage.cell("Amp rack", "status")).left() + 80,
        stage.gui.view()->visualRect(stage.cell("Recording bridge", "status")).bottom());
    stage.picture = Stage::screen({view->mapToGlobal(first.topLeft()), view->mapToGlobal(end)});
}

void log_window(Stage &stage)
{
    stage.select({"Main left"});
    Device *device = stage.device("Main left");
    QTest::keyClick(&stage.gui.widget(), Qt::Key_L, Qt::ControlModifier);
    expect(runs_until([&stage, device] { return stage.gui.log_window(device) != nullptr; }),
           "a log");
    stage.gui.log_window(device)->resize(1000, 460);
    const auto await_lines = [&stage, device](int lines) {
        expect(runs_until([&stage, device, lines] {
                   return stage.gui.log_view(device)->blockCount() > lines;
               }),
               "lines of the log");
    };
    await_lines(18);
    stage.fleet.fault("Main left", "log", {{"lose", 3}});
    await_lines(34);
    auto *console = stage.gui.log_window(device)->findChild<QLineEdit *>();
    QTest::keyClicks(console, R"({"command": "blink_leds", "seq": 1})");
    QTest::keyClick(console, Qt::Key_Return);
    stage.take(stage.gui.log_window(device));
}

void columns(Stage &stage)
{
    QHeaderView *header = stage.gui.view()->header();
    emit header->customContextMenuRequested({620, 10});
    Stage::settle(400);
    const QRect menu = stage.gui.header_menu()->geometry();
    const int height = 620; // all of it is as high as the screen
    stage.picture = Stage::screen({menu.topLeft(), QSize(menu.width(), height)});
}

void dark(Stage &stage)
{
    // At twice the pixels the products' pictures leave the other texts little room.
    for (const char *caption : {"Location", "AES67 Clock Status"})
        stage.show_column(caption, false);
    stage.gui.resize(1100, 600);
    stage.gui.property_splitter()->setSizes({700, 400});
    edit_band(stage, 3);
    stage.take(&stage.gui.widget());
}

void order(Stage &stage)
{
    stage.show_column("Order ID");
    stage.take(stage.gui.view());
}

struct Picture
{
    const char *name = "";
    void (*make)(Stage &stage) = nullptr;
    bool is_dark = false;
    const char *scale = "1";
    const char *fleet_file = "theatre.json";
};

// clang-format off
constexpr Picture PICTURES[] = {
    {.name = "window", .make = window_picture},
    {.name = "network-box", .make = network_box},
    {.name = "network-info", .make = network_info},
    {.name = "states", .make = states},
    {.name = "mixed-values", .make = mixed_values},
    {.name = "value-error", .make = value_error},
    {.name = "offline-edit", .make = offline_edit},
    {.name = "search", .make = search},
    {.name = "eq", .make = eq},
    {.name = "eq-hover", .make = eq_hover},
    {.name = "eq-handles", .make = eq_handles},
    {.name = "eq-shelf", .make = eq_shelf},
    {.name = "updating", .make = updating},
    {.name = "assistant-outdated", .make = assistant_outdated, .fleet_file = "new-module.json"},
    {.name = "assistant-product", .make = assistant_product, .fleet_file = "new-module.json"},
    {.name = "meters", .make = meters, .scale = "2"},
    {.name = "log", .make = log_window},
    {.name = "columns", .make = columns},
    {.name = "order", .make = order},
    {.name = "dark", .make = dark, .is_dark = true, .scale = "2"},
};
// clang-format on

// Runs `work` as the program would run, in a network of its own.
template<typename Work>
int perform(bool is_dark, int argc, char **argv, Work work)
{
    std::string reason;
    if (!enter_private_network(&reason))
        qFatal("no private network: %s", reason.c_str());
    set_program_names();
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setStyle(QStyleFactory::create("Fusion"));
    if (is_dark)
        QApplication::setPalette(desktop_palette(true));
    register_resources();
    build_catalogue();
    work();
    return 0;
}

int make(const Picture &picture, const QString &folder, int argc, char **argv)
{
    qputenv("QT_SCALE_FACTOR", picture.scale);
    return perform(picture.is_dark, argc, argv, [&picture, &folder] {
        Stage stage(picture.fleet_file);
        picture.make(stage);
        const QString file = folder + '/' + picture.name + ".png";
        expect(stage.picture.save(file), "the saving of the picture");
    });
}

} // namespace

int main(int argc, char **argv)
{
    const QByteArray first = argc > 1 ? argv[1] : "";
    const QString folder = QFile::decodeName(first);
    if (argc == 4 && QByteArray(argv[2]) == "--tour")
        return perform(QByteArray(argv[3]) == "dark", argc, argv, [&folder] {
            take_tour(folder);
            take_assistant(folder);
        });
    for (const Picture &picture : PICTURES) {
        if (first == "--list")
            std::puts(picture.name);
        else if (argc == 3 && QByteArray(argv[2]) == picture.name)
            return make(picture, folder, argc, argv);
    }
    if (first == "--list")
        return 0;
    std::fputs("guide_pictures FOLDER NAME | FOLDER --tour light|dark | --list\n", stderr);
    return 2;
}
