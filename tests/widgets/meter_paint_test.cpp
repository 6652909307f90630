// Meters to the pixel: in the panel and in the list, at one and two device pixels per point, on
// light and dark backgrounds.
#include "meter/meter_item_delegate.h"
#include "meter/meter_object.h"
#include "meter/meter_paint.h"
#include "meter/meter_widget.h"
#include "support/vectors.h"

#include <QHeaderView>
#include <QPainter>
#include <QPen>
#include <QPixmapCache>
#include <QProcess>
#include <QProxyStyle>
#include <QStandardItemModel>
#include <QStyleOptionFrame>
#include <QTreeView>
#include <QtTest>

namespace {
constexpr int METER_ROLE = Qt::UserRole + 3;
constexpr QRgb GREEN = 0xFF00FF00;
constexpr QRgb YELLOW = 0xFFFFFF00;
constexpr QRgb GREY = 0xFF808080;

QPalette dark_palette()
{
    QPalette palette(QColor(0x2B, 0x2B, 0x2B));
    palette.setColor(QPalette::Base, QColor(0x1E, 0x1E, 0x1E));
    return palette;
}

void fill_pixels(QImage &image, const QRect &rect, QRgb colour)
{
    const int ratio = qRound(image.devicePixelRatio());
    for (int y = rect.top() * ratio; y < (rect.bottom() + 1) * ratio; ++y)
        for (int x = rect.left() * ratio; x < (rect.right() + 1) * ratio; ++x)
            image.setPixel(x, y, colour);
}

QImage canvas(const QRect &frame, int ratio)
{
    const QSize size(frame.right() + 5, frame.bottom() + 5);
    QImage image(size * ratio, QImage::Format_RGB32);
    image.setDevicePixelRatio(ratio);
    image.fill(0xFF123456);
    return image;
}

void draw_frame(QPainter &painter, const QWidget &widget, const QRect &frame)
{
    QStyleOptionFrame option;
    option.initFrom(&widget);
    option.state |= QStyle::State_Sunken;
    option.frameShape = QFrame::Panel;
    option.rect = frame;
    option.lineWidth = 1;
    widget.style()->drawControl(QStyle::CE_ShapedFrame, &option, &painter, &widget);
}

// Frames that tell another style and where the mouse is.
struct PaintedFrames : QProxyStyle
{
    void drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                     const QWidget *widget) const override
    {
        if (element == CE_ShapedFrame)
            painter->fillRect(option->rect, option->state & State_MouseOver ? Qt::red : Qt::blue);
        else
            QProxyStyle::drawControl(element, option, painter, widget);
    }
};

QRect by_edges(const QJsonArray &edges)
{
    return {QPoint(edges.at(0).toInt(), edges.at(1).toInt()),
            QPoint(edges.at(2).toInt(), edges.at(3).toInt())};
}

// What a golden case says, pixel by pixel.
QImage expected_picture(const QWidget &widget, const QRect &frame, const QJsonObject &expect,
                        int ratio)
{
    QImage image = canvas(frame, ratio);
    QPainter painter(&image);
    draw_frame(painter, widget, frame);
    painter.end();
    if (expect.contains("grey")) {
        const QJsonArray grey = expect.value("grey").toArray();
        fill_pixels(
            image,
            QRect(grey.at(0).toInt(), grey.at(1).toInt(), grey.at(2).toInt(), grey.at(3).toInt()),
            GREY);
    }
    for (const QJsonValue &bar : expect.value("bars").toArray())
        if (!bar.toObject().value("rect").isNull())
            fill_pixels(image, by_edges(bar.toObject().value("rect").toArray()),
                        QColor(bar.toObject().value("color").toString()).rgb());
    return image;
}

void take_levels(MeterObject &meter, const QJsonObject &input)
{
    meter.display_levels.clear();
    for (const QJsonValue &level : input.value("display").toArray())
        meter.display_levels.push_back(static_cast<float>(level.toDouble()));
    meter.levels = meter.display_levels;
    meter.overdrive.clear();
    for (const QJsonValue &flag : input.value("overdrive").toArray())
        meter.overdrive.push_back(flag.toBool());
}

