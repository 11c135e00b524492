// A tmpfs of a few kilobytes, for disks that fill up; unmounted when destroyed.
#pragma once

#include <QDir>
#include <QString>
#include <sys/mount.h>

namespace vantrel::testing {

class SmallFileSystem {
public:
    // Mounts it on a new folder of that path; isMounted() tells whether this process may.
    SmallFileSystem(QString path, const char* options) : _path(std::move(path)) {
        QDir().mkdir(_path);
        _mounted = ::mount("tmpfs", qPrintable(_path), "tmpfs", 0, options) == 0;
    }
    ~SmallFileSystem() {
        if (_mounted) {
            ::umount2(qPrintable(_path), MNT_DETACH);
        }
    }
    SmallFileSystem(const SmallFileSystem&) = delete;
    SmallFileSystem& operator=(const SmallFileSystem&) = delete;

    [[nodiscard]] bool isMounted() const { return _mounted; }
    [[nodiscard]] const QString& path() const { return _path; }

private:
    QString _path;
    bool _mounted = false;
};

} // namespace vantrel::testing
