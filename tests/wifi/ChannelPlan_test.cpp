#include "wifi/ChannelPlan.h"

#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"
#include "wifi/ChannelMath.h"

#include <QDir>
#include <QTemporaryDir>
#include <algorithm>
#include <array>
#include <gmock/gmock.h>
#include <numeric>

namespace vantrel {

// Names a channel in the messages of failed comparisons.
static void PrintTo(const CWChannel& channel, std::ostream* out) {
    *out << channel.channelNumber << '/' << channel.channelBand << '/' << channel.channelWidth;
}

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

constexpr UniiBands everyBand{true, true, true, true};
constexpr UniiBands noBand{false, false, false, false};
constexpr UniiBands defaultBands{};

constexpr CWChannel low(int number, int width = width20MHz) { return {number, bandTwoDotFourGHz, width}; }
constexpr CWChannel high(int number, int width = width20MHz) { return {number, bandFiveGHz, width}; }

std::vector<CWChannel> lowChannels() {
    std::array<int, 11> numbers{};
    std::iota(numbers.begin(), numbers.end(), 1);
    return channelsWithin(numbers, bandTwoDotFourGHz, width40MHz);
}

std::vector<CWChannel> highChannels() {
    constexpr std::array numbers = {36,  40,  44,  48,  52,  56,  60,  64,  100, 104, 108, 112, 116,
                                    120, 124, 128, 132, 136, 140, 144, 149, 153, 157, 161, 165};
    return channelsWithin(numbers, bandFiveGHz, width160MHz);
}

std::vector<CWChannel> allChannels() {
    auto channels = lowChannels();
    const auto further = highChannels();
    channels.insert(channels.end(), further.begin(), further.end());
    return channels;
}

std::vector<CWChannel> at20MHz(std::initializer_list<int> numbers) {
    std::vector<CWChannel> channels;
    for (const int number : numbers) {
        channels.push_back(number < 15 ? low(number) : high(number));
    }
    return channels;
}

std::vector<int> numbersOf(const std::vector<CWChannel>& channels) {
    std::vector<int> numbers;
    for (const CWChannel& channel : channels) {
        numbers.push_back(channel.channelNumber);
    }
    return numbers;
}

TEST(ChannelPlan, TwoDotFourGHzHopsEachNumberAtTwentyMegahertz) {
    const auto expected = at20MHz({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11});
    EXPECT_THAT(hopChannels(CaptureMode::All2Dot4GHz, lowChannels(), {}, defaultBands), ElementsAreArray(expected));
    EXPECT_THAT(hopChannels(CaptureMode::All2Dot4GHz, allChannels(), {}, noBand), ElementsAreArray(expected))
        << "the switches concern 5 GHz";
}

TEST(ChannelPlan, FiveGHzHopsTheBandsThatAreOnByDefault) {
    EXPECT_THAT(hopChannels(CaptureMode::All5GHz, allChannels(), {}, defaultBands),
                ElementsAreArray(at20MHz({36, 40, 44, 48, 149, 153, 157, 161, 165})));
}

TEST(ChannelPlan, EachBandHasItsOwnSwitch) {
    const auto numbers = [](const UniiBands& bands) {
        return numbersOf(hopChannels(CaptureMode::All5GHz, allChannels(), {}, bands));
    };
    EXPECT_THAT(numbers(noBand), IsEmpty());
    EXPECT_THAT(numbers({true, false, false, false}), ElementsAre(36, 40, 44, 48));
    EXPECT_THAT(numbers({false, true, false, false}), ElementsAre(52, 56, 60, 64));
    EXPECT_THAT(numbers({false, false, true, false}),
                ElementsAre(100, 104, 108, 112, 116, 120, 124, 128, 132, 136, 140, 144));
    EXPECT_THAT(numbers({false, false, false, true}), ElementsAre(149, 153, 157, 161, 165));
}

TEST(ChannelPlan, BandsEndWhereTheyEnd) {
    std::vector<CWChannel> supported;
    for (const int number : {14, 15, 35, 36, 48, 49, 51, 52, 64, 65, 99, 100, 144, 145, 148, 149, 165, 166}) {
        supported.push_back(high(number));
    }
    EXPECT_THAT(numbersOf(hopChannels(CaptureMode::All5GHz, supported, {}, noBand)),
                ElementsAre(15, 35, 49, 51, 65, 99, 145, 148, 166))
        << "what belongs to no band is always kept";
    EXPECT_THAT(numbersOf(hopChannels(CaptureMode::All5GHz, supported, {}, everyBand)),
                ElementsAre(15, 35, 36, 48, 49, 51, 52, 64, 65, 99, 100, 144, 145, 148, 149, 165, 166));
}

TEST(ChannelPlan, AllHopsTheLowerBandFirstBothAscending) {
    std::vector<CWChannel> supported = highChannels();
    const auto further = lowChannels();
    supported.insert(supported.end(), further.begin(), further.end());
    std::ranges::reverse(supported);
    EXPECT_THAT(
        hopChannels(CaptureMode::AllChannels, supported, {}, defaultBands),
        ElementsAreArray(at20MHz({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 36, 40, 44, 48, 149, 153, 157, 161, 165})));
}

TEST(ChannelPlan, ABandTheAdapterLacksGivesNothing) {
    EXPECT_THAT(hopChannels(CaptureMode::All5GHz, lowChannels(), {}, everyBand), IsEmpty());
    EXPECT_THAT(hopChannels(CaptureMode::All2Dot4GHz, highChannels(), {}, everyBand), IsEmpty());
    EXPECT_THAT(numbersOf(hopChannels(CaptureMode::AllChannels, lowChannels(), {}, defaultBands)),
                ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11));
    EXPECT_THAT(hopChannels(CaptureMode::AllChannels, {}, {}, everyBand), IsEmpty());
}