// Pixels of one colour in a rectangle given in points.
int count_pixels(const QImage &image, const QRect &rect, QRgb colour)
{
    const int ratio = qRound(image.devicePixelRatio());
    int count = 0;
    for (int y = rect.top() * ratio; y < (rect.bottom() + 1) * ratio; ++y)
        for (int x = rect.left() * ratio; x < (rect.right() + 1) * ratio; ++x)
            count += image.valid(x, y) && image.pixel(x, y) == colour ? 1 : 0;
    return count;
}

// Pictures to look at, when VELMARK_PICTURES names a folder.
void keep_picture(const QImage &image, const QString &name)
{
    const QString folder = qEnvironmentVariable("VELMARK_PICTURES");
    const QString ratio = QString::number(qRound(image.devicePixelRatio()));
    if (!folder.isEmpty())
        image.save(folder + "/meter_" + name + "_x" + ratio + ".png");
}

// A list as the main window has it: names, and meters in the second column.
struct List
{
    QStandardItemModel model;
    QTreeView view;

    explicit List(const std::vector<MeterObject *> &meters)
    {
        for (MeterObject *meter : meters) {
            auto *cell = new QStandardItem;
            if (meter != nullptr)
                cell->setData(QVariant::fromValue(meter), METER_ROLE);
            model.appendRow({new QStandardItem("loudspeaker"), cell});
        }
        view.setModel(&model);
        view.setRootIsDecorated(false);
        view.setUniformRowHeights(true);
        view.setFocusPolicy(Qt::NoFocus);
        view.header()->setStretchLastSection(false);
        view.setItemDelegateForColumn(1, new MeterItemDelegate(&view, METER_ROLE, &view));
        view.setIconSize(QSize(32, 32));
        view.setStyleSheet("QTreeView::item { height: 32px }");
        view.setColumnWidth(0, 120);
        view.setColumnWidth(1, 100);
        view.resize(260, 300);
        view.show();
    }

    QRect cell(int row) const { return view.visualRect(model.index(row, 1)); }
    QImage picture() { return view.viewport()->grab().toImage(); }
};

// The place of a meter in a cell, written down a second time.
QRect centred_box(const QRect &cell)
{
    const int width = std::min(cell.width(), 50);
    const int height = std::min(cell.height(), 20);
    return {(cell.left() + cell.right()) / 2 - (width - 1) / 2,
            (cell.top() + cell.bottom()) / 2 - (height - 1) / 2, width, height};
}
} // namespace

class MeterPaintTest : public QObject
{
    Q_OBJECT

private slots:
    void golden_bars_are_drawn_to_the_pixel_data() { add_vector_rows("meter_bars", "bars"); }
    void golden_bars_are_drawn_to_the_pixel();
    void two_channels_in_the_panel();
    void a_bar_falls_after_its_level_has_gone();
    void a_frame_follows_its_widget_and_place();
    void frames_of_two_sizes_in_turn_do_not_fill_the_cache();
    void no_channels_are_grey_in_list_and_panel();
    void a_cell_shows_the_same_meter_as_the_panel();
    void a_narrow_cell_shows_a_narrow_meter_in_its_middle();
    void a_cell_without_a_meter_is_an_ordinary_cell();
    void the_painter_is_handed_back_as_it_came();
    void hundreds_of_channels_are_harmless();
    void levels_without_a_bar_are_not_drawn();
    void nothing_is_drawn_where_there_is_no_room();
    void all_holds_on_a_dark_background();
    void all_holds_at_scale_factor_2();
    void between_whole_scales_the_frame_is_the_styles_own();
};

void MeterPaintTest::golden_bars_are_drawn_to_the_pixel()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);

    const QJsonArray place = input.value("rect").toArray();
    const QRect frame(place.at(0).toInt(), place.at(1).toInt(), place.at(2).toInt(),
                      place.at(3).toInt());
    MeterObject meter;
    take_levels(meter, input);
    QWidget widget;
    for (const int ratio : {1, 2}) {
        QImage drawn = canvas(frame, ratio);
        QPainter painter(&drawn);
        paint_meter(meter, &painter, &widget, frame);
        painter.end();
        QCOMPARE(drawn, expected_picture(widget, frame, expect, ratio));
    }
}

