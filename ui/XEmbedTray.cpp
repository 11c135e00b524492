#include "XEmbedTray.h"

#include <QGuiApplication>
#include <xcb/xcb.h>

namespace vantrel::ui {

void XEmbedTray::start() {
    _tray = X11Tray::ofServer();
    if (!_tray) {
        return;
    }
    qGuiApp->installNativeEventFilter(this); // before the question, so that no announcement is missed
    if (_tray->owner() != XCB_WINDOW_NONE) {
        Q_EMIT appeared();
    }
}

void XEmbedTray::stop() { qGuiApp->removeNativeEventFilter(this); }

bool XEmbedTray::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
    if (eventType == "xcb_generic_event_t" && _tray->isAnnouncement(message)) {
        Q_EMIT appeared();
    }
    return false;
}

} // namespace vantrel::ui
