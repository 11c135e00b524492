// What the keeper does to an adapter when its client asks, and how it undoes it.
#include "KeeperFixture.h"

namespace vantrel::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr CWChannel one = ScriptedControl::one;
constexpr CWChannel six = ScriptedControl::six;
constexpr CWChannel wide = ScriptedControl::wide;

QString whyNot(const Expected<void>& outcome) { return outcome ? QString() : outcome.error().why; }

TEST_F(KeeperTest, TheFirstStationIsDriven) {
    control.present.push_back(ScriptedControl::station(5, QStringLiteral("wlan1")));
    start();
    EXPECT_EQ(keeper->state().interfaceName, QStringLiteral("wlan0"));
    EXPECT_TRUE(keeper->state().powerOn);
    EXPECT_EQ(keeper->state().mode, CWInterfaceMode::None);
    EXPECT_EQ(keeper->state().channel, one) << "the first supported one, as long as there was no other";
    EXPECT_EQ(keeper->channels().supported, control.supported);
    EXPECT_THAT(control.calls, IsEmpty());
}

TEST_F(KeeperTest, TheNamedStationIsDriven) {
    control.present.push_back(ScriptedControl::station(5, QStringLiteral("wlan1")));
    control.up[5] = true;
    start(QStringLiteral("wlan1"));
    EXPECT_EQ(keeper->state().interfaceName, QStringLiteral("wlan1"));
    start(QStringLiteral("wlan7"));
    EXPECT_EQ(keeper->state().interfaceName, QString());
}

TEST_F(KeeperTest, WithoutAnAdapterEveryRequestSaysSo) {
    control.present.clear();
    start();
    EXPECT_EQ(keeper->state(), protocol::State{});
    const QString why = QStringLiteral("this machine has no Wi-Fi adapter that can be used");
    EXPECT_EQ(whyNot(keeper->setChannel(six)), why);
    EXPECT_EQ(whyNot(keeper->setPower(true)), why);
    EXPECT_EQ(whyNot(keeper->disassociate()), why);
    EXPECT_EQ(keeper->beginMonitor(false).error().why, why);
    EXPECT_TRUE(keeper->restore());
}

TEST_F(KeeperTest, AssociatedItIsAStationOnItsNetworksChannel) {
    start();
    joinNetwork(wide);
    const auto state = keeper->state();
    EXPECT_EQ(state.mode, CWInterfaceMode::Station);
    EXPECT_EQ(state.ssid, QStringLiteral("lab"));
    EXPECT_EQ(state.bssid, QStringLiteral("02:00:00:00:01:00"));
    EXPECT_EQ(state.channel, wide);
}

TEST_F(KeeperTest, AssociatedAMonitorStandsBesideTheStation) {
    start();
    joinNetwork();
    EXPECT_EQ(*keeper->beginMonitor(false), QStringLiteral("vantrel0"));
    EXPECT_EQ(keeper->state().mode, CWInterfaceMode::Station);
    EXPECT_EQ(whyNot(keeper->setChannel(wide)), QStringLiteral("the adapter is connected to a network"));
    keeper->endMonitor();
    EXPECT_THAT(control.calls, ElementsAre("add vantrel0", "vantrel0 up", "remove vantrel0"));
    EXPECT_TRUE(control.associated);
    EXPECT_FALSE(isRecorded());
}

TEST_F(KeeperTest, NotAssociatedTheMonitorIsTunedToTheRestChannel) {
    start();
    ASSERT_TRUE(keeper->beginMonitor(false));
    EXPECT_EQ(keeper->state().mode, CWInterfaceMode::Monitor);
    EXPECT_EQ(control.tuned, one);
    EXPECT_TRUE(isRecorded());
    EXPECT_FALSE(keeper->isIdleAside());
    ASSERT_TRUE(keeper->setChannel(wide));
    EXPECT_EQ(keeper->state().channel, wide);
    keeper->endMonitor();
    EXPECT_TRUE(keeper->isIdleAside());
    keeper->giveBack();
    EXPECT_FALSE(keeper->isIdleAside());
    EXPECT_FALSE(isRecorded());
    EXPECT_THAT(control.calls, ElementsAre("add vantrel0", "vantrel0 up", "wlan0 down", "tune 1/1", "tune 36/3",
                                           "remove vantrel0", "wlan0 up"));
    EXPECT_EQ(keeper->state().channel, wide) << "it rests where it was tuned last";
    EXPECT_TRUE(keeper->state().powerOn);
}

