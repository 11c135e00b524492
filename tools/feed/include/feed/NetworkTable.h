// The networks heard so far, each as it was heard last.
//
// A network that hides its name in beacons keeps the one that a probe response told. The table holds a bounded number;
// when more come, those not heard for the longest time go. One thread at a time.
#pragma once

#include "feed/Beacon.h"

#include <QString>
#include <chrono>
#include <map>
#include <optional>
#include <vector>

namespace vantrel::feed {

struct Network {
    Beacon beacon;
    std::chrono::steady_clock::time_point lastSeen;
};

enum class SortKey { Signal, Address, Name, Channel, Width, Noise, Protection, Seen };

// The keys' names as the user writes them, "signal" first; and the key of a name.
[[nodiscard]] QStringList sortKeyNames();
[[nodiscard]] std::optional<SortKey> sortKeyNamed(const QString& name);

class NetworkTable {
public:
    static constexpr std::size_t mostNetworks = 8192;

    void update(const Beacon& beacon, std::chrono::steady_clock::time_point now);
    [[nodiscard]] std::size_t size() const { return _networks.size(); }

    // By the key: signal and noise from the strongest, seen from the latest, all others ascending; what has no value
    // comes last, and equal ones are ordered by their BSSID. Borrowed until the next update().
    [[nodiscard]] std::vector<const Network*> sorted(SortKey key) const;

private:
    void dropOldest();

    std::map<Bssid, Network> _networks;
};

} // namespace vantrel::feed
