// One band of the equaliser as the curve view models, draws and drags it.
#pragma once

#include "eq/curve_geometry.h"
#include "eq/drag_rules.h"
#include "eq/filter_design.h"

#include <QRect>
#include <QString>

#include <cstdint>
#include <vector>

class CurveWidget;
class QMouseEvent;
class QPainter;
struct CurveGrid;

// Belongs to the `filters` of one CurveWidget, which deletes it.
class Filter : public Biquad
{
public:
    Filter(int32_t band_number, CurveGrid *curve_grid);
    virtual ~Filter();
    Filter(const Filter &) = delete;
    Filter &operator=(const Filter &) = delete;

    // The square with the cross and the label above it; also writes where the mouse finds it.
    virtual void draw_marker(QPainter *painter, bool highlighted);
    // The band's own curve and the area between it and 0 dB.
    virtual void draw_response(QPainter *painter);
    // The handles of the active band, the marker on top of them and the bubble.
    virtual void draw_handles(QPainter *painter);
    virtual void mouse_press(QMouseEvent *event);
    virtual void mouse_move(QMouseEvent *event);
    // True ends the band's time as the active one. Null: edit mode is being switched off.
    virtual bool mouse_release(QMouseEvent *event);
    virtual void set_variant(bool second_kind);
    // Derives the coefficients and, on a grid, the response.
    virtual void set_params(const FilterParams &params) = 0;
    virtual void get_params(FilterParams &params) const = 0;
    virtual QString type_name() const = 0;

    // Fills `magnitude` and `phase`; both stay empty without a grid that is ready.
    void compute_response();
    void notify_edited();

    bool enabled = true;               // nothing clears it
    std::vector<float> magnitude = {}; // plain ratio at each visible point
    std::vector<float> phase = {};     // degrees
    // Written while painting, read by hovering.
    int32_t marker_x = 0;
    int32_t marker_y = 0;
    int32_t hit_radius = 0;
    CurveWidget *widget = nullptr;
    int32_t number = 0; // counted from 1
    CurveGrid *grid = nullptr;
    float freq = 0.0F; // Hz
    float gain = 0.0F; // dB, nominal
    QString name = {};
    bool variant = false;

protected:
    void take_coefficients(const Biquad &biquad);
    // Writes marker_x, marker_y and hit_radius.
    void place_marker();
    HandlePlace handle_place() const;
    void draw_handle_shapes(QPainter *painter, const std::vector<QPoint> &strips,
                            int32_t &label_flags) const;
};

class FilterHPF : public Filter
{
public:
    FilterHPF(int32_t band_number, CurveGrid *curve_grid);

    void set_params(const FilterParams &params) override;
    void get_params(FilterParams &params) const override;
    QString type_name() const override;

    void set_band(float new_freq, float new_q);

    float q = 0.0F;
};

class FilterPEQ : public Filter
{
public:
    FilterPEQ(int32_t band_number, CurveGrid *curve_grid);

    void draw_handles(QPainter *painter) override;
    void mouse_press(QMouseEvent *event) override;
    void mouse_move(QMouseEvent *event) override;
    bool mouse_release(QMouseEvent *event) override;
    void set_params(const FilterParams &params) override;
    void get_params(FilterParams &params) const override;
    QString type_name() const override;

    void set_band(float new_freq, float new_q, float new_gain);

    float q = 0.0F;
    float bandwidth = 0.0F; // octaves
    float low_edge = 0.0F;  // Hz
    float high_edge = 0.0F;
    // 0 idle; 1 handles on show; 2 dragged from the marker; dragged by 3 the centre, 4 a width
    // stub, 5 the frequency strip, 6 the gain strip
    int32_t drag_state = 0;
    int32_t press_x = 0;
    int32_t press_y = 0;
    float press_low_edge = 0.0F;
    float press_high_edge = 0.0F;
    float press_freq = 0.0F;
    float press_gain = 0.0F;
    // Handles as the mouse feels them, written while painting.
    QRect gain_band = {};
    QRect freq_band = {};
    QRect center_rect = {};
    QRect low_rect = {};
    QRect high_rect = {};
    int32_t label_flags = 0; // the bubble's side

private:
    int32_t handle_at(QPoint position) const;
    DragStart drag_start() const;
};

class FilterShelf : public Filter
{
public:
    FilterShelf(int32_t band_number, bool is_high);

    void draw_handles(QPainter *painter) override;
    void mouse_press(QMouseEvent *event) override;
    void mouse_move(QMouseEvent *event) override;
    bool mouse_release(QMouseEvent *event) override;
    void set_params(const FilterParams &params) override;
    void get_params(FilterParams &params) const override;
    QString type_name() const override;

    void set_band(float new_freq, float new_slope, float new_gain, bool is_high);

    float slope = 12.0F; // nothing changes it
    bool high = false;
    // 0 idle; 1 handles on show; 2 dragged from the marker; dragged by 3 the centre, 4 the
    // frequency strip, 5 the gain strip
    int32_t drag_state = 0;
    int32_t press_x = 0;
    int32_t press_y = 0;
    float press_freq = 0.0F;
    float press_gain = 0.0F;
    QRect gain_band = {};
    QRect freq_band = {};
    QRect center_rect = {};
    int32_t label_flags = 0;

private:
    int32_t handle_at(QPoint position) const;
    DragStart drag_start() const;
};
