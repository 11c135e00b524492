// What one record of the feed tells of a network: a beacon or probe response, with how it was heard.
//
// Format: radiotap header (radiotap.org), IEEE Std 802.11-2020, 9.3.3.2 (beacon) and 9.3.3.10 (probe response), then
// the frame check sequence (9.2.4.8). Elements are those of 9.4.2, and of IEEE Std 802.11ax-2021 and 802.11be-2024 for
// HE and EHT.
//
// Whoever is on the air wrote these bytes. A record that is no whole beacon or probe response, or whose check sequence
// is wrong, is none at all; of the elements those that are whole and long enough count, the first of each kind, up to
// the first that runs over the frame's end. Pure functions, for any thread.
#pragma once

#include "feed/Security.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace vantrel::feed {

using Bssid = std::array<std::uint8_t, 6>;

enum class ChannelWidth { MHz20, MHz40, MHz80, MHz80Plus80, MHz160, MHz320 };

struct Beacon {
    Bssid bssid{};
    bool probeResponse = false;
    std::string ssid;           // up to 32 bytes, any bytes; empty where the network hides its name
    std::optional<int> channel; // of the network, not where it was heard; that, where no element tells
    ChannelWidth width = ChannelWidth::MHz20;
    std::optional<int> frequency; // MHz, where it was heard
    std::optional<int> signal;    // dBm; of several antennas the last
    std::optional<int> noise;     // dBm; the same
    Security security;
    std::string country; // two letters, or empty
};

[[nodiscard]] std::optional<Beacon> readBeacon(std::span<const std::uint8_t> record);

// Adds what stands in the elements of a beacon (the frame's bytes behind its fixed fields). For readBeacon().
void addElements(Beacon& beacon, std::span<const std::uint8_t> elements);

// The number of the 20 MHz channel at a centre frequency (MHz): 2.4, 5 and 6 GHz; nothing for any other.
[[nodiscard]] std::optional<int> channelAt(int frequency);

[[nodiscard]] std::string bssidText(const Bssid& bssid);      // "00:1a:2b:3c:4d:5e"
[[nodiscard]] std::string_view widthText(ChannelWidth width); // MHz: "20", "80+80"

} // namespace vantrel::feed
