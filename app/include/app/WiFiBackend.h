// Chooses what stands behind the Wi-Fi interface: the real adapter or, only when asked for, the simulated radio.
#pragma once

#include "simulated/SimulatedTransport.h"
#include "wifi/CWWiFiClient.h"

#include <memory>
#include <optional>

namespace vantrel {

struct WiFiBackend {
    std::optional<SimulatedTransport> simulated; // nothing for the real adapter
};

// The simulated radio when the environment says VANTREL_RADIO=simulated, which may give the process a network
// namespace of its own: so it is called first in main(), before any thread exists. Never simulated by itself.
// An error when the radio's transport that the environment forces cannot be had.
[[nodiscard]] Expected<WiFiBackend> chooseWiFiBackend();

// Main thread, once the program is known to be the only one of its user: the real adapter has one owner, vantrel-radio,
// which is started from the folder of this program. Where it cannot serve, the reason is logged and the client is
// that of a machine without an adapter.
[[nodiscard]] std::unique_ptr<CWWiFiClient> makeWiFiClient(const WiFiBackend& backend);

} // namespace vantrel
