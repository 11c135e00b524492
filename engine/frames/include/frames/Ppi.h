// Reads the Per-Packet Information header, the radio header of data-link type 192.
//
// Format (the PPI header document, version 1.0.7): version, flags, header length (16 bits), data-link type (32 bits),
// then fields of a type and a data length (16 bits each) with their data, one directly behind the other; all
// little-endian. Any thread; reads nothing outside the bytes and allocates nothing.
#pragma once

#include "frames/RadioHeader.h"

#include <cstdint>
#include <optional>
#include <span>

namespace vantrel {

// Reads the header in front of a captured frame; empty when the captured bytes do not reach to the header's end, or its
// length, which is taken as signed, is negative. The flags are those of the first 802.11-Common field that is whole
// (20 bytes of data, with four captured bytes behind it); without one they are clear. PPI knows no data padding.
//
// The bad-FCS flag is taken from bit 0x0002 of the Common field's flags: a field whose bit 0x0004 alone is set does not
// count as bad, so that such a frame is treated by its frame check sequence like any other.
[[nodiscard]] std::optional<RadioHeader> readPpiHeader(std::span<const std::uint8_t> captured) noexcept;

} // namespace vantrel
