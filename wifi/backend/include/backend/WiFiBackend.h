// Chooses what stands behind the Wi-Fi interface: the real adapter or, only when asked for, the simulated radio.
#pragma once

#include "simulated/SimulatedTransport.h"
#include "wifi/CWWiFiClient.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace vantrel {

struct WiFiBackend {
    std::optional<SimulatedTransport> simulated; // nothing for the real adapter
};

struct WiFiWish {
    bool simulated = false; // also when the environment does not say so
    OwnNamespace ownNamespace = OwnNamespace::Permitted;
};

// The simulated radio when the environment says VANTREL_RADIO=simulated, or the wish does, which may give the process a
// network namespace of its own: so it is called first in main(), before any thread exists. Never simulated by itself.
// An error when the radio's transport that the environment forces cannot be had.
[[nodiscard]] Expected<WiFiBackend> chooseWiFiBackend(const WiFiWish& wish = {});

// What the threads that run libpcap need of the process's capabilities, as a mask (base/Capabilities.h): opening the
// device; the simulated radio also makes the device there, in a network namespace of its own or where the process was
// permitted to.
[[nodiscard]] std::uint64_t capabilitiesOfCaptures(const WiFiBackend& backend);

// Main thread, once the application object exists: the real adapter has one owner, vantrel-radio, which is started from
// the folder of this program. Fails where it cannot serve: it cannot be started, finds no adapter, or serves another
// program of this user.
[[nodiscard]] Expected<std::unique_ptr<CWWiFiClient>> openWiFiClient(const WiFiBackend& backend);

// The same for a program that goes on without an adapter: the reason is logged, and the client is that of a machine
// that has none; or, where this user may not start vantrel-radio, that of an adapter which is there and refuses, so
// that a capture tells the user so.
[[nodiscard]] std::unique_ptr<CWWiFiClient> makeWiFiClient(const WiFiBackend& backend);

} // namespace vantrel
