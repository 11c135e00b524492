#include "simulated/Air.h"

#include "Capture.h"
#include "wifi/ChannelMath.h"

#include <gmock/gmock.h>
#include <map>
#include <set>

namespace vantrel {
namespace {

using testing::Fields;

constexpr std::uint64_t second = 1000000;
constexpr int beacon = 0x80;
constexpr CWChannel home{36, bandFiveGHz, width80MHz};

bool same(const std::vector<HeardFrame>& left, const std::vector<HeardFrame>& right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), [](const auto& one, const auto& other) {
        return one.time == other.time && one.packet == other.packet;
    });
}

TEST(Air, TheSeedDecidesTheTraffic) {
    const auto once = Air(neighbourhood(), 7).heard(home, 0, second);
    EXPECT_GT(once.size(), 50U);
    EXPECT_TRUE(same(once, Air(neighbourhood(), 7).heard(home, 0, second)));
    EXPECT_FALSE(same(once, Air(neighbourhood(), 8).heard(home, 0, second)));
}

TEST(Air, WindowsJoinWithoutGapOrRepeat) {
    const Air air(neighbourhood(), 3, 1700);
    std::vector<HeardFrame> joined;
    for (std::uint64_t from = 0; from < second; from += 13337) {
        const auto part = air.heard(home, from, std::min(from + 13337, second));
        joined.insert(joined.end(), part.begin(), part.end());
    }
    EXPECT_TRUE(same(joined, air.heard(home, 0, second)));
}

TEST(Air, FramesComeInOrderWithTheirTime) {
    std::uint64_t before = 0;
    for (const auto& frame : Air(neighbourhood(), 1).heard(home, 0, 5 * second)) {
        EXPECT_GE(frame.time, before);
        EXPECT_EQ(Fields(frame.packet).tsft, frame.time);
        before = frame.time;
    }
}

TEST(Air, OnlyCoveredPrimaryChannelsAreHeard) {
    const Air air(neighbourhood(), 1);
    const std::vector<std::pair<CWChannel, std::set<int>>> expected = {
        {{36, bandFiveGHz, width20MHz}, {5180}},
        {{36, bandFiveGHz, width40MHz}, {5180, 5200}},
        {{44, bandFiveGHz, width80MHz}, {5180, 5200, 5220, 5240}},
        {{36, bandFiveGHz, width160MHz}, {5180, 5200, 5220, 5240, 5260}},
        {{161, bandFiveGHz, width20MHz}, {5805}},
        {{120, bandFiveGHz, width20MHz}, {}},
        {{1, bandTwoDotFourGHz, width20MHz}, {2412}},
        {{2, bandTwoDotFourGHz, width20MHz}, {}},
        {{7, bandTwoDotFourGHz, width40MHz}, {2462}}};
    for (const auto& [tuned, frequencies] : expected) {
        std::set<int> heard;
        for (const auto& frame : air.heard(tuned, 0, 2 * second)) {
            heard.insert(Fields(frame.packet).frequency);
        }
        EXPECT_EQ(heard, frequencies) << tuned.channelNumber << " width " << tuned.channelWidth;
    }
}

TEST(Air, EveryNetworkSendsABeaconEach102400Microseconds) {
    const Air air(neighbourhood(), 1);
    for (const auto& network : neighbourhood()) {
        std::vector<std::uint64_t> times;
        for (const auto& frame : air.heard(network.channel, 0, 3 * second)) {
            const Fields fields(frame.packet);
            if (fields.subtype == beacon && fields.third == network.bssid) {
                times.push_back(fields.tsft);
            }
        }
        ASSERT_GE(times.size(), 28U) << network.ssid;
        EXPECT_EQ(times.front(), network.phase);
        for (std::size_t index = 1; index < times.size(); ++index) {
            EXPECT_EQ(times[index] - times[index - 1], beaconInterval);
        }
    }
}

TEST(Air, AboutOneFrameInAHundredIsDamagedAndSaysSo) {
    int damaged = 0;
    int all = 0;
    for (const auto& frame : Air(neighbourhood(), 1).heard(home, 0, 120 * second)) {
        const Fields fields(frame.packet);
        EXPECT_EQ(fields.fcsRight, !fields.badFcs);
        damaged += fields.badFcs ? 1 : 0;
        ++all;
    }
    ASSERT_GT(all, 5000);
    EXPECT_NEAR(damaged * 100.0 / all, 1.0, 0.5);
}

TEST(Air, ALoadAddsThatManyFramesASecondOnAnyChannel) {
    constexpr CWChannel silent{120, bandFiveGHz, width20MHz};
    EXPECT_TRUE(Air(neighbourhood(), 1).heard(silent, 0, second).empty());
    const auto frames = Air(neighbourhood(), 1, 12345).heard(silent, 0, 2 * second);
    EXPECT_EQ(frames.size(), 2U * 12345);
    EXPECT_EQ(Fields(frames.front().packet).frequency, 5600);
}

TEST(Neighbourhood, IsLocallyAdministeredAndDistinct) {
    std::set<MacAddress> addresses;
    std::set<int> numbers;
    for (const auto& network : neighbourhood()) {
        EXPECT_EQ(network.bssid[0], 0x02);
        EXPECT_TRUE(addresses.insert(network.bssid).second);
        EXPECT_FALSE(coveredChannels(network.channel).empty()) << network.ssid;
        EXPECT_LT(network.phase, beaconInterval);
        numbers.insert(network.channel.channelNumber);
    }
    EXPECT_THAT(numbers, ::testing::ElementsAre(1, 3, 6, 11, 36, 40, 44, 48, 52, 100, 149, 157, 161));
    EXPECT_EQ(homeNetwork().ssid, "Vantrel Lab");
    EXPECT_EQ(homeNetwork().channel, home);
}

} // namespace
} // namespace vantrel
