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
        const int size = text.size();
        add_to_cache_text(text, saved);
        expect(text.size() - size <= saved.size, "a part takes no more than it says");
        if (!saved.text.isEmpty())
            kept.push_back(device);
    }
    end_cache_text(text);
    return text;
}

void check_kept(const SavedDevice &device)
{
    SavedText saved;
    KeptReport report(device.data);
    renew_saved_text(saved, device.address, report, LARGEST_CACHE_PART);
    const char *made = saved.text.constData();
    renew_saved_text(saved, device.address, report, LARGEST_CACHE_PART);
    expect(saved.text.constData() == made, "an equal report makes no new text");
    report.settle();
    expect(report.compact() == text_of(device.data), "however it is kept, it says the same");
}

void check_written(const std::vector<SavedDevice> &devices, const QByteArray &tail)
{
    std::vector<SavedDevice> kept;
    const QByteArray text = written(devices, kept) + tail;
    expect(are_equal(read_cache_text(text), kept),
           tail.isEmpty() ? "what is written is read back the same"
                          : "an older text's tail is ignored");
}

SavedDevice any_device(FuzzBytes &bytes)
{
    static Records records;
    const QHostAddress address(bytes.u32());
    if (bytes.flag())
        return {.address = address, .data = any_json(bytes).toObject()};
    const RecordKind kind = any_record_kind(bytes);
    return {.address = address,
            .data = any_report(bytes, fresh_record(records, kind).properties,
                               product_of(kind).product_id)};
}

} // namespace

// One claim an input: all of them at once take four times as long. Writing takes longest: of the
// inputs that ask for it one in three has it, the others are read.
void fuzz_cache(const uint8_t *data, size_t size)
{
    FuzzBytes bytes(data, size);
    const int claim = bytes.u8() % 8;
    if (!is_one_in(3, data, size)) {
        read_cache_text(bytes.rest());
        return;
    }
    switch (claim) {
    case 0:
        return check_kept(any_device(bytes));
    case 1: {
        const QByteArray tail = bytes.flag() ? "}" + bytes.bytes() : QByteArray();
        return check_written({any_device(bytes)}, tail);
    }
    case 2:
        return check_written(read_cache_text(bytes.rest()), {});
    default:
        read_cache_text(bytes.rest());
    }
}
