#include "XEmbedTray.h"

#include <QGuiApplication>
#include <QLoggingCategory>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <xcb/xcb.h>

namespace vantrel::ui {

namespace {
struct Free {
    void operator()(void* block) const { std::free(block); }
};
template <typename T>
using Reply = std::unique_ptr<T, Free>; // xcb replies come from malloc()

xcb_atom_t atom(xcb_connection_t* connection, std::string_view name) {
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
    if (!reply) {
        qWarning("xcb_intern_atom() failed for %.*s", static_cast<int>(name.size()), name.data());
        return XCB_ATOM_NONE;
    }
    return reply->atom;
}

bool hasOwner(xcb_connection_t* connection, xcb_atom_t selection) {
    const auto cookie = xcb_get_selection_owner(connection, selection);
    const Reply<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(connection, cookie, nullptr));
    return reply && reply->owner != XCB_WINDOW_NONE;
}
} // namespace

void XEmbedTray::start() {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    // The platform "offscreen" has the interface too, without a connection.
    if (x11 == nullptr || x11->connection() == nullptr || QGuiApplication::platformName() != QStringLiteral("xcb")) {
        return;
    }
    _manager = atom(x11->connection(), "MANAGER");
    _selection = atom(x11->connection(), "_NET_SYSTEM_TRAY_S0");
    if (_selection == XCB_ATOM_NONE) {
        return;
    }
    qGuiApp->installNativeEventFilter(this); // before the question, so that no announcement is missed
    if (hasOwner(x11->connection(), _selection)) {
        Q_EMIT appeared();
    }
}

void XEmbedTray::stop() { qGuiApp->removeNativeEventFilter(this); }

bool XEmbedTray::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
    if (eventType == "xcb_generic_event_t") {
        const auto* event = static_cast<const xcb_generic_event_t*>(message);
        if ((event->response_type & 0x7f) == XCB_CLIENT_MESSAGE) { // the top bit marks a sent event
            const auto* announcement = reinterpret_cast<const xcb_client_message_event_t*>(event);
            if (announcement->type == _manager && announcement->data.data32[1] == _selection) {
                Q_EMIT appeared();
            }
        }
    }
    return false;
}

} // namespace vantrel::ui
