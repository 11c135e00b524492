// Which channels a hopping capture listens on, and in which order.
//
// Pure functions over values; any thread.
#pragma once

#include "wifi/CWChannel.h"
#include "wifi/CaptureFlags.h"

#include <span>
#include <vector>

namespace vantrel {

class SettingsStore;

// The parts of the 5 GHz band that the user has switched on (the FCC's U-NII bands, by channel number).
struct UniiBands {
    bool unii1 = true;   // 36 to 48
    bool unii2 = false;  // 52 to 64
    bool unii2e = false; // 100 to 144
    bool unii3 = true;   // 149 to 165
};
[[nodiscard]] UniiBands enabledUniiBands(const SettingsStore& settings);

// The band as the hop list and the channel menu see it: by number alone, below 15 is 2.4 GHz. The menus that capture on
// one channel go by CWChannel::channelBand instead, and the two may differ for what an adapter lists beyond the usual.
[[nodiscard]] bool isTwoDotFourGHzNumber(int channelNumber);

// The hop list of a mode.
// - A band mode: the supported numbers of its bands, each once and ascending, at the narrowest width the adapter has
//   for that number (the first such, should there be several), without those of switched-off U-NII bands. Numbers that
//   belong to no such band are kept.
// - The custom mode: each supported 20 MHz channel whose number is in the custom list, in the adapter's order and as
//   often as the adapter lists it, whatever the U-NII bands say.
// - A single channel: nothing.
[[nodiscard]] std::vector<CWChannel> hopChannels(CaptureMode mode, std::span<const CWChannel> supported,
                                                 std::span<const int> customChannels, const UniiBands& bands);

} // namespace vantrel
