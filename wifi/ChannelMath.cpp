#include "wifi/ChannelMath.h"

#include <algorithm>
#include <array>

namespace vantrel {

namespace {

// A run of adjacent 20 MHz channels at 5 GHz; wide blocks are aligned to its first channel.
struct Segment {
    int first;
    int last;
};
constexpr std::array segments = {Segment{36, 64}, Segment{100, 144}, Segment{149, 177}};
constexpr int numbersPer20MHz = 4;
constexpr int highestExtended2Dot4GHz = 11; // a 40 MHz channel does not reach beyond it

const Segment* segmentOf(int number) {
    const auto found = std::find_if(segments.begin(), segments.end(), [number](const Segment& segment) {
        return number >= segment.first && number <= segment.last && (number - segment.first) % numbersPer20MHz == 0;
    });
    return found == segments.end() ? nullptr : &*found;
}

std::vector<int> coveredAt2Dot4GHz(int number, int width) {
    switch (width) {
    case width20MHz:
        return {number};
    case width40MHz:
        if (number + numbersPer20MHz <= highestExtended2Dot4GHz) {
            return {number, number + numbersPer20MHz};
        }
        if (number == 14) { // stands apart from the others, and is 20 MHz wide only
            return {};
        }
        return {number - numbersPer20MHz, number};
    default: // the width is a code from outside
        return {};
    }
}

std::vector<int> coveredAt5GHz(const Segment& segment, int number, int megahertz) {
    const int span = megahertz / 20 * numbersPer20MHz;
    const int first = segment.first + (number - segment.first) / span * span;
    std::vector<int> covered;
    for (int member = first; member < first + span; member += numbersPer20MHz) {
        if (member > segment.last) {
            return {};
        }
        covered.push_back(member);
    }
    return covered;
}

} // namespace

std::optional<int> centreFrequency(int channelNumber, int channelBand) {
    if (channelBand == bandTwoDotFourGHz && channelNumber >= 1 && channelNumber <= 14) {
        return channelNumber == 14 ? 2484 : 2407 + 5 * channelNumber;
    }
    if (channelBand == bandFiveGHz && segmentOf(channelNumber) != nullptr) {
        return 5000 + 5 * channelNumber;
    }
    return std::nullopt;
}

std::optional<int> widthInMHz(int widthCode) {
    if (widthCode < width20MHz || widthCode > width160MHz) {
        return std::nullopt;
    }
    return 20 << (widthCode - width20MHz);
}

std::vector<int> coveredChannels(const CWChannel& channel) {
    const auto megahertz = widthInMHz(channel.channelWidth);
    if (!megahertz || !centreFrequency(channel.channelNumber, channel.channelBand)) {
        return {};
    }
    if (channel.channelBand == bandTwoDotFourGHz) {
        return coveredAt2Dot4GHz(channel.channelNumber, channel.channelWidth);
    }
    return coveredAt5GHz(*segmentOf(channel.channelNumber), channel.channelNumber, *megahertz);
}

std::optional<int> blockCentreFrequency(const CWChannel& channel) {
    const auto covered = coveredChannels(channel);
    if (covered.empty()) {
        return std::nullopt;
    }
    // Both ends were found in the table, or the list would be empty.
    return (*centreFrequency(covered.front(), channel.channelBand) +
            *centreFrequency(covered.back(), channel.channelBand)) /
           2;
}

bool covers(const CWChannel& tuned, int channelNumber, int channelBand) {
    const auto covered = coveredChannels(tuned);
    return tuned.channelBand == channelBand &&
           std::find(covered.begin(), covered.end(), channelNumber) != covered.end();
}

std::vector<CWChannel> channelsWithin(std::span<const int> channelNumbers, int channelBand, int widestWidth) {
    std::vector<int> numbers(channelNumbers.begin(), channelNumbers.end());
    std::sort(numbers.begin(), numbers.end());
    std::vector<CWChannel> channels;
    for (const int number : numbers) {
        for (int width = width20MHz; width <= widestWidth; ++width) {
            const CWChannel channel{number, channelBand, width};
            const auto covered = coveredChannels(channel);
            if (!covered.empty() && std::includes(numbers.begin(), numbers.end(), covered.begin(), covered.end())) {
                channels.push_back(channel);
            }
        }
    }
    return channels;
}

} // namespace vantrel
