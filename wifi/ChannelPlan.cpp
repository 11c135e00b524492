#include "wifi/ChannelPlan.h"

#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"

#include <algorithm>
#include <array>
#include <set>

namespace vantrel {

namespace {

constexpr int firstFiveGHzNumber = 15;

// Half open: first <= number < end.
struct UniiRange {
    int first;
    int end;
    bool UniiBands::*isOn;
};
constexpr std::array uniiRanges = {UniiRange{36, 49, &UniiBands::unii1}, UniiRange{52, 65, &UniiBands::unii2},
                                   UniiRange{100, 145, &UniiBands::unii2e}, UniiRange{149, 166, &UniiBands::unii3}};

bool isSwitchedOff(int number, const UniiBands& bands) {
    return std::ranges::any_of(uniiRanges, [&](const UniiRange& range) {
        return number >= range.first && number < range.end && !(bands.*range.isOn);
    });
}

bool hasBand(CaptureMode mode, CaptureMode band) {
    return (static_cast<unsigned>(mode) & static_cast<unsigned>(band)) != 0;
}

std::vector<CWChannel> customList(std::span<const CWChannel> supported, std::span<const int> numbers) {
    std::vector<CWChannel> list;
    std::ranges::copy_if(supported, std::back_inserter(list), [numbers](const CWChannel& channel) {
        return channel.channelWidth == width20MHz && std::ranges::find(numbers, channel.channelNumber) != numbers.end();
    });
    return list;
}

CWChannel narrowest(std::span<const CWChannel> supported, int number) {
    std::vector<CWChannel> widths;
    std::ranges::copy_if(supported, std::back_inserter(widths),
                         [number](const CWChannel& channel) { return channel.channelNumber == number; });
    return *std::ranges::min_element(widths, {}, &CWChannel::channelWidth); // the first of equals
}

} // namespace

UniiBands enabledUniiBands(const SettingsStore& settings) {
    return {.unii1 = settings.boolForKey(keys::CaptureUNII1),
            .unii2 = settings.boolForKey(keys::CaptureUNII2),
            .unii2e = settings.boolForKey(keys::CaptureUNII2e),
            .unii3 = settings.boolForKey(keys::CaptureUNII3)};
}

bool isTwoDotFourGHzNumber(int channelNumber) { return channelNumber < firstFiveGHzNumber; }

std::vector<CWChannel> hopChannels(CaptureMode mode, std::span<const CWChannel> supported,
                                   std::span<const int> customChannels, const UniiBands& bands) {
    if (mode == CaptureMode::Custom) {
        return customList(supported, customChannels);
    }
    const bool hasFiveGHz = hasBand(mode, CaptureMode::All5GHz);
    std::set<int> numbers;
    for (const CWChannel& channel : supported) {
        numbers.insert(channel.channelNumber);
    }
    std::vector<CWChannel> list;
    for (const int number : numbers) {
        const auto band = isTwoDotFourGHzNumber(number) ? CaptureMode::All2Dot4GHz : CaptureMode::All5GHz;
        if (hasBand(mode, band) && !(hasFiveGHz && isSwitchedOff(number, bands))) {
            list.push_back(narrowest(supported, number));
        }
    }
    return list;
}

} // namespace vantrel
