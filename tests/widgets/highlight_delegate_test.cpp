// Drawing cell texts with marked hits.
#include "gui/highlight.h"
#include "gui/highlight_delegate.h"

#include <QPainter>
#include <QRandomGenerator>
#include <QScopeGuard>
#include <QStandardItemModel>
#include <QTextDocument>
#include <QTextOption>
#include <QtTest>

class HighlightDelegateTest : public QObject
{
    Q_OBJECT

private slots:
    void empty_search_matches_everything();
    void cell_is_drawn_as_the_plain_way_draws_it_data();
    void cell_is_drawn_as_the_plain_way_draws_it();
    void texts_drawn_before_change_no_text_data();
    void texts_drawn_before_change_no_text();
    void a_cell_lies_where_the_base_class_puts_it_data();
    void a_cell_lies_where_the_base_class_puts_it();
    void mark_is_yellow_and_the_rest_is_not();
    void marked_text_is_black_in_a_dark_palette();
    void text_stays_inside_its_cell();
    void a_text_that_is_too_long_loses_its_middle();
    void painter_comes_back_as_it_was();
    void what_follows_512_characters_is_neither_measured_nor_painted_data();
    void what_follows_512_characters_is_neither_measured_nor_painted();
};

namespace {

class ShownDelegate : public HighlightDelegate
{
public:
    using HighlightDelegate::drawDisplay;
};

constexpr QRect cell(7, 5, 160, 22);

QImage blank_image(QColor ground)
{
    QImage image(180, 40, QImage::Format_RGB32);
    image.fill(ground);
    return image;
}

QImage drawn(const ShownDelegate &delegate, const QString &text, QColor ground = Qt::white,
             const QFont &font = QApplication::font())
{
    QImage image = blank_image(ground);
    QPainter painter(&image);
    QStyleOptionViewItem option;
    option.font = font;
    delegate.drawDisplay(&painter, option, cell, text);
    return image;
}

// Every step through a document of HTML, with no short cut.
void draw_plainly(QPainter &painter, const QRect &rect, const QFont &font, const QString &text,
                  const QString &search, const QString &style_sheet)
{
    QTextDocument document;
    document.setDocumentMargin(0);
    document.setDefaultFont(font);
    QTextOption option = document.defaultTextOption();
    option.setAlignment(Qt::AlignVCenter);
    option.setWrapMode(QTextOption::ManualWrap);
    document.setDefaultTextOption(option);
    document.setPageSize(rect.size());
    document.setTextWidth(rect.width());
    document.setDefaultStyleSheet(style_sheet);
    document.setHtml(highlight_html(text, search));
    const double above = std::trunc(rect.height() / 2 - 0.5 * document.size().height());
    painter.save();
    painter.translate(rect.left(), above + rect.top());
    painter.setClipRect(QRect(QPoint(0, 0), rect.size()), Qt::ReplaceClip);
    document.drawContents(&painter, QRectF());
    painter.restore();
}

QImage drawn_plainly(const QString &text, const QString &search,
                     const QFont &font = QApplication::font(), const QString &style_sheet = {})
{
    QImage image = blank_image(Qt::white);
    QPainter painter(&image);
    draw_plainly(painter, cell, font, text, search, style_sheet);
    return image;
}

// All of a cell as the base class paints it, but for its text and for icons, which are the same in
// a selected row.
class PlainDelegate : public QItemDelegate
{
public:
    QIcon icon = {};

protected:
    void drawDecoration(QPainter *painter, const QStyleOptionViewItem &option, const QRect &rect,
                        const QPixmap &pixmap) const override
    {
        QStyleOptionViewItem plain = option;
        plain.state &= ~QStyle::State_Selected;
        if (icon.isNull())
            QItemDelegate::drawDecoration(painter, plain, rect, pixmap);
        else
            icon.paint(painter, rect, option.decorationAlignment);
    }
    void drawDisplay(QPainter *painter, const QStyleOptionViewItem &option, const QRect &rect,
                     const QString &text) const override
    {
        draw_plainly(*painter, rect, option.font, text, {}, {});
    }
};

QIcon red_icon()
{
    QPixmap picture(16, 12);
    picture.fill(Qt::red);
    return QIcon(picture);
}

QImage painted_by(const QAbstractItemDelegate &delegate, const QModelIndex &index,
                  QStyle::State state)
{
    QStyleOptionViewItem option;
    option.font = QApplication::font();
    option.fontMetrics = QFontMetrics(option.font);
    option.decorationSize = {24, 16};
    option.showDecorationSelected = true;
    option.state = state;
    option.rect = cell;
    QImage image = blank_image(Qt::white);
    QPainter painter(&image);
    delegate.paint(&painter, option, index);
    return image;
}

int count_pixels(const QImage &image, QRgb color)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            count += image.pixel(x, y) == color ? 1 : 0;
    return count;
}

