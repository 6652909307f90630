// What a metering frame says: peaks and overdrive flags out of its JSON object.
#pragma once

#include <QJsonObject>

#include <vector>

struct MeterReport
{
    std::vector<float> peaks = {};
    std::vector<bool> overdrive = {};
};

// More channels than any loudspeaker has. KEPT: the rest of a longer list is dropped, so that a
// broken frame can't make every tick and every repaint slow.
constexpr int MAX_METER_CHANNELS = 1024;

// Reads "channel_peaks" and "channel_overdrive" of the member "metering". What is missing or of
// another type gives empty lists; an entry that is no whole number of 32 bits counts as 0. The two
// lists need not be equally long.
MeterReport read_meter_report(const QJsonObject &message);
