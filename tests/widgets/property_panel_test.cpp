// The property panel without a window around it.
#include "gui/property_panel.h"
#include "gui/row_caption.h"
#include "gui/row_editors.h"
#include "gui/value_spinner.h"
#include "support/selected_rows.h"

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
        // Without the property the row has no editor, and gets a new one with it.
        const PropertyDesc mute = alone.devices[0]->properties.at("dsp/mute");
        for (const auto &device : alone.devices)
            device->properties.erase("dsp/mute");
        alone.panel.show_selection();
        for (const auto &device : alone.devices)
            device->properties["dsp/mute"] = mute;
        if (step == "one row")
            alone.panel.update_property("dsp/mute");
        else if (step == "all rows")
            alone.panel.refresh_all_rows();
        else if (step == "selection")
            alone.panel.show_selection();
        alone.panel.mark("dsp/mute");
        if (step == "needed rows")
            alone.panel.refresh_needed_rows();
        const auto input
            = [&alone](const char *key) { return alone.panel.row_widgets(key)->editor->input(); };
        QWidget *const first = input("dsp/mute");
        QWidgetList ring;
        for (QWidget *next = first->nextInFocusChain(); next != first;
             next = next->nextInFocusChain())
            ring.append(next);
        QVERIFY(ring.indexOf(input("dsp/delay")) < ring.indexOf(input("ui/name")));
        QVERIFY(ring.indexOf(input("ui/name")) < ring.indexOf(input("dsp/level")));
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
        devices[1]->properties.at("ui/order").max = 5;
        alone.devices.push_back(std::move(devices[1]));
        alone.panel.show_selection();
        QVERIFY(alone.panel.row_widgets("ui/order")->spinner != order);
        QCOMPARE(alone.panel.row_widgets("ui/order")->spinner->maximum(), 5.0);
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
