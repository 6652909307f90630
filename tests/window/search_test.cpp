// The search box leaves visible what matches, marks it, and remembers what was committed.
//
// With SEARCH_PICTURES set to a folder, the pictures that are looked at are saved there.
#include "support/search_case.h"

#include <QGlyphRun>
#include <QSignalSpy>
#include <QTextLayout>

namespace {

// Light text on dark grounds, as desktops have it.
QPalette dark_palette()
{
    QPalette palette(QColor(53, 53, 53), QColor(35, 35, 35));
    for (const QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::BrightText})
        palette.setColor(role, QColor(230, 230, 230));
    palette.setColor(QPalette::Base, QColor(25, 25, 25));
    palette.setColor(QPalette::Highlight, QColor(42, 130, 218));
    palette.setColor(QPalette::HighlightedText, Qt::black);
    return palette;
}

// The fonts that draw a text in this font; "none" where one of its characters is in no font.
QStringList drawing_fonts(const QString &text, const QFont &font)
{
    QTextLayout layout(text, font);
    layout.beginLayout();
    layout.createLine();
    layout.endLayout();
    QStringList families;
    for (const QGlyphRun &run : layout.glyphRuns())
        families.append(run.glyphIndexes().contains(0) ? "none" : run.rawFont().familyName());
    return families;
}

} // namespace

class SearchTest : public SearchCase
{
    Q_OBJECT

private slots:
    void init() { window = std::make_unique<PanelCase>(); }
    void cleanup() { window.reset(); }

    void typing_leaves_the_rows_that_match()
    {
        window->add(named("xABabx"));
        window->add(named("other"));
        search("ab");
        QCOMPARE(shown_names(), QStringList("xABabx"));
        QCOMPARE(gui().highlighted_text(), QString("ab"));
        search("");
        QCOMPARE(shown_names().size(), 2);
    }

