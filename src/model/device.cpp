// What is known of one device.
#include "model/device.h"

QVariant Device::value(const std::string &key) const
{
    const auto found = values.find(key);
    return found == values.end() ? QVariant() : found->second;
}

// Without forgetting the bytes, those of an earlier report would be taken for a repetition of this.
void Device::take_report(const QJsonObject &report)
{
    last_report = report;
    last_payload.clear();
    is_merged = false;
}