// The darkest and lightest pixel on the mark, by lightness.
std::pair<int, int> lightness_range(const QImage &image, QRect area)
{
    std::pair<int, int> range(255, 0);
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x) {
            const int lightness = qGray(image.pixel(x, y));
            range = {std::min(range.first, lightness), std::max(range.second, lightness)};
        }
    return range;
}

QRect marked_area(const QImage &image)
{
    QRect area;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixel(x, y) == qRgb(255, 255, 0))
                area |= QRect(x, y, 1, 1);
    return area;
}

} // namespace

void HighlightDelegateTest::empty_search_matches_everything()
{
    HighlightDelegate delegate;
    QVERIFY(delegate.matches_search(""));
    QVERIFY(delegate.matches_search("x"));
    delegate.search_text = "AB";
    QVERIFY(delegate.matches_search("xabx"));
    QVERIFY(!delegate.matches_search("a b"));
    QVERIFY(!delegate.matches_search(""));
}

void HighlightDelegateTest::cell_is_drawn_as_the_plain_way_draws_it_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("search");
    const QStringList texts{"Hall 1",
                            "",
                            " ",
                            "  two  blanks  inside  ",
                            "trailing ",
                            " 0 dB",
                            "line\nfeed",
                            "tab\tbed",
                            "line\u2028separator",
                            "non\u00a0breaking",
                            "<b>bold</b>",
                            "a & b &amp; \"c\"",
                            "Bühne ẞ ÿ",
                            "e\u0301 combined",
                            "😀 emoji",
                            "\U0001F5F8",
                            "אולם שלוש",
                            "عربى 12",
                            QString("nul") + QChar::Null + "here",
                            "a text that is much longer than its cell is wide, and goes on",
                            "control\u0001\u001fcharacters",
                            "\u200bzero width",
                            "object\ufffc",
                            "em\u2003space\u3000wide",
                            QString("lone ") + QChar(0xd83d) + " half"};
    for (const QString &text : texts)
        for (const QString &search : {QString(), QString("zzz"), QString("a"), QString(" ")})
            QTest::addRow("%s / %s", qPrintable(text), qPrintable(search)) << text << search;
}

void HighlightDelegateTest::cell_is_drawn_as_the_plain_way_draws_it()
{
    QFETCH(QString, text);
    QFETCH(QString, search);
    ShownDelegate delegate;
    delegate.search_text = search;
    QCOMPARE(drawn(delegate, text), drawn_plainly(text, search));
}

void HighlightDelegateTest::texts_drawn_before_change_no_text_data()
{
    QTest::addColumn<int>("pixel_size");
    QTest::addColumn<bool>("is_bold");
    QTest::addColumn<bool>("is_dark");
    QTest::newRow("usual") << 13 << false << false;
    QTest::newRow("bold") << 13 << true << false;
    QTest::newRow("large") << 21 << false << false;
    QTest::newRow("dark") << 13 << false << true;
}

