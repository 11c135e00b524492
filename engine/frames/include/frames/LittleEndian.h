// Unaligned little-endian words, as radiotap, PPI and IEEE 802.11 (clause 9.2.2) store them. The caller has checked
// that the word lies inside the bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace vantrel {

[[nodiscard]] inline std::uint16_t readLe16(std::span<const std::uint8_t> bytes, std::size_t offset) noexcept {
    return static_cast<std::uint16_t>(bytes[offset] | bytes[offset + 1] << 8);
}

[[nodiscard]] inline std::uint32_t readLe32(std::span<const std::uint8_t> bytes, std::size_t offset) noexcept {
    return readLe16(bytes, offset) | static_cast<std::uint32_t>(readLe16(bytes, offset + 2)) << 16;
}

} // namespace vantrel
