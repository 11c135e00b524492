// Takes the byte stream of the feed apart into its records.
//
// Format: each record is a length (32 bits, big-endian) and that many bytes, a captured frame; nothing stands before,
// between or behind them. The bytes come from whoever listens on the port: no length is believed beyond the longest
// frame that a capture can hold, and so much is kept in memory at most, besides what was appended last.
//
// One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace vantrel::feed {

class RecordReader {
public:
    // libpcap's largest snapshot length; no capture hands out a longer frame.
    static constexpr std::size_t longestRecord = 262144;

    // What the stream brought next, in pieces of any size. To be called when next() has nothing more.
    void append(std::span<const std::uint8_t> bytes);

    // The next whole record, which may be empty, and stays valid until the next append(). Nothing while it has not come
    // as a whole, and nothing ever after a length that no frame has.
    [[nodiscard]] std::optional<std::span<const std::uint8_t>> next();

    // The length that ended the reading: the other side does not speak this protocol, and no later byte can be placed.
    [[nodiscard]] std::optional<std::uint32_t> refusedLength() const { return _refused; }

    // Whether the stream, should it end now, ends within a record.
    [[nodiscard]] bool insideRecord() const { return _start < _bytes.size(); }

private:
    std::vector<std::uint8_t> _bytes;
    std::size_t _start = 0; // of the next record in _bytes
    std::optional<std::uint32_t> _refused;
};

} // namespace vantrel::feed
