// A step of changing the adapter, or of putting it back, fails: what can be put back is, and what cannot stays on
// record.
#include "KeeperFixture.h"

#include <QDir>

namespace vantrel::testing {

namespace {

using ::testing::ElementsAre;

constexpr CWChannel six = ScriptedControl::six;
constexpr int station = ScriptedControl::stationIndex;

class KeeperFaults : public KeeperTest {
protected:
    [[nodiscard]] QString stateFolder() const { return folder.filePath(QStringLiteral("state")); }
    // From now on no record can be written or read, not even by root.
    void blockRecords() const {
        ASSERT_TRUE(QDir(stateFolder()).removeRecursively());
        QFile file(stateFolder());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    // Answers the kernel's words, or nothing.
    static QString whyNot(const Expected<void>& outcome) { return outcome ? QString() : outcome.error().why; }
};

TEST_F(KeeperFaults, ARecordThatCannotBeWrittenBehindTheFirstChangeUndoesIt) {
    control.p2p = {{7, true}};
    start();
    control.beforeCall = [this] {
        if (!control.calls.empty() && control.calls.back() == "vantrel0 up") {
            blockRecords(); // the station goes down next, and then the device's turn comes
        }
    };
    EXPECT_EQ(whyNot(keeper->setChannel(six)), stateFolder() + QStringLiteral(" cannot be made"));
    EXPECT_THAT(control.calls, ElementsAre("add vantrel0", "vantrel0 up", "wlan0 down", "wlan0 up", "remove vantrel0"))
        << "the device, which would be forgotten, is not touched";
    EXPECT_TRUE(control.p2p[7]);
    EXPECT_TRUE(control.up[station]);
}

TEST_F(KeeperFaults, AP2pDeviceThatCannotBeStartedAgainStaysOnRecord) {
    control.managed = true;
    control.p2p = {{7, true}, {8, true}};
    start();
    ASSERT_TRUE(keeper->setChannel(six));
    control.refusals["start p2p 7"] = QStringLiteral("no reply");
    takeCalls();
    const LogCapture log;
    EXPECT_FALSE(keeper->restore());
    EXPECT_THAT(takeCalls(), ElementsAre("remove vantrel0", "wlan0 up", "start p2p 7", "start p2p 8", "managed"));
    EXPECT_TRUE(log.warnings().contains(QStringLiteral("wlan0 could not be put back yet: start p2p 7: no reply")));
    EXPECT_TRUE(isRecorded());

    control.refusals.clear();
    start();
    EXPECT_THAT(takeCalls(), ElementsAre("start p2p 7")) << "and nothing that is back already";
    EXPECT_FALSE(isRecorded());
}

TEST_F(KeeperFaults, AKernelThatDoesNotAnswerAtTheStartCostsNoRecord) {
    start();
    ASSERT_TRUE(keeper->setChannel(six));
    control.vanish(11);
    control.answersInterfaces = false;
    start();
    EXPECT_TRUE(isRecorded());
    EXPECT_FALSE(control.up[station]);
    control.answersInterfaces = true;
    start();
    EXPECT_TRUE(control.up[station]);
    EXPECT_FALSE(isRecorded());
}

TEST_F(KeeperFaults, AMonitorThatCannotBeRemovedIsLoggedAndTheStationPutBack) {
    start();
    ASSERT_TRUE(keeper->setChannel(six));
    control.refusals["remove"] = QStringLiteral("Operation not permitted");
    const LogCapture log;
    EXPECT_TRUE(keeper->restore());
    EXPECT_TRUE(control.up[station]);
    EXPECT_FALSE(isRecorded());
    EXPECT_EQ(log.warnings(), QStringList(QStringLiteral("remove: Operation not permitted")));
}

TEST_F(KeeperFaults, AMonitorThatSomebodyElseHasDeletedIsNotTuned) {
    start();
    ASSERT_TRUE(keeper->beginMonitor(false));
    control.vanish(11);
    keeper->refresh(false);
    takeCalls();
    EXPECT_EQ(whyNot(keeper->setChannel(six)), QStringLiteral("the monitor interface has disappeared"));
    keeper->endMonitor();
    keeper->giveBack();
    EXPECT_THAT(takeCalls(), ElementsAre("wlan0 up")) << "it is not removed a second time";
    EXPECT_FALSE(isRecorded());
}

TEST_F(KeeperFaults, AnAdapterThatCannotBeTurnedOffStaysOn) {
    start();
    joinNetwork();
    ASSERT_TRUE(keeper->beginMonitor(false)); // so that it is not done by the radio's switch
    control.refusals["wlan0 down"] = QStringLiteral("Operation not permitted");
    EXPECT_EQ(whyNot(keeper->setPower(false)), QStringLiteral("Operation not permitted"));
    EXPECT_TRUE(keeper->state().powerOn);
    EXPECT_TRUE(control.associated);
    EXPECT_FALSE(isRecorded());
}

TEST_F(KeeperFaults, AnAdapterThatCannotBeTurnedOnStaysOff) {
    start();
    ASSERT_TRUE(keeper->setPower(false));
    control.refusals["unblock"] = QStringLiteral("Permission denied");
    takeCalls();
    EXPECT_EQ(whyNot(keeper->setPower(true)), QStringLiteral("Permission denied"));
    EXPECT_THAT(takeCalls(), ElementsAre("unblock"));
    EXPECT_FALSE(keeper->state().powerOn);
}

} // namespace
} // namespace vantrel::testing
