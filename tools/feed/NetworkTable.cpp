#include "feed/NetworkTable.h"

#include <QLatin1StringView>
#include <QStringList>
#include <algorithm>
#include <array>
#include <climits>

namespace vantrel::feed {

namespace {

using namespace Qt::StringLiterals;

struct NamedKey {
    QLatin1StringView name;
    SortKey key;
};
constexpr std::array namedKeys = {
    NamedKey{"signal"_L1, SortKey::Signal},       NamedKey{"bssid"_L1, SortKey::Address},
    NamedKey{"ssid"_L1, SortKey::Name},           NamedKey{"channel"_L1, SortKey::Channel},
    NamedKey{"width"_L1, SortKey::Width},         NamedKey{"noise"_L1, SortKey::Noise},
    NamedKey{"security"_L1, SortKey::Protection}, NamedKey{"seen"_L1, SortKey::Seen},
};

// Less than zero when the first stands before the second.
int compare(const Network& a, const Network& b, SortKey key) {
    const auto ascending = [](const auto& x, const auto& y) { return x < y ? -1 : y < x ? 1 : 0; };
    switch (key) {
    case SortKey::Signal:
        return ascending(b.beacon.signal.value_or(INT_MIN), a.beacon.signal.value_or(INT_MIN));
    case SortKey::Noise:
        return ascending(b.beacon.noise.value_or(INT_MIN), a.beacon.noise.value_or(INT_MIN));
    case SortKey::Address:
        return 0;
    case SortKey::Name: {
        const int hidden = ascending(a.beacon.ssid.empty(), b.beacon.ssid.empty());
        return hidden != 0 ? hidden : a.beacon.ssid.compare(b.beacon.ssid);
    }
    case SortKey::Channel:
        return ascending(a.beacon.channel.value_or(INT_MAX), b.beacon.channel.value_or(INT_MAX));
    case SortKey::Width:
        return ascending(a.beacon.width, b.beacon.width);
    case SortKey::Protection:
        return securityText(a.beacon.security).compare(securityText(b.beacon.security));
    case SortKey::Seen:
        return ascending(b.lastSeen, a.lastSeen);
    }
    return 0;
}

} // namespace

QStringList sortKeyNames() {
    QStringList names;
    for (const NamedKey& named : namedKeys) {
        names.append(named.name);
    }
    return names;
}

std::optional<SortKey> sortKeyNamed(const QString& name) {
    const auto found =
        std::find_if(namedKeys.begin(), namedKeys.end(), [&](const NamedKey& named) { return named.name == name; });
    return found == namedKeys.end() ? std::nullopt : std::optional(found->key);
}

void NetworkTable::update(const Beacon& beacon, std::chrono::steady_clock::time_point now) {
    if (_networks.size() >= mostNetworks && !_networks.contains(beacon.bssid)) {
        dropOldest();
    }
    Network& network = _networks[beacon.bssid];
    std::string known = std::move(network.beacon.ssid);
    network = {beacon, now};
    if (beacon.ssid.empty()) {
        network.beacon.ssid = std::move(known);
    }
}

// A quarter at once, so that a flood of ever new networks does not search the table for each.
void NetworkTable::dropOldest() {
    std::vector<std::chrono::steady_clock::time_point> times;
    for (const auto& [bssid, network] : _networks) {
        times.push_back(network.lastSeen);
    }
    const auto quarter = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 4);
    std::nth_element(times.begin(), quarter, times.end());
    std::erase_if(_networks, [&](const auto& entry) { return entry.second.lastSeen <= *quarter; });
}

std::vector<const Network*> NetworkTable::sorted(SortKey key) const {
    std::vector<const Network*> networks; // in the order of their BSSID, which the stable sort keeps
    for (const auto& [bssid, network] : _networks) {
        networks.push_back(&network);
    }
    std::stable_sort(networks.begin(), networks.end(),
                     [key](const Network* a, const Network* b) { return compare(*a, *b, key) < 0; });
    return networks;
}

} // namespace vantrel::feed
