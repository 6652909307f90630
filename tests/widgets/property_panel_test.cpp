// The property panel without a window around it.
#include "gui/property_panel.h"
#include "gui/row_caption.h"
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

    bool is_marked(const char *key) const { return panel.row_widgets(key)->caption->is_marked(); }
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
