#include "RuntimeFolder.h"

#include <QDir>
#include <QFile>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace vantrel {

namespace {

struct stat lstatOf(const QByteArray& path, bool& found) {
    struct stat status {};
    found = ::lstat(path.constData(), &status) == 0;
    return status;
}

// The session's runtime folder, when the session manager made one for this user.
std::optional<QString> sessionFolder() {
    const auto path = qgetenv("XDG_RUNTIME_DIR");
    if (!path.startsWith('/')) {
        return {};
    }
    bool found = false;
    const auto status = lstatOf(path, found);
    if (!found || !S_ISDIR(status.st_mode) || status.st_uid != ::getuid()) {
        return {};
    }
    return QFile::decodeName(path);
}

} // namespace

Expected<QString> runtimeFolder() {
    const auto session = sessionFolder();
    const auto folder = session ? *session + QStringLiteral("/vantrel")
                                : QDir::tempPath() + QStringLiteral("/vantrel-%1").arg(::getuid());
    const auto path = QFile::encodeName(folder);
    if (::mkdir(path.constData(), S_IRWXU) != 0 && errno != EEXIST) {
        return errnoFailure(QStringLiteral("mkdir(%1)").arg(folder));
    }
    bool found = false;
    const auto status = lstatOf(path, found);
    if (!found) {
        return errnoFailure(QStringLiteral("lstat(%1)").arg(folder));
    }
    if (!S_ISDIR(status.st_mode) || status.st_uid != ::getuid()) {
        return failure(QStringLiteral("lstat(%1)").arg(folder), QStringLiteral("not a folder of this user"));
    }
    if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0 && ::chmod(path.constData(), S_IRWXU) != 0) {
        return errnoFailure(QStringLiteral("chmod(%1)").arg(folder));
    }
    return folder;
}

} // namespace vantrel
