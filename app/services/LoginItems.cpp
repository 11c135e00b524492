#include "services/LoginItems.h"

#include "AutostartEntry.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>
#include <unistd.h>

namespace vantrel {

namespace {
constexpr qint64 largestEntry = 1 << 20; // bytes; what is longer is not an entry
}

LoginItems::LoginItems(QString executable, QObject* parent)
    : QObject(parent),
      _executable(std::move(executable)),
      _entryPath(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                 QStringLiteral("/autostart/vantrel.desktop")) {
    connect(&_watcher, &QFileSystemWatcher::directoryChanged, this, [this] { refresh(); });
    connect(&_watcher, &QFileSystemWatcher::fileChanged, this, [this] { refresh(); });
    watch();
    _announced = launchAtLogin();
}

bool LoginItems::launchAtLogin() const {
    QFile entry(_entryPath);
    // A pipe in the entry's place would block the reader.
    if (!QFileInfo(_entryPath).isFile() || !entry.open(QIODevice::ReadOnly)) {
        return false;
    }
    return entryLaunches(entry.read(largestEntry), _executable);
}

Expected<void> LoginItems::setLaunchAtLogin(bool launch) {
    if (launch && launchAtLogin()) {
        return {};
    }
    auto done = launch ? writeEntry() : removeEntry();
    refresh();
    return done;
}

Expected<void> LoginItems::writeEntry() const {
    const auto folder = QFileInfo(_entryPath).path();
    if (!QDir().mkpath(folder)) {
        return failure(QStringLiteral("mkpath"), QStringLiteral("cannot make the folder %1").arg(folder));
    }
    QSaveFile entry(_entryPath);
    const auto text = autostartEntry(_executable);
    if (!entry.open(QIODevice::WriteOnly) || entry.write(text) != text.size() || !entry.commit()) {
        return failure(QStringLiteral("write(%1)").arg(_entryPath), entry.errorString());
    }
    return {};
}

Expected<void> LoginItems::removeEntry() const {
    if (::unlink(QFile::encodeName(_entryPath).constData()) != 0 && errno != ENOENT && errno != ENOTDIR) {
        return errnoFailure(QStringLiteral("unlink(%1)").arg(_entryPath));
    }
    return {};
}

void LoginItems::refresh() {
    // Watched first, read second: a change in between shows in the read.
    watch();
    if (const bool launch = launchAtLogin(); launch != _announced) {
        _announced = launch;
        Q_EMIT launchAtLoginChanged(launch);
    }
}

void LoginItems::watch() {
    // A file that was replaced is another file to the watcher, so every watch is set anew. A folder that appears while
    // its parent is put under watch makes another round; a tree that never comes to rest must not hold us.
    for (int round = 0; round < 10; ++round) {
        const auto paths = pathsToWatch();
        if (const auto old = _watcher.files() + _watcher.directories(); !old.isEmpty()) {
            _watcher.removePaths(old);
        }
        _watcher.addPaths(paths);
        if (paths == pathsToWatch()) {
            return;
        }
    }
}

// The entry and its folder; while the folder does not exist, the nearest parent that does.
QStringList LoginItems::pathsToWatch() const {
    QStringList paths;
    if (QFileInfo::exists(_entryPath)) {
        paths.append(_entryPath);
    }
    auto folder = QFileInfo(_entryPath).path();
    while (!QFileInfo(folder).isDir() && folder != QLatin1String("/")) {
        folder = QFileInfo(folder).path();
    }
    paths.append(folder);
    return paths;
}

} // namespace vantrel