TEST_F(KeeperTest, AProbeLeavesTheStationAlone) {
    start();
    ASSERT_TRUE(keeper->beginMonitor(true));
    keeper->endMonitor();
    EXPECT_THAT(control.calls, ElementsAre("add vantrel0", "vantrel0 up", "remove vantrel0"));
}

TEST_F(KeeperTest, SeveralUsersShareOneMonitor) {
    start();
    ASSERT_TRUE(keeper->beginMonitor(false));
    EXPECT_EQ(*keeper->beginMonitor(true), QStringLiteral("vantrel0"));
    keeper->endMonitor();
    EXPECT_EQ(keeper->state().mode, CWInterfaceMode::Monitor);
    keeper->endMonitor();
    EXPECT_EQ(keeper->state().mode, CWInterfaceMode::None);
}

TEST_F(KeeperTest, ATakenNameIsPassedOver) {
    control.present.push_back({.index = 7,
                               .name = QStringLiteral("vantrel0"),
                               .wiphy = 1,
                               .kind = netlink::InterfaceKind::Monitor,
                               .address = {},
                               .channel = {}});
    start();
    EXPECT_EQ(*keeper->beginMonitor(true), QStringLiteral("vantrel1"));
}

TEST_F(KeeperTest, TuningWithoutACaptureIsGivenBackAsWell) {
    start();
    ASSERT_TRUE(keeper->setChannel(six));
    EXPECT_TRUE(keeper->isIdleAside());
    EXPECT_EQ(keeper->state().mode, CWInterfaceMode::None);
    keeper->giveBack();
    EXPECT_TRUE(control.up[ScriptedControl::stationIndex]);
    EXPECT_EQ(keeper->state().channel, six);
    ASSERT_TRUE(keeper->beginMonitor(false));
    EXPECT_EQ(control.tuned, six) << "a capture listens where the user tuned to";
}

TEST_F(KeeperTest, AnUnknownChannelIsRefused) {
    start();
    EXPECT_EQ(whyNot(keeper->setChannel({13, bandTwoDotFourGHz, width20MHz})),
              QStringLiteral("the adapter does not support this channel"));
    EXPECT_THAT(control.calls, IsEmpty());
}

TEST_F(KeeperTest, NetworkManagerLetsGoFirstAndTakesOverLast) {
    control.managed = true;
    start();
    bool recordedFirst = false;
    control.beforeCall = [&] { recordedFirst |= isRecorded() && control.calls.empty(); };
    ASSERT_TRUE(keeper->setChannel(six));
    keeper->giveBack();
    EXPECT_THAT(takeCalls(), ElementsAre("add vantrel0", "vantrel0 up", "unmanaged", "wlan0 down", "tune 6/1",
                                         "remove vantrel0", "wlan0 up", "managed"));
    EXPECT_FALSE(isRecorded());
}

TEST_F(KeeperTest, TheRecordStandsBeforeTheFirstChange) {
    control.managed = true;
    start();
    std::vector<bool> recorded;
    control.beforeCall = [&] { recorded.push_back(isRecorded()); };
    ASSERT_TRUE(keeper->setChannel(six));
    keeper->giveBack();
    // add, up | unmanaged, down, tune | remove, up, managed
    EXPECT_THAT(recorded, ElementsAre(false, false, true, true, true, true, true, true));
}

TEST_F(KeeperTest, WithoutARecordNothingIsChanged) {
    QFile inTheWay(folder.filePath(QStringLiteral("state")));
    ASSERT_TRUE(inTheWay.open(QIODevice::WriteOnly));
    start();
    EXPECT_FALSE(keeper->setChannel(six));
    EXPECT_TRUE(control.up[ScriptedControl::stationIndex]);
    EXPECT_THAT(control.calls, ElementsAre("add vantrel0", "vantrel0 up", "remove vantrel0"));
}

