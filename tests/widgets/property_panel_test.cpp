// The property panel without a window around it.
#include "gui/modified_combo_box.h"
#include "gui/property_panel.h"
#include "gui/row_caption.h"
#include "gui/row_editors.h"
#include "gui/value_spinner.h"
#include "support/selected_rows.h"
#include "support/tool_tip.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QToolButton>
#include <QtTest>

namespace {

// A panel over some devices, which counts how often it asks for them.
struct PanelAlone
{
    std::vector<std::unique_ptr<Device>> devices = {};
    int questions = 0;
    PropertyPanel panel{[this] {
        ++questions;
        std::vector<Device *> selected;
        for (const auto &device : devices)
            selected.push_back(device.get());
        return selected;
    }};

    PanelAlone()
    {
        for (const char *name : {"Left", "Right"})
            devices.push_back(device_from_report(report_of(
                3, {{"device_id", name}, {"ui", QJsonObject{{"name", name}, {"order", 1}}}})));
        panel.show_selection();
        panel.set_edit_mode(true);
    }

    bool is_shown(const std::string &key) const
    {
        const QWidget *holder = panel.row_widgets(key)->holder;
        return holder && holder->isVisible();
    }
    bool is_marked(const char *key) const { return panel.row_widgets(key)->caption->is_marked(); }
};

// How often each of some widgets was moved.
class MoveCount : public QObject
{
public:
    void watch(QWidget *widget)
    {
        moves[widget] = 0;
        widget->installEventFilter(this);
    }

    std::map<QObject *, int> moves = {};

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        moves[watched] += event->type() == QEvent::Move;
        return false;
    }
};

} // namespace

class PropertyPanelTest : public QObject
{
    Q_OBJECT

private slots:
    // A thousand devices are asked for, and compared with, no more often than anyone sees it.
    void many_edits_of_a_frame_are_compared_with_the_devices_once()
    {
        PanelAlone alone;
        alone.questions = 0;
        for (const char *name : {"M", "Mi", "Mid"})
            alone.panel.take("ui/name", QString(name));
        alone.panel.take("ui/order", 2);
        QCOMPARE(alone.questions, 0);
        QTRY_VERIFY(alone.is_marked("ui/name"));
        QVERIFY(alone.is_marked("ui/order"));
        QCOMPARE(alone.questions, 1);
        alone.panel.take("ui/order", 1);
        QTRY_VERIFY(!alone.is_marked("ui/order")); // as both have it
        QVERIFY(alone.is_marked("ui/name"));
        QCOMPARE(alone.questions, 2);
    }

    // New editors join the order at its end: whatever step has made them sets it right by itself.
    void each_step_that_makes_editors_leaves_them_in_order_data()
    {
        QTest::addColumn<QString>("step");
        for (const char *step : {"one row", "needed rows", "all rows", "selection"})
            QTest::newRow(step) << QString(step);
    }
    void each_step_that_makes_editors_leaves_them_in_order()
    {
        QFETCH(QString, step);
        PanelAlone alone;
        // Other bounds make another editor.
        const QWidget *before = alone.panel.row_widgets("ui/order")->spinner;
        alone.panel.show_selection();
        for (const auto &device : alone.devices)
            device->properties.own("ui/order").max = 5;
        if (step == "one row")
            alone.panel.update_property("ui/order");
        else if (step == "all rows")
            alone.panel.refresh_all_rows();
        else if (step == "selection")
            alone.panel.show_selection();
        alone.panel.mark("ui/order");
        if (step == "needed rows")
            alone.panel.refresh_needed_rows();
        const auto input
            = [&alone](const char *key) { return alone.panel.row_widgets(key)->editor->input(); };
        QWidget *const first = input("ui/order");
        QVERIFY(first != before);
        QWidgetList ring;
        for (QWidget *next = first->nextInFocusChain(); next != first;
             next = next->nextInFocusChain())
            ring.append(next);
        QVERIFY(ring.indexOf(input("firmware_version")) < ring.indexOf(input("ui/name")));
        QVERIFY(ring.indexOf(input("ui/name")) < ring.indexOf(input("dsp/delay")));
    }

