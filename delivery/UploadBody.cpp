#include "UploadBody.h"

#include "DeliveryTexts.h"

#include <QFile>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vantrel {

UploadBody::UploadBody(const QString& path) {
    // Without waiting: a named pipe would hold the program until somebody writes to it.
    FileDescriptor file(::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0) {
        qCWarning(lcDelivery, "%s cannot be read: %s", qUtf8Printable(path), std::strerror(errno));
    } else if (!S_ISREG(status.st_mode)) {
        qCWarning(lcDelivery, "%s is no file", qUtf8Printable(path));
    } else {
        _size = status.st_size;
        _file = std::move(file);
    }
    QIODevice::open(QIODevice::ReadOnly | QIODevice::Unbuffered);
}

bool UploadBody::seek(qint64 /*position*/) { return false; }

qint64 UploadBody::readData(char* data, qint64 maxSize) {
    const qint64 wanted = std::min(maxSize, _size - _read);
    if (wanted <= 0) {
        return 0;
    }
    ssize_t count = 0;
    do {
        count = ::read(_file.get(), data, static_cast<std::size_t>(wanted));
    } while (count < 0 && errno == EINTR);
    if (count < 0) {
        _readFailure = QString::fromLocal8Bit(std::strerror(errno));
        qCWarning(lcDelivery, "read: %s", qUtf8Printable(_readFailure));
        return -1;
    }
    if (count == 0) {
        _becameShorter = true;
        return -1;
    }
    _read += count;
    return count;
}

qint64 UploadBody::writeData(const char* /*data*/, qint64 /*maxSize*/) { return -1; }

} // namespace vantrel
