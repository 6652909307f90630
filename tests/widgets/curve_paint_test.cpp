// The curve view's picture: pixels that matter, and pictures to look at.
//
// With CURVE_PICTURES set to a folder, the pictures that are looked at are saved there.
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

// The first band far up, so that the curves leave the label column and the 0 dB line free.
const std::vector<EqBand> RAISED{{1, EQ_LSHELF, {.freq = 900.0F, .q = 0.0F, .gain = 12.0F}}};

bool is_black(const QImage &image, int x, int y)
{
    return image.pixelColor(x, y) == QColor(Qt::black);
}

bool is_gray(QColor color)
{
    return color.red() == color.green() && color.green() == color.blue() && color.red() > 0;
}

bool is_greenish(QColor color)
{
    return color.green() > color.red() + 25 && color.green() > color.blue() + 25;
}

// A marker alone, in white, without smooth edges.
QImage marker_picture(Filter *band)
{
    QImage image(600, 300, QImage::Format_RGB32);
    image.fill(Qt::black);
    QPainter painter(&image);
    painter.setPen(Qt::white);
    band->draw_marker(&painter, false);
    return image;
}

void save(CurveWidget &view, const QString &name)
{
    const QString folder = qEnvironmentVariable("CURVE_PICTURES");
    if (!folder.isEmpty())
        QVERIFY(view.grab().save(folder + "/" + name + ".png"));
}

} // namespace

class CurvePaintTest : public QObject
{
    Q_OBJECT

private slots:
    void without_a_curve_all_is_black();
    void the_summed_curve_is_where_the_model_says_data();
    void the_summed_curve_is_where_the_model_says();
    void grid_rows_are_drawn();
    void grid_columns_are_drawn();
    void weak_columns_let_the_rows_shine_through();
    void the_zero_line_alone_crosses_the_label_column();
    void narrow_views_lose_the_columns_under_the_labels();
    void the_font_follows_the_area();
    void a_markers_text_stops_growing_at_eight_points();
    void a_markers_cross_is_level();
    void a_markers_text_is_as_bright_as_the_pen();
    void a_hovered_band_is_filled_and_highlighted();
    void an_active_band_shows_its_handles_and_no_hover();
    void a_held_bands_square_lies_over_its_strips();

    void golden_bands_write_where_the_mouse_finds_them_data()
    {
        add_vector_rows("eq_geometry", "band");
    }

    void golden_bands_write_where_the_mouse_finds_them();
    void bands_outside_the_view_keep_their_markers();
    void a_bubble_keeps_its_side();
    void pictures_to_look_at_data();
    void pictures_to_look_at();
};

void CurvePaintTest::without_a_curve_all_is_black()
{
    CurveWidget view(nullptr, make_filters(BANDS));
    view.resize(300, 200);
    view.hover_index = 1;
    QImage black(300, 200, QImage::Format_RGB32);
    black.fill(Qt::black);
    QCOMPARE(picture(view), black);
    view.set_has_curve(true);
    QVERIFY(picture(view) != black);
    view.set_has_curve(false);
    QCOMPARE(picture(view), black);
}

void CurvePaintTest::the_summed_curve_is_where_the_model_says_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("large") << QSize(1900, 500);
    QTest::newRow("medium") << QSize(600, 300);
    QTest::newRow("odd") << QSize(733, 411);
}

void CurvePaintTest::the_summed_curve_is_where_the_model_says()
{
    QFETCH(QSize, size);
    CurveWidget view(nullptr, make_filters(BANDS));
    set_up(view, size);
    const QImage image = picture(view);
    int compared = 0;
    for (int column = 40; column < size.width() - 40; column += 7) {
        const auto overlaps
            = [column](const Filter *filter) { return std::abs(filter->marker_x - column) < 30; };
        if (std::any_of(view.filters.begin(), view.filters.end(), overlaps))
            continue;
        double weight = 0.0;
        double moment = 0.0;
        for (int row = 0; row < size.height(); ++row) {
            const QColor color = image.pixelColor(column, row);
            if (!is_greenish(color))
                continue;
            weight += color.green();
            moment += color.green() * (row + 0.5);
        }
        const auto index = static_cast<size_t>(column);
        const double model
            = 0.5 * (view.lines.magnitude[index].y() + view.lines.magnitude[index + 1].y());
        QVERIFY(weight > 0.0);
        QVERIFY2(std::abs(moment / weight - model) < 1.0, qPrintable(QString::number(column)));
        ++compared;
    }
    QVERIFY(compared > 30);
}

