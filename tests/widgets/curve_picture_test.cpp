// The curve view's picture, item by item: labels, lines, and what lies above what.
#include "eq/curve_geometry.h"
#include "eq/curve_grid.h"
#include "eq/curve_widget.h"
#include "eq/filter.h"
#include "eq/filter_list.h"
#include "support/curve_picture.h"

#include <QPainter>
#include <QtTest>

#include <cmath>

namespace {

const QColor STRONG(0x66, 0x66, 0x66);
const QColor WEAK(80, 80, 80, 185);
const QString MINUS = QChar(0x2212);

// 800 x 400 has ten rows per dB, 0 dB at row 200 and a font of 12 points.
std::unique_ptr<CurveWidget> view_of(const std::vector<EqBand> &bands, QSize size = {800, 400})
{
    auto view = std::make_unique<CurveWidget>(nullptr, make_filters(bands));
    set_up(*view, size);
    picture(*view);
    return view;
}

EqBand peak(float freq, float gain, int number = 1)
{
    return {number, EQ_PEQ, {.freq = freq, .q = 1.0F, .gain = gain}};
}

// A black picture of the same size, to draw on what should be there.
struct Expectation
{
    explicit Expectation(QSize size)
        : image(size, QImage::Format_RGB32)
    {
        image.fill(Qt::black);
        painter = std::make_unique<QPainter>(&image);
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setFont(QFont("Helvetica", 12, 75, false));
    }

    QSize size_of(const QString &text) const
    {
        return painter->boundingRect(QRect(), Qt::AlignLeft, text).size();
    }

    // Lines shine through the ground of a label.
    void draw_label(QRect place, const QString &text, const QColor &color) const
    {
        painter->fillRect(place, QColor(0, 0, 0, 153));
        painter->setPen(color);
        painter->drawText(place, Qt::AlignCenter, text);
    }

    QImage image;
    std::unique_ptr<QPainter> painter = {};
};

// Whether both show the same there, but for the last bit of a blend.
bool agree(const QImage &left, const QImage &right, QRect place)
{
    for (int y = place.top(); y <= place.bottom(); ++y)
        for (int x = place.left(); x <= place.right(); ++x) {
            const QColor one = left.pixelColor(x, y);
            const QColor other = right.pixelColor(x, y);
            if (std::abs(one.red() - other.red()) > 2 || std::abs(one.green() - other.green()) > 2
                || std::abs(one.blue() - other.blue()) > 2)
                return false;
        }
    return true;
}

bool is_empty(const QImage &image, QRect place)
{
    QImage black(image.size(), QImage::Format_RGB32);
    black.fill(Qt::black);
    return agree(image, black, place);
}

bool is_near(QColor color, int red, int green, int blue, int tolerance)
{
    return std::abs(color.red() - red) <= tolerance && std::abs(color.green() - green) <= tolerance
        && std::abs(color.blue() - blue) <= tolerance;
}

} // namespace

class CurvePictureTest : public QObject
{
    Q_OBJECT

private slots:
    void gains_stand_in_the_left_column_data();
    void gains_stand_in_the_left_column();
    void no_gain_stands_in_the_middle_or_at_the_edges();
    void phases_stand_at_the_lower_lines_of_the_right_column_data();
    void phases_stand_at_the_lower_lines_of_the_right_column();
    void frequencies_stand_at_the_bottom_in_the_colour_of_their_line_data();
    void frequencies_stand_at_the_bottom_in_the_colour_of_their_line();
    void other_lines_have_no_text();
    void of_the_first_decade_no_line_is_strong();
    void the_phase_curve_is_one_pixel_wide_and_light_gray();
    void the_summed_curve_is_two_pixels_wide_and_green();
    void the_phase_lies_above_the_magnitude();
    void the_active_bands_response_lies_above_its_handles();
    void the_outline_of_a_response_is_half_transparent();
    void the_ground_of_a_label_lets_more_than_half_through();
    void a_labels_ground_is_wider_than_its_text();
    void a_bubble_has_round_corners_of_six_pixels();
    void a_bubble_names_its_band_in_a_font_of_its_own();
};

void CurvePictureTest::gains_stand_in_the_left_column_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("line");
    QTest::newRow("+5") << "+5" << 150;
    QTest::newRow("+10") << "+10" << 100;
    QTest::newRow("+15") << "+15" << 50;
    QTest::newRow("-5") << MINUS + "5" << 250;
    QTest::newRow("-15") << MINUS + "15" << 350;
}

