// Shows the user equaliser as a frequency response and lets its bands be dragged.
#pragma once

#include "eq/filter_response.h"

#include <QList>
#include <QPixmap>
#include <QWidget>

#include <cstdint>
#include <memory>

class Filter;

// One curve point per pixel column, 16 Hz to 25 kHz and +/-20 dB over the whole widget. It has no
// size hint: a splitter gives it the half of its room.
class CurveWidget : public QWidget
{
    Q_OBJECT

public:
    // Takes over the filters, as set_filters does.
    CurveWidget(QWidget *parent, const QList<Filter *> &new_filters);
    ~CurveWidget() override;

    // Without a curve only the background is painted.
    void set_has_curve(bool shows_curve);
    // Whether the mouse changes bands. Switching off ends a drag; the band keeps its last setting.
    void set_editable(bool is_editable);
    // Deletes the present filters and takes over these, drawn and summed in this order. Nothing is
    // hovered or active afterwards.
    void set_filters(const QList<Filter *> &new_filters);
    // Sums the filters' responses as they are; to be called after a filter has changed.
    void update_curves();

    // State, for reading.
    QList<Filter *> filters = {}; // owned
    bool editable = false;
    bool has_curve = false;
    std::unique_ptr<CurveGrid> grid;
    CurveLines next_lines = {}; // under construction
    CurveLines lines = {};      // painted
    int32_t hover_index = -1;   // in `filters`. KEPT: survives the mouse's leaving
    int32_t active_index = -1;
    int32_t click_count = 0; // presses in read-only mode; the third gives a hint, then every fifth

signals:
    void on_filter_edited(Filter *filter);
    // Each move: the band that is hovered or dragged, counted from 1, or 0 for none. `position` is
    // the widget's own.
    void on_band_pointed(int32_t number, const QPoint &position);
    void on_band_pressed(int32_t number); // counted from 1; in any mode, before a hint

protected:
    void resizeEvent(QResizeEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;

private:
    void hover_at(QPoint position);
    void count_read_only_press();
    void tell_pointed(QPoint position, int32_t index);

    void renew_grid_picture();
    void draw_level_lines(QPainter *painter, int label_width);
    void draw_level_labels(QPainter *painter, int label_width, int db);
    void draw_frequency_lines(QPainter *painter, int label_width);
    void draw_frequency_label(QPainter *painter, int column, const QString &text);
    void draw_summed_curves(QPainter *painter);
    void draw_bands(QPainter *painter);
    void draw_plain_markers(QPainter *painter, int except_index) const;

    QPixmap grid_picture = {}; // background, lines and labels; null from a resize to the next paint
};
