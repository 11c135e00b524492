#include "keeper/Debts.h"

#include "Logging.h"
#include "base/FileDescriptor.h"
#include "keeper/DebtText.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <fcntl.h>
#include <unistd.h>

namespace vantrel {

namespace {

// A rename is only as durable as the folder that holds the name.
void syncFolder(const QString& folder) {
    const FileDescriptor descriptor(::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!descriptor.isOpen() || ::fsync(descriptor.get()) < 0) {
        qCWarning(lcKeeper, "%s", qUtf8Printable(Error::fromErrno(QStringLiteral("fsync ") + folder).text()));
    }
}

} // namespace

Expected<void> DebtRecord::write(const Debts& debts) const {
    const QString folder = QFileInfo(_path).path();
    if (!QDir().mkpath(folder)) {
        return failure(QStringLiteral("mkpath"), QStringLiteral("%1 cannot be made").arg(folder));
    }
    QSaveFile file(_path);
    if (!file.open(QIODevice::WriteOnly)) {
        return failure(QStringLiteral("open ") + _path, file.errorString());
    }
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    file.write(debtText(debts));
    if (!file.commit()) {
        return failure(QStringLiteral("write ") + _path, file.errorString());
    }
    syncFolder(folder);
    return {};
}

Expected<void> DebtRecord::remove() const {
    QFile file(_path);
    if (file.exists() && !file.remove()) {
        return failure(QStringLiteral("remove ") + _path, file.errorString());
    }
    return {};
}

std::optional<Debts> DebtRecord::take() const {
    QFile file(_path);
    if (!file.exists()) {
        return {};
    }
    if (!file.open(QIODevice::ReadOnly)) {
        qCWarning(lcKeeper, "open %s failed: %s", qUtf8Printable(_path), qUtf8Printable(file.errorString()));
        return {};
    }
    const QByteArray content = file.read(longestDebtText);
    auto debts = parseDebtText(content);
    if (!debts) {
        qCWarning(lcKeeper, "%s says nothing that could be put back, it is removed: %s", qUtf8Printable(_path),
                  content.left(200).toPercentEncoding(" {}\":,").constData());
        if (const auto removed = remove(); !removed) {
            qCWarning(lcKeeper, "%s", qUtf8Printable(removed.error().text()));
        }
        return {};
    }
    return debts;
}

QString DebtRecord::defaultPath() {
    const QString stateHome = qEnvironmentVariable("XDG_STATE_HOME");
    const QString base =
        QDir::isAbsolutePath(stateHome) ? stateHome : QDir::homePath() + QStringLiteral("/.local/state");
    return base + QStringLiteral("/vantrel/radio.json");
}

} // namespace vantrel
