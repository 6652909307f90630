// Believable values for the properties of a product.
#include "simulator/property_values.h"

#include "model/json_path.h"
#include "model/meta.h"

#include <cmath>

namespace simulator {

namespace {

struct ValueContext
{
    const DevicePlan &plan;
    const ProductDesc &product;
    QJsonObject session; // the one that the device plays; empty: none
    RandomSource &random;
};

struct ValueRow
{
    const char *key = "";
    QJsonValue (*value)(const ValueContext &context) = nullptr;
};

int channels_of(const ValueContext &context)
{
    return context.session.value("c").toInt();
}

QJsonValue preset_of(const ValueContext &context)
{
    const auto &banks = context.product.preset_names;
    return banks.empty() ? 0 : context.random.below(static_cast<int>(banks.front().size()));
}

// Multicast groups of AES67 senders stand in 239.69.0.0/16.
QJsonValue draw_group(const ValueContext &context)
{
    return QString("239.69.%1.%2")
        .arg(context.random.between(1, 250))
        .arg(context.random.between(1, 250));
}

// clang-format off
constexpr ValueRow VALUES[] = {
    {.key = "product_id", .value = [](const ValueContext &c) -> QJsonValue { return c.plan.product_id; }},
    {.key = "ui/name", .value = [](const ValueContext &c) -> QJsonValue { return c.plan.name; }},
    {.key = "ui/loc", .value = [](const ValueContext &c) -> QJsonValue { return c.plan.location; }},
    {.key = "ui/memo", .value = [](const ValueContext &c) -> QJsonValue { return c.plan.memo; }},
    {.key = "ui/order", .value = [](const ValueContext &c) -> QJsonValue { return c.plan.order; }},
    {.key = "link_state/rx_bw", .value = [](const ValueContext &c) -> QJsonValue { return 40 + 1170 * channels_of(c); }},
    {.key = "link_state/tx_bw", .value = [](const ValueContext &c) -> QJsonValue { return c.random.between(45, 60); }},
    {.key = "link_state/bw", .value = [](const ValueContext &) -> QJsonValue { return 1000; }},
    {.key = "dsp/bank", .value = [](const ValueContext &) -> QJsonValue { return 1; }},
    {.key = "dsp/preset", .value = preset_of},
    {.key = "dsp/level", .value = [](const ValueContext &c) -> QJsonValue { return c.random.happens(80) ? 4 : c.random.below(7); }},
    {.key = "dsp/mute", .value = [](const ValueContext &c) -> QJsonValue { return c.random.happens(4); }},
    {.key = "dsp/delay", .value = [](const ValueContext &c) -> QJsonValue { return c.random.happens(40) ? c.random.below(48'000) / 1000.0 : 0.0; }},
    {.key = "dsp/eq_en", .value = [](const ValueContext &c) -> QJsonValue { return c.random.happens(60); }},
    {.key = "stream/name", .value = [](const ValueContext &c) -> QJsonValue { return c.session.value("n").toString(); }},
    {.key = "stream/link_offset", .value = [](const ValueContext &c) -> QJsonValue { return c.random.happens(70) ? 48 : 96; }},
    {.key = "stream/gain_db", .value = [](const ValueContext &c) -> QJsonValue { return c.random.happens(80) ? 0 : -3; }},
    {.key = "rtp/lock", .value = [](const ValueContext &c) -> QJsonValue { return channels_of(c) > 0 ? 3 : 0; }},
    {.key = "stream/rtp/ip", .value = draw_group},
    {.key = "stream/rtp/dp", .value = [](const ValueContext &) -> QJsonValue { return 5004; }},
    {.key = "stream/rtp/dc", .value = [](const ValueContext &) -> QJsonValue { return 1; }},
    {.key = "stream/rtp/sp", .value = [](const ValueContext &) -> QJsonValue { return 5004; }},
    {.key = "stream/rtp/sc", .value = [](const ValueContext &) -> QJsonValue { return 1; }},
    {.key = "stream/rtp/sr", .value = [](const ValueContext &) -> QJsonValue { return 48000; }},
    {.key = "stream/rtp/ss", .value = [](const ValueContext &) -> QJsonValue { return 24; }},
    {.key = "stream/rtp/cc", .value = [](const ValueContext &) -> QJsonValue { return 8; }},
    {.key = "stream/rtp/pt", .value = [](const ValueContext &) -> QJsonValue { return 98; }},
    {.key = "stream/rtp/ci", .value = [](const ValueContext &) -> QJsonValue { return "024B56FFFE000001"; }},
    {.key = "stream/rtp/cd", .value = [](const ValueContext &) -> QJsonValue { return 0; }},
    {.key = "stream_tx/name", .value = [](const ValueContext &c) -> QJsonValue { return c.plan.name; }},
    {.key = "stream_tx/info", .value = [](const ValueContext &c) -> QJsonValue { return c.plan.location; }},
    {.key = "stream_tx/ip", .value = draw_group},
    {.key = "stream_tx/samplesize", .value = [](const ValueContext &) -> QJsonValue { return 24; }},
    {.key = "stream_tx/channel_count", .value = [](const ValueContext &) -> QJsonValue { return 8; }},
};
// clang-format on

struct BandRow
{
    int type = 0;
    int frequency = 0; // Hz
    double q = 0;
};

// A shelf at each end and three bells between: what a technician leaves behind.
constexpr BandRow BANDS[] = {{.type = 1, .frequency = 100, .q = 0.7},
                             {.type = 2, .frequency = 250, .q = 2.0},
                             {.type = 2, .frequency = 1000, .q = 1.4},
                             {.type = 3, .frequency = 3150, .q = 4.0},
                             {.type = 4, .frequency = 8000, .q = 0.7}};

QJsonValue band_value(size_t band, const std::string &member, RandomSource &random)
{
    const BandRow &row = BANDS[band % std::size(BANDS)];
    if (member == "type")
        return row.type;
    if (member == "freq")
        return row.frequency + 10 * random.below(row.frequency / 20);
    if (member == "q")
        return row.q;
    if (member == "gain")
        return random.between(-12, 12) / 2.0;
    return random.happens(70);
}

// A selected channel of the stream, or -1: none.
QJsonValue source_channel(const PropertyDesc &desc, const ValueContext &context)
{
    const int channel = desc.user_value.toInt();
    return channel < channels_of(context) ? channel : -1;
}

QJsonValue value_by_kind(const PropertyDesc &desc, const ValueContext &context)
{
    switch (desc.kind) {
    case PROP_TEXT:
        return "";
    case PROP_BOOL:
        return false;
    case PROP_INT:
    case PROP_FLOAT:
    case PROP_LOCK_STATUS:
        return std::isfinite(desc.min) ? desc.min : 0;
    case PROP_IP:
        return "0.0.0.0";
    case PROP_CHOICE:
        if (desc.choices.empty())
            return 0;
        return QJsonValue::fromVariant(desc.choices[static_cast<size_t>(context.random.below(
                                                        static_cast<int>(desc.choices.size())))]
                                           .value);
    case PROP_FIRMWARE:
        return context.plan.firmware_version;
    case PROP_NONE:
    case PROP_DUMMY:
    case PROP_METER:
        return QJsonValue::Undefined;
    }
    return QJsonValue::Undefined;
}

QJsonValue believable_value(const std::string &key, const PropertyDesc &desc,
                            const ValueContext &context)
{
    for (const ValueRow &row : VALUES)
        if (key == row.key)
            return row.value(context);
    if ((desc.flags & PF_EQ) != 0 && desc.path.size() == 3)
        return band_value(static_cast<size_t>(desc.path[1].back() - '0'), desc.path[2],
                          context.random);
    if ((desc.flags & PF_SOURCE_CHANNEL) != 0)
        return source_channel(desc, context);
    if ((desc.flags & PF_CHANNEL_LIST) != 0)
        return desc.user_value.toInt();
    return value_by_kind(desc, context);
}

} // namespace

void write_property_values(QJsonObject &state, const DevicePlan &plan, const QJsonArray &sessions,
                           RandomSource &random)
{
    const bool plays = !sessions.isEmpty() && random.happens(80);
    const QJsonObject session
        = plays ? sessions.at(random.below(sessions.size())).toObject() : QJsonObject();
    const ProductDesc &product = find_product(plan.product_id);
    const ValueContext context{plan, product, session, random};
    for (const auto &[key, desc] : product.properties) {
        if (!json_get_path(state, desc.path).isUndefined())
            continue;
        const QJsonValue value = believable_value(key, desc, context);
        if (!value.isUndefined())
            json_set_path(state, desc.path, value);
    }
}

} // namespace simulator
