// A Wi-Fi adapter made of software, with a neighbourhood of networks around it: for demonstrations, tests and machines
// whose adapter cannot be used. A backend like any other, chosen by the user (VANTREL_RADIO=simulated) and never
// standing in silently for a real adapter.
//
// The adapter behaves as hardware does: it starts as a member of its own network, refuses to be tuned while it is one,
// hears only what is sent on the channel it is tuned to, and rejoins its network by itself some time after its power
// was switched on. Several monitors at once each get a device or stream of their own and hear the same frames.
#pragma once

#include "simulated/SimulatedTransport.h"
#include "wifi/CWWiFiClient.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace vantrel {

struct SimulatedOptions {
    SimulatedTransport transport = SimulatedTransport::Tap; // as prepareSimulatedTransport() found it
    std::uint64_t seed = 1;                                 // the same seed gives the same traffic
    bool startAssociated = true;
    std::chrono::milliseconds rejoinDelay{1000};
    // In place of the adapter's own: 1 to 11 at up to 40 MHz; 36 to 64, 100 to 144 and 149 to 165 at up to 160 MHz.
    std::optional<std::vector<CWChannel>> supportedChannels;
    // QoS data frames a second added on whatever channel is tuned; without a value the environment variable
    // VANTREL_RADIO_LOAD says it, and none are added when that is not set.
    std::optional<unsigned> loadFramesPerSecond;
};

// Main thread. Monitors may outlive the client: they then go on with the channel they had.
[[nodiscard]] std::unique_ptr<CWWiFiClient> makeSimulatedClient(const SimulatedOptions& options);

} // namespace vantrel
