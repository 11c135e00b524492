#include "TrayColourHint.h"

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

constexpr std::uint32_t hintLength = 12;

// None where there is no X11; the platform "offscreen" has the interface too, without a connection.
xcb_connection_t* connectionToServer() {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 != nullptr && QGuiApplication::platformName() == QStringLiteral("xcb") ? x11->connection() : nullptr;
}

xcb_atom_t atom(xcb_connection_t* server, std::string_view name) {
    const auto cookie = xcb_intern_atom(server, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(server, cookie, nullptr));
    if (!reply) {
        qWarning("xcb_intern_atom() failed for %.*s", static_cast<int>(name.size()), name.data());
        return XCB_ATOM_NONE;
    }
    return reply->atom;
}

// Asks to be told of a change, besides of what Qt has asked for.
void watchProperties(xcb_connection_t* server, xcb_window_t window) {
    const auto cookie = xcb_get_window_attributes(server, window);
    const Reply<xcb_get_window_attributes_reply_t> reply(xcb_get_window_attributes_reply(server, cookie, nullptr));
    if (reply) {
        const std::uint32_t mask = reply->your_event_mask | XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_change_window_attributes(server, window, XCB_CW_EVENT_MASK, &mask);
        xcb_flush(server);
    }
}
} // namespace

TrayColourHint::TrayColourHint() {
    xcb_connection_t* server = connectionToServer();
    if (server == nullptr) {
        return;
    }
    _manager = atom(server, "MANAGER");
    _selection = atom(server, "_NET_SYSTEM_TRAY_S0");
    _colours = atom(server, "_NET_SYSTEM_TRAY_COLORS");
    qGuiApp->installNativeEventFilter(this);
    read();
}

TrayColourHint::~TrayColourHint() {
    if (qGuiApp != nullptr) {
        qGuiApp->removeNativeEventFilter(this);
    }
}

void TrayColourHint::read() {
    xcb_connection_t* server = connectionToServer();
    const auto question = xcb_get_selection_owner(server, _selection);
    const Reply<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(server, question, nullptr));
    const xcb_window_t tray = owner ? owner->owner : xcb_window_t{XCB_WINDOW_NONE};
    if (tray != XCB_WINDOW_NONE && tray != _tray) {
        watchProperties(server, tray);
    }
    _tray = tray;
    QColor colour;
    if (tray != XCB_WINDOW_NONE) {
        const auto cookie = xcb_get_property(server, 0, tray, _colours, XCB_ATOM_CARDINAL, 0, hintLength);
        const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(server, cookie, nullptr));
        if (reply && reply->format == 32 && reply->value_len == hintLength) {
            const auto* values = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
            const auto part = [values](int index) { return static_cast<int>(values[index] >> 8) & 0xff; };
            colour = QColor(part(0), part(1), part(2));
        }
    }
    if (colour != _colour) {
        _colour = colour;
        Q_EMIT changed();
    }
}

bool TrayColourHint::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
    if (eventType != "xcb_generic_event_t") {
        return false;
    }
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    const int type = event->response_type & 0x7f; // the top bit marks a sent event
    if (type == XCB_CLIENT_MESSAGE) {             // a tray appears
        const auto* announcement = reinterpret_cast<const xcb_client_message_event_t*>(event);
        if (announcement->type == _manager && announcement->data.data32[1] == _selection) {
            read();
        }
    } else if (type == XCB_PROPERTY_NOTIFY) {
        const auto* change = reinterpret_cast<const xcb_property_notify_event_t*>(event);
        if (change->window == _tray && change->atom == _colours) {
            read();
        }
    }
    return false;
}

} // namespace vantrel::ui
