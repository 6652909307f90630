// Paints the curve view: grid, labels, summed curves, bands.
#include "eq/column_paint.h"
#include "eq/curve_geometry.h"
#include "eq/curve_grid.h"
#include "eq/curve_widget.h"
#include "eq/filter.h"

#include <QElapsedTimer>
#include <QPainter>

namespace {

const QColor BACKGROUND(0, 0, 0);
const QColor STRONG_LINE(0x66, 0x66, 0x66);
const QColor WEAK_LINE(80, 80, 80, 185);
const QColor MAGNITUDE_CURVE(0x4F, 0xA7, 0x44);
const QColor PHASE_CURVE(0xAA, 0xAA, 0xAA); // of markers and handles too
const QString MINUS = QChar(0x2212);

constexpr int BOLD = 75;
constexpr int LAST_FREQUENCY = 30000;

// Lines stay visible through the fill behind a label.
void draw_filled_label(QPainter *painter, const QRect &r, const QString &text)
{
    painter->setOpacity(0.6);
    painter->fillRect(r, BACKGROUND);
    painter->setOpacity(1.0);
    painter->drawText(r, Qt::AlignCenter, text);
}

QRect label_rect(QPainter *painter, const QString &text)
{
    return painter->boundingRect(QRect(), Qt::AlignLeft, text);
}

// A decade's first, second and fifth line are labelled.
QString frequency_label(int decade, int nth)
{
    if (nth != 1 && nth != 2 && nth != 5)
        return {};
    const int frequency = decade * nth;
    return frequency < 1000 ? QString::number(frequency)
                            : QString::number(frequency / 1000) + QObject::tr("k");
}

} // namespace

void CurveWidget::paintEvent(QPaintEvent *)
{
    QElapsedTimer timer;
    timer.start();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (!has_curve) {
        painter.fillRect(painter.window(), BACKGROUND);
        return;
    }
    grid->font_size = curve_font_size(size());
    if (grid_picture.isNull() || grid_picture.devicePixelRatioF() != devicePixelRatioF())
        renew_grid_picture();
    painter.drawPixmap(0, 0, grid_picture);
    draw_summed_curves(&painter);
    draw_bands(&painter);
    painter.end();
    static_cast<void>(timer.elapsed()); // measured for who debugs; nothing goes by it
}

void CurveWidget::renew_grid_picture()
{
    grid_picture = QPixmap(size() * devicePixelRatioF());
    grid_picture.setDevicePixelRatio(devicePixelRatioF());
    QPainter painter(&grid_picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(painter.window(), BACKGROUND);
    painter.setFont(QFont("Helvetica", grid->font_size, BOLD, false));
    // As wide as this text, which is never drawn itself.
    const int label_width = label_rect(&painter, MINUS + "200").width();
    draw_level_lines(&painter, label_width);
    draw_frequency_lines(&painter, label_width);
}

void CurveWidget::draw_level_lines(QPainter *painter, int label_width)
{
    const int center = static_cast<int>(grid->center_y);
    painter->setPen(STRONG_LINE);
    for (int db = 0; db < static_cast<int>(grid->db_range); db += 5) {
        const float off = static_cast<float>(db) * grid->px_per_db;
        const int lower = static_cast<int>(static_cast<float>(center) + off);
        const int upper = static_cast<int>(static_cast<float>(center) - off);
        const int left = db == 0 ? 0 : label_width;
        painter->drawLine(left, lower, width(), lower);
        painter->drawLine(left, upper, width(), upper);
        if (db != 0)
            draw_level_labels(painter, label_width, db);
    }
}

// Gains in the left column, and in the right one the phase that the lower line stands for.
void CurveWidget::draw_level_labels(QPainter *painter, int label_width, int db)
{
    const int center = static_cast<int>(grid->center_y);
    const float off = static_cast<float>(db) * grid->px_per_db;
    const auto draw_at = [painter](QRect r, int left, float line_y, const QString &text) {
        const int half_height = r.height() / 2; // halved in whole pixels
        const float top = line_y - static_cast<float>(half_height) - 1.0F;
        r.moveTopLeft({left, static_cast<int>(top)});
        draw_filled_label(painter, r, text);
    };
    const auto draw_left = [painter, label_width, draw_at](float line_y, const QString &text) {
        const QRect r = label_rect(painter, text);
        draw_at(r, (label_width - r.width()) / 2, line_y, text);
    };
    const auto center_row = static_cast<float>(center);
    draw_left(center_row - off, tr("+") + QString::number(db));
    draw_left(center_row + off, MINUS + QString::number(db));
    const int degrees = 180 - 18 * db;
    const QString phase = (degrees < 0 ? MINUS : QString()) + QString::number(std::abs(degrees));
    const QRect r = label_rect(painter, phase);
    draw_at(r, width() - r.width(), center_row + off, phase);
}

void CurveWidget::draw_frequency_lines(QPainter *painter, int label_width)
{
    for (int decade = 10; decade <= 10000; decade *= 10) {
        painter->setPen(STRONG_LINE);
        for (int nth = 1; nth <= 9 && decade * nth <= LAST_FREQUENCY; ++nth) {
            const int column = grid->freq_to_x(static_cast<float>(decade * nth));
            if (decade > 10 || column > label_width) {
                painter->drawLine(column, 0, column, height() - 1);
                draw_frequency_label(painter, column, frequency_label(decade, nth));
            }
            painter->setPen(WEAK_LINE); // KEPT: also after a skipped line
        }
    }
}

void CurveWidget::draw_frequency_label(QPainter *painter, int column, const QString &text)
{
    if (text.isEmpty())
        return;
    QRect r = painter->boundingRect(QRect(), Qt::AlignCenter, text);
    r.moveLeft(column - r.width() / 2);
    r.moveBottom(height() - 1);
    draw_filled_label(painter, r, text);
}

void CurveWidget::draw_summed_curves(QPainter *painter)
{
    painter->setPen(QPen(MAGNITUDE_CURVE, 2));
    stroke_columns(painter, lines.magnitude, grid->columns_per_stroke);
    painter->setPen(QPen(PHASE_CURVE, 1));
    painter->drawPolyline(lines.phase.data(), static_cast<int>(lines.phase.size()));
}

void CurveWidget::draw_plain_markers(QPainter *painter, int except_index) const
{
    for (int i = 0; i < filters.size(); ++i) {
        if (i == except_index)
            continue;
        painter->save();
        filters.at(i)->draw_marker(painter, false);
        painter->restore();
    }
}

// The active or hovered band comes last. The active one's marker is part of its handles, so that
// its own response lies above everything.
void CurveWidget::draw_bands(QPainter *painter)
{
    const bool has_active = active_index >= 0;
    const int shown = has_active ? active_index : hover_index;
    draw_plain_markers(painter, shown);
    if (shown < 0)
        return;
    Filter *filter = filters.at(shown);
    painter->save();
    if (has_active)
        filter->draw_handles(painter);
    else
        filter->draw_marker(painter, true);
    painter->restore();
    painter->save();
    filter->draw_response(painter);
    painter->restore();
}
