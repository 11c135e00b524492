// Adaptive packet slicing: how much of a captured frame is worth keeping.
#pragma once

#include <cstdint>
#include <span>

namespace vantrel {

// The number of bytes, from the first, to be kept of a captured frame: up to the end of the 802.11 header (IEEE 802.11
// clause 9.3.2.1) for a data frame with a payload whose frame check sequence proves to be right, or which carries none;
// the captured length for every other frame, for a frame that cannot be read, and for data-link types other than
// radiotap and PPI. Bytes the receiver put between header and payload take no part in the frame check sequence; where
// they are cut, the sequence goes with the payload.
//
// Any thread. Reads nothing outside the bytes, allocates nothing, and is made to be called for every frame: only a
// frame check sequence takes a pass over the payload.
[[nodiscard]] std::uint32_t slicedLength(std::span<const std::uint8_t> captured, int dataLinkType) noexcept;

} // namespace vantrel