void CurvePaintTest::grid_rows_are_drawn()
{
    CurveWidget view(nullptr, make_filters(RAISED));
    set_up(view, {800, 400}); // 10 rows per dB
    const QImage image = picture(view);
    const int column = view.grid->freq_to_x(14000.0F); // between lines, curves and labels
    for (const int row : {50, 100, 150, 250, 350}) {
        // Antialiased at a whole coordinate: half of #666666 on either side.
        QCOMPARE(image.pixelColor(column, row), QColor(0x33, 0x33, 0x33));
        QCOMPARE(image.pixelColor(column, row - 1), QColor(0x33, 0x33, 0x33));
        QVERIFY(is_black(image, column, row + 1));
        QVERIFY(is_black(image, column, row - 2));
    }
}

void CurvePaintTest::grid_columns_are_drawn()
{
    CurveWidget view(nullptr, make_filters(RAISED));
    set_up(view, {800, 400});
    const QImage image = picture(view);
    const int row = 270; // between lines, curves and labels
    for (const int frequency :
         {100, 200, 300, 400, 500, 600, 700, 800, 900, 1000, 2000, 3000, 9000, 10000, 20000}) {
        const int column = view.grid->freq_to_x(static_cast<float>(frequency));
        const bool is_strong = frequency == 100 || frequency == 1000 || frequency == 10000;
        const int level = image.pixelColor(column, row).red();
        QVERIFY(is_gray(image.pixelColor(column, row)));
        QCOMPARE(image.pixelColor(column - 1, row).red(), level);
        // On two columns of pixels, half on each.
        QVERIFY2(level == (is_strong ? 0x33 : 29), qPrintable(QString::number(level)));
    }
    QVERIFY(is_black(image, view.grid->freq_to_x(14000.0F), row));
    QVERIFY(is_black(image, view.grid->freq_to_x(130.0F), row));
}

// Of the level's line that it crosses a weak line lets 70 parts in 255 through.
void CurvePaintTest::weak_columns_let_the_rows_shine_through()
{
    CurveWidget view(nullptr, make_filters({}));
    set_up(view, {600, 300});
    const QImage image = picture(view);
    const int row = static_cast<int>(view.grid->center_y - 15 * view.grid->px_per_db) - 1;
    for (const int frequency : {30, 40, 50, 60, 300, 400, 3000, 4000}) {
        const int column = view.grid->freq_to_x(static_cast<float>(frequency));
        QCOMPARE(image.pixelColor(column - 1, row).red(), 62);
    }
}

void CurvePaintTest::the_zero_line_alone_crosses_the_label_column()
{
    CurveWidget view(nullptr, make_filters(RAISED));
    set_up(view, {800, 400});
    const QImage image = picture(view);
    // Its two lines, above and below the middle, are one that is drawn twice.
    for (const int row : {199, 200}) {
        const QColor color = image.pixelColor(0, row);
        QVERIFY(is_gray(color));
        QVERIFY(std::abs(color.red() - 0x4c) <= 1);
    }
    for (const int row : {50, 100, 150, 250, 350})
        QVERIFY(is_black(image, 0, row));
}

void CurvePaintTest::narrow_views_lose_the_columns_under_the_labels()
{
    CurveWidget view(nullptr, make_filters(RAISED));
    set_up(view, {120, 300});
    const QImage image = picture(view);
    const int row = 210;
    const int hidden = view.grid->freq_to_x(20.0F);
    QVERIFY(is_black(image, hidden, row));
    QVERIFY(is_black(image, hidden - 1, row));
    const int shown = view.grid->freq_to_x(100.0F);
    QCOMPARE(image.pixelColor(shown, row), QColor(0x33, 0x33, 0x33));
    // The line of 100 Hz stays, though it lies under the labels here.
    set_up(view, {40, 300});
    QVERIFY(!is_black(picture(view), view.grid->freq_to_x(100.0F), row));
}

