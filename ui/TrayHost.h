// Tells when a place for a tray item exists: a StatusNotifierItem host on the session bus, or else an XEmbed tray.
//
// Qt asks for a StatusNotifierItem host once, at the first use of QSystemTrayIcon, and remembers "none" for the life of
// the process; so nothing may touch that class before available() is emitted. Main thread.
#pragma once

#include "XEmbedTray.h"

#include <QDBusServiceWatcher>
#include <QObject>
#include <QTimer>

namespace vantrel::ui {

class TrayHost : public QObject {
    Q_OBJECT
public:
    TrayHost();

    // Starts to look; nothing is emitted before the event loop runs.
    void start();

Q_SIGNALS:
    // Once, as soon as an item would be shown.
    void available();

private Q_SLOTS:
    void askForHost(); // a slot by name, because QtDBus connects to signals of the bus only so

private:
    void found();

    QDBusServiceWatcher _watcher;
    XEmbedTray _xembed;
    QTimer _xembedGrace;
    bool _found = false;
};

} // namespace vantrel::ui
