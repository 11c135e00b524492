// One captured beacon or probe response: the bytes as they were captured, and what the feed needs to know of them.
//
// A value that belongs to one thread at a time. Formats: radiotap.org, and IEEE Std 802.11-2020, 9.2.4 (frame control,
// FCS) and 9.3.3 (management frames, whose third address is the BSSID).
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace vantrel {

class OutputStream;

class VantrelPacket {
public:
    // A copy of the bytes as libpcap delivered them with data-link type 127 (radiotap header, 802.11 frame, frame
    // check sequence), parsed. Bytes that are anything else make a packet that is not valid.
    [[nodiscard]] static VantrelPacket initWithData(std::span<const std::uint8_t> data);

    [[nodiscard]] const std::vector<std::uint8_t>& data() const noexcept { return _data; }

    // dBm, of the last antenna that the radio header tells of; 0 when it tells of none.
    [[nodiscard]] std::int64_t rssi() const noexcept { return _rssi; }
    void setRssi(std::int64_t rssi) noexcept { _rssi = rssi; }
    [[nodiscard]] std::int64_t noise() const noexcept { return _noise; }
    void setNoise(std::int64_t noise) noexcept { _noise = noise; }

    // Whether it is a whole beacon or probe response with the right check sequence.
    [[nodiscard]] bool isValid() const noexcept { return _isValid; }
    void setIsValid(bool isValid) noexcept { _isValid = isValid; }

    // Like "00:1a:2b:3c:4d:5e", for as long as the packet stays where it is; empty when there is none.
    [[nodiscard]] std::string_view bssid() const noexcept { return _bssid.data(); }

    // Always nothing: the frame's header is not kept apart from its data.
    [[nodiscard]] static constexpr const void* header() noexcept { return nullptr; }

    // Writes the record of the feed's protocol: the number of bytes in four, the highest first, and then the data.
    // False when the stream failed.
    [[nodiscard]] bool writeToStream(OutputStream& stream) const;

private:
    explicit VantrelPacket(std::span<const std::uint8_t> data) : _data(data.begin(), data.end()) {}
    void parse();
    [[nodiscard]] bool readSignal();
    [[nodiscard]] bool checkSequenceIsRight(std::size_t frameStart) const;
    void readBssid(std::span<const std::uint8_t> frame);

    std::vector<std::uint8_t> _data;
    std::int64_t _rssi = 0;
    std::int64_t _noise = 0;
    bool _isValid = false;
    std::array<char, 18> _bssid{}; // in the packet itself: a text of this length would be an allocation a frame
};

} // namespace vantrel