void CurvePaintTest::the_font_follows_the_area()
{
    CurveWidget view(nullptr, {});
    for (const auto &[size, points] : {std::pair(QSize(100, 100), 8),
                                       {QSize(99, 101), 6},
                                       {QSize(600, 300), 10},
                                       {QSize(1900, 500), 12}}) {
        set_up(view, size);
        picture(view);
        QCOMPARE(view.grid->font_size, points);
    }
}

// The ground of a hovered label is as high as its text.
void CurvePaintTest::a_markers_text_stops_growing_at_eight_points()
{
    const auto label_height = [](QSize size, int font_size) {
        CurveWidget view(nullptr,
                         make_filters({{2, EQ_PEQ, {.freq = 1000.0F, .q = 1.0F, .gain = 0.0F}}}));
        view.resize(size);
        view.set_has_curve(true);
        view.hover_index = 0;
        const QImage picture = view.grab().toImage();
        if (view.grid->font_size != font_size)
            return -1;
        const Filter *filter = view.filters.at(0);
        int height = 0;
        for (int y = 0; y < filter->marker_y; ++y) {
            const QColor color = picture.pixelColor(filter->marker_x - 12, y);
            height += color.red() > color.green() + 30;
        }
        return height;
    };
    const int height = label_height({200, 200}, 8);
    QVERIFY(height > 5);
    QCOMPARE(label_height({600, 300}, 10), height);
    QCOMPARE(label_height({1900, 500}, 12), height);
    QCOMPARE(label_height({2000, 500}, 14), height);
    const int small = label_height({99, 101}, 6);
    QVERIFY(small > 3 && small < height);
}

void CurvePaintTest::a_markers_cross_is_level()
{
    CurveWidget view(nullptr, make_filters(BANDS));
    set_up(view, {600, 300});
    picture(view); // lays the view out
    Filter *band = view.filters.at(1);
    const QImage image = marker_picture(band);
    const QPoint centre(band->marker_x, band->marker_y);
    const int reach = marker_size(band->grid->font_size).quarter;
    QVERIFY(reach > 1);
    for (int step = 1; step <= reach; ++step)
        for (const QPoint &way :
             {QPoint(step, 0), QPoint(-step, 0), QPoint(0, step), QPoint(0, -step)})
            QCOMPARE(image.pixelColor(centre + way), QColor(Qt::white));
}

void CurvePaintTest::a_markers_text_is_as_bright_as_the_pen()
{
    CurveWidget view(nullptr, make_filters(BANDS));
    set_up(view, {600, 300});
    picture(view);
    Filter *band = view.filters.at(1);
    const QImage image = marker_picture(band);
    const int top = band->marker_y - marker_size(band->grid->font_size).half;
    int brightest = 0;
    for (int y = 0; y < top - 1; ++y)
        for (int x = 0; x < image.width(); ++x)
            brightest = std::max(brightest, image.pixelColor(x, y).red());
    QVERIFY2(brightest > 180, qPrintable(QString::number(brightest)));
}

void CurvePaintTest::a_hovered_band_is_filled_and_highlighted()
{
    CurveWidget view(nullptr,
                     make_filters({{1, EQ_PEQ, {.freq = 1000.0F, .q = 0.7F, .gain = 12.0F}}}));
    set_up(view, {800, 400});
    const QImage idle = picture(view);
    const int column = view.grid->freq_to_x(1300.0F);
    const int row = 140; // between 0 dB and the curve
    QVERIFY(is_black(idle, column, row));
    view.hover_index = 0;
    const QImage image = picture(view);
    const QColor fill = image.pixelColor(column, row);
    QVERIFY(std::abs(fill.red() - 0xD8 / 2) <= 1);
    QVERIFY(std::abs(fill.green() - 0x18 / 2) <= 1);
    QVERIFY(is_black(image, column, 215));
    // The label's ground above the marker is red too, at its left edge where no text is.
    const QPoint marker(view.filters[0]->marker_x, view.filters[0]->marker_y);
    int reddish = 0;
    for (int x = marker.x() - 30; x < marker.x() + 30; ++x) {
        const QColor color = image.pixelColor(x, marker.y() - marker_size(12).half - 4);
        reddish += color.red() > color.green() + 40 ? 1 : 0;
    }
    QVERIFY(reddish > 15);
}