    // Each row that comes would push down all those below it, and the panel would take three times
    // as long.
    void rows_that_come_with_another_product_are_laid_out_once()
    {
        PanelAlone alone;
        alone.panel.set_edit_mode(false);
        alone.devices.resize(1);
        alone.panel.resize(500, 700);
        alone.panel.show();
        const std::unique_ptr<Device> loudspeaker = std::move(alone.devices[0]);
        alone.devices[0] = device_from_report(report_of(2001, {{"device_id", "Module"}}));
        alone.panel.show_selection();
        QCoreApplication::processEvents();
        MoveCount count;
        for (const std::string &key : catalogue().property_keys)
            if (alone.is_shown(key))
                count.watch(alone.panel.row_widgets(key)->holder);
        alone.devices[0] = device_from_report(loudspeaker->last_report.object());
        alone.panel.show_selection();
        int bottom = 0;
        for (const std::string &key : catalogue().property_keys) {
            if (!alone.is_shown(key))
                continue;
            const QRect place = alone.panel.row_widgets(key)->holder->geometry();
            QVERIFY2(place.top() >= bottom, key.c_str());
            bottom = place.bottom();
        }
        QVERIFY(std::any_of(count.moves.begin(), count.moves.end(),
                            [](const auto &one) { return one.second > 0; }));
        for (const auto &[row, times] : count.moves)
            QVERIFY(times <= 1);
    }

    // Making editors is the dearest part of a selection, and nothing selected hides all of them.
    void a_row_that_comes_back_keeps_its_editor()
    {
        PanelAlone alone;
        QLineEdit *name = alone.panel.row_widgets("ui/name")->line_edit;
        alone.panel.take("ui/name", QString("Mid"));
        QTRY_VERIFY(alone.is_marked("ui/name"));
        std::vector<std::unique_ptr<Device>> devices = std::move(alone.devices);
        alone.devices.clear();
        alone.panel.show_selection();
        QVERIFY(alone.panel.row_widgets("ui/name")->holder->isHidden());
        alone.devices.push_back(std::move(devices[1]));
        alone.panel.show_selection();
        QVERIFY(!alone.panel.row_widgets("ui/name")->holder->isHidden());
        QCOMPARE(alone.panel.row_widgets("ui/name")->line_edit, name);
        QCOMPARE(name->text(), QString("Right"));
        QVERIFY(!name->isEnabled());
        QVERIFY(!alone.is_marked("ui/name"));
        QCOMPARE(name->accessibleDescription(), QString());
        // It is connected once, as a new one would be.
        alone.panel.set_edit_mode(true);
        QSignalSpy edited(&alone.panel, &PropertyPanel::row_edited);
        QTest::keyClick(name, Qt::Key_X);
        QCOMPARE(edited.size(), 1);
    }

    void a_row_that_comes_back_with_other_bounds_has_a_new_editor()
    {
        PanelAlone alone;
        const ValueSpinner *order = alone.panel.row_widgets("ui/order")->spinner;
        std::vector<std::unique_ptr<Device>> devices = std::move(alone.devices);
        alone.devices.clear();
        alone.panel.show_selection();
        devices[1]->properties.own("ui/order").max = 5;
        alone.devices.push_back(std::move(devices[1]));
        alone.panel.show_selection();
        QVERIFY(alone.panel.row_widgets("ui/order")->spinner != order);
        QCOMPARE(alone.panel.row_widgets("ui/order")->spinner->maximum(), 5.0);
    }

    // Devices that disagree show a row of which a third one knows nothing, and not its heading.
    void a_row_without_its_heading_names_it_in_its_tool_tip()
    {
        PanelAlone alone;
        alone.panel.set_edit_mode(false);
        int gain = 0;
        for (const auto &device : alone.devices)
            for (const char *key : {"dsp/eq0/gain", "dsp/eq1/gain"})
                device->values[key] = ++gain;
        alone.devices.push_back(device_from_report(report_of(1000, {{"device_id", "Module"}})));
        alone.panel.resize(900, 700);
        alone.panel.show();
        alone.panel.show_selection();
        QVERIFY(!alone.is_shown("dummy/header/eq1"));
        QVERIFY(alone.is_shown("dsp/eq0/gain") && alone.is_shown("dsp/eq1/gain"));
        const auto tip_of = [&alone](const char *key) {
            return tool_tip_at(alone.panel.row_widgets(key)->caption);
        };
        for (const char *alone_of_its_name : {"ui/name", "rtp/lock"})
            QCOMPARE(tip_of(alone_of_its_name), QString());
        QCOMPARE(tip_of("dsp/eq0/gain"), QString("User EQ 1: Gain"));
        QCOMPARE(tip_of("dsp/eq1/gain"), QString("User EQ 2: Gain"));
    }

