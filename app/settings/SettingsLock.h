// The right to change a settings file, held against all other programs that change it.
//
// An advisory flock(2) on a file of its own: the settings file is replaced with every write, so a lock on it would be
// a lock on what is no longer there. The kernel gives the lock up when its holder dies.
#pragma once

#include "base/Error.h"
#include "base/FileDescriptor.h"

namespace vantrel {

class SettingsLock {
public:
    // Takes the lock in the named file, which is made (0600) when missing. Waits for another holder, but not for
    // ever: one that was stopped in the middle of a write must not freeze this program.
    [[nodiscard]] static Expected<SettingsLock> take(const QString& path);

    SettingsLock(SettingsLock&&) noexcept = default;
    SettingsLock& operator=(SettingsLock&&) = delete;
    SettingsLock(const SettingsLock&) = delete;
    SettingsLock& operator=(const SettingsLock&) = delete;
    ~SettingsLock();

private:
    explicit SettingsLock(FileDescriptor descriptor) noexcept : _descriptor(std::move(descriptor)) {}

    FileDescriptor _descriptor;
};

} // namespace vantrel