// One delegate draws them all, each text as often as it comes and with changing searches.
void HighlightDelegateTest::texts_drawn_before_change_no_text()
{
    QFETCH(int, pixel_size);
    QFETCH(bool, is_bold);
    QFETCH(bool, is_dark);
    ShownDelegate delegate;
    QFont font = QApplication::font();
    font.setPixelSize(pixel_size);
    font.setBold(is_bold);
    const QPalette usual = QApplication::palette();
    QPalette red = usual; // on marks of a dark list text is black, whatever it is elsewhere
    red.setColor(QPalette::Text, Qt::red);
    QApplication::setPalette(red);
    const auto restore = qScopeGuard([&usual] { QApplication::setPalette(usual); });
    const QString letters = QString::fromUtf8("AVTo. fil&<>\"'jgß…Łő");
    QRandomGenerator random(77);
    for (int i = 0; i < 1500; ++i) {
        QString text;
        for (int length = random.bounded(1, 6); length > 0; --length)
            text += letters.at(random.bounded(letters.size()));
        delegate.search_text = text.mid(random.bounded(text.size()), random.bounded(3)).toUpper();
        const QImage expected
            = drawn_plainly(text, delegate.search_text, font,
                            is_dark ? QStringLiteral("span { color: #000000; }") : QString());
        if (i % 3 == 0) { // drawn in another way before
            delegate.dark_theme = !is_dark;
            drawn(delegate, text, Qt::white, font);
        }
        if (i % 3 == 1)
            drawn(delegate, text, Qt::white, QFont("serif", 30));
        delegate.dark_theme = is_dark;
        if (drawn(delegate, text, Qt::white, font) != expected)
            QFAIL(qPrintable("'" + text + "' with the search '" + delegate.search_text + "'"));
    }
}

void HighlightDelegateTest::a_cell_lies_where_the_base_class_puts_it_data()
{
    QTest::addColumn<QVariant>("decoration");
    QTest::addColumn<QString>("text");
    const QPixmap picture = red_icon().pixmap(16, 12);
    for (const char *text : {"Hall 1", "", " 0 dB", "\U0001F5F8"}) {
        QTest::addRow("no picture, '%s'", text) << QVariant() << QString::fromUtf8(text);
        QTest::addRow("an empty icon, '%s'", text) << QVariant(QIcon()) << QString::fromUtf8(text);
        QTest::addRow("an icon, '%s'", text) << QVariant(red_icon()) << QString::fromUtf8(text);
        QTest::addRow("a pixmap, '%s'", text) << QVariant(picture) << QString::fromUtf8(text);
        QTest::addRow("a colour, '%s'", text)
            << QVariant(QColor(Qt::blue)) << QString::fromUtf8(text);
    }
}

void HighlightDelegateTest::a_cell_lies_where_the_base_class_puts_it()
{
    QFETCH(QVariant, decoration);
    QFETCH(QString, text);
    QStandardItemModel model(1, 1);
    model.setData(model.index(0, 0), decoration, Qt::DecorationRole);
    model.setData(model.index(0, 0), text);
    const HighlightDelegate delegate;
    PlainDelegate plain;
    if (decoration.userType() == QMetaType::QIcon)
        plain.icon = decoration.value<QIcon>();
    for (const QStyle::State more : {QStyle::State_None, QStyle::State_Selected,
                                     QStyle::State_HasFocus, QStyle::State_Active}) {
        const QStyle::State state = QStyle::State_Enabled | more;
        QCOMPARE(painted_by(delegate, model.index(0, 0), state),
                 painted_by(plain, model.index(0, 0), state));
    }
}

void HighlightDelegateTest::mark_is_yellow_and_the_rest_is_not()
{
    ShownDelegate delegate;
    QCOMPARE(count_pixels(drawn(delegate, "xABabx"), qRgb(255, 255, 0)), 0);
    delegate.search_text = "ab";
    const QImage image = drawn(delegate, "xABabx");
    QVERIFY(count_pixels(image, qRgb(255, 255, 0)) > 20);
    const QRect area = marked_area(image);
    QVERIFY(area.left() > cell.left()); // the first x is not marked
}

void HighlightDelegateTest::marked_text_is_black_in_a_dark_palette()
{
    ShownDelegate delegate;
    delegate.search_text = "ab";
    delegate.dark_theme = true;
    // A document takes its text colour from the application.
    const QPalette light = QApplication::palette();
    QPalette dark = light;
    dark.setColor(QPalette::Text, Qt::white);
    QApplication::setPalette(dark);
    const QImage image = drawn(delegate, "HHHABabx", QColor(30, 30, 30));
    QApplication::setPalette(light);
    const QRect area = marked_area(image);
    QVERIFY(lightness_range(image, area).first < 80); // the letters on yellow
    const QRect before(cell.left(), area.top(), area.left() - cell.left() - 1, area.height());
    QVERIFY(lightness_range(image, before).second > 150); // and the unmarked ones beside it
}

