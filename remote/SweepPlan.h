// Where a feed listens in one sweep, and for how long.
#pragma once

#include "wifi/CWChannel.h"

#include <chrono>
#include <span>
#include <vector>

namespace vantrel {

// A channel that was silent at its last visit is only looked at; a beacon comes about every 0.1 s.
inline constexpr std::chrono::milliseconds usualDwell{120};
inline constexpr std::chrono::milliseconds silentDwell{40};

struct SweepStop {
    CWChannel channel{};
    std::chrono::milliseconds dwell = usualDwell; // at the next visit
};

// Every supported 20 MHz channel, by ascending number; of one number, as often and in the order the adapter lists it.
[[nodiscard]] std::vector<SweepStop> sweepStops(std::span<const CWChannel> supported);

} // namespace vantrel