void CurvePictureTest::gains_stand_in_the_left_column()
{
    QFETCH(QString, text);
    QFETCH(int, line);
    const auto view = view_of({});
    Expectation expected({800, 400});
    const int column = expected.size_of(MINUS + "200").width();
    const QSize size = expected.size_of(text);
    const QRect place({(column - size.width()) / 2, line - size.height() / 2 - 1}, size);
    expected.draw_label(place, text, STRONG);
    QVERIFY(!is_empty(expected.image, place));
    QVERIFY(agree(picture(*view), expected.image, place));
}

// 0 dB has a line without a text, and 20 dB neither.
void CurvePictureTest::no_gain_stands_in_the_middle_or_at_the_edges()
{
    const auto view = view_of({});
    const QImage image = picture(*view);
    const Expectation expected({800, 400});
    const int width = expected.size_of(MINUS + "200").width();
    const int height = expected.size_of("0").height();
    for (const QRect &column : {QRect(0, 0, width, 400), QRect(780, 0, 20, 400)}) {
        QVERIFY(is_empty(image, column & QRect(0, 202, 800, height / 2)));
        QVERIFY(is_empty(image, column & QRect(0, 198 - height / 2, 800, height / 2)));
    }
    QVERIFY(is_empty(image, QRect(0, 0, width, height)));
    QVERIFY(is_empty(image, QRect(0, 399 - height, width, height)));
    QVERIFY(is_empty(image, QRect(view->grid->freq_to_x(14000.0F), 0, 5, 2)));
}

void CurvePictureTest::phases_stand_at_the_lower_lines_of_the_right_column_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("line");
    QTest::newRow("90") << "90" << 250;
    QTest::newRow("0") << "0" << 300;
    QTest::newRow("-90") << MINUS + "90" << 350;
}

void CurvePictureTest::phases_stand_at_the_lower_lines_of_the_right_column()
{
    QFETCH(QString, text);
    QFETCH(int, line);
    const auto view = view_of({});
    Expectation expected({800, 400});
    const QSize size = expected.size_of(text);
    const QRect place({800 - size.width(), line - size.height() / 2 - 1}, size);
    expected.painter->setPen(STRONG);
    expected.painter->drawLine(100, line, 800, line);
    expected.draw_label(place, text, STRONG);
    const int last = view->grid->freq_to_x(20000.0F); // drawn later, and through a wide label
    expected.painter->setPen(WEAK);
    expected.painter->drawLine(last, 0, last, 399);
    const std::vector<QPointF> &phase = view->lines.phase; // which is 0
    expected.painter->setPen(QColor(0xAA, 0xAA, 0xAA));
    expected.painter->drawPolyline(phase.data(), static_cast<int>(phase.size()));
    QVERIFY(agree(picture(*view), expected.image, place));
    // Nothing but the line at its counterpart above 0 dB.
    const QRect above = place.translated(0, 2 * (200 - line));
    Expectation lines_alone({800, 400});
    lines_alone.painter->setPen(STRONG);
    lines_alone.painter->drawLine(100, 400 - line, 800, 400 - line);
    lines_alone.painter->setPen(WEAK);
    lines_alone.painter->drawLine(last, 0, last, 399);
    QVERIFY(agree(picture(*view), lines_alone.image, above));
}

void CurvePictureTest::frequencies_stand_at_the_bottom_in_the_colour_of_their_line_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("frequency");
    QTest::addColumn<QColor>("color");
    QTest::newRow("20") << "20" << 20 << WEAK;
    QTest::newRow("50") << "50" << 50 << WEAK;
    QTest::newRow("100") << "100" << 100 << STRONG;
    QTest::newRow("500") << "500" << 500 << WEAK;
    QTest::newRow("1k") << "1k" << 1000 << STRONG;
    QTest::newRow("2k") << "2k" << 2000 << WEAK;
    QTest::newRow("10k") << "10k" << 10000 << STRONG;
    QTest::newRow("20k") << "20k" << 20000 << WEAK;
}

