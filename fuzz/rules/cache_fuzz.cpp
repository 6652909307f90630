// The cache's text: any bytes are read, and what is written is read back the same.
#include "fuzz/rules/fuzz_bytes.h"
#include "model/device.h"
#include "model/meta.h"
#include "model/registry_limit.h"
#include "model/saved_state.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace {

// By their text: a number such as 1e18 is read back as a whole one, which compares as another
// value.
QByteArray text_of(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

bool are_equal(const std::vector<SavedDevice> &left, const std::vector<SavedDevice> &right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](const SavedDevice &one, const SavedDevice &other) {
                          return one.address == other.address
                              && (one.data == other.data
                                  || text_of(one.data) == text_of(other.data));
                      });
}

QByteArray written(const std::vector<SavedDevice> &devices, std::vector<SavedDevice> &kept)
{
    QByteArray text;
    begin_cache_text(text);
    for (const SavedDevice &device : devices) {
        SavedText saved;
        KeptReport report(device.data);
        renew_saved_text(saved, device.address, report, LARGEST_CACHE_PART);
        const char *made = saved.text.constData();
        renew_saved_text(saved, device.address, report, LARGEST_CACHE_PART);
        expect(saved.text.constData() == made, "an equal report makes no new text");
        report.settle();
        if (&device == &devices.back())
            expect(report.compact() == text_of(device.data),
                   "however it is kept, it says the same");
        const int size = text.size();
        add_to_cache_text(text, saved);
        expect(text.size() - size <= saved.size, "a part takes no more than it says");
        if (!saved.text.isEmpty())
            kept.push_back(device);
    }
    end_cache_text(text);
    return text;
}

void check_written(const std::vector<SavedDevice> &devices, FuzzBytes &bytes)
{
    std::vector<SavedDevice> kept;
    const QByteArray text = written(devices, kept);
    expect(are_equal(read_cache_text(text), kept), "what is written is read back the same");
    if (bytes.u8() % 4 == 0)
        expect(are_equal(read_cache_text(text + "}" + bytes.bytes()), kept),
               "an older text's tail is ignored");
}

QJsonObject any_device_report(FuzzBytes &bytes)
{
    static Records records;
    const RecordKind kind = any_record_kind(bytes);
    return any_report(bytes, fresh_record(records, kind).properties, product_of(kind).product_id);
}

std::vector<SavedDevice> any_devices(FuzzBytes &bytes)
{
    std::vector<SavedDevice> devices;
    for (int i = bytes.u8() % 4 == 0 ? 2 : 1; i > 0; --i)
        devices.push_back(
            {.address = QHostAddress(bytes.u32()),
             .data = bytes.flag() ? any_device_report(bytes) : any_json(bytes).toObject()});
    return devices;
}

} // namespace

void fuzz_cache(const uint8_t *data, size_t size)
{
    FuzzBytes bytes(data, size);
    if (bytes.flag()) {
        check_written(any_devices(bytes), bytes);
        return;
    }
    const std::vector<SavedDevice> devices = read_cache_text(bytes.rest());
    FuzzBytes none(data, 0);
    check_written(devices, none);
}
