// The combo box that ignores a passing wheel.
#include "gui/modified_combo_box.h"

#include <QScrollArea>
#include <QScrollBar>
#include <QtTest>

class ModifiedComboBoxTest : public QObject
{
    Q_OBJECT

private slots:
    void unfocused_wheel_changes_nothing_and_scrolls_nothing();
    void focused_wheel_changes_the_item();
};

namespace {

// As the desktop's own event: only such a one travels up to the parents when ignored.
void turn_wheel_down(QWidget *widget)
{
    const QPointF at = widget->rect().center();
    QWheelEvent event(at, widget->mapToGlobal(at.toPoint()), {}, {0, -120}, Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QSpontaneKeyEvent::setSpontaneous(&event);
    qApp->notify(widget, &event);
}

} // namespace

void ModifiedComboBoxTest::unfocused_wheel_changes_nothing_and_scrolls_nothing()
{
    QScrollArea area;
    auto *content = new QWidget;
    content->setMinimumHeight(2000);
    auto *combo = new ModifiedComboBox(content);
    combo->addItems({"a", "b", "c"});
    combo->setGeometry(10, 210, 120, 30);
    area.setWidget(content);
    area.resize(300, 300);
    area.show();
    area.verticalScrollBar()->setValue(100);
    QVERIFY(QTest::qWaitForWindowActive(&area));
    area.setFocus();

    turn_wheel_down(combo);
    QCOMPARE(combo->currentIndex(), 0);
    QCOMPARE(area.verticalScrollBar()->value(), 100);
    QVERIFY(!combo->hasFocus());
    QCOMPARE(combo->focusPolicy(), Qt::StrongFocus);
}

void ModifiedComboBoxTest::focused_wheel_changes_the_item()
{
    ModifiedComboBox combo;
    combo.addItems({"a", "b", "c"});
    combo.show();
    combo.setFocus();
    QVERIFY(QTest::qWaitForWindowActive(&combo));
    QTRY_VERIFY(combo.hasFocus());
    turn_wheel_down(&combo);
    QCOMPARE(combo.currentIndex(), 1);
}

QTEST_MAIN(ModifiedComboBoxTest)
#include "modified_combo_box_test.moc"
