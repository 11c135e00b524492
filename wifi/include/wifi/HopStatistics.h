// What one hopping capture measured of itself: how long it listened on each channel, and how long the tuning took.
#pragma once

#include "wifi/CWChannel.h"

#include <chrono>
#include <cstdint>
#include <deque>

namespace vantrel {

// One channel listened to for a whole dwell. Times of the steady clock.
struct HopVisit {
    CWChannel channel{};
    std::chrono::nanoseconds tuning{};   // what setWLANChannel took
    std::chrono::nanoseconds listened{}; // from then until the next tuning was due
};

struct HopStatistics {
    static constexpr std::size_t mostVisits = 2048;

    std::chrono::nanoseconds dwell{};      // wanted
    std::uint64_t tunings = 0;             // all that were tried, also the extra one at each wrap
    std::uint64_t failures = 0;            // of them, refused
    std::chrono::nanoseconds tuningTime{}; // of all of them
    std::uint64_t visits = 0;              // whole dwells after a tuning that worked
    std::deque<HopVisit> latest{};         // of the visits, oldest first, at most mostVisits

    // The middle of listened - dwell over the latest visits; zero without visits.
    [[nodiscard]] std::chrono::nanoseconds medianDwellError() const;
};

} // namespace vantrel