TEST(ChannelPlan, NarrowestWidthOfANumberIsHopped) {
    const std::array supported = {high(36, width40MHz),  high(36, width20MHz), high(36, width80MHz),
                                  high(44, width160MHz), high(44, width80MHz), high(149, width40MHz)};
    EXPECT_THAT(hopChannels(CaptureMode::All5GHz, supported, {}, defaultBands),
                ElementsAre(high(36, width20MHz), high(44, width80MHz), high(149, width40MHz)));
}

TEST(ChannelPlan, OfEqualWidthsTheAdaptersFirstIsHopped) {
    const CWChannel odd{36, bandTwoDotFourGHz, width20MHz};
    EXPECT_THAT(hopChannels(CaptureMode::All5GHz, std::array{odd, high(36)}, {}, defaultBands), ElementsAre(odd));
    EXPECT_THAT(hopChannels(CaptureMode::All5GHz, std::array{high(36), odd}, {}, defaultBands), ElementsAre(high(36)));
}

TEST(ChannelPlan, TheBandGoesByTheNumberAlone) {
    EXPECT_TRUE(isTwoDotFourGHzNumber(14));
    EXPECT_FALSE(isTwoDotFourGHzNumber(15));
    const CWChannel lowNumberOfTheHighBand{8, bandFiveGHz, width20MHz};
    const CWChannel highNumberOfTheLowBand{44, bandTwoDotFourGHz, width20MHz};
    const std::array supported = {lowNumberOfTheHighBand, highNumberOfTheLowBand};
    EXPECT_THAT(hopChannels(CaptureMode::All2Dot4GHz, supported, {}, defaultBands),
                ElementsAre(lowNumberOfTheHighBand));
    EXPECT_THAT(hopChannels(CaptureMode::All5GHz, supported, {}, defaultBands), ElementsAre(highNumberOfTheLowBand));
}

TEST(ChannelPlan, CustomListKeepsTheAdaptersOrder) {
    constexpr std::array wanted = {6, 1};
    EXPECT_THAT(hopChannels(CaptureMode::Custom, lowChannels(), wanted, defaultBands), ElementsAre(low(1), low(6)));
    EXPECT_THAT(hopChannels(CaptureMode::Custom, std::array{low(6), low(1)}, wanted, defaultBands),
                ElementsAre(low(6), low(1)));
}

TEST(ChannelPlan, CustomListIsForTwentyMegahertzOnlyAndKnowsNoBands) {
    constexpr std::array wanted = {6, 52, 100};
    EXPECT_THAT(hopChannels(CaptureMode::Custom, allChannels(), wanted, noBand),
                ElementsAre(low(6), high(52), high(100)));
    const std::array wide = {low(6, width40MHz), high(52, width80MHz), high(100, 0)};
    EXPECT_THAT(hopChannels(CaptureMode::Custom, wide, wanted, everyBand), IsEmpty());
}

TEST(ChannelPlan, CustomListTakesAChannelAsOftenAsTheAdapterListsIt) {
    constexpr std::array wanted = {6, 6, 11};
    EXPECT_THAT(hopChannels(CaptureMode::Custom, std::array{low(6), low(11), low(6)}, wanted, defaultBands),
                ElementsAre(low(6), low(11), low(6)));
}

TEST(ChannelPlan, SingleChannelHopsNowhere) {
    constexpr std::array wanted = {1, 6};
    EXPECT_THAT(hopChannels(CaptureMode::SingleChannel, allChannels(), wanted, everyBand), IsEmpty());
}

TEST(ChannelPlan, BandsAreReadFromTheirSettings) {
    const QTemporaryDir folder;
    SettingsStore settings(QDir(folder.path()).filePath(QStringLiteral("settings.json")));
    const auto on = [&settings] {
        const UniiBands bands = enabledUniiBands(settings);
        return std::array{bands.unii1, bands.unii2, bands.unii2e, bands.unii3};
    };
    EXPECT_THAT(on(), ElementsAre(false, false, false, false));
    settings.setBool(keys::CaptureUNII1, true);
    EXPECT_THAT(on(), ElementsAre(true, false, false, false));
    settings.setBool(keys::CaptureUNII2, true);
    EXPECT_THAT(on(), ElementsAre(true, true, false, false));
    settings.setBool(keys::CaptureUNII2e, true);
    EXPECT_THAT(on(), ElementsAre(true, true, true, false));
    settings.setBool(keys::CaptureUNII3, true);
    EXPECT_THAT(on(), ElementsAre(true, true, true, true));
}

} // namespace
} // namespace vantrel
