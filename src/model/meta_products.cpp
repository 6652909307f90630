// The product table. To add a loudspeaker, add a row: everything else follows from it.
#include "model/meta.h"

namespace {

using PresetNames = std::vector<std::vector<std::string>>; // one list per bank, equally long

// clang-format off
// Loudspeakers whose banks and presets are only numbered.
PresetNames presets_a()
{
    return {
        {"1", "2", "3", "4", "5", "6"},
        {"1", "2", "3", "4", "5", "6"},
        {"1", "2", "3", "4", "5", "6"},
    };
}

// Loudspeakers with one fixed tuning.
PresetNames presets_b()
{
    return {
        {"1"},
    };
}

PresetNames presets_c()
{
    return {
        {"Flat", "HP 120Hz", "Low-Boost", "Flat (soft)", "HP 120Hz (soft)", "Low-Boost (soft)"},
    };
}

PresetNames presets_d()
{
    return {
        {"Flat", "HP 100Hz", "Low-Boost", "Flat (soft)", "HP 100Hz (soft)", "Low-Boost (soft)"},
    };
}

PresetNames presets_e()
{
    return {
        {"Flat", "HP 100Hz", "Low-Boost", "Flat (soft)", "HP 100Hz (soft)", "Low-Boost (soft)"},
        {"Flat on-wall", "HP 100Hz on-wall", "Low-Boost on-wall", "Flat on-wall (soft)",
         "HP 100Hz on-wall (soft)", "Low-Boost on-wall (soft)"},
        {"Flat in-wall", "HP 100Hz in-wall", "Low-Boost in-wall", "Flat in-wall (soft)",
         "HP 100Hz in-wall (soft)", "Low-Boost in-wall (soft)"},
    };
}

PresetNames presets_f()
{
    return {
        {"LP 120Hz/HP 120Hz", "LP 160Hz/HP 160Hz", "LP 160Hz/HP 120Hz", "LP 120Hz/HP 120Hz + Aux",
         "LP 160Hz/HP 160Hz + Aux", "LP 160Hz/HP 120Hz + Aux"},
        {"LP 120Hz/P-Series HP 180Hz", "LP 160Hz/P-Series HP 180Hz", "LP 120Hz/P-Series +Low",
         "LP 120Hz/P-Series HP 180Hz + Aux", "LP 160Hz/P-Series HP 180Hz + Aux",
         "LP 120Hz/P-Series +Low + Aux"},
        {"LP 120Hz + e5", "LP 160Hz + e4", "LP 120Hz + HM-Series xov", "LP 120Hz + e5 + Aux",
         "LP 160Hz + e4 + Aux", "LP 120Hz + HM-Series xov + Aux"},
    };
}

PresetNames presets_g()
{
    return {
        {"LP 100Hz/HP 100Hz", "LP 140Hz/HP 140Hz", "LP 140Hz/HP 100Hz", "LP 100Hz/HP 100Hz + Aux",
         "LP 140Hz/HP 140Hz + Aux", "LP 140Hz/HP 100Hz + Aux"},
        {"LP 120Hz/HM-Series xov Flat", "LP 120Hz/HM-Series xov -Low",
         "LP 120Hz/HM-Series xov +Low", "LP 120Hz/HM-Series xov Flat + Aux",
         "LP 120Hz/HM-Series xov -Low + Aux", "LP 120Hz/HM-Series xov +Low + Aux"},
        {"LP 100Hz/N24 xov Flat", "LP 120Hz/N20 60° Flat", "LP 120Hz/N20 90° Flat",
         "LP 100Hz/N24 xov Flat + Aux", "LP 120Hz/N20 60° Flat + Aux",
         "LP 120Hz/N20 90° Flat + Aux"},
    };
}
// clang-format on

} // namespace

