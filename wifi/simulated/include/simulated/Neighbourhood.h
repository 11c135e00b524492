// The networks that the simulated adapter has around it. All addresses are locally administered ones.
#pragma once

#include "simulated/FrameBuilder.h"

#include <span>
#include <string_view>

namespace vantrel {

struct Network {
    MacAddress bssid{};
    std::string_view ssid; // empty: hidden
    CWChannel channel;
    bool secured = true;
    std::int8_t signal = -60;    // dBm, of the access point; its stations are heard 6 dB weaker
    int burstsPerInterval = 0;   // data bursts in each beacon interval, at the most
    std::uint32_t phase = 0;     // µs from the start of the simulation to the first beacon
    std::uint32_t clockSkew = 0; // s that its own clock is ahead
};

// In no particular order; lives as long as the program.
[[nodiscard]] std::span<const Network> neighbourhood();

// The one that the adapter is a member of.
[[nodiscard]] const Network& homeNetwork();

} // namespace vantrel
