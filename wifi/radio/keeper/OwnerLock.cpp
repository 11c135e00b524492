#include "OwnerLock.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <csignal>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace vantrel {

namespace {

constexpr unsigned patience = 4; // seconds; the application waits five for the first announcement

void wake(int /*signal*/) {}

} // namespace

Expected<FileDescriptor> becomeOwner(const QString& lockPath) {
    QDir().mkpath(QFileInfo(lockPath).path()); // where that fails, the opening says why
    FileDescriptor lock(
        ::open(QFile::encodeName(lockPath).constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!lock.isOpen()) {
        return errnoFailure(QStringLiteral("open ") + lockPath);
    }
    // Without SA_RESTART the alarm ends the wait.
    struct sigaction action {};
    struct sigaction before {};
    action.sa_handler = wake;
    ::sigaction(SIGALRM, &action, &before);
    ::alarm(patience);
    const int locked = ::flock(lock.get(), LOCK_EX);
    const bool timedOut = locked != 0 && errno == EINTR;
    const auto outcome = locked == 0 ? Expected<void>() : errnoFailure(QStringLiteral("flock ") + lockPath);
    ::alarm(0);
    ::sigaction(SIGALRM, &before, nullptr);
    if (timedOut) {
        return failure(QStringLiteral("flock ") + lockPath, QStringLiteral("another vantrel-radio drives the adapter"));
    }
    if (!outcome) {
        return tl::unexpected(outcome.error());
    }
    return lock;
}

} // namespace vantrel
