// Tells the sweeps of the feed apart.
//
// The service sends what it has heard after each sweep of all channels, every network at most once, and puts no mark
// between two sweeps. So one begins with the first network that the running one has brought already, or with the first
// record after a silence (which the caller has to notice). A sweep that brought more networks than any air holds ends
// as well, so that memory is bounded. One thread at a time.
#pragma once

#include "feed/Beacon.h"

#include <cstdint>
#include <set>

namespace vantrel::feed {

class Sweeps {
public:
    static constexpr std::size_t mostNetworks = 8192;

    // Whether a record of this network belongs to the sweep after the running one, which then should be ended first.
    [[nodiscard]] bool beginsNext(const Bssid& bssid) const;
    void add(const Bssid& bssid);

    // Ends the running sweep; false when it has brought nothing, and thus was none.
    bool end();

    [[nodiscard]] bool isRunning() const { return !_heard.empty(); }
    [[nodiscard]] std::uint64_t ended() const { return _ended; }

private:
    std::set<Bssid> _heard; // in the running sweep
    std::uint64_t _ended = 0;
};

} // namespace vantrel::feed
