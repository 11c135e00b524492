// What happens to the adapter from outside, and what is left when the client or the process is gone.
#include "KeeperFixture.h"

namespace vantrel::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr CWChannel one = ScriptedControl::one;
constexpr CWChannel six = ScriptedControl::six;
constexpr CWChannel wide = ScriptedControl::wide;
constexpr int station = ScriptedControl::stationIndex;

TEST_F(KeeperTest, PowerGoesOffAndOnByTheRadiosOwnSwitch) {
    start();
    ASSERT_TRUE(keeper->setPower(false));
    EXPECT_FALSE(keeper->state().powerOn);
    EXPECT_FALSE(keeper->state().channel);
    ASSERT_TRUE(keeper->setPower(true));
    EXPECT_TRUE(keeper->state().powerOn);
    EXPECT_THAT(control.calls, ElementsAre("block", "unblock", "wlan0 up"));
    EXPECT_FALSE(isRecorded()) << "off is what the user asked for";
}

TEST_F(KeeperTest, WithoutAccessToTheSwitchTheLinkServes) {
    control.refusals["block"] = QStringLiteral("Permission denied");
    start();
    ASSERT_TRUE(keeper->setPower(false));
    EXPECT_FALSE(keeper->state().powerOn);
    EXPECT_THAT(takeCalls(), ElementsAre("block", "wlan0 down"));
    ASSERT_TRUE(keeper->setPower(true));
    EXPECT_TRUE(keeper->state().powerOn);
    EXPECT_FALSE(isRecorded());
}

TEST_F(KeeperTest, OffRightAfterATuningIsTheUsersWishAllTheSame) {
    control.managed = true;
    start();
    ASSERT_TRUE(keeper->setChannel(six));
    takeCalls();
    ASSERT_TRUE(keeper->setPower(false));
    EXPECT_THAT(takeCalls(), ElementsAre("remove vantrel0", "wlan0 up", "managed", "block"));
    EXPECT_FALSE(isRecorded()) << "off stays off when the application goes";
}

TEST_F(KeeperTest, TheMachinesSwitchIsStronger) {
    start();
    control.hardBlocked = true;
    keeper->refresh(false);
    EXPECT_FALSE(keeper->state().powerOn);
    EXPECT_EQ(keeper->setPower(true).error().why, QStringLiteral("a switch of this machine keeps the adapter off"));
}

TEST_F(KeeperTest, OffNothingElseIsPossible) {
    start();
    control.block(true);
    keeper->refresh(false);
    EXPECT_EQ(keeper->setChannel(six).error().why, QStringLiteral("the adapter is switched off"));
    EXPECT_EQ(keeper->beginMonitor(false).error().why, QStringLiteral("the adapter is switched off"));
    EXPECT_TRUE(keeper->setPower(false));
    EXPECT_THAT(control.calls, IsEmpty());
}

TEST_F(KeeperTest, AStationThatIsDownIsOffAndCanBeTurnedOn) {
    control.up[station] = false;
    start();
    EXPECT_FALSE(keeper->state().powerOn);
    ASSERT_TRUE(keeper->setPower(true));
    EXPECT_TRUE(keeper->state().powerOn);
}

TEST_F(KeeperTest, TurnedOffDuringACaptureTheMonitorGoesAndComesNotBack) {
    start();
    joinNetwork();
    ASSERT_TRUE(keeper->beginMonitor(false));
    takeCalls();
    ASSERT_TRUE(keeper->setPower(false));
    EXPECT_THAT(takeCalls(), ElementsAre("wlan0 down", "remove vantrel0"));
    EXPECT_FALSE(keeper->state().powerOn);
    keeper->endMonitor();
    EXPECT_FALSE(keeper->isIdleAside()) << "off stays off";
    ASSERT_TRUE(keeper->setPower(true));
    EXPECT_THAT(takeCalls(), ElementsAre("wlan0 up", "wlan0 up"));
}

