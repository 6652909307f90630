// The columns of the list of devices: its header, its menu, sorting.
#include "gui/device_cell.h"
#include "gui/empty_note.h"
#include "gui/list_header.h"
#include "model/device_state.h"
#include "support/contrast.h"
#include "support/device_table_case.h"
#include "support/idle_loop.h"

#include <QAction>
#include <QApplication>
#include <QPointer>
#include <QScrollBar>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QTimer>
#include <QtTest>

#include <algorithm>

namespace {

// How many events of a kind a widget has got.
class EventCount : public QObject
{
public:
    EventCount(QObject *watched, QEvent::Type its_type)
        : type(its_type)
    {
        watched->installEventFilter(this);
    }

    bool eventFilter(QObject * /*watched*/, QEvent *event) override
    {
        count += event->type() == type ? 1 : 0;
        return false;
    }

    int count = 0;

private:
    QEvent::Type type;
};

// The timers that have fired since this was made.
class TimersThatFired : public QObject
{
public:
    TimersThatFired() { qApp->installEventFilter(this); }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        auto *timer = qobject_cast<QTimer *>(watched);
        if (timer && event->type() == QEvent::Timer)
            all.append(timer);
        return false;
    }

    bool are_all_at_rest() const
    {
        return std::none_of(all.begin(), all.end(), [](const QPointer<QTimer> &timer) {
            return timer && timer->isActive();
        });
    }

    QList<QPointer<QTimer>> all = {};
};

} // namespace

class DeviceTableColumnsTest : public DeviceTableCase
{
    Q_OBJECT

    void focus_header()
    {
        view()->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(view()));
        view()->setFocus(); // the header may have the focus from the start
        header()->setFocus();
        QVERIFY(header()->hasFocus());
    }

