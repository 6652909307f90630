// The curve view's state: what is painted when, in which order, and for which screen.
#include "eq/curve_grid.h"
#include "eq/filter.h"
#include "support/curve_picture.h"
#include "support/curve_view_mouse.h"
#include "support/painted.h"

#include <QtTest>

#include <functional>

namespace {

// Tells what it is asked to draw.
class NotedFilter : public FilterPEQ
{
public:
    NotedFilter(int its_number, QStringList &drawn)
        : FilterPEQ(its_number, nullptr)
        , log(drawn)
    {
    }
    void draw_marker(QPainter *, bool highlighted) override
    {
        note(highlighted ? "highlighted" : "plain");
    }
    void draw_response(QPainter *) override { note("response"); }
    void draw_handles(QPainter *) override { note("handles"); }

private:
    void note(const QString &what) { log.append(QString::number(number) + " " + what); }

    QStringList &log;
};

// As on a screen of so many pixels to the point, which may be another one later.
class ScaledView : public CurveWidget
{
public:
    explicit ScaledView(int its_ratio)
        : CurveWidget(nullptr, {})
        , ratio(its_ratio)
    {
        resize(400, 200);
        set_has_curve(true);
    }

    int ratio;

protected:
    int metric(PaintDeviceMetric which) const override
    {
        if (which == PdmDevicePixelRatio)
            return ratio;
        if (which == PdmDevicePixelRatioScaled)
            return static_cast<int>(ratio * devicePixelRatioFScale());
        return CurveWidget::metric(which);
    }
};

} // namespace

class CurvePaintingTest : public QObject
{
    Q_OBJECT

private slots:
    void what_changes_the_picture_asks_for_a_new_one();
    void what_changes_nothing_asks_for_none();
    void the_band_that_is_hovered_or_held_comes_last();
    void a_resize_draws_the_grid_anew();
    void another_screens_pixels_draw_the_grid_anew();
};

void CurvePaintingTest::what_changes_the_picture_asks_for_a_new_one()
{
    CurveWidget view(nullptr, make_filters(BANDS));
    view.resize(400, 200);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    Painted paints(&view);
    const auto is_painted_by = [&paints](const std::function<void()> &change) {
        QCoreApplication::processEvents();
        paints.times = 0;
        change();
        return QTest::qWaitFor([&paints] { return paints.times > 0; }, 2000);
    };
    QVERIFY(is_painted_by([&view] { view.set_has_curve(true); }));
    const std::vector<QPointF> before = view.lines.magnitude;
    QVERIFY(is_painted_by([&view] { view.set_filters(make_filters({BANDS[1]})); }));
    QVERIFY(view.lines.magnitude != before);
    QVERIFY(is_painted_by([&view] { view.set_filters(make_filters(BANDS)); }));
    QCOMPARE(view.lines.magnitude, before);
    QCoreApplication::processEvents();
    const QPoint marker = marker_of(view, 2);
    QVERIFY(is_painted_by([&view, marker] { hover(view, marker); }));
    QCOMPARE(view.hover_index, 2);
    view.set_editable(true);
    QVERIFY(is_painted_by([&view, marker] { press(view, marker); }));
    QVERIFY(is_painted_by([&view, marker] { drag_to(view, marker + QPoint(9, 9)); }));
    QVERIFY(is_painted_by([&view, marker] { release(view, marker + QPoint(9, 9)); }));
    QCOMPARE(view.active_index, -1);
    QVERIFY(is_painted_by([&view] { hover(view, {1, 1}); }));
    QVERIFY(is_painted_by([&view] { view.set_has_curve(false); }));
}

// The panel tells the view what it knows already with each report.
void CurvePaintingTest::what_changes_nothing_asks_for_none()
{
    CurveWidget view(nullptr, make_filters(BANDS));
    view.resize(400, 200);
    view.set_has_curve(true);
    view.show();
    view.grab();
    const QPoint marker = marker_of(view, 2);
    hover(view, marker);
    QCOMPARE(view.hover_index, 2);
    QWidget other; // what is asked for last is painted last
    other.show();
    other.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&other));
    QCoreApplication::processEvents();
    Painted paints(&view);
    Painted later(&other);
    view.set_has_curve(true);
    view.set_editable(false);
    view.set_editable(true);
    hover(view, marker + QPoint(1, 0));
    release(view, marker);
    view.set_editable(false);
    QCOMPARE(view.hover_index, 2);
    other.update();
    QTRY_COMPARE(later.times, 1);
    QCOMPARE(paints.times, 0);
}

void CurvePaintingTest::the_band_that_is_hovered_or_held_comes_last()
{
    QStringList drawn;
    CurveWidget view(
        nullptr, {new NotedFilter(1, drawn), new NotedFilter(2, drawn), new NotedFilter(3, drawn)});
    view.set_has_curve(true);
    view.resize(400, 200);
    view.grab();
    QCOMPARE(drawn, QStringList({"1 plain", "2 plain", "3 plain"}));
    drawn.clear();
    view.hover_index = 1;
    view.grab();
    QCOMPARE(drawn, QStringList({"1 plain", "3 plain", "2 highlighted", "2 response"}));
    drawn.clear();
    view.active_index = 0;
    view.grab();
    QCOMPARE(drawn, QStringList({"2 plain", "3 plain", "1 handles", "1 response"}));
}

void CurvePaintingTest::a_resize_draws_the_grid_anew()
{
    const auto picture = [](CurveWidget &view, QSize size) {
        view.set_has_curve(true);
        view.resize(size);
        view.show();
        return view.grab().toImage();
    };
    CurveWidget resized(nullptr, {});
    picture(resized, {400, 200});
    CurveWidget fresh(nullptr, {});
    QCOMPARE(picture(resized, {500, 300}), picture(fresh, {500, 300}));
}

void CurvePaintingTest::another_screens_pixels_draw_the_grid_anew()
{
    ScaledView moved(1);
    moved.show(); // one out of sight is sized anew for each picture
    QVERIFY(QTest::qWaitForWindowExposed(&moved));
    const QImage coarse = moved.grab().toImage();
    QCOMPARE(coarse.size(), QSize(400, 200));
    moved.ratio = 2;
    const QImage fine = moved.grab().toImage();
    QCOMPARE(fine.size(), QSize(800, 400));
    QCOMPARE(fine, ScaledView(2).grab().toImage());
    // To its edges, and with labels of their own.
    const QRect phase(770, 240, 30, 20);
    QVERIFY(fine.copy(phase) != coarse.scaled(800, 400).copy(phase));
    const int column = 2 * moved.grid->freq_to_x(20000.0F);
    QVERIFY(fine.pixelColor(column, 390) != QColor(Qt::black));
    QVERIFY(fine.pixelColor(column, 10) != QColor(Qt::black));
}

TEST_PART(CurvePaintingTest)
#include "curve_widget_test_painting.moc"
