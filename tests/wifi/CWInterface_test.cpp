#include "ScriptedInterface.h"

#include <gtest/gtest.h>

namespace vantrel {
namespace {

using testing::ScriptedInterface;

TEST(CWInterface, IsAssociatedInStationModeOnly) {
    ScriptedInterface interface;
    interface.mode = CWInterfaceMode::Station;
    EXPECT_TRUE(interface.isAssociated());
    for (const auto mode : {CWInterfaceMode::None, CWInterfaceMode::Monitor, static_cast<CWInterfaceMode>(2),
                            static_cast<CWInterfaceMode>(3)}) {
        interface.mode = mode;
        EXPECT_FALSE(interface.isAssociated()) << static_cast<int>(mode);
    }
}

TEST(CWInterface, ChannelWidthIsInMegahertz) {
    ScriptedInterface interface;
    EXPECT_EQ(interface.channelWidth(), -1) << "without a channel";
    const std::vector<std::pair<int, long>> expected = {{1, 20}, {2, 40}, {3, 80}, {4, 160},
                                                        {0, -1}, {5, -1}, {-1, -1}};
    for (const auto& [code, megahertz] : expected) {
        interface.channel = CWChannel{36, bandFiveGHz, code};
        EXPECT_EQ(interface.channelWidth(), megahertz) << "code " << code;
    }
}

TEST(CWInterface, ChannelNumberIsThatOfTheCurrentChannel) {
    ScriptedInterface interface;
    EXPECT_EQ(interface.channelNumber(), 0);
    interface.channel = CWChannel{149, bandFiveGHz, width80MHz};
    EXPECT_EQ(interface.channelNumber(), 149);
}

TEST(CWChannel, EqualMeansNumberBandAndWidth) {
    const CWChannel channel{36, bandFiveGHz, width80MHz};
    EXPECT_TRUE(channel.isEqualToChannel({36, bandFiveGHz, width80MHz}));
    EXPECT_FALSE(channel.isEqualToChannel({40, bandFiveGHz, width80MHz}));
    EXPECT_FALSE(channel.isEqualToChannel({36, bandTwoDotFourGHz, width80MHz}));
    EXPECT_FALSE(channel.isEqualToChannel({36, bandFiveGHz, width20MHz}));
}

} // namespace
} // namespace vantrel
