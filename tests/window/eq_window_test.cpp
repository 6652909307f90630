// The equaliser in the shown main window: drawn from the panel's rows, and dragged into them.
//
// With CURVE_PICTURES set to a folder, the pictures that are looked at are saved there.
#include "eq/band_tip.h"
#include "eq/curve_grid.h"
#include "support/dialog_probe.h"
#include "support/eq_case.h"

#include <QRegularExpression>
#include <QToolTip>

class EqWindowTest : public EqWindowCase
{
    Q_OBJECT

private slots:
    void init() { window = std::make_unique<EqCase>(); }
    void cleanup() { window.reset(); }
    void the_curve_first_shows_in_half_of_the_room();
    void a_tip_tells_the_numbers_of_the_band_under_the_pointer();
    void devices_of_different_gain_share_no_band();
    void devices_of_different_switches_show_a_flat_line();
    void the_switch_off_shows_a_flat_line_without_bands();
    void a_device_without_equaliser_closes_the_view();
    void without_a_selection_the_curve_stays();
    void disabled_bands_and_bands_of_no_type_keep_their_numbers();
    void a_q_beyond_the_model_keeps_its_row();
    void a_hidden_row_still_draws_and_takes_nothing();
    void pressing_a_band_brings_its_rows_into_sight();
    void hints_count_presses_outside_an_edit();
    void hostile_reports_draw_no_harm_data();
    void hostile_reports_draw_no_harm();
    void odd_sizes_in_the_window_do_no_harm();
    void pictures_to_look_at();
};

void EqWindowTest::the_curve_first_shows_in_half_of_the_room()
{
    const auto halves = [this] {
        QCoreApplication::processEvents();
        const QList<int> sizes = gui().eq_splitter()->sizes();
        return sizes.size() == 2 && std::abs(sizes[0] - sizes[1]) <= 1 && sizes[0] > 100;
    };
    QVERIFY(curve().isVisible());
    QVERIFY(halves());
    QCOMPARE(gui().eq_splitter()->widget(1), &curve());
    QTest::mouseClick(gui().eq_button(), Qt::LeftButton);
    QVERIFY(!curve().isVisible());
    QCOMPARE(gui().eq_splitter()->count(), 1);
    QTest::mouseClick(gui().eq_button(), Qt::LeftButton);
    QVERIFY(curve().isVisible());
    QVERIFY(halves());
    // Restored before the window first shows.
    gui().close();
    window->start();
    gui().show();
    QVERIFY(curve().isVisible());
    QVERIFY(halves());
}

void EqWindowTest::a_tip_tells_the_numbers_of_the_band_under_the_pointer()
{
    show_device(all_types());
    std::map<std::string, Property> rows;
    const auto row_of = [this, &rows](const std::string &key) -> const Property * {
        rows[key] = gui().row(key);
        return &rows[key];
    };
    const auto expected = [&row_of](int number) { return band_tip(number, row_of); };
    mouse().move(mouse().marker(3));
    QTRY_VERIFY(QToolTip::isVisible());
    QCOMPARE(QToolTip::text(), expected(3));
    QVERIFY2(QRegularExpression("^Frequency: 1000(\\.0*)? Hz\nGain: 9(\\.0*)? dB\nQ: 4(\\.0*)?$")
                 .match(QToolTip::text())
                 .hasMatch(),
             qPrintable(QToolTip::text()));
    mouse().move(mouse().marker(1));
    QCOMPARE(QToolTip::text(), expected(1));
    mouse().move({curve().width() / 2, 3}); // no band
    QTRY_VERIFY(!QToolTip::isVisible());

    // In a drag it follows what the rows show, far from where the marker was.
    window->press_edit();
    const QPoint from = mouse().marker(2);
    mouse().move(from);
    mouse().press(from);
    mouse().move(from + QPoint(40, -30));
    QTRY_VERIFY(QToolTip::isVisible());
    const QString first = QToolTip::text();
    QCOMPARE(first, expected(2));
    mouse().move(from + QPoint(80, 50));
    QCOMPARE(QToolTip::text(), expected(2));
    QVERIFY(QToolTip::text() != first);
    mouse().release(from + QPoint(80, 50));
}

void EqWindowTest::devices_of_different_gain_share_no_band()
{
    QJsonObject other = all_types().value("dsp").toObject();
    other.insert("eq0", eq_band(EQ_LSHELF, 100, 1.0, 4.0));
    window->add(all_types());
    window->add({{"dsp", other}});
    window->select({0, 1});
    QVERIFY(!window->band_row(1, "gain").value.isValid());
    QCOMPARE(mouse().numbers(), QList<int>({2, 3, 5}));
    window->select({0});
    QCOMPARE(mouse().numbers(), QList<int>({1, 2, 3, 5}));
}

void EqWindowTest::devices_of_different_switches_show_a_flat_line()
{
    QJsonObject other = all_types().value("dsp").toObject();
    other.insert("eq_en", false);
    window->add(all_types());
    window->add({{"dsp", other}});
    window->select({0, 1});
    QVERIFY(curve().has_curve);
    QVERIFY(curve().filters.isEmpty());
}

