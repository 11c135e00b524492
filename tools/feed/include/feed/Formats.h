// The feed for other programs: JSON lines, and a pcap stream. Pure functions, for any thread.
#pragma once

#include "feed/Beacon.h"

#include <chrono>
#include <cstdint>
#include <span>
#include <string>

namespace vantrel::feed {

using WallTime = std::chrono::system_clock::time_point;

// One object, ended by a line feed; what is not known is null. "ssid" is text, "ssid_hex" the very bytes of the name.
// Signal and noise are in dBm, frequency and width in MHz ("80+80" makes width a text in every line); "time" is when
// the record arrived (RFC 3339, UTC), and sweeps are counted from 1.
[[nodiscard]] std::string jsonLine(const Beacon& beacon, WallTime time, std::uint64_t sweep);

// The pcap format (draft-ietf-opsawg-pcap) in this machine's byte order, with microseconds: the header of a file of
// data-link type 127, and one captured frame.
[[nodiscard]] std::string pcapHeader();
[[nodiscard]] std::string pcapFrame(std::span<const std::uint8_t> frame, WallTime time);

} // namespace vantrel::feed
