// A transfer to a device of the loopback, with what it announces.
#pragma once

#include "firmware/tftp_uploader.h"
#include "support/tftp_peer.h"

#include <QSignalSpy>

constexpr unsigned LOOPBACK = 1; // its index in a fresh network namespace

struct Upload
{
    QTFTPFileUploader uploader;
    QSignalSpy progress{&uploader, &QTFTPFileUploader::progress};
    QSignalSpy done{&uploader, &QTFTPFileUploader::done};

    Upload(int number, const QByteArray &data)
        : uploader(LOOPBACK, device_address(number), data, "firmware.bin")
    {
    }

    bool is_good() const
    {
        return done.size() == 1 && done.at(0).at(0).toBool() && uploader.percent() == 100
            && !uploader.is_active() && uploader.status() == "Upload succeeded.";
    }
};