void EqWindowTest::the_switch_off_shows_a_flat_line_without_bands()
{
    FakeDevice &shown = show_device(all_types());
    QCOMPARE(curve().filters.size(), 4);
    shown.report("dsp", "eq_en", false);
    QTRY_VERIFY(curve().filters.isEmpty());
    QVERIFY(curve().has_curve);
    for (const QPointF &point : curve().lines.magnitude)
        QCOMPARE(point.y(), std::trunc(double{curve().grid->center_y}));
    QVERIFY(!curve().lines.magnitude.empty());
}

void EqWindowTest::a_device_without_equaliser_closes_the_view()
{
    window->add(all_types());
    window->add({}, 1000);
    window->select({0});
    QVERIFY(curve().has_curve);
    QVERIFY(curve().isVisible());
    window->select({1});
    QVERIFY(!curve().has_curve);
    QVERIFY(!gui().eq_button()->isChecked());
    QCOMPARE(gui().eq_splitter()->count(), 1);
    gui().close();
    QCOMPARE(gui().settings().value("eq_visible").toBool(), false);
}

void EqWindowTest::without_a_selection_the_curve_stays()
{
    show_device(all_types());
    const QList<Filter *> filters = curve().filters;
    gui().view()->clearSelection();
    QVERIFY(gui().selected_devices().empty());
    gui().refresh_eq_view();
    QVERIFY(curve().has_curve);
    QVERIFY(gui().eq_button()->isChecked());
    QCOMPARE(curve().filters, filters);
}

void EqWindowTest::disabled_bands_and_bands_of_no_type_keep_their_numbers()
{
    QJsonObject parts = all_types().value("dsp").toObject();
    parts.insert("eq1", eq_band(EQ_PEQ, 300, 1.0, -6.0, false));
    parts.insert("eq2", eq_band(EQ_NONE, 1000, 1.0, -6.0));
    parts.insert("eq3", eq_band(EQ_PEQ, 3000, 1.0, 5.0));
    show_device({{"dsp", parts}});
    QCOMPARE(mouse().numbers(), QList<int>({1, 4, 5}));
}

void EqWindowTest::a_q_beyond_the_model_keeps_its_row()
{
    FakeDevice &shown = show_device(one_band(eq_band(EQ_PEQ, 1000, 25.0, 6.0)));
    QCOMPARE(params_of(mouse().filter(1)).q, 20.0F);
    QCOMPARE(window->band_row(1, "q").value, QVariant(25.0));
    shown.report("dsp", "eq0", eq_band(EQ_PEQ, 1000, 0.1, 6.0));
    QTRY_COMPARE(params_of(mouse().filter(1)).q, 0.3F);
    QCOMPARE(window->band_row(1, "q").value, QVariant(0.1));
}

void EqWindowTest::a_hidden_row_still_draws_and_takes_nothing()
{
    FakeDevice &shown = show_device(one_band(eq_band(EQ_PEQ, 1000, 1.0, 6.0)));
    window->press_edit();
    shown.record()->properties.own("dsp/eq0/q").flags |= PF_NO_ROW;
    gui().panel().update_property("dsp/eq0/q");
    QVERIFY(!window->is_shown("dsp/eq0/q"));
    gui().refresh_eq_view();
    QCoreApplication::processEvents();
    QCOMPARE(mouse().numbers(), QList<int>({1}));
    const QPoint marker = mouse().marker(1);
    mouse().drag(marker, marker + QPoint(30, 10));
    QVERIFY(!window->band_row(1, "q").edited);
    QVERIFY(window->band_row(1, "freq").edited);
    QVERIFY(window->band_row(1, "gain").edited);
}

void EqWindowTest::pressing_a_band_brings_its_rows_into_sight()
{
    QJsonObject bands{{"eq_en", true}};
    for (int index = 0; index < 5; ++index)
        bands.insert(QString("eq%1").arg(index), eq_band(EQ_PEQ, 100 << index, 1.0, 6.0));
    show_device({{"dsp", bands}});
    QScrollArea *panel = gui().property_scroll();
    const auto is_in_sight = [this, panel](const std::string &key) {
        const QWidget *holder = window->row(key).holder;
        const QRect place(holder->mapTo(panel->viewport(), QPoint(0, 0)), holder->size());
        return panel->viewport()->rect().contains(place);
    };
    for (const bool is_editing : {false, true}) {
        if (is_editing)
            window->press_edit();
        gui().view()->setFocus();
        for (const int number : {5, 1, 4}) {
            QTest::mouseMove(gui().widget().windowHandle(), {1, 1});
            mouse().move(mouse().marker(number)); // a press is where the pointer stands
            mouse().click(mouse().marker(number));
            for (const char *name : {"type", "freq", "q", "gain", "en"})
                QVERIFY2(is_in_sight(eq_row_key(number - 1, name)), name);
            QVERIFY(is_in_sight(QString("dummy/header/eq%1").arg(number - 1).toStdString()));
            QCOMPARE(panel->horizontalScrollBar()->value(), 0);
            QCOMPARE(QApplication::focusWidget(), gui().view());
            if (is_editing)
                mouse().click({3, 3}); // lets the band go
            curve().click_count = 0;   // no hint
        }
    }
}