void CurvePaintTest::an_active_band_shows_its_handles_and_no_hover()
{
    CurveWidget view(nullptr, make_filters(BANDS));
    set_up(view, {800, 400});
    view.active_index = 1;
    const QImage active = picture(view);
    view.hover_index = 3;
    QCOMPARE(picture(view), active);
    const auto *peak = dynamic_cast<const FilterPEQ *>(view.filters[1]);
    // The frequency strip, above the marker and clear of the curves and the bubble.
    QVERIFY(is_gray(active.pixelColor(peak->marker_x + 1, 70)));
    QVERIFY(active.pixelColor(peak->marker_x + 1, 70).red() > 50);
    QVERIFY(peak->freq_band.contains(peak->marker_x, 70));
    QVERIFY(peak->gain_band.contains(3, peak->marker_y));
    QVERIFY(peak->low_rect.contains(view.grid->freq_to_x(peak->low_edge), peak->marker_y + 30));
    QVERIFY(peak->high_rect.contains(view.grid->freq_to_x(peak->high_edge), peak->marker_y - 30));
    QVERIFY(peak->center_rect.contains(peak->marker_x, peak->marker_y));
}

void CurvePaintTest::a_held_bands_square_lies_over_its_strips()
{
    CurveWidget view(nullptr,
                     make_filters({{1, EQ_PEQ, {.freq = 1000.0F, .q = 1.0F, .gain = 9.0F}}}));
    set_up(view, {1400, 800});
    view.active_index = 0;
    const QImage image = picture(view);
    const Filter *band = view.filters[0];
    const int corner = marker_size(view.grid->font_size).half - 2;
    QVERIFY(corner > strip_half_width(view.grid->font_size) + 1); // beyond their outline
    QVERIFY(is_gray(image.pixelColor(band->marker_x - corner, band->marker_y - corner)));
}

void CurvePaintTest::golden_bands_write_where_the_mouse_finds_them()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    const QString type = input["type"].toString();
    const auto number_of = [&input](const char *name) {
        return static_cast<float>(input[QLatin1String(name)].toDouble());
    };
    Filter *filter = nullptr;
    if (type == "hpf")
        filter = new FilterHPF(1, nullptr);
    else if (type.endsWith("shelf"))
        filter = new FilterShelf(1, type == "hshelf");
    else
        filter = new FilterPEQ(1, nullptr);
    filter->set_variant(type == "peq2");
    filter->set_params({.freq = number_of("freq"), .q = number_of("q"), .gain = number_of("gain")});
    CurveWidget view(nullptr, {filter});
    set_up(view, {input["width"].toInt(), input["height"].toInt()});
    if (expect.contains("polygon"))
        view.active_index = 0;
    picture(view);
    QCOMPARE(filter->marker_x, expect["marker_x"].toInt());
    QCOMPARE(filter->marker_y, expect["marker_y"].toInt());
    QCOMPARE(filter->hit_radius, expect["hit_radius"].toInt());
    if (!expect.contains("square"))
        return;
    const QJsonArray square = expect["square"].toArray();
    const QRect drawn(square[0].toInt(), square[1].toInt(), square[2].toInt(), square[3].toInt());
    const auto *shelf = dynamic_cast<const FilterShelf *>(filter);
    const QRect felt
        = shelf ? shelf->center_rect : dynamic_cast<const FilterPEQ *>(filter)->center_rect;
    QCOMPARE(felt, drawn.adjusted(-2, -2, 3, 3));
    const int half = strip_half_width(view.grid->font_size);
    const QPoint anchor(filter->marker_x, filter->marker_y);
    const QRect level(QPoint(-3, anchor.y() - half - 2),
                      QPoint(view.width() + 4, anchor.y() + half + 3));
    const QRect upright(QPoint(anchor.x() - half - 2, -3),
                        QPoint(anchor.x() + half + 3, view.height() + 4));
    if (shelf) {
        QCOMPARE(shelf->gain_band, level);
        QCOMPARE(shelf->freq_band, upright);
    } else {
        const auto *peak = dynamic_cast<const FilterPEQ *>(filter);
        QCOMPARE(peak->gain_band, level);
        QCOMPARE(peak->freq_band, upright);
        const int reach = half + 2 * view.grid->font_size;
        for (const auto &[rect, column] :
             {std::pair(peak->low_rect, view.grid->freq_to_x(peak->low_edge)),
              std::pair(peak->high_rect, view.grid->freq_to_x(peak->high_edge))})
            QCOMPARE(rect,
                     QRect(QPoint(column - half - 2, anchor.y() - reach - 2),
                           QPoint(column + half + 3, anchor.y() + reach + 3)));
    }
}

