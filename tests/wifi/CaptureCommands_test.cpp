// The orders in which the capture commands settle network, channel and notice. What the channel and width menus do
// stands in ChannelCommands_test.cpp.
#include "wifi/CaptureCommands.h"

#include "CommandFixture.h"

#include <gmock/gmock.h>

namespace vantrel::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr CWChannel home{36, bandFiveGHz, width80MHz};
constexpr CWChannel other{6, bandTwoDotFourGHz, width20MHz};
constexpr const char* cannotTuneTo36 = "alert Cannot perform capture! | Failed to set Wi-Fi to channel 36 (80 MHz)";
constexpr const char* cannotTuneTo6 = "alert Cannot perform capture! | Failed to set Wi-Fi to channel 6 (20 MHz)";

class CaptureCommandsTest : public CommandFixture {
protected:
    void refuseTuning() {
        airport.refusesChannel = [](const CWChannel&) { return true; };
    }
    // What an adapter does once it is in no network any more may differ; nothing of this capture may be left.
    void expectNothingLeft() {
        calls().clear();
        restore.restoreChannel(airport);
        restore.reconnectIfDue(airport);
        EXPECT_THAT(calls(), IsEmpty()) << "something is still to be put back";
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

// The current channel.

TEST_F(CaptureCommandsTest, CurrentChannelIsCapturedInsideTheNetwork) {
    associate(home);
    restore.setShouldReconnect(true);
    commands.onCapture();
    EXPECT_THAT(calls(), ElementsAre("prepare", "start 0"));
    EXPECT_FALSE(restore.shouldReconnect()) << "of an earlier capture";
    EXPECT_FALSE(restore.currentChannel());
}

TEST_F(CaptureCommandsTest, UnpreparedCaptureEndsTheCommandBeforeAnythingElse) {
    associate(home);
    expectNotice();
    prepares = false;
    restore.setShouldReconnect(true);
    commands.onCapture();
    commands.onCaptureOther(other);
    commands.onCaptureAll2Dot4GHz();
    commands.onCaptureAll5GHz();
    commands.onCaptureAll();
    EXPECT_THAT(calls(), ElementsAre("prepare", "prepare", "prepare", "prepare", "prepare"));
    EXPECT_TRUE(restore.shouldReconnect());
    EXPECT_TRUE(settings.boolForKey(keys::FirstTimeCapture));
}

TEST_F(CaptureCommandsTest, CurrentChannelAlwaysDisconnectedIsTunedAgain) {
    associate(home);
    expectNotice();
    settings.setBool(keys::AlwaysDisconnect, true);
    commands.onCapture();
    EXPECT_THAT(calls(), ElementsAre("prepare", "ask Start Capture", "disassociate", "channel 36/3", "start 0"))
        << "the notice comes before the tuning, and nobody is asked about the network";
    EXPECT_TRUE(restore.shouldReconnect());
    EXPECT_EQ(restore.currentChannel(), home);
}

TEST_F(CaptureCommandsTest, CancelledNoticeOfTheCurrentChannelChangesNothing) {
    associate(home);
    expectNotice();
    settings.setBool(keys::AlwaysDisconnect, true);
    answer = {.isFirstButton = false};
    commands.onCapture();
    EXPECT_THAT(calls(), ElementsAre("prepare", "ask Start Capture"));
    expectNothingLeft();
}

TEST_F(CaptureCommandsTest, CurrentChannelOutsideANetworkIsNotTunedAgain) {
    airport.channel = home;
    settings.setBool(keys::AlwaysDisconnect, true);
    commands.onCapture();
    EXPECT_THAT(calls(), ElementsAre("prepare", "start 0"));
    EXPECT_FALSE(restore.shouldReconnect());
    EXPECT_EQ(restore.currentChannel(), home);
}

TEST_F(CaptureCommandsTest, RefusedTuningOfTheCurrentChannelReconnectsAndStartsNothing) {
    associate(home);
    settings.setBool(keys::AlwaysDisconnect, true);
    refuseTuning();
    commands.onCapture();
    EXPECT_THAT(calls(),
                ElementsAre("prepare", "disassociate", "channel 36/3", cannotTuneTo36, "power off", "power on"));
    expectNothingLeft();
}

// One listed channel.

TEST_F(CaptureCommandsTest, ListedChannelThatIsCurrentNeedsNoTuning) {
    associate(home);
    expectNotice();
    restore.setShouldReconnect(true);
    commands.onCaptureOther(home);
    EXPECT_THAT(calls(), ElementsAre("prepare", "ask Start Capture", "start 0"));
    EXPECT_FALSE(restore.shouldReconnect());
    EXPECT_FALSE(restore.currentChannel());
}

TEST_F(CaptureCommandsTest, ListedChannelThatIsCurrentAlwaysDisconnectedIsTunedUnasked) {
    associate(home);
    expectNotice();
    settings.setBool(keys::AlwaysDisconnect, true);
    commands.onCaptureOther(home);
    EXPECT_THAT(calls(), ElementsAre("prepare", "disassociate", "channel 36/3", "ask Start Capture", "start 0"));
    EXPECT_TRUE(restore.shouldReconnect());
    EXPECT_EQ(restore.currentChannel(), home);
}

TEST_F(CaptureCommandsTest, ListedChannelThatIsCurrentOutsideANetworkIsNotTuned) {
    airport.channel = home;
    settings.setBool(keys::AlwaysDisconnect, true);
    commands.onCaptureOther(home);
    EXPECT_THAT(calls(), ElementsAre("prepare", "start 0"));
    EXPECT_EQ(restore.currentChannel(), home);
}

TEST_F(CaptureCommandsTest, RefusedTuningOfTheCurrentListedChannelEndsTheCommand) {
    associate(home);
    expectNotice();
    settings.setBool(keys::AlwaysDisconnect, true);
    refuseTuning();
    commands.onCaptureOther(home);
    EXPECT_THAT(calls(),
                ElementsAre("prepare", "disassociate", "channel 36/3", cannotTuneTo36, "power off", "power on"));
    EXPECT_TRUE(settings.boolForKey(keys::FirstTimeCapture)) << "the notice was not reached";
    expectNothingLeft();
}

TEST_F(CaptureCommandsTest, AnotherChannelAsksTunesThenTells) {
    associate(home);
    expectNotice();
    commands.onCaptureOther(other);
    EXPECT_THAT(calls(), ElementsAre("prepare", "ask Disconnect", "disassociate", "channel 6/1", "ask Start Capture",
                                     "start 0"));
    EXPECT_TRUE(restore.shouldReconnect());
    EXPECT_EQ(restore.currentChannel(), home);
}

TEST_F(CaptureCommandsTest, SameNumberAtAnotherWidthIsAnotherChannel) {
    airport.channel = home;
    commands.onCaptureOther({36, bandFiveGHz, width20MHz});
    EXPECT_THAT(calls(), ElementsAre("prepare", "channel 36/1", "start 0"));
    EXPECT_FALSE(restore.shouldReconnect());
    EXPECT_EQ(restore.currentChannel(), home);
}

TEST_F(CaptureCommandsTest, AnotherChannelIsNotTunedWithoutConsent) {
    associate(home);
    answer = {.isFirstButton = false};
    commands.onCaptureOther(other);
    EXPECT_THAT(calls(), ElementsAre("prepare", "ask Disconnect"));
    expectNothingLeft();
}

TEST_F(CaptureCommandsTest, RefusedTuningOfAnotherChannelReconnectsAndStartsNothing) {
    associate(home);
    expectNotice();
    refuseTuning();
    commands.onCaptureOther(other);
    EXPECT_THAT(calls(), ElementsAre("prepare", "ask Disconnect", "disassociate", "channel 6/1", cannotTuneTo6,
                                     "power off", "power on"));
    expectNothingLeft();
}

TEST_F(CaptureCommandsTest, CancelledNoticeAfterTheTuningPutsTheAdapterBack) {
    associate(home);
    expectNotice();
    settings.setBool(keys::ShowDisconnectAlert, false);
    answer = {.isFirstButton = false};
    commands.onCaptureOther(other);
    EXPECT_THAT(calls(), ElementsAre("prepare", "disassociate", "channel 6/1", "ask Start Capture", "channel 36/3",
                                     "power off", "power on"));
    expectNothingLeft();
}

TEST_F(CaptureCommandsTest, CaptureThatDoesNotBeginPutsTheAdapterBack) {
    associate(home);
    starts = false;
    commands.onCaptureOther(other);
    EXPECT_THAT(calls(), ElementsAre("prepare", "ask Disconnect", "disassociate", "channel 6/1", "start 0",
                                     "channel 36/3", "power off", "power on"));
    expectNothingLeft();
}

TEST_F(CaptureCommandsTest, AdapterWithoutAChannelIsTunedAndHasNoneToGoBackTo) {
    commands.onCaptureOther(other);
    EXPECT_THAT(calls(), ElementsAre("prepare", "channel 6/1", "start 0"));
    EXPECT_FALSE(restore.currentChannel());
}

// Hopping.

struct Hopping {
    void (CaptureCommands::*command)();
    int mode;
};

class HoppingCommands : public CaptureCommandsTest, public ::testing::WithParamInterface<Hopping> {
protected:
    void run() { (commands.*GetParam().command)(); }
    [[nodiscard]] std::string started() const { return "start " + std::to_string(GetParam().mode); }
};

TEST_P(HoppingCommands, SettleTheNetworkThenTell) {
    associate(home);
    expectNotice();
    run();
    EXPECT_THAT(calls(), ElementsAre("prepare", "ask Disconnect", "disassociate", "ask Start Capture", started()));
    EXPECT_TRUE(restore.shouldReconnect());
    EXPECT_FALSE(restore.currentChannel()) << "the hop loop stores it";
}

TEST_P(HoppingCommands, OutsideANetworkAnOldWishToReconnectIsDropped) {
    restore.setShouldReconnect(true);
    run();
    EXPECT_THAT(calls(), ElementsAre("prepare", started()));
    EXPECT_FALSE(restore.shouldReconnect());
}

TEST_P(HoppingCommands, WithoutConsentNothingStarts) {
    associate(home);
    expectNotice();
    answer = {.isFirstButton = false};
    run();
    EXPECT_THAT(calls(), ElementsAre("prepare", "ask Disconnect"));
    EXPECT_TRUE(settings.boolForKey(keys::FirstTimeCapture));
    expectNothingLeft();
}

TEST_P(HoppingCommands, CancelledNoticeReconnects) {
    associate(home);
    expectNotice();
    settings.setBool(keys::ShowDisconnectAlert, false);
    answer = {.isFirstButton = false};
    run();
    EXPECT_THAT(calls(), ElementsAre("prepare", "disassociate", "ask Start Capture", "power off", "power on"));
    expectNothingLeft();
}

TEST_P(HoppingCommands, CaptureThatDoesNotBeginReconnects) {
    associate(home);
    starts = false;
    run();
    EXPECT_THAT(calls(), ElementsAre("prepare", "ask Disconnect", "disassociate", started(), "power off", "power on"));
    expectNothingLeft();
}

INSTANTIATE_TEST_SUITE_P(Modes, HoppingCommands,
                         ::testing::Values(Hopping{&CaptureCommands::onCaptureAll2Dot4GHz, 1},
                                           Hopping{&CaptureCommands::onCaptureAll5GHz, 2},
                                           Hopping{&CaptureCommands::onCaptureAll, 3}),
                         [](const auto& instance) { return "Mode" + std::to_string(instance.param.mode); });

// The custom list.

TEST_F(CaptureCommandsTest, CustomCaptureBeginsWithThePanel) {
    associate(home);
    expectNotice();
    chosen = {11, 6};
    commands.onCaptureCustom(*this);
    EXPECT_THAT(calls(),
                ElementsAre("panel", "prepare", "ask Disconnect", "disassociate", "ask Start Capture", "start 4"));
    EXPECT_THAT(commands.customChannels(), ElementsAre(11, 6));
}

TEST_F(CaptureCommandsTest, DismissedPanelLeavesTheListAndStartsNothing) {
    chosen = {11, 6};
    commands.onCaptureCustom(*this);
    calls().clear();
    chosen.reset();
    commands.onCaptureCustom(*this);
    EXPECT_THAT(calls(), ElementsAre("panel"));
    EXPECT_THAT(commands.customChannels(), ElementsAre(11, 6));
}

TEST_F(CaptureCommandsTest, ChosenListStaysWhenTheCaptureCannotBePrepared) {
    associate(home);
    chosen = {1};
    prepares = false;
    commands.onCaptureCustom(*this);
    EXPECT_THAT(calls(), ElementsAre("panel", "prepare"));
    EXPECT_THAT(commands.customChannels(), ElementsAre(1));
}

TEST_F(CaptureCommandsTest, CustomCaptureStopsAtTheFirstNo) {
    associate(home);
    expectNotice();
    chosen = {1, 6};
    answer = {.isFirstButton = false};
    commands.onCaptureCustom(*this);
    EXPECT_THAT(calls(), ElementsAre("panel", "prepare", "ask Disconnect"));
    calls().clear();
    settings.setBool(keys::ShowDisconnectAlert, false);
    commands.onCaptureCustom(*this);
    EXPECT_THAT(calls(), ElementsAre("panel", "prepare", "disassociate", "ask Start Capture", "power off", "power on"));
}

// All of them.

TEST_F(CaptureCommandsTest, TuningForACaptureNamesTheWidthItKnows) {
    refuseTuning();
    const auto alertFor = [this](int width) {
        calls().clear();
        EXPECT_FALSE(commands.setCaptureChannel({36, bandFiveGHz, width}));
        return calls().back();
    };
    const std::string alert = "alert Cannot perform capture! | Failed to set Wi-Fi to channel ";
    EXPECT_EQ(alertFor(width20MHz), alert + "36 (20 MHz)");
    EXPECT_EQ(alertFor(width40MHz), alert + "36 (40 MHz)");
    EXPECT_EQ(alertFor(width80MHz), alert + "36 (80 MHz)");
    EXPECT_EQ(alertFor(width160MHz), alert + "36 (160 MHz)");
    EXPECT_EQ(alertFor(0), alert + "36");
    EXPECT_EQ(alertFor(5), alert + "36");
    airport.refusesChannel = nullptr;
    EXPECT_TRUE(commands.setCaptureChannel(home));
}

TEST_F(CaptureCommandsTest, CommandsDuringAnOpenQuestionDoNothing) {
    associate(home);
    chosen = {1, 6};
    airport.supported = {home, other};
    whileAsking = [this] {
        commands.onCapture();
        commands.onCaptureOther(other);
        commands.onCaptureAll();
        commands.onCaptureCustom(*this);
        commands.onChannel(6, false);
        commands.onChannelWidth(width20MHz, false);
    };
    commands.onCaptureAll5GHz();
    EXPECT_THAT(calls(), ElementsAre("prepare", "ask Disconnect", "disassociate", "start 2"));
    calls().clear();
    commands.onCapture();
    EXPECT_THAT(calls(), ElementsAre("prepare", "start 0")) << "once it is answered they work again";
}

} // namespace
} // namespace vantrel::testing