void MeterPaintTest::two_channels_in_the_panel()
{
    MeterObject meter;
    meter.set_levels({50, 70}, {false, true});
    MeterWidget widget;
    widget.set_meter(&meter);
    const QImage image = widget.grab().toImage();
    keep_picture(image, "panel");
    const int area = qRound(image.devicePixelRatio() * image.devicePixelRatio());
    QCOMPARE(count_pixels(image, QRect(1, 1, 24, 9), GREEN), 24 * 9 * area);
    QCOMPARE(count_pixels(image, widget.rect(), GREEN), 24 * 9 * area);
    QCOMPARE(count_pixels(image, QRect(1, 10, 48, 9), YELLOW), 48 * 9 * area);
    QCOMPARE(count_pixels(image, widget.rect(), YELLOW), 48 * 9 * area);
    const QRgb base = widget.palette().color(QPalette::Base).rgb();
    QCOMPARE(count_pixels(image, QRect(25, 1, 24, 9), base), 24 * 9 * area);
}

void MeterPaintTest::a_bar_falls_after_its_level_has_gone()
{
    MeterObject meter;
    meter.set_levels({70}, {});
    meter.set_levels({0}, {});
    meter.tick();
    MeterWidget widget;
    widget.set_meter(&meter);
    const int area = qRound(widget.devicePixelRatioF() * widget.devicePixelRatioF());
    // 4.25 dB below full scale are 89.375 % of 48 pixels.
    QCOMPARE(count_pixels(widget.grab().toImage(), widget.rect(), GREEN), 42 * 18 * area);
}

// As the style itself draws it: whatever was drawn before must not be taken for it.
void MeterPaintTest::a_frame_follows_its_widget_and_place()
{
    MeterObject meter;
    meter.set_levels({0}, {}); // no bar is a pixel long
    QWidget usual;
    QWidget dark;
    dark.setPalette(dark_palette());
    QWidget disabled; // in colours of its own
    QPalette faint = usual.palette();
    for (const QPalette::ColorRole role : {QPalette::Dark, QPalette::Light, QPalette::Window})
        faint.setColor(QPalette::Disabled, role, QColor(200, 100, 50));
    usual.setPalette(faint);
    disabled.setPalette(faint);
    disabled.setEnabled(false);
    const QRect place(5, 5, 50, 20);
    const auto draw = [&meter](const QWidget &widget, const QRect &frame) {
        QImage wanted = canvas(frame, 1);
        QImage drawn = wanted;
        QPainter by_style(&wanted);
        draw_frame(by_style, widget, frame);
        by_style.end();
        QPainter painter(&drawn);
        paint_meter(meter, &painter, &widget, frame);
        painter.end();
        QCOMPARE(drawn, wanted);
    };
    for (const QWidget *one : {&usual, &dark, &usual, &disabled, &usual})
        draw(*one, place);
    draw(usual, QRect(5, 5, 40, 16));
    draw(usual, QRect(9, 7, 40, 16));
    PaintedFrames style;
    usual.setStyle(&style);
    draw(usual, QRect(9, 7, 40, 16));
    usual.setAttribute(Qt::WA_UnderMouse);
    draw(usual, QRect(9, 7, 40, 16));
    usual.setStyle(nullptr);
    draw(usual, QRect(9, 7, 40, 16));
}

// Each tick would leave a picture behind otherwise, and push out those of others.
void MeterPaintTest::frames_of_two_sizes_in_turn_do_not_fill_the_cache()
{
    MeterObject meter;
    const QWidget widget;
    QImage image = canvas(QRect(0, 0, 60, 30), 1);
    QPainter painter(&image);
    QPixmapCache::clear();
    const QPixmapCache::Key first = QPixmapCache::insert(QPixmap(100, 100));
    for (int tick = 0; tick < 10000; ++tick)
        for (const int width : {50, 40})
            paint_meter(meter, &painter, &widget, QRect(0, 0, width, 20));
    QPixmap kept;
    QVERIFY(QPixmapCache::find(first, &kept));
}

