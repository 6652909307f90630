// The panel's meter follows one device's ticks, and no dead one's.
#include "meter/meter_object.h"
#include "meter/meter_widget.h"
#include "support/painted.h"

#include <QtTest>

#include <memory>
#include <new>

namespace {
void show(QWidget &widget)
{
    widget.show();
    QVERIFY(QTest::qWaitForWindowExposed(&widget));
    QCoreApplication::processEvents();
}
} // namespace

class MeterWidgetTest : public QObject
{
    Q_OBJECT

private slots:
    void it_is_50_by_20_on_the_base_colour();
    void a_tick_repaints_at_once();
    void a_tick_without_channels_repaints_too();
    void a_report_alone_repaints_nothing();
    void setting_the_same_meter_again_changes_nothing();
    void the_old_meters_ticks_repaint_it_no_longer();
    void a_widget_without_a_meter_shows_its_background();
    void a_dead_meter_is_never_touched();
    void a_new_meter_at_a_dead_ones_address_is_followed();
    void a_dead_widget_is_never_repainted();
};

void MeterWidgetTest::it_is_50_by_20_on_the_base_colour()
{
    MeterWidget widget;
    QCOMPARE(widget.minimumSize(), QSize(50, 20));
    QCOMPARE(widget.maximumSize(), QSize(50, 20));
    QCOMPARE(widget.sizePolicy(), QSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding));
    QCOMPARE(widget.backgroundRole(), QPalette::Base);
    QVERIFY(widget.autoFillBackground());
}

void MeterWidgetTest::a_tick_repaints_at_once()
{
    MeterObject meter;
    meter.set_levels({70}, {});
    MeterWidget widget;
    widget.set_meter(&meter);
    show(widget);
    Painted painted(&widget);
    meter.tick();
    QCOMPARE(painted.times, 1);
    meter.tick();
    QCOMPARE(painted.times, 2);
}

void MeterWidgetTest::a_tick_without_channels_repaints_too()
{
    MeterObject meter;
    MeterWidget widget;
    widget.set_meter(&meter);
    show(widget);
    Painted painted(&widget);
    meter.tick();
    QCOMPARE(painted.times, 1);
}

void MeterWidgetTest::a_report_alone_repaints_nothing()
{
    MeterObject meter;
    MeterWidget widget;
    widget.set_meter(&meter);
    show(widget);
    Painted painted(&widget);
    meter.set_levels({70, 60}, {});
    meter.clear_levels();
    QCoreApplication::processEvents();
    QCOMPARE(painted.times, 0);
}

void MeterWidgetTest::setting_the_same_meter_again_changes_nothing()
{
    MeterObject meter;
    MeterWidget widget;
    widget.set_meter(&meter);
    widget.set_meter(&meter);
    show(widget);
    Painted painted(&widget);
    meter.tick();
    QCOMPARE(painted.times, 1);
}

void MeterWidgetTest::the_old_meters_ticks_repaint_it_no_longer()
{
    MeterObject old_meter;
    MeterObject new_meter;
    MeterWidget widget;
    widget.set_meter(&old_meter);
    widget.set_meter(&new_meter);
    show(widget);
    Painted painted(&widget);
    old_meter.tick();
    QCOMPARE(painted.times, 0);
    new_meter.tick();
    QCOMPARE(painted.times, 1);
    widget.set_meter(nullptr);
    new_meter.tick();
    QCOMPARE(painted.times, 1);
}

void MeterWidgetTest::a_widget_without_a_meter_shows_its_background()
{
    MeterWidget widget;
    QImage expected(widget.minimumSize(), QImage::Format_RGB32);
    expected.fill(widget.palette().color(QPalette::Base));
    QCOMPARE(widget.grab().toImage().convertToFormat(QImage::Format_RGB32), expected);
}

void MeterWidgetTest::a_dead_meter_is_never_touched()
{
    MeterWidget widget;
    auto meter = std::make_unique<MeterObject>();
    meter->set_levels({70}, {});
    widget.set_meter(meter.get());
    show(widget);
    meter.reset();
    widget.repaint();
    MeterObject next;
    widget.set_meter(&next);
    Painted painted(&widget);
    next.tick();
    QCOMPARE(painted.times, 1);
}

void MeterWidgetTest::a_new_meter_at_a_dead_ones_address_is_followed()
{
    alignas(MeterObject) unsigned char memory[sizeof(MeterObject)];
    MeterWidget widget;
    show(widget);
    auto *meter = new (memory) MeterObject;
    widget.set_meter(meter);
    meter->~MeterObject();
    meter = new (memory) MeterObject;
    widget.set_meter(meter);
    Painted painted(&widget);
    meter->tick();
    QCOMPARE(painted.times, 1);
    meter->~MeterObject();
}

void MeterWidgetTest::a_dead_widget_is_never_repainted()
{
    MeterObject meter;
    {
        MeterWidget widget;
        widget.set_meter(&meter);
        show(widget);
    }
    meter.tick();
}

QTEST_MAIN(MeterWidgetTest)
#include "meter_widget_test.moc"