    // An open list would jump.
    void a_value_that_is_no_choice_keeps_its_item_while_it_stays()
    {
        PanelAlone alone;
        alone.panel.set_edit_mode(false);
        alone.devices.resize(1);
        alone.devices[0]->values["dsp/level"] = 9;
        alone.panel.show_selection();
        const ModifiedComboBox *level = alone.panel.row_widgets("dsp/level")->combo;
        QCOMPARE(level->currentText(), QString("9 (not found)"));
        QSignalSpy removals(level->model(), &QAbstractItemModel::rowsRemoved);
        alone.panel.refresh_all_rows();
        QCOMPARE(removals.size(), 0);
        alone.devices[0]->values["dsp/level"] = 10;
        alone.panel.refresh_all_rows();
        QCOMPARE(removals.size(), 1);
        QCOMPARE(level->currentText(), QString("10 (not found)"));
    }

    // ---- where things stand

    void few_rows_stand_close_together_at_the_top()
    {
        PanelAlone alone;
        alone.panel.set_edit_mode(false);
        for (const auto &device : alone.devices)
            for (const std::string &key : catalogue().property_keys)
                if (key != "ui/name" && key != "ui/loc" && key != "ui/order")
                    device->properties.erase(key);
        alone.panel.show_selection();
        alone.panel.resize(500, 700);
        alone.panel.show();
        QVERIFY(QTest::qWaitForWindowExposed(&alone.panel));
        int bottom = 0; // a pixel above the first
        int rows = 0;
        for (const std::string &key : catalogue().property_keys) {
            if (!alone.is_shown(key))
                continue;
            const RowWidgets &row = *alone.panel.row_widgets(key);
            const QRect holder = row.holder->geometry();
            QCOMPARE(holder.top(), bottom + 1);
            QCOMPARE(row.caption->x(), 6);
            QCOMPARE(holder.left(), row.caption->geometry().right() + 1 + 6);
            QCOMPARE(holder.right() + 1, row.holder->parentWidget()->width() - 6);
            QCOMPARE(row.editor->input()->geometry(),
                     holder.translated(-holder.topLeft()).adjusted(0, 1, 0, -1));
            bottom = holder.bottom();
            ++rows;
        }
        QCOMPARE(rows, 3);
    }

    void head_and_rows_stand_four_pixels_from_the_edges_and_each_other()
    {
        PanelAlone alone;
        alone.panel.resize(500, 700);
        alone.panel.show();
        QVERIFY(QTest::qWaitForWindowExposed(&alone.panel));
        const QRect head = alone.panel.findChild<QWidget *>("property_head")->geometry();
        const QRect rows = alone.panel.findChild<QScrollArea *>()->geometry();
        QCOMPARE(head.topLeft(), QPoint(4, 4));
        QCOMPARE(head.right(), 500 - 4 - 1);
        QCOMPARE(rows.topLeft(), QPoint(4, head.bottom() + 1 + 4));
        QCOMPARE(rows.bottomRight(), QPoint(500 - 4 - 1, 700 - 4 - 1));
    }

