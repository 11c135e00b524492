// The settings file on disk: what it holds, whether it is still the same, and how it is replaced.
//
// Where the name is a symbolic link (a user may keep the file elsewhere), the link stays and the file it leads to is
// replaced. Holds no state but the path; any thread.
#pragma once

#include "SettingsLock.h"
#include "base/Error.h"
#include "base/FileDescriptor.h"

#include <QByteArray>
#include <QString>
#include <cstdint>
#include <optional>
#include <sys/types.h>

namespace vantrel {

// What tells one state of a file from another. Times are in nanoseconds since 1970, and as fine as the kernel's tick.
struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    std::int64_t modified = 0;
    std::int64_t changed = 0; // also by chmod, so a file made readable is tried again
    bool operator==(const FileIdentity&) const = default;
};

class SettingsFile {
public:
    struct Reading {
        QByteArray text; // cut off beyond largestSettingsText by one byte
        FileIdentity identity;
        // Two changes within one tick of the clock look alike. When the file was older than that while it was read,
        // an equal identity proves equal content; otherwise only reading again does.
        bool settled = false;
        FileDescriptor held; // while it is open no other file can get the same inode number
    };

    explicit SettingsFile(const QString& path);

    [[nodiscard]] const QString& path() const { return _path; }

    // Both answer nothing where there is no file. What is no regular file cannot be read.
    [[nodiscard]] Expected<std::optional<FileIdentity>> identity() const;
    [[nodiscard]] Expected<std::optional<Reading>> read() const;

    // Makes the folder (0700) when missing.
    [[nodiscard]] Expected<SettingsLock> lock() const;

    // For the holder of the lock. Puts a file with this text, mode 0600, in the place of the old one: afterwards it is
    // on disk; on failure, also by a crash, the old one still stands.
    [[nodiscard]] Expected<void> replace(const QByteArray& text) const;
    // For the holder of the lock. Renames the file to one that says "corrupt" and the time; answers its path.
    [[nodiscard]] Expected<QString> moveAside() const;

private:
    [[nodiscard]] QString realPath() const;

    QString _path;
};

} // namespace vantrel