TEST_F(KeeperTest, ABlockDuringACaptureRemovesTheMonitor) {
    start();
    ASSERT_TRUE(keeper->beginMonitor(false));
    control.block(true);
    keeper->refresh(false);
    EXPECT_EQ(control.calls.back(), "remove vantrel0") << "so that libpcap notices";
    EXPECT_FALSE(keeper->state().powerOn);
    keeper->endMonitor();
    keeper->giveBack();
    EXPECT_TRUE(isRecorded()) << "a blocked station cannot be raised";
    control.block(false);
    keeper->refresh(false);
    EXPECT_TRUE(control.up[station]);
    EXPECT_TRUE(keeper->state().powerOn);
    EXPECT_FALSE(isRecorded());
}

TEST_F(KeeperTest, ABlockOfAStationThatIsApartIsTheUsersAndItsEndToo) {
    control.managed = true;
    control.p2p = {{7, true}};
    start();
    joinNetwork();
    ASSERT_TRUE(keeper->disassociate());
    ASSERT_TRUE(keeper->beginMonitor(false));
    control.block(true);
    keeper->refresh(false);
    keeper->endMonitor();
    EXPECT_FALSE(keeper->state().powerOn);
    EXPECT_FALSE(control.up[station]);
    control.block(false);
    keeper->refresh(false);
    EXPECT_TRUE(control.up[station]);
    EXPECT_TRUE(control.managed);
    EXPECT_TRUE(control.p2p[7]);
    EXPECT_TRUE(keeper->state().powerOn);
    EXPECT_FALSE(isRecorded());
}

TEST_F(KeeperTest, ABlockThatEndsBeforeTheCaptureDoesIsNoReasonToStayApart) {
    start();
    joinNetwork();
    ASSERT_TRUE(keeper->disassociate());
    ASSERT_TRUE(keeper->beginMonitor(false));
    control.block(true);
    keeper->refresh(false);
    control.block(false);
    keeper->refresh(false);
    keeper->endMonitor();
    EXPECT_TRUE(keeper->isIdleAside());
    keeper->giveBack();
    EXPECT_TRUE(control.up[station]);
    EXPECT_FALSE(isRecorded());
}

TEST_F(KeeperTest, AMonitorTakenDownFromOutsideIsRemoved) {
    start();
    ASSERT_TRUE(keeper->beginMonitor(false));
    control.up[11] = false;
    keeper->refresh(false);
    EXPECT_EQ(control.calls.back(), "remove vantrel0");
    EXPECT_EQ(keeper->setChannel(six).error().why, QStringLiteral("the monitor interface has disappeared"));
}

TEST_F(KeeperTest, AVanishedAdapterTakesItsDebtsWithIt) {
    start();
    ASSERT_TRUE(keeper->beginMonitor(false));
    control.present.clear();
    control.up.clear();
    keeper->refresh(false);
    EXPECT_EQ(keeper->state(), protocol::State{});
    EXPECT_THAT(keeper->channels().supported, IsEmpty());
    EXPECT_FALSE(isRecorded());
    keeper->endMonitor();
    control.present = {ScriptedControl::station(20, QStringLiteral("wlan0"))};
    control.up[20] = true;
    keeper->refresh(false);
    EXPECT_TRUE(keeper->state().powerOn);
    EXPECT_EQ(keeper->channels().supported, control.supported);
}

TEST_F(KeeperTest, ARenamedStationStaysTheSame) {
    start();
    control.present.front().name = QStringLiteral("wlp3s0");
    keeper->refresh(false);
    EXPECT_EQ(keeper->state().interfaceName, QStringLiteral("wlp3s0"));
}

TEST_F(KeeperTest, AKernelThatDoesNotAnswerSaysNothing) {
    start();
    ASSERT_TRUE(keeper->beginMonitor(false));
    control.answersInterfaces = false;
    keeper->refresh(true);
    EXPECT_EQ(keeper->state().mode, CWInterfaceMode::Monitor);
    EXPECT_TRUE(isRecorded());
}

TEST_F(KeeperTest, ARestChannelThatIsNoLongerAllowedIsLeft) {
    start();
    ASSERT_TRUE(keeper->setChannel(wide));
    keeper->giveBack();
    control.supported = {one, six};
    keeper->refresh(false);
    EXPECT_EQ(keeper->state().channel, wide) << "the channels were not looked at";
    keeper->refresh(true);
    EXPECT_EQ(keeper->state().channel, one);
}

