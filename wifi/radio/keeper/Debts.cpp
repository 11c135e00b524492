#include "keeper/Debts.h"

#include "Logging.h"
#include "base/FileDescriptor.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <fcntl.h>
#include <unistd.h>

namespace vantrel {

namespace {

constexpr qint64 longestRecord = 4096; // bytes; a real one has some two hundred

const QString interfaceKey = QStringLiteral("interface");
const QString addressKey = QStringLiteral("address");
const QString raiseLinkKey = QStringLiteral("raiseLink");
const QString handBackKey = QStringLiteral("handBack");
const QString p2pDevicesKey = QStringLiteral("p2pDevices");

// A rename is only as durable as the folder that holds the name.
void syncFolder(const QString& folder) {
    const FileDescriptor descriptor(::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!descriptor.isOpen() || ::fsync(descriptor.get()) < 0) {
        qCWarning(lcKeeper, "%s", qUtf8Printable(Error::fromErrno(QStringLiteral("fsync ") + folder).text()));
    }
}

// As texts: a JSON number would not hold all of them.
QJsonArray textsOf(const std::vector<std::uint64_t>& numbers) {
    QJsonArray texts;
    for (const std::uint64_t number : numbers) {
        texts.append(QString::number(number));
    }
    return texts;
}

std::vector<std::uint64_t> numbersOf(const QJsonArray& texts) {
    std::vector<std::uint64_t> numbers;
    for (const auto& text : texts) {
        bool valid = false;
        const std::uint64_t number = text.toString().toULongLong(&valid);
        if (valid) {
            numbers.push_back(number);
        }
    }
    return numbers;
}

} // namespace

Expected<void> DebtRecord::write(const Debts& debts) const {
    const QString folder = QFileInfo(_path).path();
    if (!QDir().mkpath(folder)) {
        return failure(QStringLiteral("mkpath"), QStringLiteral("%1 cannot be made").arg(folder));
    }
    const QJsonObject object{{interfaceKey, debts.interfaceName},
                             {addressKey, debts.address},
                             {raiseLinkKey, debts.raiseLink},
                             {handBackKey, debts.handBack},
                             {p2pDevicesKey, textsOf(debts.p2pDevices)}};
    QSaveFile file(_path);
    if (!file.open(QIODevice::WriteOnly)) {
        return failure(QStringLiteral("open ") + _path, file.errorString());
    }
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    file.write(QJsonDocument(object).toJson(QJsonDocument::Compact));
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
    const QByteArray content = file.read(longestRecord);
    const QJsonObject object = QJsonDocument::fromJson(content).object();
    Debts debts{.interfaceName = object[interfaceKey].toString(),
                .address = object[addressKey].toString(),
                .raiseLink = object[raiseLinkKey].toBool(),
                .handBack = object[handBackKey].toBool(),
                .p2pDevices = numbersOf(object[p2pDevicesKey].toArray())};
    if (debts.interfaceName.isEmpty() || !debts.any()) {
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