    // The title, the wide button, and what ends an edit.
    void the_buttons_of_an_edit_stand_behind_the_title()
    {
        PanelAlone alone;
        alone.panel.resize(500, 700);
        alone.panel.show();
        QVERIFY(QTest::qWaitForWindowExposed(&alone.panel));
        const auto *head = alone.panel.findChild<QWidget *>("property_head");
        const auto *title = head->findChild<QLabel *>();
        const auto *edit = head->findChild<QPushButton *>("edit_button");
        const auto *cancel = head->findChild<QToolButton *>("cancel_button");
        const auto *confirm = head->findChild<QToolButton *>("confirm_button");
        QCOMPARE(title->text(), QString("<b>Properties"));
        QCOMPARE(title->x(), 0);
        QCOMPARE(title->height(), head->height());
        QVERIFY(title->geometry().right() < edit->x());
        QVERIFY(edit->geometry().right() < cancel->x());
        QVERIFY(cancel->geometry().right() < confirm->x());
        QCOMPARE(confirm->geometry().right(), head->width() - 1);
        QCOMPARE(title->width(), title->sizeHint().width()); // the rest is the button's
        QVERIFY(edit->width() > 250);
    }

    // Switched off they are as quiet as texts that are.
    void pictures_of_buttons_that_are_switched_off_have_the_colour_of_such_texts()
    {
        PanelAlone alone;
        alone.panel.set_edit_mode(false);
        for (const char *name : {"cancel_button", "confirm_button"}) {
            const auto *button = alone.panel.findChild<QToolButton *>(name);
            QVERIFY(!button->isEnabled());
            const QRgb quiet
                = button->palette().color(QPalette::Disabled, QPalette::ButtonText).rgb();
            const QImage picture = button->icon()
                                       .pixmap({16, 16}, QIcon::Disabled)
                                       .toImage()
                                       .convertToFormat(QImage::Format_ARGB32);
            int solid = 0;
            for (int y = 0; y < picture.height(); ++y)
                for (int x = 0; x < picture.width(); ++x)
                    if (qAlpha(picture.pixel(x, y)) == 255) {
                        QCOMPARE(picture.pixel(x, y), quiet);
                        ++solid;
                    }
            QVERIFY(solid > 20);
        }
    }

    // A scroll bar that comes must hide nothing.
    void the_panel_is_never_narrower_than_its_rows_and_a_scroll_bar()
    {
        PanelAlone alone;
        alone.panel.show();
        const auto *rows = alone.panel.findChild<QScrollArea *>();
        const auto wanted = [rows] {
            return rows->widget()->minimumSizeHint().width()
                + rows->verticalScrollBar()->sizeHint().width() + 2 * rows->frameWidth();
        };
        QTRY_COMPARE(rows->minimumWidth(), wanted());
        const int before = wanted();
        alone.panel.row_widgets("ui/name")->holder->setMinimumWidth(500);
        QTRY_COMPARE(rows->minimumWidth(), wanted());
        QVERIFY(wanted() > before);
    }

    // Source channels follow rows behind them, and get their editors when all others have theirs.
    void editors_of_a_second_pass_are_read_in_order_too()
    {
        PanelAlone alone;
        const auto module_of = [](int channels) {
            return device_from_report(report_of(
                1000,
                {{"device_id", "a"},
                 {"stream", QJsonObject{{"rtp", QJsonObject{{"en", true}, {"cc", channels}}}}}}));
        };
        alone.devices.clear();
        alone.devices.push_back(module_of(2));
        alone.panel.show_selection();
        const ModifiedComboBox *before = alone.panel.row_widgets("stream/ch0")->combo;
        alone.devices[0] = module_of(4);
        alone.panel.show_selection();
        QVERIFY(alone.panel.row_widgets("stream/ch0")->combo != before);
        const auto input
            = [&alone](const char *key) { return alone.panel.row_widgets(key)->editor->input(); };
        QWidget *const first = input("ui/name");
        QWidgetList ring;
        for (QWidget *next = first->nextInFocusChain(); next != first;
             next = next->nextInFocusChain())
            ring.append(next);
        QVERIFY(ring.indexOf(input("stream/ch0")) < ring.indexOf(input("stream/ch1")));
        QVERIFY(ring.indexOf(input("stream/ch1")) < ring.indexOf(input("stream/rtp/ip")));
    }

