// The list fits a small screen: its default columns are in sight, the status whole.
#include "gui/window_rules.h"
#include "support/panel_case.h"

#include <QHeaderView>
#include <QScrollBar>

namespace {

constexpr QSize SMALL_SCREEN(1366, 768);
constexpr int SITE = 30; // devices: more than have room, so that the list scrolls downwards

} // namespace

class ListFitTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<PanelCase> window;

    DeviceListView *view() { return window->gui->view(); }
    int column(const char *id) { return window->column(id); }

    // A site with the long names of a stadium, on a screen of 1366 x 768.
    void open_site(QSize size)
    {
        window = std::make_unique<PanelCase>();
        const QSize first = first_window_size(SMALL_SCREEN);
        window->gui->resize(first.width(), first.height());
        window->gui->property_splitter()->setSizes(first_splitter_sizes(first.width()));
        window->gui->resize(size.width(), size.height());
        for (int i = 0; i < SITE; ++i)
            window->add({{"ui",
                          QJsonObject{{"name", QString("North stand horn %1").arg(i)},
                                      {"loc", "East stand, row 1"}}},
                         {"rtp", QJsonObject{{"lock", i % 4}}}});
        settle();
    }

    // Widths are taken over once per painted frame, and narrower ones a little later.
    void settle() { QTRY_VERIFY(view()->has_settled()); }

    bool is_whole(const char *id, const QModelIndex &index)
    {
        const QModelIndex cell = index.siblingAtColumn(column(id));
        return view()->viewport()->rect().contains(view()->visualRect(cell))
            && view()->cut_text(cell).isEmpty();
    }

    QModelIndex top() { return view()->indexAt(QPoint(2, 2)); }

    void set_status(int number, const QString &error)
    {
        Device *device = window->devices[static_cast<size_t>(number)]->record();
        device->upload_error = error;
        window->gui->update(device);
    }

