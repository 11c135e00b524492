// The kernel of whatever machine this is: most have no Wi-Fi. Changes nothing.
#include "netlink/Nl80211.h"

#include "OwnNamespace.h"

#include <gmock/gmock.h>

namespace vantrel::netlink {
namespace {

using ::testing::IsEmpty;

TEST(Nl80211, AddressesAreWrittenInHexadecimal) {
    EXPECT_EQ(toText({}), QStringLiteral("00:00:00:00:00:00"));
    EXPECT_EQ(toText({0x02, 0xab, 0x00, 0x10, 0xff, 0x01}), QStringLiteral("02:ab:00:10:ff:01"));
}

using Nl80211Here = testing::OwnNamespace;

TEST_F(Nl80211Here, SaysWhatTheKernelSays) {
    const auto opened = Nl80211::open();
    const auto events = Nl80211Events::open();
    ASSERT_EQ(opened.has_value(), events.has_value());
    if (!opened) {
        EXPECT_EQ(opened.error().text(), QStringLiteral("nl80211: the kernel has no Wi-Fi support"));
        EXPECT_EQ(events.error().text(), opened.error().text());
        return;
    }
    EXPECT_FALSE((*events)->drain());
    auto& wireless = **opened;
    const auto interfaces = wireless.interfaces();
    ASSERT_TRUE(interfaces) << qPrintable(interfaces.error().text());
    EXPECT_THAT(*interfaces, IsEmpty()) << "in a namespace of its own";
    constexpr std::uint32_t noSuchRadio = 4711;
    const auto channels = wireless.supportedChannels(noSuchRadio);
    ASSERT_FALSE(channels);
    EXPECT_EQ(channels.error().text(), QStringLiteral("NL80211_CMD_GET_WIPHY: No such device"));
    EXPECT_FALSE(wireless.association(noSuchRadio));
    EXPECT_FALSE(wireless.addMonitor(noSuchRadio, QStringLiteral("vantrel0")));
    EXPECT_FALSE(wireless.addMonitor(0, QString()));
    EXPECT_FALSE(wireless.addMonitor(0, QStringLiteral("a name that is too long")));
    EXPECT_FALSE(wireless.removeInterface(noSuchRadio));
    EXPECT_FALSE(wireless.setChannel(noSuchRadio, {36, 2, 1}));
    const auto nowhere = wireless.setChannel(noSuchRadio, {37, 2, 1});
    ASSERT_FALSE(nowhere);
    EXPECT_EQ(nowhere.error().text(), QStringLiteral("NL80211_CMD_SET_CHANNEL: there is no such channel"));
}

} // namespace
} // namespace vantrel::netlink
