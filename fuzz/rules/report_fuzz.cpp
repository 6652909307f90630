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

constexpr size_t MOST_STEPS = 3;
const std::string PRODUCT = "product_id";

void check_keys(const Device &device, const MergeResult &result)
{
    const std::vector<std::string> &keys = catalogue().property_keys;
    const std::string *next = keys.data();
    for (const std::string *key : result.changed_keys) {
        expect(key >= next && key < keys.data() + keys.size(),
               "changed keys come in the order of all keys, once");
        next = key + 1;
        expect(device.properties.count(*key) == 1, "only what the device has changes");
    }
    for (const auto &[key, value] : device.values)
        expect(key == PRODUCT || device.properties.count(key) == 1,
               "a value belongs to a property");
    expect(device.session_list.size() <= 1024, "a list of sessions has its bound");
}

// What came before counts no more, but for what is told in other words: 5 and "5" are equal, and
// the older one stays.
void check_last_report_counts(const Device &device, const RecordKind &kind,
                              const QJsonObject &report)
{
    static Records records;
    Device &other = fresh_record(records, kind);
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
    RecordKind kind = {};
    bool may_change_product = false;
    bool keeps_product = true;
    int reports = 0;
    MergeResult result = {};
    QJsonObject last = {};
    qint64 now = 1'700'000'000'000;

    void report(const QJsonObject &object, bool live)
    {
        last = object;
        ++reports;
        note_report(device, live, now, fw_magic_of(object));
        if (live)
            expect(device.online && device.last_seen == now, "a live report brings it online");
        result = merge_report(device, object);
        keeps_product = keeps_product && !result.product_changed;
    }

    // What holds behind the last report holds behind each: the next input ends with that. Merging
    // takes longest, so every other input does it for one of the two claims.
    void check_end(bool is_twice)
    {
        if (reports == 0)
            return;
        check_keys(device, result);
        needs_assistant(device);
        if (!is_twice) {
            if (keeps_product && reports > 1)
                check_last_report_counts(device, kind, last);
            return;
        }
        const MergeResult again = merge_report(device, last);
        expect(again.changed_keys.empty() && !again.product_changed,
               "merging the same report twice changes nothing");
    }

    // Mostly of the device's own product: with another one come all the properties of that, which
    // takes longest.
    QJsonObject any_object(bool is_text)
    {
        const int own = product_of(kind).product_id;
        QJsonObject object = is_text
            ? QJsonDocument::fromJson(bytes.bytes(bytes.u16() % 600)).object()
            : any_report(bytes, device.properties, own);
        if (may_change_product && bytes.flag())
            object.insert(QLatin1String("product_id"),
                          bytes.flag() ? any_json(bytes) : QJsonValue(bytes.below(40)));
        else if (is_text && !may_change_product)
            object.insert(QLatin1String("product_id"), own);
        return object;
    }

    void step()
    {
        switch (bytes.u8() % 32) {
        case 31:
            report(any_object(true), true);
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
            report(any_object(false), bytes.u8() % 8 != 0);
        }
        expect(!device.awaiting_reply || device.reports_without_reply < 2, "two reports decide");
    }
};

} // namespace

void fuzz_report(const uint8_t *data, size_t size)
{
    set_up_catalogue();
    FuzzBytes bytes(data, size);
    static Records records;
    const RecordKind kind = any_record_kind(bytes);
    Device &device = fresh_record(records, kind);
    device.online = device.broken_net = device.awaiting_reply = false;
    device.reports_without_reply = 0;
    device.last_seen = 0;
    Play play{.device = device,
              .bytes = bytes,
              .kind = kind,
              .may_change_product = bytes.u16() == 0x5AA5,
              .last = {{QLatin1String("product_id"), product_of(kind).product_id}}};
    for (size_t i = 0; i < MOST_STEPS && !bytes.is_empty(); ++i)
        play.step();
    play.check_end(size % 2 == 0);
}