private slots:
    // What a desktop without a theme has.
    static void init() { QApplication::setFont(QFont("Sans Serif", 9)); }
    void cleanup() { window.reset(); }

    static void the_default_columns_are_in_sight_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::newRow("first window") << first_window_size(SMALL_SCREEN);
        QTest::newRow("maximised") << SMALL_SCREEN - QSize(0, 20);
    }

    void the_default_columns_are_in_sight()
    {
        QFETCH(QSize, size);
        open_site(size);
        QTRY_VERIFY(view()->verticalScrollBar()->isVisible());
        QTRY_VERIFY(!view()->horizontalScrollBar()->isVisible());
        QTRY_VERIFY(is_whole("status", top()));
        QTRY_VERIFY(is_whole("ip", top()));
        QTRY_COMPARE(view()->header()->length(), view()->viewport()->width());
    }

    // Only captions give way there: every text is whole.
    void maximised_no_text_is_cut()
    {
        open_site(SMALL_SCREEN - QSize(0, 20));
        for (const int shown : window->gui->shown_columns())
            QTRY_VERIFY(view()->cut_text(top().siblingAtColumn(shown)).isEmpty());
    }

    void a_status_that_grows_stays_whole()
    {
        open_site(first_window_size(SMALL_SCREEN));
        set_status(0, "too old");
        QTRY_VERIFY(is_whole("status", view()->model()->index(0, 0)));
        set_status(0, {});
        QTRY_COMPARE(view()->header()->length(), view()->viewport()->width());
    }

    void a_status_that_is_very_long_is_cut_in_sight()
    {
        open_site(first_window_size(SMALL_SCREEN));
        set_status(0, "device not in image");
        const QModelIndex status = view()->model()->index(0, column("status"));
        QTRY_VERIFY(!view()->cut_text(status).isEmpty());
        QTRY_VERIFY(view()->viewport()->rect().contains(view()->visualRect(status)));
        QTRY_VERIFY(!view()->horizontalScrollBar()->isVisible());
        window->gui->resize(1366, 748);
        QTRY_VERIFY(view()->cut_text(status).isEmpty());
    }

    // While a search runs, the columns would jump with each report of a device that it hides.
    void a_hidden_row_widens_no_column()
    {
        open_site({1900, 700});
        window->gui->search_box()->setEditText("horn 7");
        QTRY_VERIFY(view()->isRowHidden(0, QModelIndex()));
        settle();
        const int name = column("ui/name");
        const int before = view()->sizeHintForColumn(name);
        Device *device = window->devices.front()->record();
        device->values["ui/name"] = "A stand with a name of many letters";
        window->gui->update(device);
        QVERIFY(view()->isRowHidden(0, QModelIndex()));
        QCOMPARE(view()->sizeHintForColumn(name), before);
        QVERIFY(view()->has_settled());
        window->gui->search_box()->setEditText({});
        QTRY_VERIFY(view()->sizeHintForColumn(name) > before);
    }

    void a_wider_window_gives_the_texts_back_their_room()
    {
        open_site(first_window_size(SMALL_SCREEN));
        const QModelIndex name = top().siblingAtColumn(column("ui/name"));
        QTRY_VERIFY(!view()->cut_text(name).isEmpty());
        window->gui->resize(1366, 748);
        QTRY_VERIFY(view()->cut_text(name).isEmpty());
        window->gui->resize(1092, 614);
        QTRY_VERIFY(!view()->cut_text(name).isEmpty());
    }

    void what_can_not_fit_scrolls_and_is_whole()
    {
        open_site(first_window_size(SMALL_SCREEN));
        for (const char *id : {"ui/memo", "dsp/delay", "dsp/level", "dsp/preset", "ui/order"})
            window->gui->column_actions()[static_cast<size_t>(column(id))]->trigger();
        set_status(0, "device not in image");
        QTRY_VERIFY(view()->horizontalScrollBar()->isVisible());
        view()->horizontalScrollBar()->setValue(view()->horizontalScrollBar()->maximum());
        QTRY_VERIFY(is_whole("status", view()->model()->index(0, 0)));
    }

    // Whichever the list is sorted by: its arrow has room of its own.
    void where_there_is_room_captions_have_no_dots()
    {
        window = std::make_unique<PanelCase>();
        window->gui->resize(1366, 748);
        QHeaderView *header = view()->header();
        for (const int sorted : window->gui->shown_columns()) {
            header->setSortIndicator(sorted, Qt::AscendingOrder);
            QTRY_COMPARE(header->length(), view()->viewport()->width());
            header->grab();
            QCOMPARE(header->textElideMode(), Qt::ElideNone);
        }
        open_site(first_window_size(SMALL_SCREEN)); // here they have too little
        view()->header()->grab();
        QCOMPARE(view()->header()->textElideMode(), Qt::ElideRight);
    }

    void the_column_that_is_moved_last_takes_the_rest()
    {
        open_site({1900, 700});
        QHeaderView *header = view()->header();
        header->moveSection(header->visualIndex(column("ip")), header->count() - 1);
        QTRY_COMPARE(header->length(), view()->viewport()->width());
        QVERIFY(header->sectionSize(column("ip")) > header->sectionSize(column("status")));
    }

    void fields_show_the_beginning_of_their_texts()
    {
        open_site(first_window_size(SMALL_SCREEN));
        window->select({0});
        for (const char *key : {"firmware_version", "ui/name"}) {
            QLineEdit *field = window->row(key).line_edit;
            QTRY_VERIFY(field->width() < field->fontMetrics().horizontalAdvance(field->text()) + 8);
            field->grab(); // a field chooses its part when it is painted
            QCOMPARE(field->cursorPositionAt(QPoint(3, field->height() / 2)), 0);
        }
    }

    void the_edit_button_leads_behind_the_name()
    {
        open_site(first_window_size(SMALL_SCREEN));
        window->select({0});
        window->press_edit();
        QTest::keyClicks(QApplication::focusWidget(), "b");
        QCOMPARE(window->row("ui/name").line_edit->text(), QString("North stand horn 0b"));
    }
};

WINDOW_TEST_MAIN(ListFitTest)

#include "list_fit_test.moc"
