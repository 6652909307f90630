// The table of everything a device can be asked or told: generic properties, and those of the EQ.
#include "model/meta.h"
#include "support/text_format.h"

namespace {

// KEPT: a product with more still has eight selectors of each kind.
constexpr size_t STREAM_CHANNELS = 8;
constexpr int EQ_BANDS = 5;

PropertyChoice choice(int value, const char *label)
{
    return {.value = value, .label = label, .data = {}};
}

// KEPT: the value of a level is its index here, not a gain.
std::vector<PropertyChoice> level_choices()
{
    return {choice(0, "-12 dB"), choice(1, "-9 dB"), choice(2, "-6 dB"), choice(3, "-3 dB"),
            choice(4, "0 dB"),   choice(5, "+3 dB"), choice(6, "+6 dB")};
}

// In samples at 48 kHz.
std::vector<PropertyChoice> link_offset_choices()
{
    return {choice(48, "1 ms"), choice(96, "2 ms"), choice(144, "3 ms"), choice(192, "4 ms")};
}

// KEPT: the leading blank of " 0 dB" lines the entry up with the signed ones.
std::vector<PropertyChoice> gain_choices()
{
    return {choice(0, " 0 dB"),    choice(-3, "-3 dB"),         choice(-6, "-6 dB"),
            choice(-9, "-9 dB"),   choice(-12, "-12 dB"),       choice(-15, "-15 dB"),
            choice(-18, "-18 dB"), choice(-40, "-40 dB (safe)")};
}

std::vector<PropertyChoice> band_type_choices()
{
    return {choice(0, "None"), choice(1, "LSHELF"), choice(2, "PEQ"), choice(3, "PEQ2"),
            choice(4, "HSHELF")};
}

// clang-format off
std::vector<PropertyDesc> properties_before_source_channels()
{
    return {
        {.path = {"product_id"}, .label = "Product", .flags = PF_DRIVES_ALL, .kind = PROP_CHOICE},
        {.path = {"device_id"}, .label = "Unique device ID", .flags = PF_READONLY | PF_NO_ROW,
         .kind = PROP_TEXT},
        {.path = {"net", "static_ip"}, .label = "IP override", .flags = PF_READONLY | PF_NO_ROW,
         .kind = PROP_IP},
        {.path = {"link_state", "rx_bw"}, .label = "RX Bandwidth",
         .flags = PF_READONLY | PF_NO_ROW, .kind = PROP_INT},
        {.path = {"link_state", "tx_bw"}, .label = "TX Bandwidth",
         .flags = PF_READONLY | PF_NO_ROW, .kind = PROP_INT},
        {.path = {"link_state", "bw"}, .label = "RX/TX Bandwidth",
         .flags = PF_READONLY | PF_NO_ROW, .kind = PROP_INT},
        {.path = {"ui", "name"}, .label = "Name", .kind = PROP_TEXT, .max = 127},
        {.path = {"ui", "loc"}, .label = "Location", .kind = PROP_TEXT, .max = 127},
        {.path = {"ui", "memo"}, .label = "Memo", .kind = PROP_TEXT, .max = 127},
        {.path = {"dsp", "bank"}, .needs = {CAP_DSP}, .label = "Bank",
         .flags = PF_DRIVES_PRESETS | PF_BACKUP, .kind = PROP_INT, .min = 1},
        {.path = {"dsp", "preset"}, .needs = {CAP_DSP}, .label = "Preset",
         .flags = PF_EMPTY_CHOICES_OK | PF_FOLLOWS_BANK | PF_BACKUP, .kind = PROP_CHOICE},
        {.path = {"dsp", "level"}, .needs = {CAP_DSP}, .label = "Level", .flags = PF_BACKUP,
         .kind = PROP_CHOICE, .choices = level_choices()},
        {.path = {"dsp", "mute"}, .needs = {CAP_DSP}, .label = "Mute", .flags = PF_BACKUP,
         .kind = PROP_BOOL},
        {.path = {"dsp", "delay"}, .needs = {CAP_DSP}, .label = "Delay", .flags = PF_BACKUP,
         .kind = PROP_FLOAT, .min = 0, .max = 935, .unit = "m", .decimals = 3},
        {.path = {"ui", "order"}, .label = "Order ID", .kind = PROP_INT},
        {.path = {"firmware_version"}, .label = "Firmware Version", .flags = PF_READONLY,
         .kind = PROP_FIRMWARE},
        {.path = {"dsp", "eq_en"}, .needs = {CAP_DSP}, .label = "User EQ enable",
         .flags = PF_EQ | PF_BACKUP, .kind = PROP_BOOL},
        {.path = {"dummy", "load_restore", "0"}, .kind = PROP_DUMMY,
         .user_value = static_cast<int>(PF_BACKUP)},
        {.path = {"dummy", "header", "1"}, .label = "AES67", .kind = PROP_DUMMY},
        {.path = {"stream", "name"}, .label = "AES67 Session",
         .flags = PF_DRIVES_CHANNELS | PF_BACKUP, .kind = PROP_CHOICE},
    };
}

std::vector<PropertyDesc> properties_behind_source_channels()
{
    return {
        {.path = {"stream", "link_offset"}, .label = "AES67 Link Offset", .flags = PF_BACKUP,
         .kind = PROP_CHOICE, .choices = link_offset_choices()},
        {.path = {"stream", "gain_db"}, .label = "AES67 Gain", .flags = PF_BACKUP,
         .kind = PROP_CHOICE, .choices = gain_choices()},
        {.path = {"rtp", "lock"}, .label = "AES67 Clock Status", .flags = PF_READONLY,
         .kind = PROP_LOCK_STATUS},
        {.path = {"dummy", "header", "2"}, .needs = {CAP_MANUAL_STREAM},
         .label = "AES67 Manual Stream", .kind = PROP_DUMMY},
        {.path = {"stream", "rtp", "en"}, .needs = {CAP_MANUAL_STREAM}, .label = "Manual Enable",
         .flags = PF_DRIVES_CHANNELS | PF_BACKUP, .kind = PROP_BOOL},
        {.path = {"stream", "rtp", "ip"}, .needs = {CAP_MANUAL_STREAM},
         .label = "Manual UDP dest. IP", .flags = PF_BACKUP, .kind = PROP_IP},
        {.path = {"stream", "rtp", "dp"}, .needs = {CAP_MANUAL_STREAM},
         .label = "Manual UDP dest. port", .flags = PF_BACKUP, .kind = PROP_INT, .min = 0,
         .max = 65535},
        {.path = {"stream", "rtp", "dc"}, .needs = {CAP_MANUAL_STREAM},
         .label = "Manual UDP dest. port count", .flags = PF_BACKUP, .kind = PROP_INT, .min = 1,
         .max = 8},
        {.path = {"stream", "rtp", "sp"}, .needs = {CAP_MANUAL_STREAM},
         .label = "Manual UDP source port", .flags = PF_BACKUP, .kind = PROP_INT, .min = 0,
         .max = 65535},
        {.path = {"stream", "rtp", "sc"}, .needs = {CAP_MANUAL_STREAM},
         .label = "Manual UDP source port count", .flags = PF_BACKUP, .kind = PROP_INT, .min = 1,
         .max = 8},
        {.path = {"stream", "rtp", "sr"}, .needs = {CAP_MANUAL_STREAM},
         .label = "Manual Audio sample rate", .flags = PF_BACKUP, .kind = PROP_INT, .min = 0,
         .max = 192000},
        {.path = {"stream", "rtp", "ss"}, .needs = {CAP_MANUAL_STREAM},
         .label = "Manual Audio sample size (16/24)", .flags = PF_BACKUP, .kind = PROP_INT,
         .min = 0, .max = 24},
        {.path = {"stream", "rtp", "cc"}, .needs = {CAP_MANUAL_STREAM},
         .label = "Manual Audio channel count (total)", .flags = PF_DRIVES_CHANNELS | PF_BACKUP,
         .kind = PROP_INT, .min = 0, .max = 64},
        {.path = {"stream", "rtp", "pt"}, .needs = {CAP_MANUAL_STREAM},
         .label = "Manual RTP payload type", .flags = PF_BACKUP, .kind = PROP_INT, .min = 0,
         .max = 255},
        {.path = {"stream", "rtp", "ci"}, .needs = {CAP_MANUAL_STREAM},
         .label = "Manual PTP clock ID (64 bit number)", .flags = PF_BACKUP, .kind = PROP_TEXT},
        {.path = {"stream", "rtp", "cd"}, .needs = {CAP_MANUAL_STREAM},
         .label = "Manual PTP domain number", .flags = PF_BACKUP, .kind = PROP_INT, .min = -1,
         .max = 255},
        {.path = {"dummy", "header", "3"}, .needs = {CAP_TX_STREAM}, .label = "AES67 TX Stream",
         .kind = PROP_DUMMY},
        {.path = {"stream_tx", "enable"}, .needs = {CAP_TX_STREAM},
         .label = "AES67 TX session enable", .flags = PF_BACKUP, .kind = PROP_BOOL},
        {.path = {"stream_tx", "name"}, .needs = {CAP_TX_STREAM},
         .label = "AES67 TX session name", .flags = PF_BACKUP, .kind = PROP_TEXT},
        {.path = {"stream_tx", "info"}, .needs = {CAP_TX_STREAM},
         .label = "AES67 TX session info", .flags = PF_BACKUP, .kind = PROP_TEXT},
        {.path = {"stream_tx", "ip"}, .needs = {CAP_TX_STREAM}, .label = "AES67 TX IP address",
         .flags = PF_BACKUP, .kind = PROP_IP},
        {.path = {"stream_tx", "samplesize"}, .needs = {CAP_TX_STREAM},
         .label = "AES67 TX audio sample size", .flags = PF_BACKUP, .kind = PROP_CHOICE,
         .choices = {choice(16, "16 bits"), choice(24, "24 bits")}},
        {.path = {"stream_tx", "channel_count"}, .needs = {CAP_TX_STREAM},
         .label = "AES67 TX channel count", .flags = PF_BACKUP, .kind = PROP_CHOICE},
    };
}
// clang-format on

PropertyDesc source_channel(size_t channel)
{
    return {.path = {"stream", format_text("ch%zu", channel)},
            .label = format_text("AES67 Source Channel %zu", channel + 1),
            .flags = PF_SOURCE_CHANNEL | PF_EMPTY_CHOICES_OK | PF_FOLLOWS_STREAM | PF_BACKUP,
            .kind = PROP_CHOICE,
            .user_value = static_cast<qulonglong>(channel)};
}

PropertyDesc destination_channel(size_t channel)
{
    return {.path = {"stream_tx", format_text("ch%zu", channel)},
            .needs = {CAP_TX_STREAM},
            .label = format_text("AES67 Destination Channel %zu", channel + 1),
            .flags = PF_EMPTY_CHOICES_OK | PF_CHANNEL_LIST | PF_BACKUP,
            .kind = PROP_CHOICE,
            .user_value = static_cast<qulonglong>(channel)};
}

// None of these takes part in "Load": a backup brings back only whether the user EQ is on.
void append_band(std::vector<PropertyDesc> &properties, int band)
{
    const std::string name = format_text("eq%d", band);
    const auto path = [&name](const char *member) {
        return std::vector<std::string>{"dsp", name, member};
    };
    // clang-format off
    properties.insert(properties.end(), {
        {.path = {"dummy", "header", name}, .needs = {CAP_DSP},
         .label = format_text("User EQ %d", band + 1), .kind = PROP_DUMMY},
        {.path = path("type"), .needs = {CAP_DSP}, .label = "Type", .flags = PF_EQ,
         .kind = PROP_CHOICE, .choices = band_type_choices()},
        {.path = path("freq"), .needs = {CAP_DSP}, .label = "Frequency", .flags = PF_EQ,
         .kind = PROP_INT, .min = 10, .max = 24000, .unit = "Hz"},
        {.path = path("q"), .needs = {CAP_DSP}, .label = "Q", .flags = PF_EQ,
         .kind = PROP_FLOAT, .min = 0.1, .max = 20, .decimals = 1},
        {.path = path("gain"), .needs = {CAP_DSP}, .label = "Gain", .flags = PF_EQ,
         .kind = PROP_FLOAT, .min = -25, .max = 25, .unit = "dB", .decimals = 1},
        {.path = path("en"), .needs = {CAP_DSP}, .label = "Enable", .flags = PF_EQ,
         .kind = PROP_BOOL},
    });
    // clang-format on
}

} // namespace

std::vector<PropertyDesc> make_generic_properties()
{
    std::vector<PropertyDesc> properties = properties_before_source_channels();
    for (size_t channel = 0; channel < STREAM_CHANNELS; ++channel)
        properties.push_back(source_channel(channel));
    for (const PropertyDesc &desc : properties_behind_source_channels())
        properties.push_back(desc);
    for (size_t channel = 0; channel < STREAM_CHANNELS; ++channel)
        properties.push_back(destination_channel(channel));
    return properties;
}

std::vector<PropertyDesc> make_eq_properties()
{
    std::vector<PropertyDesc> properties;
    for (int band = 0; band < EQ_BANDS; ++band)
        append_band(properties, band);
    return properties;
}