    void special_characters_are_searched_as_they_are_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("ampersand") << "&";
        QTest::newRow("tag") << "<b>";
        QTest::newRow("emoji") << QString::fromUtf8("🔍");
        QTest::newRow("right to left") << QString::fromUtf8("שלום");
        QTest::newRow("pattern characters") << ".*[";
    }

    void special_characters_are_searched_as_they_are()
    {
        QFETCH(QString, text);
        window->add(named("A " + text + " B"));
        window->add(named("other"));
        box()->setText(text);
        QCOMPARE(shown_names().size(), 1);
    }

    void the_escape_of_a_character_is_not_found()
    {
        window->add(named("a & b"));
        search("amp");
        QVERIFY(shown_names().isEmpty());
    }

    void text_in_a_hidden_column_keeps_no_row()
    {
        FakeDevice &device = window->add({{"ui", QJsonObject{{"memo", "secret"}}}});
        search("secret");
        QVERIFY(shown_names().isEmpty());
        const int memo = window->column("ui/memo");
        gui().column_actions()[static_cast<size_t>(memo)]->setChecked(true);
        device.report();
        QTRY_COMPARE(shown_names().size(), 1);
    }

    void a_value_without_text_matches_only_an_empty_search()
    {
        window->add(named("Left"));
        for (int column = 0; column < gui().model().columnCount(); ++column)
            gui().model().item(0, column)->setData(QRect(1, 2, 3, 4), Qt::DisplayRole);
        search("1");
        QVERIFY(gui().view()->isRowHidden(0, QModelIndex()));
        search("");
        QVERIFY(!gui().view()->isRowHidden(0, QModelIndex()));
    }

    void an_empty_search_needs_a_visible_column()
    {
        window->add(named("Left"));
        for (int column = 0; column < gui().model().columnCount(); ++column)
            gui().view()->setColumnHidden(column, true);
        gui().refresh_search();
        QVERIFY(gui().view()->isRowHidden(0, QModelIndex()));
    }

    void hiding_a_selected_row_ends_the_edit()
    {
        window->add(named("Left"));
        window->add(named("Right"));
        window->select({0, 1});
        window->press_edit();
        window->type("ui/memo", "typed");
        QVERIFY(gui().is_editing());
        search("right");
        QVERIFY(!gui().is_editing());
        QVERIFY(!window->row("ui/memo").edited);
        QCOMPARE(gui().selected_devices().size(), size_t(1));
        QCOMPARE(window->row("ui/name").value, QVariant("Right"));
        QVERIFY(window->devices[0]->commands().isEmpty());
    }

    void showing_a_selected_row_again_ends_the_edit_too()
    {
        window->add(named("Left"));
        window->add(named("Right"));
        window->select({0, 1});
        search("right");
        window->press_edit();
        box()->clear();
        QVERIFY(!gui().is_editing());
        QCOMPARE(gui().selected_devices().size(), size_t(2));
    }

    // A device that falls silent is no reason to lose what was typed for five of them.
    void reports_hide_and_show_no_edited_row_before_the_edit_ends()
    {
        for (int i = 0; i < 8; ++i)
            window->add(named(QString("Row %1").arg(i)));
        search("online");
        window->select({0, 1, 2, 3, 4});
        window->press_edit();
        window->type("ui/memo", "typed");
        for (const size_t silent : {size_t(2), size_t(6)})
            window->devices[silent]->record()->last_seen -= 5000;
        gui().discover();
        QCOMPARE(window->cell(window->devices[2]->record(), "status"), QString("Offline"));
        gui().refresh_search();
        QVERIFY(gui().is_editing());
        QCOMPARE(window->row("ui/memo").value, QVariant("typed"));
        QVERIFY(shown_names().contains("Row 2"));
        QVERIFY(!shown_names().contains("Row 6")); // not edited
        QCOMPARE(gui().selected_devices().size(), size_t(5));
        window->press_cancel();
        QTRY_VERIFY(!shown_names().contains("Row 2"));
        QTRY_COMPARE(gui().selected_devices().size(), size_t(4));
    }

    void a_text_that_the_operator_changes_ends_the_edit_of_a_row_that_waited()
    {
        window->add(named("Left"));
        search("online");
        window->select({0});
        window->press_edit();
        window->devices[0]->record()->last_seen -= 5000;
        gui().discover();
        gui().refresh_search();
        QVERIFY(gui().is_editing());
        QTest::keyClick(box(), Qt::Key_Backspace);
        QVERIFY(!gui().is_editing());
        QVERIFY(shown_names().isEmpty());
    }

    void a_row_that_stays_as_it_is_does_not_disturb_the_edit()
    {
        window->add(named("Left"));
        window->add(named("Right"));
        window->select({0});
        window->press_edit();
        window->type("ui/memo", "typed");
        search("le");
        QVERIFY(gui().is_editing());
        QCOMPARE(window->row("ui/memo").value, QVariant("typed"));
        QCOMPARE(shown_names(), QStringList("Left"));
    }

    void a_hidden_row_stays_selected_and_counts_no_more()
    {
        FakeDevice &left = window->add(named("Left"));
        window->select({0});
        search("x");
        QVERIFY(gui().is_selected(left.record()));
        QVERIFY(gui().selected_devices().empty());
    }

    // Ending the edit merges what was held back, and the list sorts while the rows are walked.
    void rows_that_change_places_meanwhile_are_not_mixed_up()
    {
        for (const char *name : {"keep 1", "hide", "keep 2", "keep 3"})
            window->add(
                {{"ui", QJsonObject{{"name", name}, {"order", int(window->devices.size())}}}});
        window->select({1});
        window->press_edit();
        window->devices[1]->report("ui", "order", 9);
        QCOMPARE(gui().row_of(window->devices[1]->record()), 1);
        box()->setText("keep");
        QCOMPARE(gui().row_of(window->devices[1]->record()), 3);
        QCOMPARE(shown_names(), QStringList({"keep 1", "keep 2", "keep 3"}));
    }

    void a_held_back_name_counts_as_soon_as_it_is_merged()
    {
        window->add(named("Left"));
        window->select({0});
        window->press_edit();
        window->devices[0]->report("ui", "name", "Right");
        box()->setText("right");
        QVERIFY(!gui().is_editing());
        QCOMPARE(shown_names(), QStringList("Right"));
    }

    void a_changed_cell_hides_and_shows_its_row()
    {
        FakeDevice &device = window->add(named("Left"));
        window->add(named("Right"));
        search("left");
        device.report("ui", "name", "Centre");
        QTRY_VERIFY(shown_names().isEmpty());
        device.report("ui", "name", "Left");
        QTRY_COMPARE(shown_names(), QStringList("Left"));
    }

    void a_new_device_is_judged()
    {
        window->add(named("Left"));
        search("left");
        window->add(named("Right"));
        QTRY_COMPARE(shown_names(), QStringList("Left"));
    }

    void reports_refresh_the_search_once_per_frame()
    {
        FakeDevice &device = window->add(named("Left"));
        device.report("ui", "memo", "first");
        device.report("ui", "loc", "first");
        QVERIFY(!gui().search_pace().is_waiting()); // nothing is searched
        search("left");
        QVERIFY(!gui().search_pace().is_waiting());
        gui().refresh_search();
        device.report("ui", "loc", "second");
        QVERIFY(gui().search_pace().is_waiting());
        QVERIFY(gui().search_pace().wait() > 0);
        QVERIFY(gui().search_pace().wait() <= 16);
        const QSignalSpy refreshes(&gui().search_pace(), &FrameThrottle::due);
        for (int i = 0; i < 500; ++i)
            device.report("ui", "loc", QString::number(i));
        QTRY_VERIFY(!gui().search_pace().is_waiting());
        QCOMPARE(refreshes.size(), 1);
    }

    void a_report_without_news_refreshes_no_search()
    {
        FakeDevice &device = window->add(named("Left"));
        search("left");
        device.report();
        QVERIFY(!gui().search_pace().is_waiting());
    }

    void a_refresh_that_changes_nothing_paints_nothing()
    {
        window->add(named("Left"));
        search("left");
        QCoreApplication::processEvents();
        struct PaintCounter : QObject
        {
            int count = 0;
            bool eventFilter(QObject *, QEvent *event) override
            {
                count += event->type() == QEvent::Paint;
                return false;
            }
        } counter;
        QTRY_VERIFY(!gui().view()->viewport()->testAttribute(Qt::WA_PendingUpdate));
        gui().view()->viewport()->installEventFilter(&counter);
        gui().meter_timer().stop();
        gui().refresh_search();
        QCoreApplication::processEvents();
        QCOMPARE(counter.count, 0);
        box()->setText("lef");
        QTRY_VERIFY(counter.count > 0);
    }

    void marks_can_be_read_in_every_palette_data()
    {
        QTest::addColumn<bool>("dark");
        QTest::addColumn<bool>("selected");
        QTest::newRow("light") << false << false;
        QTest::newRow("light, selected") << false << true;
        QTest::newRow("dark") << true << false;
        QTest::newRow("dark, selected") << true << true;
    }

    void marks_can_be_read_in_every_palette()
    {
        QFETCH(bool, dark);
        QFETCH(bool, selected);
        const QPalette usual = QApplication::palette();
        window.reset();
        if (dark)
            QApplication::setPalette(dark_palette());
        window = std::make_unique<PanelCase>();
        QCOMPARE(gui().is_dark(), dark);
        window->add(named("Marked <b> & הדגשה é text"));
        window->add({{"ui", QJsonObject{{"name", "Sub left"}, {"loc", "Marked side"}}}});
        search("mark");
        if (selected)
            window->select({0});
        const int name = window->column("ui/name");
        QTRY_VERIFY(gui().view()->columnWidth(name) > 200); // as wide as its text
        const QPixmap picture = gui().widget().grab();
        const QModelIndex cell = gui().model().index(0, name);
        const QRect place = gui().view()->visualRect(cell);
        const QImage seen = gui().view()->viewport()->grab(place).toImage();
        QRegion ground;
        for (int y = 0; y < seen.height(); ++y)
            for (int x = 0; x < seen.width(); ++x)
                if (seen.pixelColor(x, y) == QColor(255, 255, 0))
                    ground += QRect(x, y, 1, 1);
        const QRect mark = ground.boundingRect();
        int black = 0;
        for (int y = mark.top(); y <= mark.bottom(); ++y)
            for (int x = mark.left(); x <= mark.right(); ++x)
                black += seen.pixelColor(x, y).lightness() < 40;
        QApplication::setPalette(usual);
        QVERIFY(mark.width() > 20 && mark.width() < seen.width() / 2);
        QVERIFY(black > 20);
        const QString folder = qEnvironmentVariable("SEARCH_PICTURES");
        if (!folder.isEmpty())
            QVERIFY(picture.save(folder + "/" + QTest::currentDataTag() + ".png"));
    }

    // A device chooses how long its name is; laying it out whole would stall the window.
    void a_name_of_any_length_is_searched_whole_and_shown_in_part()
    {
        const QString start = QString(600, 'i');
        window->add(named(start + "needle"));
        window->add(named("other"));
        search("needle");
        QCOMPARE(shown_names(), QStringList(start + "needle"));
        const int name = window->column("ui/name");
        const QFontMetrics metrics = gui().view()->fontMetrics();
        QTRY_VERIFY(gui().view()->columnWidth(name)
                    >= metrics.horizontalAdvance(QString(512, 'i')));
        QVERIFY(gui().view()->columnWidth(name) < metrics.horizontalAdvance(QString(540, 'i')));
    }

    void the_symbols_are_in_the_fonts()
    {
        QVERIFY(box()->placeholderText().startsWith("🔍"));
        for (const char *symbol : {"🔍", "🗸", "🗴"})
            for (const QFont &font : {box()->font(), gui().view()->font()}) {
                const QStringList families = drawing_fonts(QString::fromUtf8(symbol), font);
                qInfo("%s is drawn with %s", symbol, qPrintable(families.join(", ")));
                QVERIFY(!families.isEmpty());
                QVERIFY(!families.contains("none"));
            }
    }
};

WINDOW_TEST_MAIN(SearchTest)
#include "search_test.moc"
