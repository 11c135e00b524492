#include "engine/TemporaryFolder.h"

#include "CaptureTexts.h"
#include "base/FileDescriptor.h"

#include <QDir>
#include <QStandardPaths>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vantrel {

namespace {

QString firstChoice() {
    const QString set = qEnvironmentVariable("TMPDIR");
    const QString base = set.isEmpty() ? QStringLiteral("/var/tmp") : set;
    return QDir(base).absoluteFilePath(QStringLiteral("vantrel-%1").arg(::geteuid()));
}

QString secondChoice() {
    const QString cache = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation);
    return QDir(cache).absoluteFilePath(QStringLiteral("vantrel/captures"));
}

} // namespace

Expected<void> preparePrivateFolder(const QString& path) {
    const QByteArray native = path.toLocal8Bit();
    if (::mkdir(native.constData(), 0700) != 0 && errno != EEXIST) {
        return errnoFailure(path);
    }
    const FileDescriptor folder(::open(native.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!folder.isOpen()) {
        return errno == ELOOP || errno == ENOTDIR ? failure(path, QStringLiteral("is not a folder, or a link to one"))
                                                  : errnoFailure(path);
    }
    struct stat status {};
    if (::fstat(folder.get(), &status) != 0) {
        return errnoFailure(path);
    }
    if (status.st_uid != ::geteuid()) {
        return failure(path, QStringLiteral("belongs to another user"));
    }
    if ((status.st_mode & 07777U) != 0700U && ::fchmod(folder.get(), 0700) != 0) {
        return errnoFailure(path);
    }
    if (::faccessat(AT_FDCWD, native.constData(), W_OK | X_OK, AT_EACCESS) != 0) {
        return errnoFailure(path);
    }
    return {};
}

Expected<QString> temporaryFolder() {
    const QString first = firstChoice();
    const auto prepared = preparePrivateFolder(first);
    if (prepared) {
        return first;
    }
    qCWarning(lcCapture, "temporary folder refused: %s", qUtf8Printable(prepared.error().text()));
    const QString second = secondChoice();
    QDir().mkpath(QFileInfo(second).path());
    if (const auto again = preparePrivateFolder(second); !again) {
        return failure(prepared.error().text(), again.error().text());
    }
    return second;
}

QStringList existingTemporaryFolders() {
    QStringList existing;
    for (const QString& folder : {firstChoice(), secondChoice()}) {
        if (QFileInfo::exists(folder) && preparePrivateFolder(folder)) {
            existing << folder;
        }
    }
    return existing;
}

} // namespace vantrel
