// Appends little-endian fields to a byte vector; 802.11 and radiotap are little-endian throughout.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace vantrel {

class ByteWriter {
public:
    explicit ByteWriter(std::vector<std::uint8_t>& out) : _out(out) {}

    void u8(int value) { _out.push_back(static_cast<std::uint8_t>(value)); }
    void u16(std::uint32_t value) { little(value, 2); }
    void u32(std::uint32_t value) { little(value, 4); }
    void u64(std::uint64_t value) { little(value, 8); }
    void bytes(std::span<const std::uint8_t> data) { _out.insert(_out.end(), data.begin(), data.end()); }
    void alignTo(std::size_t alignment) {
        while (_out.size() % alignment != 0) {
            _out.push_back(0);
        }
    }
    // An information element (IEEE Std 802.11-2020, 9.4.2.1): id, length, content.
    void element(int id, std::span<const std::uint8_t> content) {
        u8(id);
        u8(static_cast<int>(content.size()));
        bytes(content);
    }

private:
    void little(std::uint64_t value, int size) {
        for (int shift = 0; shift < 8 * size; shift += 8) {
            _out.push_back(static_cast<std::uint8_t>(value >> shift));
        }
    }

    std::vector<std::uint8_t>& _out; // borrowed
};

} // namespace vantrel
