// Watches for an XEmbed system tray: the owner of the X11 selection _NET_SYSTEM_TRAY_S<screen>, announced by a MANAGER
// message to the root window (freedesktop.org System Tray Protocol 0.3). On other window systems it finds none.
//
// Main thread.
#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <cstdint>

namespace vantrel::ui {

class XEmbedTray : public QObject, private QAbstractNativeEventFilter {
    Q_OBJECT
public:
    // Emits appeared() at once when a tray exists already.
    void start();
    void stop();

Q_SIGNALS:
    void appeared();

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

    std::uint32_t _manager = 0;   // X11 atoms
    std::uint32_t _selection = 0; // of the first screen, where Qt shows tray icons
};

} // namespace vantrel::ui
