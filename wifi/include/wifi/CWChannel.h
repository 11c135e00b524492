// One channel an adapter can be tuned to: a value, free to copy between threads.
#pragma once

namespace vantrel {

struct CWChannel {
    int channelNumber = 0; // IEEE 802.11 channel number: 1 to 14 at 2.4 GHz, 36 and up at 5 GHz
    int channelBand = 0;   // 1 = 2.4 GHz, 2 = 5 GHz
    int channelWidth = 0;  // 1 = 20, 2 = 40, 3 = 80, 4 = 160 MHz, 0 = unknown

    [[nodiscard]] bool isEqualToChannel(const CWChannel& other) const {
        return channelNumber == other.channelNumber && channelBand == other.channelBand &&
               channelWidth == other.channelWidth;
    }
    friend bool operator==(const CWChannel&, const CWChannel&) = default;
};

inline constexpr int bandTwoDotFourGHz = 1;
inline constexpr int bandFiveGHz = 2;
inline constexpr int width20MHz = 1;
inline constexpr int width40MHz = 2;
inline constexpr int width80MHz = 3;
inline constexpr int width160MHz = 4;

} // namespace vantrel
