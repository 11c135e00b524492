#include "delivery/FileMover.h"

#include "base/FileDescriptor.h"

#include <QFileInfo>
#include <cstdio>
#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vantrel {

namespace {

Expected<void> copyContent(int from, int to, const QString& toPath) {
    constexpr std::size_t step = std::size_t{8} * 1024 * 1024;
    for (;;) {
        const ssize_t copied = ::sendfile(to, from, nullptr, step);
        if (copied < 0 && errno == EINTR) {
            continue;
        }
        if (copied < 0) {
            return errnoFailure(toPath);
        }
        if (copied == 0) {
            return ::fsync(to) == 0 ? Expected<void>() : errnoFailure(toPath);
        }
    }
}

// Brings the new name to the disk too, before the old one goes. Best effort: some file systems cannot.
void syncFolderOf(const QByteArray& path) {
    const QByteArray folder = QFileInfo(QString::fromLocal8Bit(path)).path().toLocal8Bit();
    const FileDescriptor opened(::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened.isOpen()) {
        static_cast<void>(::fsync(opened.get()));
    }
}

Expected<void> copyThenRemove(const QByteArray& from, const QByteArray& to) {
    const QString toPath = QString::fromLocal8Bit(to);
    const FileDescriptor source(::open(from.constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    if (!source.isOpen()) {
        return errnoFailure(QString::fromLocal8Bit(from));
    }
    QByteArray passing = to + ".XXXXXX";
    const FileDescriptor copy(::mkostemp(passing.data(), O_CLOEXEC)); // mode 0600
    if (!copy.isOpen()) {
        return errnoFailure(toPath);
    }
    auto copied = copyContent(source.get(), copy.get(), toPath);
    if (copied && std::rename(passing.constData(), to.constData()) != 0) {
        copied = errnoFailure(toPath);
    }
    if (!copied) {
        ::unlink(passing.constData());
        return copied;
    }
    syncFolderOf(to);
    ::unlink(from.constData());
    return {};
}

} // namespace

Expected<void> moveFile(const QString& from, const QString& to) {
    const QByteArray source = from.toLocal8Bit();
    const QByteArray destination = to.toLocal8Bit();
    if (std::rename(source.constData(), destination.constData()) == 0) {
        return {};
    }
    return errno == EXDEV ? copyThenRemove(source, destination) : errnoFailure(to);
}

} // namespace vantrel
