// Frames handed to a helper program on its standard input: a 32-bit data-link type and a 32-bit length, little-endian,
// in front of each frame's bytes.
#pragma once

#include "FrameBytes.h"

#include <array>
#include <istream>
#include <optional>

namespace vantrel {

struct FrameRecord {
    int dataLinkType;
    Bytes bytes;
};

// The next frame, its bytes in a buffer of exactly their size; empty at the end of the input or when it breaks off.
inline std::optional<FrameRecord> readFrameRecord(std::istream& in) {
    std::array<unsigned char, 8> head{};
    if (!in.read(reinterpret_cast<char*>(head.data()), head.size())) {
        return std::nullopt;
    }
    const auto word = [&head](std::size_t at) {
        return static_cast<std::uint32_t>(head[at]) | static_cast<std::uint32_t>(head[at + 1]) << 8 |
               static_cast<std::uint32_t>(head[at + 2]) << 16 | static_cast<std::uint32_t>(head[at + 3]) << 24;
    };
    FrameRecord record{static_cast<int>(word(0)), Bytes(word(4))};
    if (!in.read(reinterpret_cast<char*>(record.bytes.data()), static_cast<std::streamsize>(record.bytes.size()))) {
        return std::nullopt;
    }
    return record;
}

} // namespace vantrel