// The view is wide, so that no line but its own crosses a label.
void CurvePictureTest::frequencies_stand_at_the_bottom_in_the_colour_of_their_line()
{
    QFETCH(QString, text);
    QFETCH(int, frequency);
    QFETCH(QColor, color);
    const QSize whole(1900, 500);
    const auto view = view_of({}, whole);
    Expectation expected(whole);
    const int column = view->grid->freq_to_x(static_cast<float>(frequency));
    QRect place = expected.painter->boundingRect(QRect(), Qt::AlignCenter, text);
    place.moveLeft(column - place.width() / 2);
    place.moveBottom(499);
    expected.painter->setPen(color);
    expected.painter->drawLine(column, 0, column, 499);
    expected.draw_label(place, text, color);
    QVERIFY(agree(picture(*view), expected.image, place));
}

void CurvePictureTest::other_lines_have_no_text()
{
    const auto view = view_of({}, {1900, 500});
    const QImage image = picture(*view);
    const int height = Expectation({10, 10}).size_of("0").height();
    for (const int frequency : {30, 40, 60, 70, 80, 90, 300, 400, 700, 3000, 4000, 7000}) {
        const int column = view->grid->freq_to_x(static_cast<float>(frequency));
        const QRect above(column - 8, 498 - 3 * height, 16, height);
        const QRect below(column - 8, 498 - height, 16, height);
        QVERIFY2(image.copy(above) == image.copy(below), qPrintable(QString::number(frequency)));
    }
}

// 10 Hz, which would be, lies outside.
void CurvePictureTest::of_the_first_decade_no_line_is_strong()
{
    const auto view = view_of({}, {1900, 500});
    const QImage image = picture(*view);
    const auto level_at = [&view, &image](float frequency) {
        return image.pixelColor(view->grid->freq_to_x(frequency), 200).red();
    };
    QCOMPARE(level_at(100.0F), 0x33);
    for (const float frequency : {20.0F, 30.0F, 40.0F, 50.0F, 60.0F, 70.0F, 80.0F, 90.0F})
        QVERIFY2(level_at(frequency) > 20 && level_at(frequency) < 0x24,
                 qPrintable(QString::number(double{frequency})));
}

// What a line of one pixel lights in a column depends on how steep it is there.
void CurvePictureTest::the_phase_curve_is_one_pixel_wide_and_light_gray()
{
    const auto view = view_of({peak(300.0F, 12.0F)});
    const QImage image = picture(*view);
    int compared = 0;
    for (const float frequency : {170.0F, 250.0F, 350.0F, 550.0F, 1400.0F}) {
        const int column = view->grid->freq_to_x(frequency);
        const std::vector<QPointF> &phase = view->lines.phase;
        const auto index = static_cast<size_t>(column);
        const double row = phase[index].y();
        const double steepness = phase[index + 1].y() - row;
        if (std::abs(std::remainder(row, 50.0)) < 8.0 || std::abs(steepness) > 3.0
            || std::abs(row - view->lines.magnitude[index].y()) < 20.0)
            continue; // a line of the grid is near, or the other curve
        double sum = 0.0;
        for (int y = static_cast<int>(row) - 7; y <= static_cast<int>(row) + 7; ++y) {
            const QColor color = image.pixelColor(column, y);
            QVERIFY(is_near(color, color.red(), color.red(), color.red(), 0));
            sum += color.red();
        }
        const double expected = 0xAA * std::sqrt(1.0 + steepness * steepness);
        QVERIFY2(
            std::abs(sum - expected) < 0.06 * expected,
            qPrintable(QString("%1 Hz: %2, not %3").arg(double{frequency}).arg(sum).arg(expected)));
        ++compared;
    }
    QVERIFY(compared >= 3);
}

void CurvePictureTest::the_summed_curve_is_two_pixels_wide_and_green()
{
    const auto view = view_of({{1, EQ_LSHELF, {.freq = 900.0F, .q = 0.0F, .gain = 12.0F}}});
    const QImage image = picture(*view);
    const int column = view->grid->freq_to_x(130.0F); // far below the corner: level, between lines
    const int row = qRound(view->lines.magnitude[static_cast<size_t>(column)].y());
    QVERIFY(std::abs(row - 80) <= 1);
    int red = 0;
    int green = 0;
    int blue = 0;
    for (int y = row - 4; y <= row + 4; ++y) {
        const QColor color = image.pixelColor(column, y);
        red += color.red();
        green += color.green();
        blue += color.blue();
    }
    QVERIFY2(std::abs(red - 2 * 0x4F) < 8 && std::abs(green - 2 * 0xA7) < 8
                 && std::abs(blue - 2 * 0x44) < 8,
             qPrintable(QString("%1 %2 %3").arg(red).arg(green).arg(blue)));
}

