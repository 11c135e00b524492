#include "wifi/ChannelMath.h"

#include <array>
#include <gmock/gmock.h>

namespace vantrel {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

CWChannel low(int number, int width) { return {number, bandTwoDotFourGHz, width}; }
CWChannel high(int number, int width) { return {number, bandFiveGHz, width}; }

TEST(ChannelMath, CentreFrequenciesOfTheTables) {
    EXPECT_EQ(centreFrequency(1, bandTwoDotFourGHz), 2412);
    EXPECT_EQ(centreFrequency(6, bandTwoDotFourGHz), 2437);
    EXPECT_EQ(centreFrequency(11, bandTwoDotFourGHz), 2462);
    EXPECT_EQ(centreFrequency(13, bandTwoDotFourGHz), 2472);
    EXPECT_EQ(centreFrequency(14, bandTwoDotFourGHz), 2484);
    EXPECT_EQ(centreFrequency(36, bandFiveGHz), 5180);
    EXPECT_EQ(centreFrequency(64, bandFiveGHz), 5320);
    EXPECT_EQ(centreFrequency(100, bandFiveGHz), 5500);
    EXPECT_EQ(centreFrequency(144, bandFiveGHz), 5720);
    EXPECT_EQ(centreFrequency(149, bandFiveGHz), 5745);
    EXPECT_EQ(centreFrequency(165, bandFiveGHz), 5825);
}

TEST(ChannelMath, NumbersOutsideABandHaveNoFrequency) {
    for (const int number : {-1, 0, 15, 36}) {
        EXPECT_FALSE(centreFrequency(number, bandTwoDotFourGHz)) << number;
    }
    for (const int number : {0, 1, 35, 37, 38, 68, 96, 145, 148, 150, 181}) {
        EXPECT_FALSE(centreFrequency(number, bandFiveGHz)) << number;
    }
    EXPECT_FALSE(centreFrequency(36, 0));
    EXPECT_FALSE(centreFrequency(36, 3));
}

TEST(ChannelMath, WidthCodes) {
    EXPECT_EQ(widthInMHz(1), 20);
    EXPECT_EQ(widthInMHz(2), 40);
    EXPECT_EQ(widthInMHz(3), 80);
    EXPECT_EQ(widthInMHz(4), 160);
    EXPECT_FALSE(widthInMHz(0));
    EXPECT_FALSE(widthInMHz(5));
}

TEST(ChannelMath, BlocksAt5GHzAreAligned) {
    EXPECT_THAT(coveredChannels(high(40, width20MHz)), ElementsAre(40));
    EXPECT_THAT(coveredChannels(high(40, width40MHz)), ElementsAre(36, 40));
    EXPECT_THAT(coveredChannels(high(44, width80MHz)), ElementsAre(36, 40, 44, 48));
    EXPECT_THAT(coveredChannels(high(52, width160MHz)), ElementsAre(36, 40, 44, 48, 52, 56, 60, 64));
    EXPECT_THAT(coveredChannels(high(104, width80MHz)), ElementsAre(100, 104, 108, 112));
    EXPECT_THAT(coveredChannels(high(144, width80MHz)), ElementsAre(132, 136, 140, 144));
    EXPECT_THAT(coveredChannels(high(161, width40MHz)), ElementsAre(157, 161));
    EXPECT_THAT(coveredChannels(high(149, width160MHz)), ElementsAre(149, 153, 157, 161, 165, 169, 173, 177));
    EXPECT_THAT(coveredChannels(high(132, width160MHz)), IsEmpty()) << "half of the block does not exist";
    EXPECT_THAT(coveredChannels(high(38, width40MHz)), IsEmpty());
    EXPECT_THAT(coveredChannels(high(36, 0)), IsEmpty());
}

TEST(ChannelMath, FortyMegahertzAt2Dot4GHzGoesUpWhereItCan) {
    EXPECT_THAT(coveredChannels(low(1, width20MHz)), ElementsAre(1));
    EXPECT_THAT(coveredChannels(low(1, width40MHz)), ElementsAre(1, 5));
    EXPECT_THAT(coveredChannels(low(7, width40MHz)), ElementsAre(7, 11));
    EXPECT_THAT(coveredChannels(low(8, width40MHz)), ElementsAre(4, 8));
    EXPECT_THAT(coveredChannels(low(11, width40MHz)), ElementsAre(7, 11));
    EXPECT_THAT(coveredChannels(low(14, width40MHz)), IsEmpty());
    EXPECT_THAT(coveredChannels(low(6, width80MHz)), IsEmpty());
}

TEST(ChannelMath, BlockCentres) {
    EXPECT_EQ(blockCentreFrequency(high(36, width20MHz)), 5180);
    EXPECT_EQ(blockCentreFrequency(high(36, width40MHz)), 5190);
    EXPECT_EQ(blockCentreFrequency(high(48, width80MHz)), 5210);
    EXPECT_EQ(blockCentreFrequency(high(60, width160MHz)), 5250);
    EXPECT_EQ(blockCentreFrequency(high(120, width160MHz)), 5570);
    EXPECT_EQ(blockCentreFrequency(high(153, width80MHz)), 5775);
    EXPECT_EQ(blockCentreFrequency(low(1, width40MHz)), 2422);
    EXPECT_EQ(blockCentreFrequency(low(11, width40MHz)), 2452);
    EXPECT_FALSE(blockCentreFrequency(high(140, width160MHz)));
}

TEST(ChannelMath, CoversTheOwnBandOnly) {
    EXPECT_TRUE(covers(high(36, width80MHz), 48, bandFiveGHz));
    EXPECT_FALSE(covers(high(36, width80MHz), 52, bandFiveGHz));
    EXPECT_FALSE(covers(high(36, width20MHz), 40, bandFiveGHz));
    EXPECT_FALSE(covers(low(1, width20MHz), 1, bandFiveGHz));
}

TEST(ChannelMath, ChannelsWithinNeedEveryPart) {
    constexpr std::array numbers = {165, 149, 153, 157, 161};
    const auto channels = channelsWithin(numbers, bandFiveGHz, width160MHz);
    EXPECT_THAT(channels, ElementsAre(high(149, 1), high(149, 2), high(149, 3), high(153, 1), high(153, 2),
                                      high(153, 3), high(157, 1), high(157, 2), high(157, 3), high(161, 1),
                                      high(161, 2), high(161, 3), high(165, 1)));
}

} // namespace
} // namespace vantrel
