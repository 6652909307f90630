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

void register_session_item()
{
    qRegisterMetaType<session_item>("session_item");
    // Without a comparator two sessions that are alike count as different, and every rebuilt
    // session list would rebuild its row.
    static const bool registered = QMetaType::registerEqualsComparator<session_item>();
    Q_UNUSED(registered)
}
