// Watches for an XEmbed system tray. On other window systems than X11 it finds none.
//
// Main thread.
#pragma once

#include "X11Tray.h"

#include <QAbstractNativeEventFilter>
#include <QObject>

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

    std::optional<X11Tray> _tray; // from start() on
};

} // namespace vantrel::ui
