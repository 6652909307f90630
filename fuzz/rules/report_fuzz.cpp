// Sequences of reports, commands, replies and time, merged into one device's record.
#include "fuzz/rules/fuzz_bytes.h"
#include "gui/choices.h"
#include "link/packet_kind.h"
#include "model/device_state.h"
#include "model/meta.h"
#include "model/presence.h"

#include <QJsonDocument>

#include <algorithm>

namespace {

constexpr size_t MOST_STEPS = 4;
const std::string PRODUCT = "product_id";

void check_keys(const Device &device, const MergeResult &result)
{
    auto place = catalogue().property_keys.begin();
    for (const std::string *key : result.changed_keys) {
        place = std::find(place, catalogue().property_keys.end(), *key);
        expect(place != catalogue().property_keys.end(),
               "changed keys come in the order of all keys, once");
        ++place;
        expect(device.properties.count(*key) == 1, "only what the device has changes");
    }
    for (const auto &[key, value] : device.values)
        expect(key == PRODUCT || device.properties.count(key) == 1,
               "a value belongs to a property");
    expect(device.session_list.size() <= 1024, "a list of sessions has its bound");
}

// What came before counts no more, but for what is told in other words: 5 and "5" are equal, and
// the older one stays.
void check_last_report_counts(const Device &device, size_t product, const QJsonObject &report)
{
    static Records records;
    Device &other = fresh_record(records, product);
    merge_report(other, report);
    expect(other.values.size() == device.values.size(), "the last report decides what is known");
    for (const auto &[key, value] : other.values)
        expect(value == device.value(key) || device.value(key) == value,
               "the last report decides every value");
    expect(other.session_list == device.session_list, "the last report decides the sessions");
    expect(device.session_list == sessions_of(report), "sessions are those of the report");
}

struct Play
{
    Device &device;
    FuzzBytes &bytes;
    size_t product = 0; // its place in the table
    bool keeps_product = true;
    QJsonObject last = {};
    qint64 now = 1'700'000'000'000;

    void report(const QJsonObject &object, bool live)
    {
        last = object;
        note_report(device, live, now, fw_magic_of(object));
        if (live)
            expect(device.online && device.last_seen == now, "a live report brings it online");
        merge(object);
    }

    void merge(const QJsonObject &object)
    {
        const MergeResult result = merge_report(device, object);
        check_keys(device, result);
        keeps_product = keeps_product && !result.product_changed;
        const MergeResult again = merge_report(device, object);
        expect(again.changed_keys.empty() && !again.product_changed,
               "merging the same report twice changes nothing");
        if (keeps_product)
            check_last_report_counts(device, product, object);
        needs_assistant(device);
    }

    void step()
    {
        switch (bytes.u8() % 32) {
        case 31: // mostly without a product, which takes longest
            report(QJsonDocument::fromJson(bytes.bytes(bytes.u16() % 600)).object(), true);
            break;
        case 1:
        case 9:
        case 17:
            report(last, true);
            break;
        case 2:
        case 10:
        case 18:
            note_command_sent(device);
            expect(device.awaiting_reply && device.reports_without_reply == 0, "a reply is due");
            break;
        case 3:
        case 11:
        case 19:
            note_reply(device);
            expect(!device.awaiting_reply && !device.broken_net, "a reply ends all waiting");
            break;
        case 4:
        case 12:
        case 20:
            now += static_cast<int16_t>(bytes.u16());
            if (device.online && has_gone_silent(device, now))
                device.online = false;
            expect(!device.online || device.last_seen <= now,
                   "nobody who is online was heard in the future");
            break;
        default:
            report(any_report(bytes, product), bytes.u8() % 8 != 0);
        }
        expect(device.reports_without_reply <= 2, "two reports decide");
    }
};

} // namespace

void fuzz_report(const uint8_t *data, size_t size)
{
    set_up_catalogue();
    FuzzBytes bytes(data, size);
    static Records records;
    const auto product
        = static_cast<size_t>(bytes.below(static_cast<int>(catalogue().product_table.size())));
    Device &device = fresh_record(records, product);
    device.online = device.broken_net = device.awaiting_reply = false;
    device.reports_without_reply = 0;
    device.last_seen = 0;
    Play play{.device = device, .bytes = bytes, .product = product};
    for (size_t i = 0; i < MOST_STEPS && !bytes.is_empty(); ++i)
        play.step();
}
