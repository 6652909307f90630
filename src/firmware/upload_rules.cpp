// Whether a device gets an upload, and which bytes of it.
#include "firmware/upload_rules.h"

#include "firmware/firmware.h"
#include "firmware/tftp_transfer.h"

#include <cstdlib>

namespace {

// An image may hold parts for several module types, each as large as a transfer can be.
constexpr qint64 LARGEST_IMAGE = 4 * TFTP_LARGEST_FILE;

bool is_image(const QString &remote_name)
{
    return remote_name == QLatin1String(FIRMWARE_REMOTE_NAME);
}

bool begins_image(const QByteArray &head)
{
    return head.size() >= static_cast<int>(FIRMWARE_HEADER_SIZE)
        && firmware_is_header(reinterpret_cast<const uint8_t *>(head.constData()));
}

UploadDecision refuse(const QString &error)
{
    return {.error = error};
}

UploadDecision extract_for_device(uint32_t fw_magic, const QByteArray &bytes)
{
    void *section = nullptr;
    int size = 0;
    const int code = firmware_extract(reinterpret_cast<const uint8_t *>(bytes.constData()),
                                      static_cast<size_t>(bytes.size()), fw_magic, &section, &size);
    if (code != FIRMWARE_ERR_OK)
        return refuse(firmware_error_text(code));
    const UploadDecision decision{.bytes = QByteArray(static_cast<const char *>(section), size)};
    std::free(section);
    return decision;
}

} // namespace

QString firmware_error_text(int code)
{
    switch (code) {
    case FIRMWARE_ERR_OK:
        return {};
    case FIRMWARE_ERR_INVALID:
        return QStringLiteral("invalid image");
    case FIRMWARE_ERR_NO_DEVICE:
        return QStringLiteral("device not supported by image");
    case FIRMWARE_ERR_NO_MEMORY:
        return QStringLiteral("out of memory");
    default:
        return QStringLiteral("unknown");
    }
}

UploadDecision decide_by_size(const QString &remote_name, qint64 size, const QByteArray &head)
{
    if (size <= TFTP_LARGEST_FILE)
        return {};
    if (is_image(remote_name) && !begins_image(head))
        return refuse(firmware_error_text(FIRMWARE_ERR_INVALID));
    if (is_image(remote_name) && size <= LARGEST_IMAGE)
        return {};
    return {.failure = QStringLiteral("file size too large")};
}

UploadDecision decide_upload(bool online, uint32_t fw_magic, const QString &remote_name,
                             const QByteArray &bytes, KeptSections &kept)
{
    if (!online)
        return refuse(QStringLiteral("not updating"));
    if (fw_magic == 0)
        return refuse(QStringLiteral("unknown device"));
    if (!kept.for_all.error.isEmpty() || !kept.for_all.failure.isEmpty())
        return kept.for_all;
    if (!is_image(remote_name))
        return {.bytes = bytes};
    if (!kept.file.isSharedWith(bytes))
        kept = {.file = bytes};
    const auto known = kept.decisions.find(fw_magic);
    if (known != kept.decisions.end())
        return known->second;
    return kept.decisions[fw_magic] = extract_for_device(fw_magic, bytes);
}