void CurvePaintTest::bands_outside_the_view_keep_their_markers()
{
    CurveWidget view(nullptr,
                     make_filters({{1, EQ_PEQ, {.freq = 12.0F, .q = 1.0F, .gain = 6.0F}},
                                   {2, EQ_PEQ, {.freq = 26000.0F, .q = 1.0F, .gain = 6.0F}}}));
    set_up(view, {800, 400});
    const QImage image = picture(view);
    QCOMPARE(view.filters[0]->marker_x, -1);
    QVERIFY(view.filters[1]->marker_x >= 800);
    const int row = view.filters[0]->marker_y;
    const int side = marker_size(12).half - 1;
    QVERIFY(image.pixelColor(side - 1, row - 3).red() > 60); // the right side of the square
}

void CurvePaintTest::a_bubble_keeps_its_side()
{
    CurveWidget view(nullptr,
                     make_filters({{1, EQ_PEQ, {.freq = 22000.0F, .q = 1.0F, .gain = 19.0F}}}));
    set_up(view, {800, 400});
    view.active_index = 0;
    picture(view);
    auto *peak = dynamic_cast<FilterPEQ *>(view.filters[0]);
    QCOMPARE(peak->label_flags, BUBBLE_LEFT | BUBBLE_BELOW);
    peak->set_band(1000.0F, 1.0F, 3.0F);
    picture(view);
    QCOMPARE(peak->label_flags, BUBBLE_LEFT | BUBBLE_BELOW);
    peak->set_band(1000.0F, 1.0F, -19.0F); // no room below
    picture(view);
    QCOMPARE(peak->label_flags, BUBBLE_LEFT);
    peak->set_band(20.0F, 1.0F, -19.0F); // none to the left
    picture(view);
    QCOMPARE(peak->label_flags, 0);
}

void CurvePaintTest::pictures_to_look_at_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("1900x500") << QSize(1900, 500);
    QTest::newRow("600x300") << QSize(600, 300);
    QTest::newRow("99x101") << QSize(99, 101);
}

void CurvePaintTest::pictures_to_look_at()
{
    QFETCH(QSize, size);
    const QString name = QTest::currentDataTag();
    CurveWidget view(nullptr, make_filters(BANDS));
    set_up(view, size);
    save(view, name + "-bands");
    view.hover_index = 2;
    save(view, name + "-hovered-peak");
    view.hover_index = 4;
    save(view, name + "-hovered-shelf");
    view.active_index = 0;
    save(view, name + "-active-shelf");
    view.active_index = 1;
    save(view, name + "-active-peak");
    struct Side
    {
        const char *name;
        float freq;
        float gain;
        int32_t flags;
    };
    for (const Side &side :
         {Side{"right-above", 400.0F, -10.0F, 0}, Side{"left-above", 20000.0F, -10.0F, BUBBLE_LEFT},
          Side{"right-below", 400.0F, 17.0F, BUBBLE_BELOW},
          Side{"left-below", 20000.0F, 17.0F, BUBBLE_LEFT | BUBBLE_BELOW}}) {
        view.set_filters(
            make_filters({{3, EQ_PEQ, {.freq = side.freq, .q = 1.0F, .gain = side.gain}}}));
        view.active_index = 0;
        picture(view);
        if (size.width() > 500)
            QCOMPARE(dynamic_cast<FilterPEQ *>(view.filters[0])->label_flags, side.flags);
        save(view, name + "-bubble-" + side.name);
    }
    view.set_filters({});
    save(view, name + "-flat");
    view.set_has_curve(false);
    save(view, name + "-no-curve");
}

PARTS_TEST_MAIN(CurvePaintTest)
#include "curve_paint_test.moc"
