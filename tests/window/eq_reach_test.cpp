// Every band of the equaliser can be taken with the mouse where it is seen, in views of every size.
#include "eq/curve_grid.h"
#include "support/curve_mouse.h"
#include "support/panel_case.h"

#include <QRandomGenerator>
#include <QSplitter>

#include <cmath>

namespace {

double distance(QPoint one, QPoint other)
{
    return std::hypot(one.x() - other.x(), one.y() - other.y());
}

// Bands that may be drawn: within the view, of every type.
QJsonObject random_bands(QRandomGenerator &random)
{
    QJsonObject dsp{{"eq_en", true}};
    for (int i = 0; i < 5; ++i)
        dsp.insert(QString("eq%1").arg(i),
                   eq_band(random.bounded(1, 5),
                           static_cast<int>(20 * std::pow(1000.0, random.bounded(1.0))),
                           0.5 + random.bounded(8.0), random.bounded(37) - 18.0));
    return dsp;
}

} // namespace

class EqReachTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<PanelCase> window;

    // A loudspeaker of these bands, selected and in edit, in a view of about this height.
    void show_bands(const QJsonObject &dsp, QSize size)
    {
        window = std::make_unique<PanelCase>();
        window->gui->resize(size.width() + 500, size.height() + 300);
        window->add({{"dsp", dsp}});
        window->select({0});
        window->gui->eq_button()->setChecked(true);
        window->gui->property_splitter()->setSizes({size.width(), 500});
        window->gui->eq_splitter()->setSizes({200, size.height()});
        window->press_edit();
        window->gui->curve()->grab(); // markers are hit where they were last painted
    }

    static void size_rows()
    {
        QTest::addColumn<QSize>("size");
        QTest::newRow("small") << QSize(320, 120);
        QTest::newRow("usual") << QSize(800, 300);
        QTest::newRow("large") << QSize(1600, 900);
    }

private slots:
    void cleanup() { window.reset(); }

    void every_painted_point_of_a_marker_takes_it_or_a_nearer_one_data() { size_rows(); }
    void every_painted_point_of_a_marker_takes_it_or_a_nearer_one()
    {
        QFETCH(QSize, size);
        QRandomGenerator random(7);
        for (int i = 0; i < 8; ++i) {
            show_bands(random_bands(random), size);
            const CurveMouse mouse(window->gui.get());
            for (const Filter *band : mouse.curve().filters) {
                const QPoint marker(band->marker_x, band->marker_y);
                // The square that is painted, whose corners are round.
                const int half = static_cast<int>(mouse.curve().grid->font_size * 1.5) / 2;
                const int round = half - 1;
                for (const QPoint offset :
                     {QPoint(0, 0), QPoint(-half, 0), QPoint(half, 0), QPoint(0, -half),
                      QPoint(0, half), QPoint(-round, -round), QPoint(round, round)}) {
                    const QPoint spot = marker + offset;
                    if (!mouse.curve().rect().contains(spot))
                        continue;
                    mouse.move(spot);
                    QVERIFY2(mouse.curve().hover_index >= 0, "no marker under the mouse");
                    const Filter *taken = mouse.curve().filters.at(mouse.curve().hover_index);
                    QVERIFY(distance({taken->marker_x, taken->marker_y}, spot)
                            <= distance(marker, spot));
                }
            }
        }
    }

    void a_pull_at_a_marker_changes_its_band_and_no_other_data() { size_rows(); }
    void a_pull_at_a_marker_changes_its_band_and_no_other()
    {
        QFETCH(QSize, size);
        for (int number = 1; number <= 5; ++number) {
            show_bands({{"eq_en", true},
                        {"eq0", eq_band(1, 60, 0.7, 3)},
                        {"eq1", eq_band(2, 200, 2, -6)},
                        {"eq2", eq_band(2, 800, 1, 9)},
                        {"eq3", eq_band(3, 3000, 4, -3)},
                        {"eq4", eq_band(4, 11000, 0.7, 6)}},
                       size);
            const CurveMouse mouse(window->gui.get());
            const QPoint marker = mouse.marker(number);
            mouse.drag(marker, marker + QPoint(6, 8));
            for (int other = 1; other <= 5; ++other)
                for (const char *name : {"freq", "gain"}) {
                    const std::string key = "dsp/eq" + std::to_string(other - 1) + "/" + name;
                    QCOMPARE(window->row(key).edited, other == number);
                }
        }
    }

    void every_handle_can_be_taken_in_its_middle_data() { size_rows(); }
    void every_handle_can_be_taken_in_its_middle()
    {
        QFETCH(QSize, size);
        show_bands({{"eq_en", true}, {"eq0", eq_band(2, 700, 0.8, 6)}}, size);
        const CurveMouse mouse(window->gui.get());
        const auto *peak = dynamic_cast<const FilterPEQ *>(mouse.filter(1));
        QVERIFY(peak != nullptr);
        mouse.click(mouse.marker(1));
        window->gui->curve()->grab();
        const struct
        {
            const char *name;
            QPoint spot;
            int state;
        } handles[] = {
            {"marker", peak->center_rect.center(), 3},
            {"left stub", {peak->low_rect.center().x(), peak->low_rect.top() + 3}, 4},
            {"right stub", {peak->high_rect.center().x(), peak->high_rect.bottom() - 4}, 4},
            {"vertical strip", {peak->freq_band.center().x(), 3}, 5},
            {"horizontal strip", {3, peak->gain_band.center().y()}, 6},
        };
        for (const auto &handle : handles) {
            mouse.press(handle.spot);
            const int state = peak->drag_state;
            mouse.release(handle.spot + QPoint(1, 0));
            QVERIFY2(state == handle.state, handle.name);
        }
    }

    void two_markers_on_one_spot_can_be_pulled_apart()
    {
        show_bands(
            {{"eq_en", true}, {"eq0", eq_band(2, 700, 1, 6)}, {"eq1", eq_band(2, 700, 1, 6)}},
            {800, 300});
        const CurveMouse mouse(window->gui.get());
        const QPoint spot = mouse.marker(2);
        mouse.drag(spot, spot + QPoint(80, 40));
        QVERIFY(window->row("dsp/eq0/freq").edited);
        QVERIFY(!window->row("dsp/eq1/freq").edited);
        window->gui->curve()->grab();
        mouse.drag(spot, spot - QPoint(80, 40));
        QVERIFY(window->row("dsp/eq1/freq").edited);
    }
};

WINDOW_TEST_MAIN(EqReachTest)
#include "eq_reach_test.moc"
