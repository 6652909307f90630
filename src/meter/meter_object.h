// A device's levels: what it last said, and what the bars show.
#pragma once

#include <QMetaType>
#include <QObject>

#include <vector>

class MeterObject : public QObject
{
    Q_OBJECT

public:
    // Takes a report. `peaks` are the device's whole numbers (0 to 70 map to -70 to 0 dB),
    // `overdrive` need not have the same length. Emits nothing: only tick moves a bar.
    void set_levels(const std::vector<float> &peaks, const std::vector<bool> &overdrive);
    void clear_levels();
    // One display step of 85 ms: rises at once, falls by 4.25 dB. Always ends with onUpdate.
    void tick();

    std::vector<float> levels = {};         // dB, latest report
    std::vector<float> display_levels = {}; // dB, what the bars show
    std::vector<bool> overdrive = {};

signals:
    void onUpdate();
};

Q_DECLARE_METATYPE(MeterObject *)