// The order is that of every product list that an operator sees, numbers out of sequence included.
// clang-format off
std::vector<ProductDesc> make_product_table()
{
    return {
        {.product_id = -2147483647, .capabilities = {CAP_MANUAL_STREAM, CAP_TX_STREAM},
         .name = "KV8127 Quality Control", .icon = ":/icons/kavena-sign.png", .channels = 8},
        {.product_id = 0, .capabilities = {CAP_DSP}, .name = "<unknown>",
         .icon = ":/icons/AES67.png", .channels = 8, .preset_names = presets_a()},
        {.product_id = 1000, .capabilities = {CAP_MANUAL_STREAM}, .name = "KV8130 AES67 Module",
         .icon = ":/icons/ZEM-sign.png", .channels = 8},
        {.product_id = 2000, .capabilities = {CAP_MANUAL_STREAM}, .name = "KV8141 AES67 Module",
         .icon = ":/icons/kavena-sign.png", .channels = 8},
        {.product_id = 2001, .capabilities = {CAP_MANUAL_STREAM, CAP_TX_STREAM},
         .name = "Kavena USB Audio Bridge", .icon = ":/icons/kavena-sign.png", .channels = 32},
        {.product_id = 11, .capabilities = {CAP_DSP}, .name = "VELMARK R2 dp",
         .icon = ":/icons/R2.png", .channels = 1, .preset_names = presets_a()},
        {.product_id = 12, .capabilities = {CAP_DSP}, .name = "VELMARK R3 dp",
         .icon = ":/icons/R3.png", .channels = 1, .preset_names = presets_a()},
        {.product_id = 13, .capabilities = {CAP_DSP}, .name = "VELMARK R6 dp",
         .icon = ":/icons/R6.png", .channels = 1, .preset_names = presets_a()},
        {.product_id = 14, .capabilities = {CAP_DSP}, .name = "VELMARK HM16Sub dp",
         .icon = ":/icons/HM16Sub.png", .channels = 1, .preset_names = presets_a()},
        {.product_id = 15, .capabilities = {CAP_DSP}, .name = "VELMARK HM16c dp",
         .icon = ":/icons/HM16c.png", .channels = 1, .preset_names = presets_a()},
        {.product_id = 16, .capabilities = {CAP_DSP}, .name = "VELMARK HM16i dp",
         .icon = ":/icons/HM16i.png", .channels = 1, .preset_names = presets_a()},
        {.product_id = 17, .capabilities = {CAP_DSP}, .name = "VELMARK HM24 dp",
         .icon = ":/icons/HM24.png", .channels = 1, .preset_names = presets_a()},
        {.product_id = 18, .capabilities = {CAP_DSP}, .name = "VELMARK HM24j dp",
         .icon = ":/icons/HM24j.png", .channels = 1, .preset_names = presets_a()},
        {.product_id = 19, .capabilities = {CAP_DSP}, .name = "VELMARK TSub1001 dp+",
         .icon = ":/icons/TSub1001.png", .channels = 1, .preset_names = presets_a()},
        {.product_id = 20, .capabilities = {CAP_DSP}, .name = "VELMARK TSub1801 dp",
         .icon = ":/icons/TSub1801.png", .channels = 1, .preset_names = presets_a()},
        {.product_id = 21, .capabilities = {CAP_DSP}, .name = "VELMARK TSub1802 dp",
         .icon = ":/icons/TSub1802.png", .channels = 1, .preset_names = presets_a()},
        {.product_id = 22, .capabilities = {CAP_DSP}, .name = "VELMARK N20 dp",
         .icon = ":/icons/N20.png", .channels = 1, .preset_names = presets_a()},
        {.product_id = 23, .capabilities = {CAP_DSP}, .name = "VELMARK N24 dp",
         .icon = ":/icons/N24.png", .channels = 1, .preset_names = presets_a()},
        {.product_id = 24, .capabilities = {CAP_DSP}, .name = "VELMARK NSub1502 dp",
         .icon = ":/icons/NSub1502.png", .channels = 1, .preset_names = presets_a()},
        {.product_id = 25, .capabilities = {CAP_DSP}, .name = "VELMARK NSub1801 dp",
         .icon = ":/icons/NSub1801.png", .channels = 1, .preset_names = presets_a()},
        {.product_id = 26, .capabilities = {CAP_DSP}, .name = "VELMARK TSub1501 dp",
         .icon = ":/icons/TSub1501.png", .channels = 1, .preset_names = presets_a()},
        {.product_id = 27, .capabilities = {CAP_DSP}, .name = "VELMARK TSub1501 dp+",
         .icon = ":/icons/TSub1501.png", .channels = 1, .preset_names = presets_a()},
        {.product_id = 28, .capabilities = {CAP_DSP}, .name = "VELMARK TSub1201 dp+",
         .icon = ":/icons/TSub1201.png", .channels = 1, .preset_names = presets_a()},
        {.product_id = 29, .capabilities = {CAP_DSP}, .name = "VELMARK e4 PoE",
         .icon = ":/icons/e4.png", .channels = 1, .preset_names = presets_b()},
        {.product_id = 30, .capabilities = {CAP_DSP}, .name = "VELMARK e5 dp",
         .icon = ":/icons/e5.png", .channels = 1, .preset_names = presets_b()},
        {.product_id = 100, .capabilities = {CAP_DSP}, .name = "VELMARK D-Series",
         .icon = ":/icons/D-Serie.png", .channels = 1, .preset_names = presets_a()},
        {.product_id = 10, .capabilities = {CAP_DSP}, .name = "VELMARK Y1 dp",
         .icon = ":/icons/Y1.png", .channels = 1, .preset_names = presets_c()},
        {.product_id = 4, .capabilities = {CAP_DSP}, .name = "VELMARK Y2 dp",
         .icon = ":/icons/Y2.png", .channels = 1, .preset_names = presets_c()},
        {.product_id = 5, .capabilities = {CAP_DSP}, .name = "VELMARK Y4 dp",
         .icon = ":/icons/Y4.png", .channels = 1, .preset_names = presets_d()},
        {.product_id = 6, .capabilities = {CAP_DSP}, .name = "VELMARK Y6 dp",
         .icon = ":/icons/Y6.png", .channels = 1, .preset_names = presets_d()},
        {.product_id = 7, .capabilities = {CAP_DSP}, .name = "VELMARK Y8 dp",
         .icon = ":/icons/Y8.png", .channels = 1, .preset_names = presets_d()},
        {.product_id = 3, .capabilities = {CAP_DSP}, .name = "VELMARK TriPoint 10 dp",
         .icon = ":/icons/TriPoint.png", .channels = 1, .preset_names = presets_e()},
        {.product_id = 1, .capabilities = {CAP_DSP}, .name = "VELMARK TSub 1201 dp++",
         .icon = ":/icons/TSub1201.png", .channels = 2, .preset_names = presets_f()},
        {.product_id = 2, .capabilities = {CAP_DSP}, .name = "VELMARK TSub 1501 dp++",
         .icon = ":/icons/TSub1501.png", .channels = 2, .preset_names = presets_g()},
    };
}
// clang-format on