void MeterPaintTest::no_channels_are_grey_in_list_and_panel()
{
    MeterObject meter;
    MeterWidget widget;
    widget.set_meter(&meter);
    const QImage panel = widget.grab().toImage();
    const int area = qRound(panel.devicePixelRatio() * panel.devicePixelRatio());
    QCOMPARE(count_pixels(panel, QRect(1, 1, 47, 17), GREY), 47 * 17 * area);
    QCOMPARE(count_pixels(panel, QRect(1, 18, 48, 1), GREY), 0);
    QCOMPARE(count_pixels(panel, QRect(48, 1, 1, 18), GREY), 0);

    List list({&meter});
    const QRect box = centred_box(list.cell(0));
    const QImage picture = list.picture();
    QCOMPARE(count_pixels(picture, QRect(box.left() + 1, box.top() + 1, 47, 17), GREY),
             47 * 17 * area);
    QCOMPARE(count_pixels(picture, QRect(box.left() + 1, box.top() + 18, 48, 1), GREY), 0);
}

void MeterPaintTest::a_cell_shows_the_same_meter_as_the_panel()
{
    MeterObject two;
    two.set_levels({50, 70}, {});
    MeterObject eight;
    eight.set_levels({10, 20, 30, 40, 50, 60, 65, 70}, {false, false, false, true});
    MeterObject none;
    List list({&two, &eight, &none});
    list.view.setSelectionMode(QAbstractItemView::NoSelection);
    const QImage picture = list.picture();
    keep_picture(picture, "list");
    int row = 0;
    for (MeterObject *meter : {&two, &eight, &none}) {
        const QRect box = centred_box(list.cell(row++));
        QCOMPARE(box.size(), QSize(50, 20));
        MeterWidget widget;
        widget.set_meter(meter);
        const QImage panel = widget.grab().toImage();
        const int ratio = qRound(picture.devicePixelRatio());
        // The frame's own pixels come from the style, for two different widgets.
        const QRect inside(1, 1, 48, 18);
        const QRect there = inside.translated(box.topLeft());
        QCOMPARE(picture.copy(QRect(there.topLeft() * ratio, there.size() * ratio)),
                 panel.copy(QRect(inside.topLeft() * ratio, inside.size() * ratio)));
    }
}

void MeterPaintTest::a_narrow_cell_shows_a_narrow_meter_in_its_middle()
{
    MeterObject meter;
    meter.set_levels({70}, {});
    List list({&meter});
    list.view.header()->setMinimumSectionSize(1);
    for (const int width : {49, 31, 30, 12, 4, 3}) {
        list.view.setColumnWidth(1, width);
        const QRect box = centred_box(list.cell(0));
        QCOMPARE(box.width(), width);
        QCOMPARE(box.left(), list.cell(0).left());
        const QImage image = list.picture();
        const int area = qRound(image.devicePixelRatio() * image.devicePixelRatio());
        QCOMPARE(count_pixels(image, box.adjusted(1, 1, -1, -1), GREEN), (width - 2) * 18 * area);
        QCOMPARE(count_pixels(image, list.view.viewport()->rect(), GREEN), (width - 2) * 18 * area);
    }
    for (const int width : {2, 1}) {
        list.view.setColumnWidth(1, width);
        QCOMPARE(count_pixels(list.picture(), list.view.viewport()->rect(), GREEN), 0);
    }
}

void MeterPaintTest::a_cell_without_a_meter_is_an_ordinary_cell()
{
    List list({nullptr, nullptr, nullptr});
    list.model.setData(list.model.index(1, 1), 7, METER_ROLE);
    list.model.setData(list.model.index(2, 1), QVariant::fromValue<MeterObject *>(nullptr),
                       METER_ROLE);
    list.view.setSelectionMode(QAbstractItemView::NoSelection);
    const QImage with_delegate = list.picture();
    list.view.setItemDelegateForColumn(1, nullptr);
    QCOMPARE(with_delegate, list.picture());
}

