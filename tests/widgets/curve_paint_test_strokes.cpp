// The curve view's picture: lines drawn in slices, and what makes them anew.
#include "eq/column_paint.h"
#include "eq/curve_geometry.h"
#include "eq/curve_grid.h"
#include "eq/filter.h"
#include "support/curve_picture.h"
#include "support/vectors.h"

#include <QPainter>
#include <QtTest>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

int largest_difference(const QImage &left, const QImage &right)
{
    int largest = 0;
    for (int y = 0; y < left.height(); ++y)
        for (int x = 0; x < left.width(); ++x) {
            const QColor one = left.pixelColor(x, y);
            const QColor other = right.pixelColor(x, y);
            largest = std::max({largest, std::abs(one.red() - other.red()),
                                std::abs(one.green() - other.green()),
                                std::abs(one.blue() - other.blue())});
        }
    return largest;
}

} // namespace

class CurveStrokesTest : public QObject
{
    Q_OBJECT

private slots:
    void slices_look_like_one_stroke_data();
    void slices_look_like_one_stroke();
    void slices_look_like_one_stroke_at_twice_the_pixels();
    void a_clip_of_the_painter_holds_for_slices_too();
    void a_resize_renews_the_lines();
    void a_shelf_that_moves_takes_its_response_along();
};

void CurveStrokesTest::slices_look_like_one_stroke_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<int>("band");
    QTest::addColumn<float>("gain");
    for (const QSize size : {QSize(1900, 500), QSize(600, 300), QSize(99, 101)})
        for (int band = 0; band < 5; ++band)
            for (const float gain : {-24.0F, -9.0F, 3.0F, 20.0F})
                QTest::addRow("%dx%d band %d %g dB", size.width(), size.height(), band + 1,
                              double{gain})
                    << size << band << gain;
}

void CurveStrokesTest::slices_look_like_one_stroke()
{
    QFETCH(QSize, size);
    QFETCH(int, band);
    QFETCH(float, gain);
    std::vector<EqBand> bands = BANDS;
    bands[static_cast<size_t>(band)].params.gain = gain;
    bands[3].params.q = 20.0F;
    CurveWidget view(nullptr, make_filters(bands));
    set_up(view, size);
    view.hover_index = band;
    const QImage sliced = picture(view);
    view.grid->columns_per_stroke = std::numeric_limits<int>::max();
    const QImage whole = picture(view);
    const int difference = largest_difference(sliced, whole);
    QVERIFY2(difference <= 8, qPrintable(QString::number(difference)));
}

void CurveStrokesTest::slices_look_like_one_stroke_at_twice_the_pixels()
{
    CurveWidget view(nullptr, make_filters(BANDS));
    set_up(view, {600, 300});
    view.hover_index = 2;
    for (const double scale : {2.0, 1.25}) {
        const auto scaled = [&view, scale] {
            QImage image((QSizeF(view.size()) * scale).toSize(), QImage::Format_RGB32);
            image.fill(Qt::black);
            QPainter painter(&image);
            painter.scale(scale, scale);
            view.render(&painter);
            return image;
        };
        view.grid->columns_per_stroke = CurveGrid().columns_per_stroke;
        const QImage sliced = scaled();
        view.grid->columns_per_stroke = std::numeric_limits<int>::max();
        QVERIFY(largest_difference(sliced, scaled()) <= 16);
    }
}

void CurveStrokesTest::a_clip_of_the_painter_holds_for_slices_too()
{
    std::vector<QPointF> line;
    for (int column = 0; column < 400; ++column)
        line.emplace_back(column, 20.0);
    QImage image(400, 40, QImage::Format_RGB32);
    image.fill(Qt::black);
    QPainter painter(&image);
    painter.setClipRect(0, 0, 100, 40);
    painter.setPen(QPen(Qt::white, 2));
    stroke_columns(&painter, line, 32);
    painter.setBrush(Qt::white);
    fill_columns(&painter, line, {{400.0, 20.0}, {400.0, 40.0}, {0.0, 40.0}}, 32);
    QVERIFY(image.pixelColor(50, 20) == QColor(Qt::white));
    QVERIFY(image.pixelColor(50, 35) == QColor(Qt::white));
    for (const int column : {105, 200, 390})
        for (const int row : {20, 35})
            QCOMPARE(image.pixelColor(column, row), QColor(Qt::black));
}

void CurveStrokesTest::a_resize_renews_the_lines()
{
    CurveWidget view(nullptr, make_filters(BANDS));
    set_up(view, {600, 300});
    picture(view);
    view.resize(500, 200);
    CurveWidget fresh(nullptr, make_filters(BANDS));
    set_up(fresh, {500, 200});
    QCOMPARE(picture(view), picture(fresh));
}

// As a drag does it.
void CurveStrokesTest::a_shelf_that_moves_takes_its_response_along()
{
    CurveWidget view(nullptr, make_filters(BANDS));
    set_up(view, {600, 300});
    picture(view);
    auto *shelf = dynamic_cast<FilterShelf *>(view.filters.at(0));
    QVERIFY(shelf);
    shelf->set_band(300.0F, 12.0F, -8.0F, false);
    CurveWidget fresh(nullptr,
                      make_filters({{1, EQ_LSHELF, {.freq = 300.0F, .q = 0.0F, .gain = -8.0F}}}));
    set_up(fresh, {600, 300});
    picture(fresh);
    QVERIFY(!shelf->magnitude.empty());
    QCOMPARE(shelf->magnitude, fresh.filters.at(0)->magnitude);
}

TEST_PART(CurveStrokesTest)
#include "curve_paint_test_strokes.moc"