// Where both cross, the gray one is seen.
void CurvePictureTest::the_phase_lies_above_the_magnitude()
{
    const auto view = view_of({{1, EQ_LSHELF, {.freq = 900.0F, .q = 0.0F, .gain = -20.0F}}});
    const QImage image = picture(*view);
    const std::vector<QPointF> &phase = view->lines.phase;
    const std::vector<QPointF> &magnitude = view->lines.magnitude;
    size_t crossing = 60;
    const auto difference
        = [&phase, &magnitude](size_t i) { return phase[i].y() - magnitude[i].y(); };
    while (crossing + 1 < 700 && (difference(crossing) < 0) == (difference(crossing + 1) < 0))
        ++crossing;
    QVERIFY(crossing < 699);
    int brightest_blue = 0; // which the green curve has little of
    for (int x = -1; x <= 1; ++x)
        for (int y = -1; y <= 1; ++y)
            brightest_blue = std::max(brightest_blue,
                                      image
                                          .pixelColor(static_cast<int>(crossing) + x,
                                                      static_cast<int>(phase[crossing].y()) + y)
                                          .blue());
    QVERIFY2(brightest_blue > 0x60, qPrintable(QString::number(brightest_blue)));
}

void CurvePictureTest::the_active_bands_response_lies_above_its_handles()
{
    const auto view = view_of({peak(1400.0F, 12.0F)});
    view->active_index = 0;
    const QImage image = picture(*view);
    // In the frequency's strip and between curve and 0 dB: half of the red on the strip's gray.
    const int column = view->filters[0]->marker_x + 3;
    const int gray = 90 * 185 / 255;
    const QColor color = image.pixelColor(column, 140);
    QVERIFY2(is_near(color, (0xD8 + gray) / 2, (0x18 + gray) / 2, (0x18 + gray) / 2, 3),
             qPrintable(color.name()));
    // The strip alone.
    QCOMPARE(image.pixelColor(column, 230), QColor(gray, gray, gray));
}

// Two equal shelves: the sum runs elsewhere than each one's own response, which is level there.
void CurvePictureTest::the_outline_of_a_response_is_half_transparent()
{
    const EqBand shelf{1, EQ_LSHELF, {.freq = 6000.0F, .q = 0.0F, .gain = 6.0F}};
    const auto view = view_of({shelf, shelf});
    view->hover_index = 0;
    const QImage image = picture(*view);
    const int column = view->grid->freq_to_x(130.0F);
    int brightest = 0;
    for (int y = 134; y < 146; ++y)
        brightest = std::max(brightest, image.pixelColor(column, y).green());
    QCOMPARE(brightest, 127); // 255 * 128 / 255 in the painter's arithmetic
    // Its fill below, without an outline, down to 0 dB.
    QVERIFY(is_near(image.pixelColor(column, 170), 0xD8 / 2, 0x18 / 2, 0x18 / 2, 2));
    QVERIFY(is_near(image.pixelColor(column, 215), 0, 0, 0, 0));
}

void CurvePictureTest::the_ground_of_a_label_lets_more_than_half_through()
{
    const auto view = view_of({peak(1400.0F, 12.0F)});
    view->hover_index = 0;
    const QImage image = picture(*view);
    const Filter *filter = view->filters[0];
    // The ground is a pixel wider than the text on the left, where no text is.
    const int row = filter->marker_y - marker_size(12).half - 5;
    int column = filter->marker_x - 60;
    const auto is_red = [&image, row](int x) {
        return image.pixelColor(x, row).red() > image.pixelColor(x, row).green() + 20;
    };
    while (column < filter->marker_x && !is_red(column))
        ++column;
    QVERIFY(column < filter->marker_x);
    const QColor color = image.pixelColor(column, row);
    QVERIFY2(is_near(color, 0xD8 * 2 / 5, 0x18 * 2 / 5, 0x18 * 2 / 5, 2), qPrintable(color.name()));
}

