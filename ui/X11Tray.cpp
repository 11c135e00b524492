#include "X11Tray.h"

#include <QGuiApplication>
#include <QLoggingCategory>
#include <xcb/xcb.h>

namespace vantrel::ui {

std::optional<X11Tray> X11Tray::ofServer() {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    // The platform "offscreen" has the interface too, without a connection.
    if (x11 == nullptr || x11->connection() == nullptr || QGuiApplication::platformName() != QStringLiteral("xcb")) {
        return std::nullopt;
    }
    const X11Tray tray(x11->connection());
    return tray._selection != XCB_ATOM_NONE ? std::optional(tray) : std::nullopt;
}

X11Tray::X11Tray(xcb_connection_t* server)
    : _server(server),
      _manager(atom("MANAGER")),
      _selection(atom("_NET_SYSTEM_TRAY_S0")) {}

std::uint32_t X11Tray::atom(std::string_view name) const {
    const auto cookie = xcb_intern_atom(_server, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(_server, cookie, nullptr));
    if (!reply) {
        qWarning("xcb_intern_atom() failed for %.*s", static_cast<int>(name.size()), name.data());
        return XCB_ATOM_NONE;
    }
    return reply->atom;
}

std::uint32_t X11Tray::owner() const {
    const auto cookie = xcb_get_selection_owner(_server, _selection);
    const XcbReply<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(_server, cookie, nullptr));
    return reply ? reply->owner : xcb_window_t{XCB_WINDOW_NONE};
}

bool X11Tray::isAnnouncement(const void* event) const {
    const auto* message = static_cast<const xcb_client_message_event_t*>(event);
    return (message->response_type & 0x7f) == XCB_CLIENT_MESSAGE // the top bit marks a sent event
           && message->type == _manager && message->data.data32[1] == _selection;
}

} // namespace vantrel::ui
