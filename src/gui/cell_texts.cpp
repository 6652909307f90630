// Texts of the list's cells, laid out once and drawn often.
#include "gui/cell_texts.h"

#include "gui/highlight.h"

#include <QFontMetrics>
#include <QPainter>
#include <QPalette>
#include <QTextDocument>
#include <QTextLayout>
#include <QTextOption>

#include <algorithm>
#include <memory>
#include <optional>

namespace {

constexpr double ENDLESS = 1e6;     // pixels: no line is broken
constexpr size_t MOST_LINES = 2000; // some pages of the largest screen, 2 KB each

QTextOption cell_text_option(QTextOption option)
{
    option.setAlignment(Qt::AlignVCenter);
    option.setWrapMode(QTextOption::ManualWrap);
    return option;
}

// What is drawn begins this far below the top of its cell.
int space_above(const QRect &rect, double height)
{
    const int half_height = rect.height() / 2; // halved in whole pixels
    return static_cast<int>(half_height - 0.5 * height);
}

// Anything at all, markup aside.
void draw_by_document(QPainter *painter, const CellStyle &style, const QRect &rect,
                      const QString &text)
{
    QTextDocument document;
    document.setDocumentMargin(0);
    document.setDefaultFont(style.font);
    document.setDefaultTextOption(cell_text_option(document.defaultTextOption()));
    document.setPageSize(rect.size());
    document.setTextWidth(rect.width());
    if (style.dark_theme)
        document.setDefaultStyleSheet("span { color: #000000; }");
    document.setHtml(highlight_html(text, style.search));

    painter->save();
    painter->translate(rect.left(), space_above(rect, document.size().height()) + rect.top());
    painter->setClipRect(QRect(QPoint(0, 0), rect.size()), Qt::ReplaceClip);
    document.drawContents(painter, QRectF());
    painter->restore();
}

QVector<QTextLayout::FormatRange> marks(const QString &text, const QString &search, bool dark_theme)
{
    QTextCharFormat format;
    format.setBackground(QColor(Qt::yellow));
    if (dark_theme)
        format.setForeground(QColor(Qt::black));
    QVector<QTextLayout::FormatRange> ranges;
    for (const int hit : search_hits(text, search)) {
        // Marks that touch are one, whose letters may move together.
        if (!ranges.empty() && ranges.last().start + ranges.last().length == hit)
            ranges.last().length += search.size();
        else
            ranges.append({hit, search.size(), format});
    }
    return ranges;
}

} // namespace

struct CellTexts::Line
{
    explicit Line(const QString &text, const QFont &font)
        : layout(text, font)
    {
    }

    QTextLayout layout;
    double height = 0;
    std::optional<int> advance = {}; // once somebody has asked
    int room = -1;                   // in which `shortened` fits
    QString shortened = {};
};

std::unique_ptr<CellTexts::Line> CellTexts::laid_out(const QString &text, const QFont &font,
                                                     const QString &search, bool dark_theme)
{
    auto fresh = std::make_unique<Line>(text, font);
    fresh->layout.setTextOption(cell_text_option({}));
    fresh->layout.setCacheEnabled(true);
    fresh->layout.setFormats(marks(text, search, dark_theme));
    fresh->layout.beginLayout();
    QTextLine line = fresh->layout.createLine();
    line.setLeadingIncluded(true);
    line.setLineWidth(ENDLESS);
    line.setPosition({0, 0});
    fresh->layout.endLayout();
    fresh->height = line.height();
    return fresh;
}

CellTexts::CellTexts() = default;
CellTexts::~CellTexts() = default;

void CellTexts::draw(QPainter *painter, const CellStyle &style, const QRect &rect,
                     const QString &text)
{
    if (is_plain_text(text))
        draw_plain(painter, style, rect, text);
    else if (!text.isEmpty())
        draw_by_document(painter, style, rect, text);
}

void CellTexts::draw_plain(QPainter *painter, const CellStyle &style, const QRect &rect,
                           const QString &text)
{
    if (style.search.startsWith(' ') || style.search.endsWith(' ')) {
        draw_by_document(painter, style, rect, text);
        return;
    }
    const Line &line = line_of(style.font, text, style.search, style.dark_theme);
    painter->save();
    painter->translate(rect.left(), space_above(rect, line.height) + rect.top());
    painter->setClipRect(QRect(QPoint(0, 0), rect.size()), Qt::ReplaceClip);
    painter->setPen(QPalette().color(QPalette::Text));
    line.layout.draw(painter, QPointF(0, 0));
    painter->restore();
}

QString CellTexts::fitting(const QFont &font, const QFontMetrics &metrics, const QString &text,
                           int room)
{
    room = std::max(room, 0);
    Line &line = line_of(font, text, {}, lines_dark);
    if (!line.advance)
        line.advance = metrics.horizontalAdvance(text);
    if (*line.advance <= room)
        return text;
    if (line.room != room) {
        line.room = room;
        line.shortened = metrics.elidedText(text, Qt::ElideMiddle, room);
    }
    return line.shortened;
}

CellTexts::Line &CellTexts::line_of(const QFont &font, const QString &text, const QString &search,
                                    bool dark_theme)
{
    // With too many, all go: those in sight are soon back.
    if (font != lines_font || dark_theme != lines_dark || lines.size() >= MOST_LINES) {
        lines.clear();
        lines_font = font;
        lines_dark = dark_theme;
    }
    const bool is_marked = !search.isEmpty() && contains_search(text, search);
    std::unique_ptr<Line> &kept = lines[is_marked ? text + '\n' + search : text];
    if (!kept)
        kept = laid_out(text, font, is_marked ? search : QString(), dark_theme);
    return *kept;
}
