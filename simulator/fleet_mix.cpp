// A realistic installation of any size: who stands where.
#include "simulator/fleet_mix.h"

#include "model/meta.h"

#include <array>
#include <map>

namespace simulator {

namespace {

struct MixRow
{
    int32_t product_id = 0;
    const char *name = ""; // %1 is a running number per name
    const char *location = "";
};

constexpr int32_t QUALITY_CONTROL = -2147483647;

// One round of the installation: every product stands here, the popular ones several times.
// clang-format off
constexpr MixRow MIX[] = {
    {.product_id = 17, .name = "Stage left main %1", .location = "Stage left"},
    {.product_id = 18, .name = "Stage right main %1", .location = "Stage right"},
    {.product_id = 21, .name = "Sub array %1", .location = "Below stage"},
    {.product_id = 6, .name = "Front fill %1", .location = "Stage lip"},
    {.product_id = 4, .name = "Under-balcony %1", .location = "Stalls, rear"},
    {.product_id = 29, .name = "Balcony ceiling %1", .location = "Upper balcony"},
    {.product_id = 22, .name = "Side fill left %1", .location = "Stage left"},
    {.product_id = 23, .name = "Side fill right %1", .location = "Stage right"},
    {.product_id = 3, .name = "Surround left %1", .location = "Stalls, left wall"},
    {.product_id = 1, .name = "Foyer sub %1", .location = "Foyer"},
    {.product_id = 30, .name = "Foyer ceiling %1", .location = "Foyer"},
    {.product_id = 1000, .name = "Amp room module %1", .location = "Amplifier room"},
    {.product_id = 13, .name = "North stand horn %1", .location = "North stand, roof"},
    {.product_id = 12, .name = "East stand horn %1", .location = "East stand, roof"},
    {.product_id = 11, .name = "Tunnel horn %1", .location = "Players' tunnel"},
    {.product_id = 20, .name = "North stand sub %1", .location = "North stand, row 1"},
    {.product_id = 14, .name = "Cardioid sub %1", .location = "Below stage"},
    {.product_id = 15, .name = "Centre cluster %1", .location = "Proscenium"},
    {.product_id = 16, .name = "Delay tower %1", .location = "Lawn"},
    {.product_id = 5, .name = "Choir stalls %1", .location = "Choir"},
    {.product_id = 7, .name = "Organ loft %1", .location = "Organ loft"},
    {.product_id = 10, .name = "Dressing room %1", .location = "Backstage"},
    {.product_id = 2001, .name = "FOH recording bridge %1", .location = "Front of house"},
    {.product_id = 2, .name = "Rehearsal room sub %1", .location = "Rehearsal room"},
    {.product_id = 24, .name = "Orchestra pit sub %1", .location = "Orchestra pit"},
    {.product_id = 25, .name = "South stand sub %1", .location = "South stand, row 1"},
    {.product_id = 26, .name = "Side sub left %1", .location = "Stage left"},
    {.product_id = 27, .name = "Side sub right %1", .location = "Stage right"},
    {.product_id = 28, .name = "VIP lounge sub %1", .location = "VIP lounge"},
    {.product_id = 19, .name = "Club sub %1", .location = "Club floor"},
    {.product_id = 100, .name = "Outdoor stage %1", .location = "Courtyard"},
    {.product_id = 2000, .name = "Broadcast truck module %1", .location = "Loading dock"},
    {.product_id = QUALITY_CONTROL, .name = "Workshop test bench %1", .location = "Workshop"},
    {.product_id = 0, .name = "", .location = ""},
    {.product_id = 17, .name = "Stage left main %1", .location = "Stage left"},
    {.product_id = 18, .name = "Stage right main %1", .location = "Stage right"},
    {.product_id = 6, .name = "Front fill %1", .location = "Stage lip"},
    {.product_id = 6, .name = "Front fill %1", .location = "Stage lip"},
    {.product_id = 4, .name = "Under-balcony %1", .location = "Stalls, rear"},
    {.product_id = 4, .name = "Under-balcony %1", .location = "Stalls, rear"},
    {.product_id = 21, .name = "Sub array %1", .location = "Below stage"},
    {.product_id = 3, .name = "Surround right %1", .location = "Stalls, right wall"},
    {.product_id = 3, .name = "Surround rear %1", .location = "Stalls, rear wall"},
    {.product_id = 29, .name = "Balcony ceiling %1", .location = "Upper balcony"},
    {.product_id = 30, .name = "Corridor ceiling %1", .location = "West corridor"},
    {.product_id = 13, .name = "South stand horn %1", .location = "South stand, roof"},
    {.product_id = 13, .name = "West stand horn %1", .location = "West stand, roof"},
    {.product_id = 12, .name = "East stand horn %1", .location = "East stand, roof"},
    {.product_id = 16, .name = "Delay tower %1", .location = "Lawn"},
    {.product_id = 1000, .name = "Amp room module %1", .location = "Amplifier room"},
    {.product_id = 5, .name = "Monitor wedge %1", .location = "Stage"},
    {.product_id = 10, .name = "Box office %1", .location = "Entrance hall"},
};
// clang-format on

// Most of a site runs the newest firmware; the rest is older, but nothing that asks for help.
QString firmware_of(int index)
{
    return index % 9 == 5 ? "v1.5.5.2d" : NEWEST_FIRMWARE;
}

} // namespace

std::vector<DevicePlan> make_fleet_mix(int count)
{
    std::map<QString, int> numbers;
    std::vector<DevicePlan> plans;
    for (int i = 0; i < count; ++i) {
        const MixRow &row = MIX[static_cast<size_t>(i) % std::size(MIX)];
        const QString pattern = row.name;
        const QString name = pattern.isEmpty() ? pattern : pattern.arg(++numbers[pattern]);
        plans.push_back({.product_id = row.product_id,
                         .name = name,
                         .location = row.location,
                         .order = i + 1,
                         .firmware_version = firmware_of(i)});
    }
    return plans;
}

QJsonArray usual_sessions()
{
    const auto session = [](const char *name, const char *info, int channels) {
        return QJsonObject{{"n", name}, {"i", info}, {"c", channels}};
    };
    return {session("FOH main", "Left, right, sub, fill", 8),
            session("Stage monitors", "Mix 1-8", 8), session("Paging", "Announcements", 1),
            session("Foyer music", "Stereo", 2), session("Evacuation", "Emergency voice", 1)};
}

} // namespace simulator
