#include "TrayColourHint.h"

#include <QGuiApplication>
#include <xcb/xcb.h>

namespace vantrel::ui {

namespace {
constexpr std::uint32_t hintLength = 12;

// Asks to be told of a change, besides of what Qt has asked for.
void watchProperties(xcb_connection_t* server, xcb_window_t window) {
    const auto cookie = xcb_get_window_attributes(server, window);
    const XcbReply<xcb_get_window_attributes_reply_t> reply(xcb_get_window_attributes_reply(server, cookie, nullptr));
    if (reply) {
        const std::uint32_t mask = reply->your_event_mask | XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_change_window_attributes(server, window, XCB_CW_EVENT_MASK, &mask);
        xcb_flush(server);
    }
}
} // namespace

TrayColourHint::TrayColourHint() {
    if (_tray) {
        _colours = _tray->atom("_NET_SYSTEM_TRAY_COLORS");
        qGuiApp->installNativeEventFilter(this);
        read();
    }
}

TrayColourHint::~TrayColourHint() {
    if (qGuiApp != nullptr) {
        qGuiApp->removeNativeEventFilter(this);
    }
}

void TrayColourHint::read() {
    xcb_connection_t* server = _tray->server();
    const xcb_window_t tray = _tray->owner();
    if (tray != XCB_WINDOW_NONE && tray != _owner) {
        watchProperties(server, tray);
    }
    _owner = tray;
    QColor colour;
    if (tray != XCB_WINDOW_NONE) {
        const auto cookie = xcb_get_property(server, 0, tray, _colours, XCB_ATOM_CARDINAL, 0, hintLength);
        const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(server, cookie, nullptr));
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
    const auto* change = static_cast<const xcb_property_notify_event_t*>(message);
    const bool isProperty = (change->response_type & 0x7f) == XCB_PROPERTY_NOTIFY; // the top bit marks a sent event
    if (_tray->isAnnouncement(message) || (isProperty && change->window == _owner && change->atom == _colours)) {
        read();
    }
    return false;
}

} // namespace vantrel::ui