void HighlightDelegateTest::text_stays_inside_its_cell()
{
    ShownDelegate delegate;
    const QImage image = drawn(delegate, QString(200, 'W'));
    for (int y = 0; y < image.height(); ++y)
        for (int x = cell.right() + 1; x < image.width(); ++x)
            QCOMPARE(image.pixel(x, y), qRgb(255, 255, 255));
}

// Between its ends stand dots, and a gap behind it; a text that fits is left alone.
void HighlightDelegateTest::a_text_that_is_too_long_loses_its_middle()
{
    const QString text = "North stand upper horn 17";
    QStyleOptionViewItem option;
    option.font = QApplication::font();
    option.fontMetrics = QFontMetrics(option.font);
    option.showDecorationSelected = true;
    const HighlightDelegate delegate;
    const auto painted = [&option, &delegate](const QString &shown, int width) {
        QStandardItemModel model(1, 1);
        model.setData(model.index(0, 0), shown);
        option.rect = QRect(7, 5, width, 22);
        QImage image = QImage(260, 40, QImage::Format_RGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        delegate.paint(&painter, option, model.index(0, 0));
        return image;
    };
    const int margins = 2 * (QApplication::style()->pixelMetric(QStyle::PM_FocusFrameHMargin) + 1);
    const int whole = option.fontMetrics.horizontalAdvance(text) + margins;
    QCOMPARE(painted(text, whole), painted(text, whole + 1));
    const QString cut = option.fontMetrics.elidedText(text, Qt::ElideMiddle, whole - 30 - margins);
    QVERIFY(cut.startsWith("North") && cut.endsWith("17") && cut != text);
    QCOMPARE(painted(text, whole - 30), painted(cut, whole - 30));
    QVERIFY(painted(text, whole - 30) != painted(text, whole));
    const QString half = option.fontMetrics.elidedText(text, Qt::ElideMiddle, whole / 2 - margins);
    QCOMPARE(painted(text, whole / 2), painted(half, whole / 2)); // in another width after that
}

void HighlightDelegateTest::painter_comes_back_as_it_was()
{
    QImage image = blank_image(Qt::white);
    QPainter painter(&image);
    painter.setPen(Qt::red);
    painter.translate(3, 4);
    const QTransform before = painter.transform();
    ShownDelegate delegate;
    for (const char *text : {"text", "two  blanks"}) { // laid out as a line, and as a document
        delegate.drawDisplay(&painter, {}, cell, text);
        QCOMPARE(painter.transform(), before);
        QCOMPARE(painter.pen().color(), QColor(Qt::red));
        QVERIFY(!painter.hasClipping());
    }
}

void HighlightDelegateTest::what_follows_512_characters_is_neither_measured_nor_painted_data()
{
    QTest::addColumn<QString>("rest");
    QTest::newRow("letters") << QString(60000, 'W');
    QTest::newRow("a new line") << "\nsecond line";
    QTest::newRow("combining marks") << QString(60000, QChar(0x0301));
}

void HighlightDelegateTest::what_follows_512_characters_is_neither_measured_nor_painted()
{
    QFETCH(QString, rest);
    QPixmap picture(16, 16);
    picture.fill(Qt::red);
    QStandardItemModel model(2, 1);
    const QString text(512, 'i');
    for (const int row : {0, 1})
        model.setData(model.index(row, 0), picture, Qt::DecorationRole);
    model.setData(model.index(0, 0), text);
    model.setData(model.index(1, 0), text + rest);
    ShownDelegate delegate;
    QStyleOptionViewItem option;
    option.font = QApplication::font();
    option.fontMetrics = QFontMetrics(option.font);
    option.decorationSize = {16, 16};
    QCOMPARE(delegate.sizeHint(option, model.index(1, 0)),
             delegate.sizeHint(option, model.index(0, 0)));
    const auto painted = [&delegate, &option, &model](int row) {
        QImage image(6000, 40, QImage::Format_RGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        option.rect = image.rect();
        delegate.paint(&painter, option, model.index(row, 0));
        return image;
    };
    const QImage expected = painted(0);
    QVERIFY(count_pixels(expected, qRgb(255, 0, 0)) == 16 * 16);
    QCOMPARE(painted(1), expected);
}

QTEST_MAIN(HighlightDelegateTest)
#include "highlight_delegate_test.moc"
