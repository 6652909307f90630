// Whether this is the only copy of the program that works on the kept files.
#pragma once

#include <QLockFile>
#include <QString>

#include <memory>

class CopyLock
{
public:
    // Takes the lock beside the kept file, for as long as this object lives. A lock that a copy
    // left behind which is gone is taken over.
    void take(const QString &kept_file);

    // Another copy had the lock when this one asked. It stays so when that copy ends: what this
    // one has read is older than what that one wrote.
    bool is_second_copy() const { return is_second; }

private:
    std::unique_ptr<QLockFile> lock;
    bool is_second = false;
};
