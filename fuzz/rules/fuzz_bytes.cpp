// Takes an input of a fuzzer apart into values.
#include "fuzz/rules/fuzz_bytes.h"

#include "model/device.h"
#include "model/json_path.h"
#include "model/meta.h"

#include <QJsonArray>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int DEEPEST = 4;
constexpr int PARTS = 48; // of a product's properties, one in so many each

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

QJsonObject any_report(FuzzBytes &bytes, const PropertyMap &properties, int product_id)
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
    if (bytes.u8() % 8 == 0)
        json_set_path(report, {"streams", "list"}, any_sessions(bytes));
    report.insert("product_id", product_id);
    return report;
}

RecordKind any_record_kind(FuzzBytes &bytes)
{
    set_up_catalogue();
    const int products = static_cast<int>(catalogue().product_table.size());
    return {.product = static_cast<size_t>(bytes.below(products)), .part = bytes.below(PARTS)};
}

const ProductDesc &product_of(const RecordKind &kind)
{
    return catalogue().product_table[kind.product];
}

Device &fresh_record(Records &kept, const RecordKind &kind)
{
    const ProductDesc &desc = product_of(kind);
    std::unique_ptr<Device> &device = kept[kind];
    // Another product, or this one once more, brings all properties.
    if (!device || device->properties.size() * 2 > desc.properties.size()
        || device->value("product_id") != desc.product_id) {
        device = std::make_unique<Device>();
        int place = kind.part;
        for (const auto &[key, property] : desc.properties)
            if (++place % PARTS == 0 || key == "product_id" || key == "stream/name")
                device->properties[key] = property;
    }
    device->values.clear();
    device->values["product_id"] = desc.product_id;
    device->session_list.clear();
    device->properties["stream/name"].choices.clear();
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
