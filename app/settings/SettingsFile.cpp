#include "SettingsFile.h"

#include "settings/SettingsText.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vantrel {

namespace {

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;
// File times are taken from a clock that steps with the kernel's timer, 100 times a second or more.
constexpr std::int64_t twoTicks = 20'000'000;

std::int64_t nanoseconds(const timespec& time) { return time.tv_sec * nanosecondsPerSecond + time.tv_nsec; }

FileIdentity identityOf(const struct stat& status) {
    return {status.st_dev, status.st_ino, status.st_size, nanoseconds(status.st_mtim), nanoseconds(status.st_ctim)};
}

std::int64_t now() {
    timespec time{};
    ::clock_gettime(CLOCK_REALTIME, &time);
    return nanoseconds(time);
}

bool isAbsent(int error) { return error == ENOENT || error == ENOTDIR; }

Expected<QByteArray> readUpToLimit(int descriptor) {
    QByteArray text;
    char block[16 * 1024];
    while (text.size() <= largestSettingsText) {
        const auto wanted = std::min<qsizetype>(sizeof block, largestSettingsText + 1 - text.size());
        const auto count = ::read(descriptor, block, static_cast<std::size_t>(wanted));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return errnoFailure(QStringLiteral("read"));
        }
        if (count == 0) {
            break;
        }
        text.append(block, count);
    }
    return text;
}

Expected<void> writeAll(int descriptor, QByteArrayView rest) {
    while (!rest.isEmpty()) {
        const auto count = ::write(descriptor, rest.data(), static_cast<std::size_t>(rest.size()));
        if (count < 0 && errno != EINTR) {
            return errnoFailure(QStringLiteral("write"));
        }
        rest = rest.sliced(std::max<qsizetype>(count, 0));
    }
    return {};
}

// A new file that only its owner may read from the moment it exists, whatever the umask; its name must be free.
Expected<void> writeNewFile(const QByteArray& path, const QByteArray& text) {
    const FileDescriptor file(::open(path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!file.isOpen()) {
        return errnoFailure(QStringLiteral("open"));
    }
    if (::fchmod(file.get(), 0600) != 0) {
        return errnoFailure(QStringLiteral("fchmod"));
    }
    if (const auto written = writeAll(file.get(), text); !written) {
        return written;
    }
    if (::fsync(file.get()) != 0) {
        return errnoFailure(QStringLiteral("fsync"));
    }
    return {};
}

// A rename is on disk only once its folder is. Some file systems cannot be told so (EINVAL) and need not be.
Expected<void> syncFolder(const QString& folder) {
    const FileDescriptor descriptor(::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!descriptor.isOpen()) {
        return errnoFailure(QStringLiteral("open"));
    }
    if (::fsync(descriptor.get()) != 0 && errno != EINVAL) {
        return errnoFailure(QStringLiteral("fsync"));
    }
    return {};
}

Expected<void> makeFolder(const QString& folder) {
    const auto name = QFile::encodeName(folder);
    if (::mkdir(name.constData(), 0700) == 0 || errno == EEXIST) {
        return {};
    }
    const auto parent = QFileInfo(folder).path();
    if (errno != ENOENT || parent == folder) {
        return errnoFailure(QStringLiteral("mkdir ") + folder);
    }
    if (const auto made = makeFolder(parent); !made) {
        return made;
    }
    if (::mkdir(name.constData(), 0700) != 0 && errno != EEXIST) {
        return errnoFailure(QStringLiteral("mkdir ") + folder);
    }
    return {};
}

// Not every file system (NFS for one) can refuse to overwrite; there, looking first is as good, under our lock.
int renameToFreeName(const QByteArray& from, const QByteArray& to) {
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0) {
        return 0;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return -1;
    }
    struct stat status {};
    if (::lstat(to.constData(), &status) == 0) {
        errno = EEXIST;
        return -1;
    }
    return ::rename(from.constData(), to.constData());
}

} // namespace

SettingsFile::SettingsFile(const QString& path) : _path(QFileInfo(path).absoluteFilePath()) {}

Expected<std::optional<FileIdentity>> SettingsFile::identity() const {
    struct stat status {};
    if (::stat(QFile::encodeName(_path).constData(), &status) == 0) {
        return identityOf(status);
    }
    if (isAbsent(errno)) {
        return std::nullopt;
    }
    return errnoFailure(QStringLiteral("stat"));
}

Expected<std::optional<SettingsFile::Reading>> SettingsFile::read() const {
    Reading reading;
    const auto before = now();
    // Non-blocking: a FIFO of this name must not hang the program before it is found out.
    reading.held = FileDescriptor(::open(QFile::encodeName(_path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!reading.held.isOpen()) {
        if (isAbsent(errno)) {
            return std::nullopt;
        }
        return errnoFailure(QStringLiteral("open"));
    }
    struct stat status {};
    if (::fstat(reading.held.get(), &status) != 0) {
        return errnoFailure(QStringLiteral("fstat"));
    }
    if (!S_ISREG(status.st_mode)) {
        return failure(QStringLiteral("open"), QStringLiteral("not a regular file"));
    }
    reading.identity = identityOf(status);
    reading.settled = before - reading.identity.changed > twoTicks;
    auto text = readUpToLimit(reading.held.get());
    if (!text) {
        return tl::unexpected(text.error());
    }
    reading.text = std::move(*text);
    return reading;
}

Expected<SettingsLock> SettingsFile::lock() const {
    const auto path = realPath();
    if (const auto made = makeFolder(QFileInfo(path).path()); !made) {
        return tl::unexpected(made.error());
    }
    return SettingsLock::take(path + QStringLiteral(".lock"));
}

Expected<void> SettingsFile::replace(const QByteArray& text) const {
    const auto path = realPath();
    // One name is enough under the lock, and what a crash left of it goes away with the next write.
    const auto beside = QFile::encodeName(path + QStringLiteral(".new"));
    ::unlink(beside.constData());
    auto done = writeNewFile(beside, text);
    if (done && ::rename(beside.constData(), QFile::encodeName(path).constData()) != 0) {
        done = errnoFailure(QStringLiteral("rename"));
    }
    if (!done) {
        ::unlink(beside.constData());
        return done;
    }
    return syncFolder(QFileInfo(path).path());
}

Expected<QString> SettingsFile::moveAside() const {
    const auto path = realPath();
    const auto from = QFile::encodeName(path);
    const auto stem =
        path + QStringLiteral(".corrupt-") + QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    for (int number = 1;; ++number) {
        const auto aside = number == 1 ? stem : stem + QStringLiteral("-%1").arg(number);
        if (renameToFreeName(from, QFile::encodeName(aside)) == 0) {
            return aside;
        }
        if (errno != EEXIST) {
            return errnoFailure(QStringLiteral("rename"));
        }
    }
}

QString SettingsFile::realPath() const {
    const QFileInfo info(_path);
    if (const auto canonical = info.canonicalFilePath(); !canonical.isEmpty()) {
        return canonical;
    }
    return info.isSymLink() ? info.symLinkTarget() : _path; // a link to a file that is yet to be made
}

} // namespace vantrel