TEST_F(KeeperTest, LeavingANetworkThatNetworkManagerHolds) {
    control.managed = true;
    start();
    joinNetwork();
    ASSERT_TRUE(keeper->disassociate());
    EXPECT_THAT(takeCalls(), ElementsAre("unmanaged", "wlan0 down"));
    EXPECT_EQ(keeper->state().mode, CWInterfaceMode::None);
    EXPECT_EQ(keeper->state().channel, six);
    EXPECT_TRUE(keeper->state().powerOn) << "a station that was taken apart is not off";
    EXPECT_FALSE(keeper->isIdleAside()) << "handed back, it would rejoin";
    ASSERT_TRUE(keeper->setChannel(wide));
    EXPECT_TRUE(keeper->isIdleAside());
    keeper->giveBack();
    EXPECT_THAT(takeCalls(), ElementsAre("add vantrel0", "vantrel0 up", "tune 36/3", "remove vantrel0"));
    EXPECT_TRUE(isRecorded());
    ASSERT_TRUE(keeper->setPower(false));
    EXPECT_FALSE(keeper->state().powerOn);
    ASSERT_TRUE(keeper->setPower(true));
    EXPECT_THAT(takeCalls(), ElementsAre("wlan0 up", "managed", "wlan0 up"));
    EXPECT_FALSE(isRecorded());
}

TEST_F(KeeperTest, LeavingANetworkWithoutNetworkManager) {
    start();
    joinNetwork();
    ASSERT_TRUE(keeper->disassociate());
    EXPECT_THAT(takeCalls(), ElementsAre("wlan0 down"));
    EXPECT_TRUE(keeper->state().powerOn) << "a station that was taken apart is not off";
    ASSERT_TRUE(keeper->setChannel(wide));
    keeper->giveBack();
    EXPECT_FALSE(control.up[ScriptedControl::stationIndex]) << "up, it would rejoin";
    takeCalls();
    ASSERT_TRUE(keeper->setPower(false));
    EXPECT_FALSE(keeper->state().powerOn);
    ASSERT_TRUE(keeper->setPower(true));
    EXPECT_TRUE(keeper->state().powerOn);
    EXPECT_TRUE(control.up[ScriptedControl::stationIndex]);
    EXPECT_FALSE(isRecorded());
}

TEST_F(KeeperTest, PowerOnEndsBeingApartAtOnce) {
    start();
    joinNetwork();
    ASSERT_TRUE(keeper->disassociate());
    ASSERT_TRUE(keeper->setPower(false));
    ASSERT_TRUE(keeper->setPower(true));
    control.join(six); // before anything was announced
    EXPECT_EQ(whyNot(keeper->setChannel(wide)), QStringLiteral("the adapter is connected to a network"));
}

TEST_F(KeeperTest, LeavingNoNetworkChangesNothing) {
    start();
    EXPECT_TRUE(keeper->disassociate());
    EXPECT_THAT(control.calls, IsEmpty());
}

TEST_F(KeeperTest, ARefusalOfNetworkManagerLeavesAllAsItWas) {
    control.managed = true;
    control.refusals["unmanaged"] = QStringLiteral("org.freedesktop.NetworkManager.PermissionDenied: not you");
    start();
    joinNetwork();
    EXPECT_EQ(whyNot(keeper->disassociate()), control.refusals["unmanaged"]);
    EXPECT_TRUE(control.managed);
    EXPECT_EQ(keeper->state().mode, CWInterfaceMode::Station);
    EXPECT_FALSE(isRecorded());
}

TEST_F(KeeperTest, ALinkRaisedBySomebodyElseEndsBeingApart) {
    control.managed = true;
    start();
    joinNetwork();
    ASSERT_TRUE(keeper->disassociate());
    control.managed = true; // the user has told NetworkManager to take it, and it has joined
    control.up[ScriptedControl::stationIndex] = true;
    joinNetwork(wide);
    EXPECT_EQ(keeper->state().mode, CWInterfaceMode::Station);
    EXPECT_EQ(keeper->state().channel, wide);
    EXPECT_FALSE(isRecorded());
}