    void editors_keep_what_they_need_however_narrow_the_panel_is()
    {
        const PanelAlone alone;
        const auto row = [&alone](const char *key) { return *alone.panel.row_widgets(key); };
        const ValueSpinner *order = row("ui/order").spinner;
        QCOMPARE(order->minimumWidth(),
                 order->fontMetrics().horizontalAdvance("20000 Hz") + order->sizeHint().height());
        const ModifiedComboBox *level = row("dsp/level").combo;
        QCOMPARE(level->minimumContentsLength(), 6);
        QCOMPARE(level->sizeAdjustPolicy(), QComboBox::AdjustToMinimumContentsLengthWithIcon);
        for (const QWidget *widget : {static_cast<QWidget *>(row("firmware_version").button),
                                      row("dummy/load_restore/0").extra_widgets.at(0),
                                      row("dummy/load_restore/0").extra_widgets.at(1)}) {
            const auto *button = qobject_cast<const QPushButton *>(widget);
            QCOMPARE(button->minimumWidth(),
                     button->fontMetrics().horizontalAdvance(button->text()) + 16);
        }
    }

    // Whatever kind of field they stand in.
    void texts_of_fields_and_labels_begin_on_one_line()
    {
        const PanelAlone alone;
        QCOMPARE(alone.panel.row_widgets("ui/name")->line_edit->textMargins(),
                 QMargins(2, 0, 0, 0));
        QCOMPARE(alone.panel.row_widgets("firmware_version")->line_edit->textMargins(),
                 QMargins(2, 0, 0, 0));
        QCOMPARE(alone.panel.row_widgets("rtp/lock")->text_label->indent(), 5);
    }

    void a_heading_stands_bold_in_the_middle_of_its_own_ground()
    {
        const PanelAlone alone;
        const RowWidgets &row = *alone.panel.row_widgets("dummy/header/1");
        QCOMPARE(row.caption->text(), QString());
        QCOMPARE(row.text_label->text(), QString("<b>AES67</b>\n"));
        QCOMPARE(row.text_label->alignment(), Qt::AlignCenter);
        QCOMPARE(row.text_label->styleSheet(), QString("padding-top: 10px;"));
        QVERIFY(!row.holder->autoFillBackground());
        QVERIFY(alone.panel.row_widgets("ui/name")->holder->autoFillBackground());
    }

    void what_is_switched_off_has_three_parts_of_the_texts_colour_and_one_of_the_grounds()
    {
        const auto device = device_from_report(report_of(3, {{"device_id", "a"}}));
        for (const bool is_dark : {false, true}) {
            PropertyPanel panel{[&device] { return std::vector<Device *>{device.get()}; }};
            QPalette desktop;
            desktop.setColor(QPalette::Window, QColor(40, 80, 120));
            desktop.setColor(QPalette::Text, QColor(200, 0, 240));
            desktop.setColor(QPalette::WindowText, QColor(0, 40, 80));
            desktop.setColor(QPalette::ButtonText, QColor(160, 200, 0));
            panel.findChild<QScrollArea *>()->setPalette(desktop);
            panel.set_ground(is_dark);
            panel.show_selection();
            const RowWidgets &row = *panel.row_widgets("ui/name");
            for (const QWidget *widget : {row.holder, static_cast<QWidget *>(row.line_edit)}) {
                const QPalette colours = widget->palette();
                QCOMPARE(colours.color(QPalette::Disabled, QPalette::Text), QColor(160, 20, 210));
                QCOMPARE(colours.color(QPalette::Disabled, QPalette::WindowText),
                         QColor(10, 50, 90));
                QCOMPARE(colours.color(QPalette::Disabled, QPalette::ButtonText),
                         QColor(130, 170, 30));
                QCOMPARE(colours.color(QPalette::Disabled, QPalette::Base), QColor(40, 80, 120));
                QCOMPARE(colours.color(QPalette::Active, QPalette::Window),
                         QColor(is_dark ? Qt::black : Qt::white));
            }
        }
    }

    void an_edit_that_ends_before_its_frame_leaves_no_mark()
    {
        PanelAlone alone;
        alone.panel.take("ui/name", QString("Mid"));
        alone.panel.cancel();
        alone.panel.set_edit_mode(true);
        alone.panel.take("ui/order", 2);
        QTRY_VERIFY(alone.is_marked("ui/order"));
        QVERIFY(!alone.is_marked("ui/name"));
    }
};

QTEST_MAIN(PropertyPanelTest)
#include "property_panel_test.moc"
