#include "wifi/ChannelTitle.h"

#include <gtest/gtest.h>

namespace vantrel {
namespace {

std::string title(int number, int width) {
    return channelTitle({number, number < 15 ? bandTwoDotFourGHz : bandFiveGHz, width}).toStdString();
}

TEST(ChannelTitle, NamesTheWidthsItKnows) {
    EXPECT_EQ(title(6, width20MHz), "6 (20 MHz)");
    EXPECT_EQ(title(44, width40MHz), "44 (40 MHz)");
    EXPECT_EQ(title(36, width80MHz), "36 (80 MHz)");
    EXPECT_EQ(title(100, width160MHz), "100 (160 MHz)");
}

TEST(ChannelTitle, OtherWidthsAreLeftOut) {
    EXPECT_EQ(title(36, 0), "36");
    EXPECT_EQ(title(36, 5), "36");
    EXPECT_EQ(title(36, -1), "36");
}

} // namespace
} // namespace vantrel
