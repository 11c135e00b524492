#include "delivery/FileMover.h"

#include <QFileInfo>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vantrel {

namespace {

Expected<void> copyContent(int from, int to, const QString& toFolder) {
    constexpr std::size_t step = std::size_t{8} * 1024 * 1024;
    for (;;) {
        const ssize_t copied = ::sendfile(to, from, nullptr, step);
        if (copied < 0 && errno == EINTR) {
            continue;
        }
        if (copied < 0) {
            return errnoFailure(toFolder);
        }
        if (copied == 0) {
            return ::fsync(to) == 0 ? Expected<void>() : errnoFailure(toFolder);
        }
    }
}

// Brings the new name to the disk too, before the old one goes. Best effort: some file systems cannot.
void syncFolder(const QByteArray& folder) {
    const FileDescriptor opened(::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened.isOpen()) {
        static_cast<void>(::fsync(opened.get()));
    }
}

QByteArray folderOf(const QString& path) { return QFileInfo(path).path().toLocal8Bit(); }

} // namespace

FileMove::FileMove(const QString& from, const QString& toFolder)
    : _from(from.toLocal8Bit()),
      _folder(toFolder.toLocal8Bit()) {}

FileMove::~FileMove() { removePassingName(); }

void FileMove::removePassingName() {
    if (!_passingName.isEmpty()) {
        ::unlink(_passingName.constData());
        _passingName.clear();
    }
}

bool FileMove::needsCopy() const {
    struct stat file {};
    struct stat folder {};
    return ::lstat(_from.constData(), &file) == 0 && ::stat(_folder.constData(), &folder) == 0 &&
           file.st_dev != folder.st_dev;
}

// Mode 0600 in both ways.
Expected<void> FileMove::openCopy() {
    _copy = FileDescriptor(::open(_folder.constData(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600));
    if (_copy.isOpen()) {
        return {};
    }
    // A file system without nameless files answers so, and an old kernel takes the flag for a folder to be written to.
    if (errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL) {
        return errnoFailure(QString::fromLocal8Bit(_folder));
    }
    QByteArray name = _folder + "/.vantrel-arriving.XXXXXX";
    _copy = FileDescriptor(::mkostemp(name.data(), O_CLOEXEC));
    if (!_copy.isOpen()) {
        return errnoFailure(QString::fromLocal8Bit(_folder));
    }
    _passingName = name;
    return {};
}

Expected<void> FileMove::copy() {
    const FileDescriptor source(::open(_from.constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    if (!source.isOpen()) {
        return errnoFailure(QString::fromLocal8Bit(_from));
    }
    auto copied = openCopy();
    if (copied) {
        copied = copyContent(source.get(), _copy.get(), QString::fromLocal8Bit(_folder));
    }
    if (!copied) {
        _copy.reset();
        removePassingName();
    }
    return copied;
}

Expected<void> FileMove::nameCopy(const QByteArray& to) {
    if (_passingName.isEmpty()) {
        const QByteArray open = "/proc/self/fd/" + QByteArray::number(_copy.get());
        if (::linkat(AT_FDCWD, open.constData(), AT_FDCWD, to.constData(), AT_SYMLINK_FOLLOW) == 0) {
            return {};
        }
        if (errno != EEXIST) {
            return errnoFailure(QString::fromLocal8Bit(to));
        }
        // Only a rename replaces a file in one stroke, and it needs a name of its own.
        const QByteArray name = _folder + "/.vantrel-arriving." + QByteArray::number(::getpid());
        if (::linkat(AT_FDCWD, open.constData(), AT_FDCWD, name.constData(), AT_SYMLINK_FOLLOW) != 0) {
            return errnoFailure(QString::fromLocal8Bit(to));
        }
        _passingName = name;
    }
    if (std::rename(_passingName.constData(), to.constData()) != 0) {
        return errnoFailure(QString::fromLocal8Bit(to));
    }
    _passingName.clear();
    return {};
}

Expected<void> FileMove::finish(const QString& to) {
    const QByteArray destination = to.toLocal8Bit();
    if (!_copy.isOpen()) {
        if (std::rename(_from.constData(), destination.constData()) == 0) {
            return {};
        }
        // Two mounts of one file system look like one, and are not.
        if (errno != EXDEV) {
            return errnoFailure(to);
        }
        if (auto copied = copy(); !copied) {
            return copied;
        }
    }
    if (auto named = nameCopy(destination); !named) {
        return named;
    }
    syncFolder(_folder);
    ::unlink(_from.constData());
    return {};
}

Expected<void> moveFile(const QString& from, const QString& to) {
    return FileMove(from, QString::fromLocal8Bit(folderOf(to))).finish(to);
}

} // namespace vantrel