// One that is started makes a monitor deaf, and the kernel says nothing of it.
TEST_F(KeeperTest, StartedP2pDevicesAreStoppedForTheTime) {
    control.p2p = {{7, true}, {8, false}};
    start();
    ASSERT_TRUE(keeper->setChannel(six));
    EXPECT_THAT(takeCalls(),
                ElementsAre("add vantrel0", "vantrel0 up", "wlan0 down", "stop p2p 7", "stop p2p 8", "tune 6/1"));
    keeper->giveBack();
    EXPECT_THAT(takeCalls(), ElementsAre("remove vantrel0", "wlan0 up", "start p2p 7"));
    EXPECT_FALSE(isRecorded());
}

TEST_F(KeeperTest, AP2pDeviceThatWasNotStartedStaysSoWhateverElseIsOwed) {
    control.p2p = {{8, false}};
    control.up[ScriptedControl::stationIndex] = false; // so nothing else is owed
    start();
    ASSERT_TRUE(keeper->beginMonitor(false));
    EXPECT_FALSE(isRecorded());
    keeper->endMonitor();
    keeper->giveBack();
    EXPECT_FALSE(control.p2p[8]);
}

TEST_F(KeeperTest, ANetworkManagerThatDoesNotAnswerIsNotPassedOver) {
    control.managed = true;
    control.answersManaged = false;
    start();
    joinNetwork();
    EXPECT_EQ(whyNot(keeper->disassociate()), QStringLiteral("no reply"));
    EXPECT_THAT(control.calls, IsEmpty());
    EXPECT_TRUE(control.associated);
}

TEST_F(KeeperTest, AP2pDeviceThatCannotBeStoppedIsNoCapture) {
    control.p2p = {{7, true}};
    control.refusals["stop p2p"] = QStringLiteral("Operation not permitted");
    start();
    EXPECT_EQ(whyNot(keeper->setChannel(six)), QStringLiteral("Operation not permitted"));
    EXPECT_TRUE(control.up[ScriptedControl::stationIndex]);
    EXPECT_FALSE(isRecorded());
}

TEST_F(KeeperTest, WithoutPermissionNothingIsChanged) {
    control.refusals["add"] = QStringLiteral("Operation not permitted");
    start();
    EXPECT_EQ(keeper->beginMonitor(false).error().why, QStringLiteral("Operation not permitted"));
    EXPECT_EQ(whyNot(keeper->setChannel(six)), QStringLiteral("Operation not permitted"));
    EXPECT_THAT(control.calls, ElementsAre("add vantrel0", "add vantrel0"));
    EXPECT_FALSE(isRecorded());
}

TEST_F(KeeperTest, AMonitorThatCannotBeRaisedIsRemoved) {
    control.refusals["vantrel0 up"] = QStringLiteral("Device or resource busy");
    start();
    EXPECT_FALSE(keeper->beginMonitor(false));
    EXPECT_EQ(control.calls.back(), "remove vantrel0");
}

TEST_F(KeeperTest, AMonitorThatCannotBeTunedIsNoCapture) {
    control.refusals["tune"] = QStringLiteral("Invalid argument");
    start();
    EXPECT_EQ(keeper->beginMonitor(false).error().why, QStringLiteral("Invalid argument"));
    EXPECT_THAT(control.calls,
                ElementsAre("add vantrel0", "vantrel0 up", "wlan0 down", "tune 1/1", "remove vantrel0", "wlan0 up"));
    EXPECT_FALSE(isRecorded());
}

TEST_F(KeeperTest, AStationRaisedBySomebodyElseIsSetAsideAgain) {
    control.managed = true;
    start();
    ASSERT_TRUE(keeper->beginMonitor(false));
    control.managed = true; // NetworkManager was started anew
    control.up[ScriptedControl::stationIndex] = true;
    takeCalls();
    EXPECT_TRUE(keeper->setChannel(six));
    EXPECT_THAT(takeCalls(), ElementsAre("tune 6/1", "unmanaged", "wlan0 down", "tune 6/1"));
}

} // namespace
} // namespace vantrel::testing
