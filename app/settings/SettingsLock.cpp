#include "SettingsLock.h"

#include <QFile>
#include <chrono>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>

namespace vantrel {

namespace {
using namespace std::chrono_literals;

// A write takes milliseconds; flock(2) has no time-out of its own.
constexpr auto patience = 3s;
constexpr auto pause = 1ms;
} // namespace

Expected<SettingsLock> SettingsLock::take(const QString& path) {
    FileDescriptor descriptor(::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!descriptor.isOpen()) {
        return errnoFailure(QStringLiteral("open ") + path);
    }
    const auto end = std::chrono::steady_clock::now() + patience;
    while (::flock(descriptor.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR) {
            return errnoFailure(QStringLiteral("flock ") + path);
        }
        if (std::chrono::steady_clock::now() >= end) {
            return failure(QStringLiteral("flock ") + path, QStringLiteral("another program holds the lock"));
        }
        std::this_thread::sleep_for(pause);
    }
    return SettingsLock(std::move(descriptor));
}

SettingsLock::~SettingsLock() {
    // Closing alone would leave the lock with a child process that was forked meanwhile and has not executed yet.
    if (_descriptor.isOpen()) {
        ::flock(_descriptor.get(), LOCK_UN);
    }
}

} // namespace vantrel
