// Builds whole frames as a monitor interface delivers them: radiotap header, 802.11 frame, frame check sequence.
//
// Formats: radiotap.org (TSFT, Flags, Rate, Channel, dBm signal and noise, Antenna, MCS, VHT fields) and IEEE Std
// 802.11-2020, 9.3 (frames) and 9.4.2 (elements). Pure functions, for any thread.
#pragma once

#include "wifi/CWChannel.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace vantrel {

using Bytes = std::vector<std::uint8_t>;
using MacAddress = std::array<std::uint8_t, 6>;

inline constexpr MacAddress broadcastAddress = {0xff, 0xff, 0xff, 0xff, 0xff, 0xff};

struct HtRate {
    std::uint8_t index = 0; // MCS 0 to 31
    bool wide = false;      // 40 MHz
};
struct VhtRate {
    std::uint8_t index = 0;   // MCS 0 to 9
    std::uint8_t streams = 1; // 1 to 4
    int width = width80MHz;   // CWChannel's width code
};

// How the receiver heard a frame.
struct Reception {
    std::uint64_t tsft = 0; // µs
    int frequency = 2412;   // MHz, of the 20 MHz primary channel
    int rate = 12;          // 500 kb/s; left out of the header when an HT or VHT rate is given
    std::optional<HtRate> ht;
    std::optional<VhtRate> vht;
    std::int8_t signal = -50; // dBm
    std::int8_t noise = -95;  // dBm
    std::uint8_t antenna = 0;
    bool badFcs = false; // the check sequence is spoilt and the header's flag says so
};

// What a beacon or probe response tells of its network.
struct Announcement {
    MacAddress bssid{};
    std::string_view ssid; // up to 32 bytes; empty for a hidden network
    CWChannel channel;     // the network's primary channel and width
    bool secured = true;
};

// The 802.11 frame alone, without check sequence. Sequence numbers use their low 12 bits; durations are in µs.
[[nodiscard]] Bytes beaconFrame(const Announcement& network, std::uint16_t sequence, std::uint64_t timestamp,
                                std::uint8_t dtimCount);
[[nodiscard]] Bytes probeResponseFrame(const Announcement& network, const MacAddress& station, std::uint16_t sequence,
                                       std::uint64_t timestamp);
[[nodiscard]] Bytes probeRequestFrame(const MacAddress& station, const CWChannel& channel, std::uint16_t sequence);

struct DataHeader {
    MacAddress bssid{};
    MacAddress station{};
    bool toDistribution = true; // from the station to its access point
    bool retry = false;
    std::uint16_t sequence = 0;
    std::uint16_t duration = 0;
};
// A body that looks encrypted with CCMP: its header with the packet number, then bytes made from that number.
[[nodiscard]] Bytes qosDataFrame(const DataHeader& header, std::uint64_t packetNumber, std::size_t bodySize);
[[nodiscard]] Bytes nullDataFrame(const DataHeader& header, bool powerSave);

[[nodiscard]] Bytes ackFrame(const MacAddress& receiver);
[[nodiscard]] Bytes rtsFrame(const MacAddress& receiver, const MacAddress& transmitter, std::uint16_t duration);
[[nodiscard]] Bytes ctsFrame(const MacAddress& receiver, std::uint16_t duration);

// The frame as delivered: radiotap header with flag 0x10 (FCS at the end), the frame, its check sequence.
[[nodiscard]] Bytes received(const Reception& reception, std::span<const std::uint8_t> frame);

} // namespace vantrel
