#include "SweepPlan.h"

#include <gtest/gtest.h>

namespace vantrel {
namespace {

std::vector<CWChannel> planOf(const std::vector<CWChannel>& supported) {
    std::vector<CWChannel> channels;
    for (const auto& stop : sweepStops(supported)) {
        EXPECT_EQ(stop.dwell, std::chrono::milliseconds(120));
        channels.push_back(stop.channel);
    }
    return channels;
}

TEST(SweepPlan, TakesEvery20MHzChannelByAscendingNumber) {
    const std::vector<CWChannel> supported = {{11, 1, 1}, {36, 2, 3}, {36, 2, 1}, {6, 1, 2},
                                              {6, 1, 1},  {1, 1, 1},  {149, 2, 1}};
    EXPECT_EQ(planOf(supported), (std::vector<CWChannel>{{1, 1, 1}, {6, 1, 1}, {11, 1, 1}, {36, 2, 1}, {149, 2, 1}}));
}

TEST(SweepPlan, PassesOverANumberThatIsOnlyWide) {
    EXPECT_EQ(planOf({{40, 2, 2}, {44, 2, 1}, {48, 2, 0}}), (std::vector<CWChannel>{{44, 2, 1}}));
}

TEST(SweepPlan, TakesANumberOfTwoBandsTwiceInTheAdaptersOrder) {
    EXPECT_EQ(planOf({{9, 2, 1}, {3, 1, 1}, {9, 1, 1}}), (std::vector<CWChannel>{{3, 1, 1}, {9, 2, 1}, {9, 1, 1}}));
}

TEST(SweepPlan, IsEmptyForNoChannels) { EXPECT_TRUE(sweepStops({}).empty()); }

TEST(SweepPlan, KnowsTheDwells) {
    EXPECT_EQ(usualDwell.count(), 120);
    EXPECT_EQ(silentDwell.count(), 40);
}

} // namespace
} // namespace vantrel