void CurvePictureTest::a_labels_ground_is_wider_than_its_text()
{
    const auto view = view_of({peak(1400.0F, 12.0F)});
    view->hover_index = 0;
    const QImage image = picture(*view);
    const Filter *filter = view->filters[0];
    Expectation expected({800, 400});
    QFont font("Helvetica");
    font.setPixelSize(qRound(8.0 * view->logicalDpiY() / 72.0));
    expected.painter->setFont(font);
    const QRect text = expected.painter->boundingRect(QRect(), Qt::AlignCenter, "PEQ 1");
    const int row = filter->marker_y - marker_size(12).half - text.height() / 2;
    const auto is_red = [&image, row](int x) {
        return image.pixelColor(x, row).red() > image.pixelColor(x, row).green() + 20;
    };
    const int left = filter->marker_x - text.width() / 2 - 1;
    const int right = left + text.width() + 2;
    QVERIFY(is_red(left) && !is_red(left - 1));
    QVERIFY(is_red(right) && !is_red(right + 1));
}

void CurvePictureTest::a_bubble_names_its_band_in_a_font_of_its_own()
{
    const QSize whole(800, 500);
    const auto view = view_of({peak(1350.0F, 0.0F, 2)}, whole);
    view->active_index = 0;
    const QImage image = picture(*view);
    const Filter *filter = view->filters[0];
    Expectation expected(whole);
    // 12 points, as large as the view's screen makes them.
    QFont font("Helvetica");
    font.setPixelSize(qRound(12.0 * view->logicalDpiY() / 72.0));
    expected.painter->setFont(font);
    const QRect text = expected.painter->boundingRect(QRect(), Qt::AlignLeft, "PEQ 2");
    const QSize size = text.size() + QSize(12, 12);
    const QRect bubble(QPoint(filter->marker_x + 24, filter->marker_y - 24 - size.height()), size);
    expected.painter->setPen(QColor(0xAA, 0xAA, 0xAA));
    expected.painter->setBrush(QColor(90, 90, 90, 185));
    expected.painter->drawRoundedRect(bubble, 6.0, 6.0, Qt::AbsoluteSize);
    expected.painter->drawText(QRect(bubble.topLeft() + QPoint(6, 6), text.size()), Qt::AlignLeft,
                               "PEQ 2");
    // The grid shines through, dimly; the text is as bright as the frame.
    const QRect inside(bubble.topLeft() + QPoint(6, 6), text.size());
    int wanted = 0;
    int other = 0;
    for (int y = inside.top(); y <= inside.bottom(); ++y)
        for (int x = inside.left(); x <= inside.right(); ++x) {
            const bool is_bright = expected.image.pixelColor(x, y).red() > 120;
            wanted += is_bright;
            other += is_bright != (image.pixelColor(x, y).red() > 120);
        }
    QVERIFY2(wanted > 50 && other * 5 < wanted,
             qPrintable(QString("%1 of %2").arg(other).arg(wanted)));
}

void CurvePictureTest::a_bubble_has_round_corners_of_six_pixels()
{
    const QSize whole(800, 500); // its 5 dB lines pass the corner by
    const auto view = view_of({peak(1350.0F, 0.0F, 2)}, whole);
    const QImage idle = picture(*view);
    view->active_index = 0;
    const QImage image = picture(*view);
    const Filter *filter = view->filters[0];
    Expectation expected(whole);
    // Its bottom lies 24 pixels above the marker; how high it is depends on the font.
    const QPoint corner_below(filter->marker_x + 24, filter->marker_y - 25);
    int top = corner_below.y();
    while (top > 0 && image.pixelColor(corner_below.x() + 12, top).red() > 60)
        --top;
    const QRect bubble(QPoint(corner_below.x(), top + 2), QSize(60, corner_below.y() - top - 1));
    QVERIFY(bubble.height() > 20 && bubble.height() < 40);
    expected.painter->setPen(QColor(0xAA, 0xAA, 0xAA));
    expected.painter->setBrush(QColor(90, 90, 90, 185));
    expected.painter->drawRoundedRect(bubble, 6.0, 6.0, Qt::AbsoluteSize);
    const QRect corner(bubble.topLeft() - QPoint(1, 1), QSize(8, 8));
    QVERIFY(is_empty(idle, corner));
    QVERIFY(agree(image, expected.image, corner));
}

QTEST_MAIN(CurvePictureTest)
#include "curve_picture_test.moc"