void EqWindowTest::hints_count_presses_outside_an_edit()
{
    DialogProbe probe;
    show_device(all_types());
    const QPoint marker = mouse().marker(2);
    for (int i = 0; i < 8; ++i)
        mouse().drag(marker, marker + QPoint(20, 20));
    QCOMPARE(probe.titles, QStringList({"Hint", "Hint"}));
    QCOMPARE(curve().active_index, -1);
    QCOMPARE(window->band_row(2, "freq").value, QVariant(300));
    QVERIFY(!window->band_row(2, "freq").edited);
}

void EqWindowTest::hostile_reports_draw_no_harm_data()
{
    QTest::addColumn<QJsonValue>("type");
    for (const int type : {0, 1, 2, 3, 4, 5, -1, 99})
        QTest::addRow("type %d", type) << QJsonValue(type);
    QTest::newRow("huge type") << QJsonValue(1e300);
    QTest::newRow("broken type") << QJsonValue(2.5);
    QTest::newRow("text for a type") << QJsonValue("2");
    QTest::newRow("switch for a type") << QJsonValue(true);
    QTest::newRow("list for a type") << QJsonValue(QJsonArray{2});
    QTest::newRow("no type") << QJsonValue();
}

// Every band of the device gets the same odd values; each is drawn, hovered and dragged.
void EqWindowTest::hostile_reports_draw_no_harm()
{
    QFETCH(QJsonValue, type);
    FakeDevice &shown = show_device(all_types());
    const QJsonValue frequencies[] = {0, -1, 1, 2147483647, -2147483648.0, 1e38, 0.5, "nan", {}};
    const QJsonValue widths[] = {0, 1e-30, -1, 1e38, 1e300, "inf", {}};
    const QJsonValue gains[] = {1e30, -1e30, 1e-30, 1e308, "nan", true};
    QJsonObject dsp = shown.state.value("dsp").toObject();
    random.seed(7);
    for (int round = 0; round < 40; ++round) {
        for (int index = 0; index < 5; ++index) {
            const QJsonObject values{{"type", type},
                                     {"freq", frequencies[any(9)]},
                                     {"q", widths[any(7)]},
                                     {"gain", gains[any(6)]},
                                     {"en", true}};
            dsp.insert(QString("eq%1").arg(index), values);
        }
        shown.state.insert("dsp", dsp);
        shown.report();
        QCoreApplication::processEvents();
        for (const std::vector<QPointF> *line : {&curve().lines.magnitude, &curve().lines.phase})
            for (const QPointF &point : *line)
                QVERIFY(std::abs(point.y()) < 32767.0);
        if (round % 8 != 0)
            continue;
        window->press_edit();
        for (int i = 0; i < curve().filters.size(); ++i) {
            const QPoint place(any(curve().width()), any(curve().height()));
            mouse().drag(i % 2 ? place : QPoint(0, place.y()), {any(curve().width()), 20});
        }
        window->press_cancel();
    }
    for (int index = 0; index < 5; ++index) {
        const QString name = QString("eq%1").arg(index);
        shown.report("dsp", name, all_types().value("dsp").toObject().value(name));
    }
    QTRY_COMPARE(mouse().numbers(), QList<int>({1, 2, 3, 5}));
}

void EqWindowTest::odd_sizes_in_the_window_do_no_harm()
{
    FakeDevice &shown = show_device(all_types());
    window->press_edit();
    mouse().press(mouse().marker(3));
    for (const QSize size : {QSize(8000, 2), QSize(1, 2000), QSize(1, 1), QSize(0, 0)}) {
        curve().resize(size);
        curve().repaint();
        mouse().move({3, 3});
        shown.report();
        QCoreApplication::processEvents();
    }
    mouse().release({0, 0});
    window->press_cancel();
    gui().eq_splitter()->setSizes({1000, 0});
    shown.report("dsp", "eq0", eq_band(EQ_PEQ, 50, 1.0, 6.0));
    QTRY_COMPARE(mouse().filter(1)->freq, 50.0F);
    gui().eq_splitter()->setSizes({1000, 1000});
    QCoreApplication::processEvents();
    QCOMPARE(curve().lines.magnitude.size(), static_cast<std::size_t>(curve().width()));
}

void EqWindowTest::pictures_to_look_at()
{
    const QString folder = qEnvironmentVariable("CURVE_PICTURES");
    const auto save = [this, folder](const QString &name) {
        QCoreApplication::processEvents();
        const QPixmap picture = gui().widget().grab();
        QVERIFY(!picture.isNull());
        if (!folder.isEmpty())
            QVERIFY(picture.save(folder + "/window-" + name + ".png"));
    };
    show_device(all_types());
    save("bands");
    mouse().move(mouse().marker(3));
    save("hovered");
    window->press_edit();
    mouse().click(mouse().marker(2));
    save("handles");
}

WINDOW_TEST_MAIN(EqWindowTest)
#include "eq_window_test.moc"
