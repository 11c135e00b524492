// The arithmetic of channels: numbers, centre frequencies, and the blocks of 20 MHz channels that wide ones are made
// of.
//
// Frequencies are in MHz. The tables are IEEE Std 802.11-2020, 17.3.8.4.2 (5 GHz numbering), 15.4.4.3 (2.4 GHz) and
// Annex E (which 20 MHz channels are joined, and that 40 MHz at 2.4 GHz extends upwards as far as channel 11 allows).
// Pure functions, for any thread.
#pragma once

#include "wifi/CWChannel.h"

#include <optional>
#include <span>
#include <vector>

namespace vantrel {

// The centre of the 20 MHz channel of that number; nothing for a number the band does not have.
[[nodiscard]] std::optional<int> centreFrequency(int channelNumber, int channelBand);

// 20, 40, 80 or 160 for the width codes 1 to 4; nothing for any other code.
[[nodiscard]] std::optional<int> widthInMHz(int widthCode);

// The numbers of the 20 MHz channels that a channel is made of, ascending, its own among them. Empty when there is no
// such channel: an unknown number, or a width whose aligned block does not lie wholly within the band's segment.
[[nodiscard]] std::vector<int> coveredChannels(const CWChannel& channel);

// The centre of the whole block that a channel occupies: what nl80211 calls the first centre frequency.
[[nodiscard]] std::optional<int> blockCentreFrequency(const CWChannel& channel);

// Whether an adapter tuned to a channel receives the 20 MHz channel of that number.
[[nodiscard]] bool covers(const CWChannel& tuned, int channelNumber, int channelBand);

// The channels up to a width that can be made of the given 20 MHz channel numbers of one band alone, ordered by number,
// then width.
[[nodiscard]] std::vector<CWChannel> channelsWithin(std::span<const int> channelNumbers, int channelBand,
                                                    int widestWidth);

} // namespace vantrel
