// Takes an input of a fuzzer apart into values.
#include "fuzz/rules/fuzz_bytes.h"

#include "model/device.h"
#include "model/device_state.h"
#include "model/json_path.h"
#include "model/meta.h"

#include <QJsonArray>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

constexpr int DEEPEST = 4;
constexpr size_t PARTS = 48; // of a product's properties, one in so many each

const std::string PRODUCT = "product_id";
const std::string SESSIONS = "stream/name";

constexpr double EDGES[] = {0.0,
                            -0.0,
                            1.0,
                            -1.0,
                            0.5,
                            127.0,
                            128.0,
                            255.0,
                            256.0,
                            1023.0,
                            1024.0,
                            65535.0,
                            65536.0,
                            2147483647.0,
                            2147483648.0,
                            -2147483648.0,
                            -2147483649.0,
                            4294967295.0,
                            4294967296.0,
                            9007199254740992.0,
                            9223372036854775807.0,
                            -9223372036854775808.0,
                            1e300,
                            -1e300,
                            5e-324,
                            1.7976931348623157e308,
                            0.1,
                            935.0,
                            24000.0};

QJsonValue json_of_kind(PropertyKind kind, FuzzBytes &bytes)
{
    switch (kind) {
    case PROP_TEXT:
    case PROP_FIRMWARE:
        return bytes.text();
    case PROP_BOOL:
        return bytes.flag();
    case PROP_INT:
    case PROP_LOCK_STATUS:
        return static_cast<int>(bytes.u16()) - 100;
    case PROP_FLOAT:
        return bytes.number();
    case PROP_IP:
        return QString("%1.%2.0.5").arg(bytes.u8()).arg(bytes.u8());
    case PROP_CHOICE:
        return bytes.flag() ? QJsonValue(bytes.below(12)) : QJsonValue(bytes.text());
    case PROP_NONE:
    case PROP_DUMMY:
    case PROP_METER:
        break;
    }
    return any_json(bytes);
}

// Another product, or this one once more, brings all properties.
bool has_another_product(const Device &device, const ProductDesc &desc)
{
    const auto product = device.values.find(PRODUCT);
    return device.properties.size() * 2 > desc.properties.size() || product == device.values.end()
        || product->second != desc.product_id;
}

std::unique_ptr<Device> record_with_part(const ProductDesc &desc, size_t part)
{
    auto device = std::make_unique<Device>();
    size_t place = part;
    for (const auto &[key, property] : desc.properties)
        if (++place % PARTS == 0 || key == PRODUCT || key == SESSIONS)
            device->properties.own(key) = property;
    return device;
}

QJsonArray any_sessions(FuzzBytes &bytes)
{
    QJsonArray sessions;
    for (int i = bytes.below(6); i > 0; --i)
        sessions.append(
            bytes.flag()
                ? QJsonObject{{"n", bytes.text()}, {"i", bytes.text()}, {"c", bytes.number()}}
                : any_json(bytes));
    return sessions;
}

} // namespace

double FuzzBytes::number()
{
    switch (u8() % 4) {
    case 0:
        return static_cast<int8_t>(u8());
    case 1:
        return static_cast<int32_t>(u32()) / 1000.0;
    case 2:
        return EDGES[static_cast<size_t>(below(int{std::size(EDGES)}))];
    default:
        const double number = any_double();
        return std::isfinite(number) ? number : 0.0;
    }
}

double FuzzBytes::any_double()
{
    const uint64_t bits = u32() | uint64_t{u32()} << 32;
    double number = 0;
    std::memcpy(&number, &bits, sizeof number);
    return number;
}

QByteArray FuzzBytes::bytes(int count)
{
    const int length = std::min(count, static_cast<int>(size - place));
    const QByteArray taken(reinterpret_cast<const char *>(data + place), length);
    place += static_cast<size_t>(length);
    return taken;
}

