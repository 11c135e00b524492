// Byte strings for the tests of the frame parsers.
#pragma once

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <span>
#include <vector>

namespace vantrel {

using Bytes = std::vector<std::uint8_t>;

inline void appendLe16(Bytes& bytes, unsigned value) {
    bytes.push_back(static_cast<std::uint8_t>(value));
    bytes.push_back(static_cast<std::uint8_t>(value >> 8));
}

inline void appendLe32(Bytes& bytes, std::uint32_t value) {
    appendLe16(bytes, value & 0xFFFF);
    appendLe16(bytes, value >> 16);
}

inline Bytes operator+(Bytes first, const Bytes& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

// A radiotap header of version 0 with these present words and these bytes behind them.
inline Bytes radiotapHeader(std::initializer_list<std::uint32_t> present, const Bytes& fields) {
    Bytes header = {0, 0};
    appendLe16(header, static_cast<unsigned>(4 + 4 * present.size() + fields.size()));
    for (const std::uint32_t word : present) {
        appendLe32(header, word);
    }
    return header + fields;
}

inline constexpr std::uint32_t bit(int number) { return 1U << number; }

// A copy on the heap that ends exactly where the bytes end, so that the address sanitizer sees a read beyond them.
class ExactCopy {
public:
    explicit ExactCopy(std::span<const std::uint8_t> bytes)
        : _bytes(std::make_unique<std::uint8_t[]>(bytes.size())),
          _size(bytes.size()) {
        if (_size > 0) {
            std::memcpy(_bytes.get(), bytes.data(), _size);
        }
    }
    [[nodiscard]] std::span<const std::uint8_t> span() const { return {_bytes.get(), _size}; }

private:
    std::unique_ptr<std::uint8_t[]> _bytes;
    std::size_t _size;
};

} // namespace vantrel