private slots:
    void initTestCase() { build_catalogue(); }

    void init() { open_table(); }
    void cleanup() { close_table(); }

    // ---- columns

    void the_menu_of_columns_stays_open_while_they_are_ticked()
    {
        add("Left", {{"delay", 9.5}});
        table->show_column_menu({5, 5});
        QVERIFY(table->menu()->isVisible());
        for (const char *id : {"ui/memo", "dsp/delay"}) {
            const QPoint place = place_of(id);
            QTest::mouseClick(table->menu(), Qt::LeftButton, {}, place);
            QVERIFY(!view()->isColumnHidden(table->column_of(id)));
            QVERIFY(table->menu()->isVisible());
        }
        QCOMPARE(shown_texts(*table, "dsp/delay"), QStringList("9.500 m"));
        table->menu()->setActiveAction(
            table->actions().at(static_cast<size_t>(table->column_of("ui/memo"))));
        QTest::keyClick(table->menu(), Qt::Key_Space);
        QVERIFY(view()->isColumnHidden(table->column_of("ui/memo")));
        QVERIFY(table->menu()->isVisible());
        QTest::keyClick(table->menu(), Qt::Key_Escape);
        QVERIFY(!table->menu()->isVisible());
    }

    void the_release_of_the_click_that_opened_the_menu_ticks_nothing()
    {
        table->show_column_menu({5, 5});
        QVERIFY(table->menu()->isVisible());
        QTest::mouseMove(table->menu(), place_of("ui/memo"));
        QTest::mouseRelease(table->menu(), Qt::RightButton, {}, place_of("ui/memo"));
        QVERIFY(view()->isColumnHidden(table->column_of("ui/memo")));
        QVERIFY(table->menu()->isVisible());
        QTest::mouseClick(table->menu(), Qt::LeftButton, {}, place_of("ui/memo"));
        QVERIFY(!view()->isColumnHidden(table->column_of("ui/memo")));
        table->menu()->close();
    }

    void a_press_that_ends_outside_closes_the_menu()
    {
        table->show_column_menu({5, 5});
        QVERIFY(table->menu()->isVisible());
        const QPoint outside(table->menu()->width() + 50, 50);
        QTest::mousePress(table->menu(), Qt::LeftButton, {}, place_of("ui/memo"));
        for (int i = 0; i < 10; ++i) {
            const QPoint place(outside.x() + i, outside.y());
            QMouseEvent move(QEvent::MouseMove, place, table->menu()->mapToGlobal(place),
                             Qt::NoButton, Qt::LeftButton, {});
            QApplication::sendEvent(table->menu(), &move);
        }
        QTest::mouseRelease(table->menu(), Qt::LeftButton, {}, outside);
        QVERIFY(!table->menu()->isVisible());
        QVERIFY(view()->isColumnHidden(table->column_of("ui/memo")));
    }

    void the_menu_separates_groups_and_tells_columns_of_one_caption_apart()
    {
        const QList<QAction *> entries = table->menu()->actions();
        const int gain = table->column_of("dsp/eq1/gain");
        const auto *action = table->actions().at(static_cast<size_t>(gain));
        QCOMPARE(action->text(), QString("Gain"));
        QCOMPARE(action->toolTip(), QString("User EQ 2: Gain"));
        QVERIFY(table->menu()->toolTipsVisible());
        const auto stands_behind_a_line = [this, entries](const char *id) {
            auto *entry = table->actions().at(static_cast<size_t>(table->column_of(id)));
            return entries.at(entries.indexOf(entry) - 1)->isSeparator();
        };
        for (const char *id : {"dsp/eq0/type", "dsp/eq1/type", "stream/name", "meter"})
            QVERIFY2(stands_behind_a_line(id), id);
        for (const char *id : {"dsp/eq1/gain", "ui/loc", "ip"})
            QVERIFY2(!stands_behind_a_line(id), id);
    }

    void captions_tell_their_heading()
    {
        const int gain = table->column_of("dsp/eq1/gain");
        show_column("dsp/eq1/gain");
        view()->scrollTo(table->model().index(0, gain));
        const QPoint place(header()->sectionViewportPosition(gain) + 5, 5);
        QCOMPARE(tool_tip_at(header()->viewport(), place), QString("User EQ 2: Gain"));
        for (int column = 0; column < table->model().columnCount(); ++column)
            QVERIFY(!table->model().horizontalHeaderItem(column)->toolTip().isEmpty());
    }

    void without_columns_the_header_keeps_its_height_and_its_menu()
    {
        const int usual = header()->height();
        QVERIFY(usual > 10);
        for (const int column : table->shown_columns()) {
            table->actions().at(static_cast<size_t>(column))->setChecked(true);
            table->actions().at(static_cast<size_t>(column))->setChecked(false);
        }
        QVERIFY(table->shown_columns().empty());
        QVERIFY(frame_passes());
        QCOMPARE(header()->height(), usual);
        const QByteArray state = table->save_state();
        table = std::make_unique<DeviceTable>(); // the next start
        view()->resize(900, 500);
        table->restore_state(state);
        view()->show();
        QVERIFY(QTest::qWaitForWindowExposed(view()));
        QVERIFY(table->shown_columns().empty());
        QCOMPARE(header()->height(), usual);
        const QPoint place(200, usual / 2);
        QContextMenuEvent press(QContextMenuEvent::Mouse, place, header()->mapToGlobal(place));
        QApplication::sendEvent(header()->viewport(), &press);
        QVERIFY(table->menu()->isVisible());
        table->menu()->close();
    }

    void sorting_and_columns_can_be_chosen_without_a_mouse()
    {
        add("a");
        add("b");
        view()->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(view()));
        view()->setFocus();
        QTest::keyClick(view(), Qt::Key_Tab);
        QVERIFY(header()->hasFocus());
        QTest::keyClick(header(), Qt::Key_Right);
        QTest::keyClick(header(), Qt::Key_Space);
        QCOMPARE(header()->sortIndicatorSection(), table->column_of("ui/name"));
        QCOMPARE(shown_texts(*table, "ui/name"), QStringList({"a", "b"}));
        QTest::keyClick(header(), Qt::Key_Return);
        QCOMPARE(shown_texts(*table, "ui/name"), QStringList({"b", "a"}));
        QTest::keyClick(header(), Qt::Key_Left);
        QTest::keyClick(header(), Qt::Key_Left); // there is none further left
        QTest::keyClick(header(), Qt::Key_Space);
        QCOMPARE(header()->sortIndicatorSection(), table->column_of("product_id"));
        QTest::keyClick(header(), Qt::Key_Down);
        QVERIFY(table->menu()->isVisible());
        table->menu()->close();
    }

    // What is hidden lies between those that show.
    void arrows_go_from_the_sorted_caption_to_those_that_show()
    {
        header()->moveSection(header()->visualIndex(table->column_of("ip")), 0);
        QList<int> places;
        for (int place = 0; place < header()->count(); ++place)
            if (!view()->isColumnHidden(header()->logicalIndex(place)))
                places.append(header()->logicalIndex(place));
        QVERIFY(places.size() > 5);
        table->sort_by(places.at(2), Qt::AscendingOrder);
        focus_header();
        for (const int key : {int(Qt::Key_Space), int(Qt::Key_Return), int(Qt::Key_Enter)}) {
            const int from = static_cast<int>(places.indexOf(header()->sortIndicatorSection()));
            QTest::keyClick(header(), Qt::Key_Right);
            QTest::keyClick(header(), Qt::Key(key));
            QCOMPARE(header()->sortIndicatorSection(), places.at(from + 1));
            QCOMPARE(header()->sortIndicatorOrder(), Qt::AscendingOrder);
            QTest::keyClick(header(), Qt::Key(key));
            QCOMPARE(header()->sortIndicatorOrder(), Qt::DescendingOrder);
            QTest::keyClick(header(), Qt::Key(key));
            QCOMPARE(header()->sortIndicatorOrder(), Qt::AscendingOrder);
        }
        view()->setFocus();
        table->sort_by(places.at(1), Qt::AscendingOrder);
        focus_header();
        for (int i = 0; i < 3; ++i)
            QTest::keyClick(header(), Qt::Key_Left); // there is one
        QTest::keyClick(header(), Qt::Key_Space);
        QCOMPARE(header()->sortIndicatorSection(), places.at(0));
        for (int i = 0; i < header()->count(); ++i)
            QTest::keyClick(header(), Qt::Key_Right);
        QTest::keyClick(header(), Qt::Key_Space);
        QCOMPARE(header()->sortIndicatorSection(), places.last());
    }

    void the_menu_opens_under_the_chosen_caption()
    {
        const int name = table->column_of("ui/name");
        table->sort_by(name, Qt::AscendingOrder);
        focus_header();
        QSignalSpy wanted(qobject_cast<ListHeader *>(header()), &ListHeader::menu_wanted);
        for (const int key : {int(Qt::Key_Down), int(Qt::Key_Menu)}) {
            QTest::keyClick(header(), Qt::Key(key));
            QVERIFY(table->menu()->isVisible());
            QCOMPARE(wanted.last().at(0).toPoint(),
                     QPoint(header()->sectionViewportPosition(name), header()->height()));
            table->menu()->close();
        }
        QVERIFY(header()->sectionViewportPosition(name) > 0);
    }

    void a_caption_that_is_chosen_comes_into_sight()
    {
        add("A name of some length");
        for (const char *id : {"ui/memo", "dsp/delay", "dsp/level", "dsp/preset", "ui/order"})
            show_column(id);
        view()->resize(300, 500);
        QTRY_VERIFY(view()->horizontalScrollBar()->maximum() > 300);
        QTRY_VERIFY(view()->has_settled());
        table->sort_by(table->column_of("status"), Qt::AscendingOrder);
        view()->horizontalScrollBar()->setValue(view()->horizontalScrollBar()->maximum());
        focus_header();
        const auto left
            = [this](int section) { return header()->sectionViewportPosition(section); };
        QVERIFY(left(table->column_of("product_id")) < 0);
        for (int i = 0; i < header()->count(); ++i)
            QTest::keyClick(header(), Qt::Key_Left);
        QCOMPARE(left(table->column_of("product_id")), 0);
    }

    void captions_stand_at_the_left_and_can_be_moved()
    {
        QCOMPARE(header()->defaultAlignment(), Qt::AlignLeft | Qt::AlignVCenter);
        QVERIFY(header()->sectionsMovable());
        QCOMPARE(header()->focusPolicy(), Qt::TabFocus);
        // As states of before have it.
        header()->setStretchLastSection(true);
        const QByteArray state = table->save_state();
        header()->setStretchLastSection(false);
        table->restore_state(state);
        QVERIFY(!header()->stretchLastSection());
    }

    void the_chosen_caption_can_be_seen()
    {
        view()->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(view()));
        header()->setFocus(Qt::TabFocusReason);
        const QImage first = header()->grab().toImage();
        QTest::keyClick(header(), Qt::Key_Right);
        const QImage second = header()->grab().toImage();
        QVERIFY(first != second);
        view()->setFocus();
        QVERIFY(header()->grab().toImage() != second);
    }

    // ---- the header's keys, and widths

    void a_key_without_a_meaning_to_the_header_goes_on_to_the_list()
    {
        EventCount keys(view(), QEvent::KeyPress);
        header()->setFocus();
        QTest::keyClick(header(), Qt::Key_Right);
        QCOMPARE(keys.count, 0);
        QTest::keyClick(header(), Qt::Key_F7);
        QCOMPARE(keys.count, 1);
    }

    void a_hidden_column_without_rows_needs_no_width()
    {
        QStandardItemModel model(0, 2);
        DeviceListView list;
        list.setModel(&model);
        list.setColumnHidden(1, true);
        QCOMPARE(list.sizeHintForColumn(1), 0);
    }

    void a_larger_font_asks_for_wider_columns()
    {
        const QString name = "A name that is longer than its caption";
        add(name);
        view()->resize(3000, 500);
        const int column = table->column_of("ui/name");
        const auto fits = [this, column, &name] {
            return view()->sizeHintForColumn(column)
                >= view()->fontMetrics().horizontalAdvance(name);
        };
        QTRY_VERIFY(fits()); // the list is as wide as it was asked to be
        QFont font = view()->font();
        font.setPointSize(2 * font.pointSize());
        Device &short_one = add("B", {}, 1);
        view()->setFont(font);
        tell(short_one, "C", {}, 1); // before any has been measured
        QVERIFY(fits());
    }

    // Numbers that change all the time would else move the columns with each change.
    void a_column_waits_a_quarter_of_a_second_before_it_gets_narrower()
    {
        add("Left");
        Device &device = add("A name of some length", {}, 1);
        QTRY_VERIFY(view()->has_settled());
        const int before = view()->measurements();
        TimersThatFired timers;
        tell(device, "Short", {}, 1);
        QTRY_VERIFY(view()->measurements() > before);
        QVERIFY(std::any_of(timers.all.begin(), timers.all.end(), [](const QPointer<QTimer> &one) {
            return one && one->isSingleShot() && one->interval() == 250;
        }));
    }

    void a_column_waits_no_longer_than_a_frame_once_a_row_has_gone()
    {
        add("Left");
        Device &device = add("A name of some length", {}, 1);
        QTRY_VERIFY(view()->has_settled());
        const int before = view()->measurements();
        TimersThatFired timers;
        table->remove({&device});
        QTRY_VERIFY(view()->measurements() > before);
        QVERIFY(std::none_of(timers.all.begin(), timers.all.end(), [](const QPointer<QTimer> &one) {
            return one && one->interval() == 250;
        }));
    }

    void the_column_that_is_moved_last_takes_the_rest_at_once()
    {
        add("Left");
        view()->resize(1600, 500);
        QTRY_VERIFY(view()->has_settled());
        const int ip = table->column_of("ip");
        const int before = header()->sectionSize(ip);
        header()->moveSection(header()->visualIndex(ip), header()->count() - 1);
        QVERIFY(header()->sectionSize(ip) > before);
        QCOMPARE(header()->length(), view()->viewport()->width());
    }

    void a_list_that_has_shown_a_change_rests()
    {
        Device &device = add("A name of some length");
        const int before = view()->measurements();
        TimersThatFired timers;
        tell(device, "Short");
        QTRY_VERIFY(view()->measurements() > before);
        QVERIFY(!timers.all.isEmpty());
        QTRY_VERIFY(timers.are_all_at_rest());
    }
};

TEST_PART(DeviceTableColumnsTest)
#include "device_table_test_columns.moc"
