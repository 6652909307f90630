// Texts of the list's cells, laid out once and drawn often.
#pragma once

#include <QFont>
#include <QString>

#include <memory>
#include <unordered_map>

class QFontMetrics;
class QPainter;
class QRect;

// How a text is drawn in a cell: with its marks, left-aligned, in the middle of the cell's height.
struct CellStyle
{
    QFont font = {};
    QString search = {};     // what is marked
    bool dark_theme = false; // light text on a dark ground: marked text must turn black
};

// A document of HTML per cell and painting is nine tenths of what a painted list costs. Nearly all
// texts are plain ones (is_plain_text), which the document would lay out as one line of the same
// letters: those lines are kept, and drawn pixel for pixel as the document draws them. Any other
// text takes the long way.
class CellTexts
{
public:
    CellTexts();
    ~CellTexts();

    // Draws within `rect` alone; the painter is left as it was. The second is for a text that is
    // known to be plain.
    void draw(QPainter *painter, const CellStyle &style, const QRect &rect, const QString &text);
    void draw_plain(QPainter *painter, const CellStyle &style, const QRect &rect,
                    const QString &text);

    // A plain text in at most `room` pixels: itself, or with dots for its middle.
    QString fitting(const QFont &font, const QFontMetrics &metrics, const QString &text, int room);

private:
    struct Line;

    static std::unique_ptr<Line> laid_out(const QString &text, const QFont &font,
                                          const QString &search, bool dark_theme);
    Line &line_of(const QFont &font, const QString &text, const QString &search, bool dark_theme);

    // By text, those with marks by text and search.
    std::unordered_map<QString, std::unique_ptr<Line>> lines;
    QFont lines_font = {};   // in which all of them are laid out
    bool lines_dark = false; // how marked letters are drawn in them
};
