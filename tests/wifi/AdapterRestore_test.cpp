#include "wifi/AdapterRestore.h"

#include "ScriptedInterface.h"
#include "support/LogCapture.h"

#include <gmock/gmock.h>

namespace vantrel {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::LogCapture;
using testing::ScriptedInterface;

constexpr CWChannel left{44, bandFiveGHz, width40MHz};

TEST(AdapterRestore, TunesBackOnce) {
    AdapterRestore restore;
    ScriptedInterface interface;
    restore.setCurrentChannel(left);
    EXPECT_EQ(restore.currentChannel(), left);
    restore.restoreChannel(interface);
    restore.restoreChannel(interface);
    EXPECT_THAT(interface.calls, ElementsAre("channel 44/2"));
    EXPECT_FALSE(restore.currentChannel());
}

TEST(AdapterRestore, WithoutAStoredChannelNothingIsTuned) {
    AdapterRestore restore;
    ScriptedInterface interface;
    restore.restoreChannel(interface);
    EXPECT_THAT(interface.calls, IsEmpty());
}

TEST(AdapterRestore, ARefusedChannelIsLoggedAndForgotten) {
    AdapterRestore restore;
    ScriptedInterface interface;
    interface.refuse = true;
    restore.setCurrentChannel(left);
    const LogCapture log;
    restore.restoreChannel(interface);
    EXPECT_THAT(log.warnings(), ElementsAre(QStringLiteral("setWLANChannel failed: scripted: refused")));
    EXPECT_FALSE(restore.currentChannel());
}

TEST(AdapterRestore, PowerCyclesOnlyWhenDueAndKeepsTheWish) {
    AdapterRestore restore;
    ScriptedInterface interface;
    EXPECT_FALSE(restore.reconnectIfDue(interface));
    EXPECT_THAT(interface.calls, IsEmpty());
    restore.setShouldReconnect(true);
    EXPECT_TRUE(restore.reconnectIfDue(interface));
    EXPECT_THAT(interface.calls, ElementsAre("power off", "power on"));
    EXPECT_TRUE(restore.shouldReconnect());
}

TEST(AdapterRestore, ARefusedPowerOffStillTriesToPowerOn) {
    AdapterRestore restore;
    ScriptedInterface interface;
    interface.refuse = true;
    restore.setShouldReconnect(true);
    const LogCapture log;
    EXPECT_TRUE(restore.reconnectIfDue(interface));
    EXPECT_THAT(interface.calls, ElementsAre("power off", "power on"));
    EXPECT_EQ(log.warnings().size(), 2);
}

} // namespace
} // namespace vantrel
