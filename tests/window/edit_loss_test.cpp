// What drops an edit, and what leaves it alone: the table in docs/guide/03-editing.md.
#include "support/dialog_probe.h"
#include "support/panel_case.h"

#include <QComboBox>
#include <QHeaderView>

#include <functional>

namespace {

using Step = std::function<void(PanelCase &)>;

void click_in_list(PanelCase &window, QPoint position)
{
    QTest::mouseClick(window.gui->view()->viewport(), Qt::LeftButton, {}, position);
}

void click_on_empty_part(PanelCase &window)
{
    const QRect view = window.gui->view()->viewport()->rect();
    click_in_list(window, view.bottomLeft() + QPoint(20, -20));
}

void press_arrow_down(PanelCase &window)
{
    window.gui->view()->setFocus();
    QTest::keyClick(window.gui->view(), Qt::Key_Down);
}

void sort_by_clicking_a_head(PanelCase &window)
{
    QHeaderView *header = window.gui->view()->header();
    const int place = header->sectionViewportPosition(window.column("ui/name")) + 20;
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, {place, 5});
    QCOMPARE(header->sortIndicatorSection(), window.column("ui/name"));
}

void go_offline(PanelCase &window)
{
    Device *device = window.devices[1]->record();
    device->last_seen -= 5000;
    window.gui->discover();
    window.gui->discovery_timer().stop();
    QVERIFY(!device->online);
}

} // namespace

Q_DECLARE_METATYPE(Step)

class EditLossTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<PanelCase> window;

private slots:
    // Three devices; the one in the middle is selected and edited.
    void init()
    {
        window = std::make_unique<PanelCase>();
        for (const char *name : {"A", "B", "C"})
            window->add({{"ui", QJsonObject{{"name", name}, {"order", int(*name)}}}});
        window->select({1});
        window->press_edit();
        window->type("ui/name", "New name");
        QVERIFY(window->gui->is_editing());
        QVERIFY(window->row("ui/name").edited);
    }
    void cleanup() { window.reset(); }

    void these_drop_it_without_a_word_data()
    {
        QTest::addColumn<Step>("step");
        QTest::newRow("a click on another row") << Step([](PanelCase &it) { it.select({0}); });
        QTest::newRow("a click on the empty part") << Step(click_on_empty_part);
        QTest::newRow("an arrow key in the list") << Step(press_arrow_down);
        QTest::newRow("a further row") << Step([](PanelCase &it) { it.select({1, 2}); });
        QTest::newRow("a search") << Step(
            [](PanelCase &it) { it.gui->search_box()->setEditText("nobody"); });
        QTest::newRow("the Delete key") << Step([](PanelCase &it) { it.gui->delete_selected(); });
        QTest::newRow("closing") << Step([](PanelCase &it) { it.gui->close(); });
    }
    void these_drop_it_without_a_word()
    {
        QFETCH(Step, step);
        DialogProbe probe;
        step(*window);
        QTest::qWait(0);
        QVERIFY(probe.titles.isEmpty());
        for (const auto &device : window->devices)
            QVERIFY(device->commands().isEmpty());
        if (window->gui->is_closed())
            return;
        QVERIFY(!window->gui->is_editing());
        QVERIFY(!window->row("ui/name").edited);
    }

    void these_leave_it_alone_data()
    {
        QTest::addColumn<Step>("step");
        QTest::newRow("a report of the device")
            << Step([](PanelCase &it) { it.devices[1]->report("ui", "loc", "Balcony"); });
        QTest::newRow("a report of another device")
            << Step([](PanelCase &it) { it.devices[0]->report("ui", "name", "Z"); });
        QTest::newRow("another row that moves")
            << Step([](PanelCase &it) { it.devices[0]->report("ui", "order", 99999); });
        QTest::newRow("a new device") << Step([](PanelCase &it) { it.add({}); });
        QTest::newRow("sorting anew") << Step(sort_by_clicking_a_head);
        QTest::newRow("going offline") << Step(go_offline);
        QTest::newRow("another network") << Step([](PanelCase &it) {
            it.gui->network_box()->addItem("elsewhere");
            it.gui->network_box()->setCurrentText("elsewhere");
        });
        QTest::newRow("a column shown")
            << Step([](PanelCase &it) { it.gui->toggle_column(size_t(it.column("ui/memo"))); });
        QTest::newRow("Edit once more") << Step([](PanelCase &it) { it.press_edit(); });
    }
    void these_leave_it_alone()
    {
        QFETCH(Step, step);
        DialogProbe probe;
        step(*window);
        QVERIFY(probe.titles.isEmpty());
        QVERIFY(window->gui->is_editing());
        QVERIFY(window->row("ui/name").edited);
        QCOMPARE(window->row("ui/name").line_edit->text(), QString("New name"));
        QCOMPARE(window->gui->selected_devices(),
                 std::vector<Device *>{window->devices[1]->record()});
    }
};

WINDOW_TEST_MAIN(EditLossTest)
#include "edit_loss_test.moc"
