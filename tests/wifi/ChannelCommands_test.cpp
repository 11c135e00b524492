// Tuning from the channel and width menus.
#include "wifi/CaptureCommands.h"

#include "CommandFixture.h"
#include "support/LogCapture.h"

#include <gmock/gmock.h>

namespace vantrel::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr CWChannel high(int number, int width) { return {number, bandFiveGHz, width}; }

class ChannelCommandsTest : public CommandFixture {
protected:
    ChannelCommandsTest() {
        airport.channel = high(36, width80MHz);
        airport.supported = {high(36, width20MHz), high(36, width40MHz), high(36, width80MHz), high(40, width20MHz),
                             high(40, width40MHz), high(40, width80MHz), high(165, width20MHz)};
    }

    CaptureCommands commands{{.settings = settings,
                              .airport = airport,
                              .flags = flags,
                              .restore = restore,
                              .association = association,
                              .dialogs = *this,
                              .starter = *this,
                              .view = *this}};
};

TEST_F(ChannelCommandsTest, AnotherNumberIsTunedAtTheCurrentWidth) {
    commands.onChannel(40, false);
    EXPECT_THAT(calls(), ElementsAre("channel 40/3", "updateStatusItem"));
}

TEST_F(ChannelCommandsTest, AnotherWidthIsTunedAtTheCurrentNumber) {
    commands.onChannelWidth(width40MHz, false);
    EXPECT_THAT(calls(), ElementsAre("channel 36/2", "updateStatusItem"));
}

TEST_F(ChannelCommandsTest, CheckedEntryDoesNothing) {
    associate(high(36, width80MHz));
    commands.onChannel(36, true);
    commands.onChannelWidth(width80MHz, true);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(ChannelCommandsTest, InANetworkTheUserIsAsked) {
    associate(high(36, width80MHz));
    answer = {.isFirstButton = false};
    commands.onChannel(40, false);
    commands.onChannelWidth(width20MHz, false);
    EXPECT_THAT(calls(), ElementsAre("ask Disconnect", "ask Disconnect"));
    calls().clear();
    answer = {.isFirstButton = true};
    commands.onChannel(40, false);
    EXPECT_THAT(calls(), ElementsAre("ask Disconnect", "disassociate", "channel 40/3", "updateStatusItem"));
}

TEST_F(ChannelCommandsTest, WithoutTheWantedPairTheNumberIsTunedAtAnyWidth) {
    commands.onChannel(165, false);
    EXPECT_THAT(calls(), ElementsAre("channel 165/1", "updateStatusItem"));
}

TEST_F(ChannelCommandsTest, EveryRefusedPairIsLoggedAndTheNextOneTried) {
    airport.supported.push_back({40, bandTwoDotFourGHz, width80MHz}); // the same pair once more
    int refusals = 2;
    airport.refusesChannel = [&](const CWChannel&) { return refusals-- > 0; };
    const LogCapture log;
    commands.onChannel(40, false);
    EXPECT_THAT(calls(), ElementsAre("channel 40/3", "channel 40/3", "channel 40/1", "updateStatusItem"));
    EXPECT_THAT(log.warnings(), ElementsAre(QStringLiteral("setWLANChannel failed: scripted: refused"),
                                            QStringLiteral("setWLANChannel failed: scripted: refused")));
}

TEST_F(ChannelCommandsTest, FirstPassEndsWithItsFirstSuccess) {
    airport.supported.push_back({40, bandTwoDotFourGHz, width80MHz});
    int refusals = 1;
    airport.refusesChannel = [&](const CWChannel&) { return refusals-- > 0; };
    commands.onChannel(40, false);
    EXPECT_THAT(calls(), ElementsAre("channel 40/3", "channel 40/3", "updateStatusItem"));
}

TEST_F(ChannelCommandsTest, SecondPassGoesThroughEveryWidthAndLogsNothing) {
    airport.refusesChannel = [](const CWChannel& channel) { return channel.channelWidth != width80MHz; };
    const LogCapture log;
    commands.onChannelWidth(width20MHz, false);
    EXPECT_THAT(calls(),
                ElementsAre("channel 36/1", "channel 36/1", "channel 36/2", "channel 36/3", "updateStatusItem"));
    EXPECT_EQ(log.warnings().size(), 1) << "of the first pass";
}

TEST_F(ChannelCommandsTest, ANumberThatCannotBeTunedAtAllShowsNoAlert) {
    airport.refuse = true;
    commands.onChannel(165, false);
    EXPECT_THAT(calls(), ElementsAre("channel 165/1", "updateStatusItem"));
    calls().clear();
    commands.onChannel(100, false);
    EXPECT_THAT(calls(), ElementsAre("updateStatusItem"));
}

TEST_F(ChannelCommandsTest, LeavingTheNetworkForNothingReconnects) {
    associate(high(36, width80MHz));
    airport.refusesChannel = [](const CWChannel&) { return true; };
    commands.onChannel(165, false);
    EXPECT_THAT(calls(), ElementsAre("ask Disconnect", "disassociate", "channel 165/1", "power off", "power on",
                                     "updateStatusItem"));
}

TEST_F(ChannelCommandsTest, ARunningCaptureIsNotInterruptedByTheReconnection) {
    associate(high(36, width80MHz));
    airport.refusesChannel = [](const CWChannel&) { return true; };
    flags.capturing = true;
    commands.onChannel(165, false);
    EXPECT_THAT(calls(), ElementsAre("ask Disconnect", "disassociate", "channel 165/1", "updateStatusItem"));
    EXPECT_TRUE(restore.reconnectIfDue(airport)) << "at its end";
}

TEST_F(ChannelCommandsTest, ARunningCapturesReconnectionStaysDue) {
    restore.setShouldReconnect(true);
    flags.capturing = true;
    commands.onChannel(40, false);
    EXPECT_TRUE(restore.shouldReconnect());
    flags.capturing = false;
    commands.onChannel(36, false);
    EXPECT_FALSE(restore.shouldReconnect()) << "outside a capture an old wish is dropped";
}

TEST_F(ChannelCommandsTest, WithoutACurrentChannelOnlyTheNumberIsKnown) {
    airport.channel.reset();
    commands.onChannel(40, false);
    EXPECT_THAT(calls(), ElementsAre("channel 40/1", "updateStatusItem"));
    calls().clear();
    commands.onChannelWidth(width20MHz, false);
    EXPECT_THAT(calls(), ElementsAre("updateStatusItem"));
}

} // namespace
} // namespace vantrel::testing
