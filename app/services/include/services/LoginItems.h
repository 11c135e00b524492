// Whether the program starts when the user logs in: the user's autostart entry of the desktop.
//
// The entry is `autostart/vantrel.desktop` in the user's configuration directory, as freedesktop.org's
// documents on autostart and on desktop entries lay down. Nothing is cached: each read looks at the file. Main thread,
// with an event loop.
#pragma once

#include "base/Error.h"

#include <QFileSystemWatcher>
#include <QObject>
#include <QString>

namespace vantrel {

class LoginItems : public QObject {
    Q_OBJECT

public:
    // `executable` is the absolute path of the program that the entry starts.
    explicit LoginItems(QString executable, QObject* parent = nullptr);

    // True when the entry runs this program at login; an entry that is hidden, disabled, or runs something else does
    // not, nor does one that cannot be read.
    [[nodiscard]] bool launchAtLogin() const;

    // Writes an entry of our own in place of any other, or removes it. Does nothing when it already is so.
    [[nodiscard]] Expected<void> setLaunchAtLogin(bool launch);

    // Where the entry stands, whether or not it exists.
    [[nodiscard]] QString entryPath() const { return _entryPath; }

Q_SIGNALS:
    // The value has changed, whoever changed the entry.
    void launchAtLoginChanged(bool launch);

private:
    void refresh();
    void watch();
    [[nodiscard]] QStringList pathsToWatch() const;
    [[nodiscard]] Expected<void> writeEntry() const;
    [[nodiscard]] Expected<void> removeEntry() const;

    QString _executable;
    QString _entryPath;
    QFileSystemWatcher _watcher;
    bool _announced = false; // the value that listeners know
};

} // namespace vantrel
