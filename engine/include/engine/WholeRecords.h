// How far a pcap file holds whole records: a write that failed may have ended inside one.
//
// Format: the classic capture file (pcap-savefile(5)) in this machine's byte order, as it is written here. Pure but for
// what `readAt` does; any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

namespace vantrel {

inline constexpr std::size_t fileHeaderLength = 24;
inline constexpr std::size_t recordHeaderLength = 16;
// Limits have always counted a record as this and its captured bytes, not by its length on disk.
inline constexpr std::uint64_t countedPerFrame = 24;

struct WholeRecords {
    std::uint64_t end = 0;    // where the last one ends, in bytes from the file's start
    std::uint64_t frames = 0; // how many there are
    std::uint64_t size = 0;   // as limits count them
};

// Fills the bytes with those at that offset of the file; false when it cannot.
using ReadAt = std::function<bool(std::uint64_t offset, std::span<std::uint8_t> bytes)>;

// The records that begin at `from`, a record's or the file's end, and end at `reached` at the latest.
[[nodiscard]] WholeRecords wholeRecords(std::uint64_t from, std::uint64_t reached, const ReadAt& readAt);

} // namespace vantrel