void MeterPaintTest::the_painter_is_handed_back_as_it_came()
{
    MeterObject meter;
    meter.set_levels({50, 70}, {});
    QWidget widget;
    QImage image(100, 100, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setPen(Qt::red);
    painter.setBrush(Qt::blue);
    painter.translate(3, 4);
    paint_meter(meter, &painter, &widget, QRect(10, 10, 50, 20));
    QCOMPARE(painter.pen(), QPen(Qt::red));
    QCOMPARE(painter.brush(), QBrush(Qt::blue));
    QCOMPARE(painter.transform(), QTransform::fromTranslate(3, 4));
}

void MeterPaintTest::hundreds_of_channels_are_harmless()
{
    MeterObject meter;
    meter.set_levels(std::vector<float>(1024, 70), std::vector<bool>(1024, true));
    MeterWidget widget;
    widget.set_meter(&meter);
    QCOMPARE(count_pixels(widget.grab().toImage(), widget.rect(), YELLOW), 0);
    meter.display_levels.resize(3);
    widget.grab();
}

void MeterPaintTest::levels_without_a_bar_are_not_drawn()
{
    MeterObject meter;
    meter.set_levels({70, 70, 70}, {});
    meter.display_levels.resize(1); // what was there stays in memory
    MeterWidget widget;
    widget.set_meter(&meter);
    const QImage image = widget.grab().toImage();
    const int area = qRound(image.devicePixelRatio() * image.devicePixelRatio());
    QCOMPARE(count_pixels(image, widget.rect(), GREEN), 48 * 6 * area);
}

void MeterPaintTest::nothing_is_drawn_where_there_is_no_room()
{
    const MeterObject meter;
    const QWidget widget;
    for (const QRect &frame : {QRect(), QRect(10, 10, 0, 20), QRect(10, 10, 50, 0)}) {
        QImage image(100, 60, QImage::Format_RGB32);
        image.fill(Qt::black);
        const QImage before = image;
        QPainter painter(&image);
        paint_meter(meter, &painter, &widget, frame);
        painter.end();
        QCOMPARE(image, before);
    }
}

void MeterPaintTest::all_holds_on_a_dark_background()
{
    const QPalette light = QApplication::palette();
    QApplication::setPalette(dark_palette());
    two_channels_in_the_panel();
    no_channels_are_grey_in_list_and_panel();
    MeterObject meter;
    meter.set_levels({10, 20, 30, 40, 50, 60, 65, 70}, {false, false, false, true});
    MeterObject none;
    List list({&meter, &none});
    list.view.selectionModel()->select(list.model.index(0, 0),
                                       QItemSelectionModel::Select | QItemSelectionModel::Rows);
    const QImage picture = list.picture();
    keep_picture(picture, "dark_list");
    const QRect box = centred_box(list.cell(0));
    const int area = qRound(picture.devicePixelRatio() * picture.devicePixelRatio());
    // -30 dB, overdriven: 14 of 48 pixels, and 18 rows make 2 for each of 8 channels.
    QCOMPARE(count_pixels(picture, box, YELLOW), 14 * 2 * area);
    QApplication::setPalette(light);
}

void MeterPaintTest::all_holds_at_scale_factor_2()
{
    if (!qEnvironmentVariableIsEmpty("QT_SCALE_FACTOR")) {
        QCOMPARE(qApp->devicePixelRatio(), qEnvironmentVariable("QT_SCALE_FACTOR").toDouble());
        return;
    }
    QProcess child;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QT_SCALE_FACTOR", "2");
    child.setProcessEnvironment(environment);
    child.setProcessChannelMode(QProcess::MergedChannels);
    child.start(QCoreApplication::applicationFilePath(), QStringList());
    QVERIFY(child.waitForFinished(60000));
    QVERIFY2(child.exitCode() == 0, child.readAll().constData());
}

void MeterPaintTest::between_whole_scales_the_frame_is_the_styles_own()
{
    MeterObject meter;
    meter.set_levels({0}, {}); // no bar is a pixel long
    const QWidget widget;
    for (int left = 10; left < 14; ++left) {
        QImage wanted(120, 60, QImage::Format_RGB32);
        wanted.setDevicePixelRatio(1.5);
        wanted.fill(Qt::black);
        QImage drawn = wanted;
        const QRect frame(left, 5, 50, 20);
        QPainter by_style(&wanted);
        draw_frame(by_style, widget, frame);
        by_style.end();
        QPainter painter(&drawn);
        paint_meter(meter, &painter, &widget, frame);
        painter.end();
        QCOMPARE(drawn, wanted);
    }
}

QTEST_MAIN(MeterPaintTest)
#include "meter_paint_test.moc"
