// The system tray of the X11 server that shows our windows: the owner of the selection _NET_SYSTEM_TRAY_S0, that of the
// first screen, where Qt shows tray icons; announced by a MANAGER message to the root window (freedesktop.org System
// Tray Protocol 0.3).
//
// Main thread, after the application object.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string_view>

struct xcb_connection_t;

namespace vantrel::ui {

struct FreeReply {
    void operator()(void* block) const { std::free(block); }
};
template <typename T>
using XcbReply = std::unique_ptr<T, FreeReply>; // xcb replies come from malloc()

class X11Tray {
public:
    // Nothing on other window systems.
    [[nodiscard]] static std::optional<X11Tray> ofServer();

    [[nodiscard]] xcb_connection_t* server() const { return _server; } // stays Qt's
    // XCB_ATOM_NONE, and logged, when the server gives none.
    [[nodiscard]] std::uint32_t atom(std::string_view name) const;
    // The tray's window; XCB_WINDOW_NONE while there is no tray.
    [[nodiscard]] std::uint32_t owner() const;
    // Whether an event, as a native event filter receives it, tells that a tray has appeared.
    [[nodiscard]] bool isAnnouncement(const void* event) const;

private:
    explicit X11Tray(xcb_connection_t* server);

    xcb_connection_t* _server; // borrowed
    std::uint32_t _manager;    // atoms
    std::uint32_t _selection;
};

} // namespace vantrel::ui