QString FuzzBytes::text()
{
    const int wanted = u8();
    const int length = std::min(wanted, static_cast<int>(size - place));
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data + place), length);
    place += static_cast<size_t>(length);
    return text;
}

bool is_one_in(size_t count, const uint8_t *data, size_t size)
{
    const std::string_view input(reinterpret_cast<const char *>(data), size);
    return std::hash<std::string_view>()(input) % count == 0;
}

void expect(bool claim, const char *what)
{
    if (claim)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

QJsonValue any_json(FuzzBytes &bytes, int depth)
{
    switch (bytes.u8() % (depth < DEEPEST ? 8 : 6)) {
    case 0:
        return QJsonValue(QJsonValue::Null);
    case 1:
        return bytes.flag();
    case 2:
        return bytes.u8() - 128;
    case 3:
    case 4:
        return bytes.number();
    case 5:
        return bytes.text();
    case 6: {
        QJsonArray array;
        for (int i = bytes.below(5); i > 0; --i)
            array.append(any_json(bytes, depth + 1));
        return array;
    }
    default:
        QJsonObject object;
        for (int i = bytes.below(5); i > 0; --i) {
            const QString name = bytes.text();
            object.insert(name, any_json(bytes, depth + 1));
        }
        return object;
    }
}

QJsonObject any_report(FuzzBytes &bytes, const DeviceProperties &properties, int product_id)
{
    static const QJsonObject common{
        {"product", "KESTA"}, {"seq", 0}, {"device_id", "d"}, {"product_id", 0}};
    QJsonObject report = common;
    for (int i = bytes.below(6); i > 0; --i) {
        const auto key
            = std::next(properties.begin(), bytes.below(static_cast<int>(properties.size())));
        const bool fits = bytes.u8() % 8 != 0;
        const PropertyDesc &desc = key->second;
        json_set_path(report, desc.path, fits ? json_of_kind(desc.kind, bytes) : any_json(bytes));
    }
    static const std::vector<std::string> sessions{"streams", "list"};
    if (bytes.u8() % 8 == 0)
        json_set_path(report, sessions, any_sessions(bytes));
    report.insert(QLatin1String("product_id"), product_id);
    return report;
}

size_t RecordKind::number() const
{
    return (product * PARTS + part) * 2 + (has_heard ? 1 : 0);
}

// Five of six have heard a report before: making a record's values anew takes longer than merging.
RecordKind any_record_kind(FuzzBytes &bytes)
{
    set_up_catalogue();
    const auto product
        = static_cast<size_t>(bytes.below(static_cast<int>(catalogue().product_table.size())));
    const size_t choice = bytes.u8();
    return {.product = product, .part = choice % PARTS, .has_heard = choice >= PARTS};
}

const ProductDesc &product_of(const RecordKind &kind)
{
    return catalogue().product_table[kind.product];
}

Device &fresh_record(Records &kept, const RecordKind &kind)
{
    const ProductDesc &desc = product_of(kind);
    if (kept.size() <= kind.number())
        kept.resize(kind.number() + 1);
    std::unique_ptr<Device> &device = kept[kind.number()];
    if (!device || has_another_product(*device, desc))
        device = record_with_part(desc, kind.part);
    if (!kind.has_heard)
        device->values.clear();
    for (auto &[key, value] : device->values)
        value = QVariant();
    device->values[PRODUCT] = desc.product_id;
    if (!kind.has_heard || !device->session_list.empty()) {
        device->session_list.clear();
        device->properties.own(SESSIONS).choices.clear();
    }
    if (kind.has_heard && device->properties.find(SESSIONS)->second.choices.empty())
        merge_report(*device, {{QLatin1String("product_id"), desc.product_id}});
    return *device;
}

void set_up_catalogue()
{
    static const bool is_done = [] {
        build_catalogue();
        register_session_item();
        return true;
    }();
    Q_UNUSED(is_done)
}
