// Builds records of the feed as the tests need them, right or wrong in every part.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <span>
#include <string_view>
#include <vector>
#include <zlib.h>

namespace vantrel::feed::testing {

using Bytes = std::vector<std::uint8_t>;

inline Bytes operator+(Bytes first, const Bytes& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

inline Bytes bytesOf(std::string_view text) { return {text.begin(), text.end()}; }

// Exactly as large as the bytes, so that the address sanitizer sees a read beyond them.
class Exact {
public:
    explicit Exact(std::span<const std::uint8_t> bytes)
        : _bytes(std::make_unique<std::uint8_t[]>(bytes.size())),
          _size(bytes.size()) {
        std::copy(bytes.begin(), bytes.end(), _bytes.get());
    }
    [[nodiscard]] std::span<const std::uint8_t> span() const { return {_bytes.get(), _size}; }

private:
    std::unique_ptr<std::uint8_t[]> _bytes;
    std::size_t _size;
};

inline Bytes element(std::uint8_t number, const Bytes& data) {
    return Bytes{number, static_cast<std::uint8_t>(data.size())} + data;
}
inline Bytes extension(std::uint8_t number, const Bytes& data) { return element(255, Bytes{number} + data); }

// Channel (MHz), signal and noise (dBm).
inline Bytes radiotap(int frequency, int signal, int noise) {
    return {0,
            0,
            14,
            0,
            0x68,
            0,
            0,
            0,
            static_cast<std::uint8_t>(frequency),
            static_cast<std::uint8_t>(frequency >> 8),
            0,
            0,
            static_cast<std::uint8_t>(signal),
            static_cast<std::uint8_t>(noise)};
}
inline const Bytes bareRadiotap = {0, 0, 8, 0, 0, 0, 0, 0};

inline Bytes withCheckSequence(const Bytes& header, const Bytes& frame, std::uint32_t spoil = 0) {
    const auto sum = static_cast<std::uint32_t>(crc32(0, frame.data(), static_cast<uInt>(frame.size()))) ^ spoil;
    return header + frame +
           Bytes{static_cast<std::uint8_t>(sum), static_cast<std::uint8_t>(sum >> 8),
                 static_cast<std::uint8_t>(sum >> 16), static_cast<std::uint8_t>(sum >> 24)};
}

inline const Bytes someBssid = {0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E};

// The frame up to its elements: header, timestamp, interval, capability.
inline Bytes beaconFront(std::uint8_t kind = 0x80, std::uint16_t capability = 0x0001, const Bytes& bssid = someBssid) {
    return Bytes{kind, 0, 0, 0} + Bytes(6, 0xFF) + Bytes(6, 0x02) + bssid + Bytes{0x10, 0} + Bytes(8, 0) +
           Bytes{100, 0, static_cast<std::uint8_t>(capability), static_cast<std::uint8_t>(capability >> 8)};
}

inline Bytes record(const Bytes& elements, const Bytes& header = bareRadiotap, std::uint16_t capability = 0x0001) {
    return withCheckSequence(header, beaconFront(0x80, capability) + elements);
}

// The elements of table 9-151's suites, 00-0F-AC each.
inline Bytes rsn(std::initializer_list<std::uint8_t> keyManagement, std::uint8_t capabilities = 0) {
    Bytes data = {1, 0, 0, 0x0F, 0xAC, 4, 1, 0, 0, 0x0F, 0xAC, 4, static_cast<std::uint8_t>(keyManagement.size()), 0};
    for (const std::uint8_t type : keyManagement) {
        data = data + Bytes{0, 0x0F, 0xAC, type};
    }
    return data + Bytes{capabilities, 0};
}
inline Bytes wpa(std::uint8_t keyManagement) {
    return {0, 0x50, 0xF2, 1, 1, 0, 0, 0x50, 0xF2, 2, 1, 0, 0, 0x50, 0xF2, 2, 1, 0, 0, 0x50, 0xF2, keyManagement};
}

inline Bytes htOperation(std::uint8_t channel, std::uint8_t flags) {
    return element(61, Bytes{channel, flags} + Bytes(20, 0));
}
inline Bytes vhtOperation(std::uint8_t width, std::uint8_t segment0, std::uint8_t segment1) {
    return element(192, {width, segment0, segment1, 0, 0});
}

} // namespace vantrel::feed::testing
