// Chooses what stands behind the Wi-Fi interface: the real adapter or, only when asked for, the simulated radio.
#pragma once

#include "wifi/CWWiFiClient.h"

#include <memory>

namespace vantrel {

// The simulated radio when the environment says VANTREL_RADIO=simulated, which may give the process a network
// namespace of its own: so it is called first in main(), before any thread exists. Never simulated by itself.
// An error when the radio's transport that the environment forces cannot be had.
[[nodiscard]] Expected<std::unique_ptr<CWWiFiClient>> chooseWiFiBackend();

} // namespace vantrel