TEST_F(KeeperTest, WhenTheClientIsGoneAllIsPutBack) {
    control.managed = true;
    control.p2p = {{7, true}};
    start();
    joinNetwork();
    ASSERT_TRUE(keeper->disassociate());
    ASSERT_TRUE(keeper->beginMonitor(false));
    ASSERT_TRUE(keeper->setChannel(wide));
    takeCalls();
    EXPECT_TRUE(keeper->restore());
    EXPECT_THAT(takeCalls(), ElementsAre("remove vantrel0", "wlan0 up", "start p2p 7", "managed"));
    EXPECT_FALSE(isRecorded());
}

TEST_F(KeeperTest, AKilledKeepersSuccessorPutsBackWhatItLeft) {
    control.managed = true;
    control.p2p = {{7, true}};
    start();
    joinNetwork();
    ASSERT_TRUE(keeper->disassociate());
    ASSERT_TRUE(keeper->beginMonitor(false));
    takeCalls();
    control.vanish(11); // the kernel removes a dead process's monitor
    start();
    EXPECT_THAT(takeCalls(), ElementsAre("wlan0 up", "start p2p 7", "managed"));
    EXPECT_FALSE(isRecorded());
}

TEST_F(KeeperTest, TheRecordedAdapterIsKnownByItsAddressToo) {
    start();
    ASSERT_TRUE(keeper->setChannel(six));
    control.vanish(11);
    control.present.front().name = QStringLiteral("wlp3s0");
    takeCalls();
    start();
    EXPECT_THAT(takeCalls(), ElementsAre("wlp3s0 up"));
}

TEST_F(KeeperTest, AnotherAdapterIsPutBackThoughThisOneIsDriven) {
    start();
    ASSERT_TRUE(keeper->setChannel(six));
    control.vanish(11);
    control.present.push_back(ScriptedControl::station(5, QStringLiteral("wlan1")));
    control.up[5] = true;
    start(QStringLiteral("wlan1"));
    EXPECT_TRUE(control.up[station]);
    EXPECT_FALSE(isRecorded());
    EXPECT_EQ(keeper->state().interfaceName, QStringLiteral("wlan1"));
}

TEST_F(KeeperTest, ARecordOfAnAdapterThatIsNotHereIsForgotten) {
    start();
    ASSERT_TRUE(keeper->setChannel(six));
    control.present = {ScriptedControl::station(5, QStringLiteral("wlan1"))};
    control.up = {{5, false}};
    start();
    EXPECT_FALSE(isRecorded());
    EXPECT_FALSE(control.up[5]) << "it was not this one that was changed";
}

TEST_F(KeeperTest, WhatCannotBePutBackStaysOnRecordForTheNextStart) {
    start();
    ASSERT_TRUE(keeper->setChannel(six));
    control.block(true);
    EXPECT_FALSE(keeper->restore());
    EXPECT_TRUE(isRecorded());
    control.block(false);
    start();
    EXPECT_TRUE(control.up[station]);
    EXPECT_FALSE(isRecorded());
}

TEST_F(KeeperTest, EveryPartIsPutBackThoughOneFails) {
    control.managed = true;
    control.p2p = {{7, true}};
    start();
    joinNetwork();
    ASSERT_TRUE(keeper->disassociate());
    ASSERT_TRUE(keeper->setChannel(six));
    control.refusals["wlan0 up"] = QStringLiteral("no reply");
    takeCalls();
    const LogCapture log;
    EXPECT_FALSE(keeper->restore());
    EXPECT_THAT(takeCalls(), ElementsAre("remove vantrel0", "wlan0 up", "start p2p 7", "managed"));
    EXPECT_TRUE(log.warnings()
                    .join(QLatin1Char('\n'))
                    .contains(QStringLiteral("wlan0 could not be put back yet: wlan0 up: no reply")));
    EXPECT_TRUE(isRecorded());
}

} // namespace
} // namespace vantrel::testing
