// Clicks on disabled editors.
#include "gui/disabled_click_filter.h"
#include "gui/modified_combo_box.h"
#include "gui/value_spinner.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QVBoxLayout>
#include <QtTest>

class DisabledClickFilterTest : public QObject
{
    Q_OBJECT

private slots:
    void click_counts_on_release_of_every_editor_data();
    void click_counts_on_release_of_every_editor();
    void click_on_an_enabled_editor_says_nothing();
    void check_box_is_not_toggled_by_the_click();
    void enabled_editor_gets_the_focus();
    void editor_may_be_taken_away_by_the_receiver();
    void filter_dies_with_its_editor();
};

namespace {

QWidget *make_editor(const QString &kind, QWidget *parent)
{
    if (kind == "line edit")
        return new QLineEdit(parent);
    if (kind == "spinner")
        return new ValueSpinner(parent);
    if (kind == "check box")
        return new QCheckBox("box", parent);
    return new ModifiedComboBox(parent);
}

} // namespace

void DisabledClickFilterTest::click_counts_on_release_of_every_editor_data()
{
    QTest::addColumn<QString>("kind");
    for (const char *kind : {"line edit", "spinner", "check box", "combo"})
        QTest::newRow(kind) << kind;
}

void DisabledClickFilterTest::click_counts_on_release_of_every_editor()
{
    QFETCH(QString, kind);
    QWidget window;
    window.resize(300, 100);
    QWidget *editor = make_editor(kind, &window);
    editor->setGeometry(10, 10, 200, 30);
    auto *filter = new DisabledClickFilter(editor);
    editor->setEnabled(false);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));

    QSignalSpy clicked(filter, &DisabledClickFilter::onClick);
    const QPoint at(20, 25);
    QTest::mousePress(window.windowHandle(), Qt::LeftButton, {}, at);
    QCOMPARE(clicked.count(), 0);
    QTest::mouseRelease(window.windowHandle(), Qt::LeftButton, {}, at);
    QCOMPARE(clicked.count(), 1);
    QCOMPARE(clicked.at(0).at(0).value<QWidget *>(), editor);
}

void DisabledClickFilterTest::click_on_an_enabled_editor_says_nothing()
{
    QLineEdit editor;
    auto *filter = new DisabledClickFilter(&editor);
    QSignalSpy clicked(filter, &DisabledClickFilter::onClick);
    QTest::mouseClick(&editor, Qt::LeftButton);
    QCOMPARE(clicked.count(), 0);
}

void DisabledClickFilterTest::check_box_is_not_toggled_by_the_click()
{
    QCheckBox box;
    auto *filter = new DisabledClickFilter(&box);
    connect(filter, &DisabledClickFilter::onClick, &box,
            [](QWidget *target) { target->setEnabled(true); });
    box.setEnabled(false);
    QTest::mouseClick(&box, Qt::LeftButton);
    QVERIFY(box.isEnabled());
    QVERIFY(!box.isChecked());
}

void DisabledClickFilterTest::enabled_editor_gets_the_focus()
{
    QWidget window;
    auto *other = new QLineEdit(&window);
    auto *editor = new QLineEdit(&window);
    editor->move(0, 60);
    auto *filter = new DisabledClickFilter(editor);
    connect(filter, &DisabledClickFilter::onClick, editor,
            [](QWidget *target) { target->setEnabled(true); });
    editor->setEnabled(false);
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    other->setFocus();
    QTest::mouseClick(editor, Qt::LeftButton);
    QTRY_VERIFY(editor->hasFocus());
}

void DisabledClickFilterTest::editor_may_be_taken_away_by_the_receiver()
{
    QWidget window;
    QPointer<QLineEdit> editor = new QLineEdit(&window);
    auto *filter = new DisabledClickFilter(editor);
    connect(filter, &DisabledClickFilter::onClick, &window, [](QWidget *target) {
        target->hide();
        target->deleteLater();
    });
    editor->setEnabled(false);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QTest::mouseClick(editor.data(), Qt::LeftButton);
    QTRY_VERIFY(!editor);
}

void DisabledClickFilterTest::filter_dies_with_its_editor()
{
    auto *editor = new QLineEdit;
    const QPointer<DisabledClickFilter> filter = new DisabledClickFilter(editor);
    delete editor;
    QVERIFY(!filter);
}

QTEST_MAIN(DisabledClickFilterTest)
#include "disabled_click_filter_test.moc"
