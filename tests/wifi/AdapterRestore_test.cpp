#include "wifi/AdapterRestore.h"

#include "ScriptedInterface.h"
#include "support/LogCapture.h"

#include <future>
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

TEST(AdapterRestore, PowerCyclesOnceForEachTimeItBecameDue) {
    AdapterRestore restore;
    ScriptedInterface interface;
    restore.setShouldReconnect(true);
    EXPECT_TRUE(restore.reconnectIfDue(interface));
    EXPECT_TRUE(restore.reconnectIfDue(interface)) << "it happened, whoever did it";
    EXPECT_THAT(interface.calls, ElementsAre("power off", "power on"));
    restore.setShouldReconnect(true);
    EXPECT_TRUE(restore.reconnectIfDue(interface));
    EXPECT_THAT(interface.calls, ElementsAre("power off", "power on", "power off", "power on"));
    restore.setShouldReconnect(true);
    restore.setShouldReconnect(false);
    EXPECT_FALSE(restore.reconnectIfDue(interface));
    EXPECT_EQ(interface.calls.size(), 4U);
}

// Changes the adapter on two threads, the second while the first is in the midst of it; both answers.
template <typename Change>
auto changeTwice(ScriptedInterface& interface, const std::string& firstCall, Change change) {
    std::promise<void> release;
    interface.duringCall = [&, first = true, released = release.get_future().share()](const std::string&) mutable {
        if (std::exchange(first, false)) {
            released.wait();
        }
    };
    auto one = std::async(std::launch::async, change);
    interface.waitFor(firstCall);
    auto other = std::async(std::launch::async, change);
    EXPECT_EQ(other.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout)
        << "it does not return before the change is complete";
    release.set_value();
    return std::pair{one.get(), other.get()};
}

TEST(AdapterRestore, WhoeverComesSecondWaitsForThePowerCycle) {
    AdapterRestore restore;
    ScriptedInterface interface;
    restore.setShouldReconnect(true);
    const auto answers = changeTwice(interface, "power off", [&] { return restore.reconnectIfDue(interface); });
    EXPECT_EQ(answers, std::pair(true, true));
    EXPECT_THAT(interface.calls, ElementsAre("power off", "power on"));
}

TEST(AdapterRestore, WhoeverComesSecondWaitsForTheChannel) {
    AdapterRestore restore;
    ScriptedInterface interface;
    restore.setCurrentChannel(left);
    changeTwice(interface, "channel 44/2", [&] {
        restore.restoreChannel(interface);
        return true;
    });
    EXPECT_THAT(interface.calls, ElementsAre("channel 44/2"));
}

// Somebody has switched it off meanwhile, and a power cycle would switch it on again.
TEST(AdapterRestore, AnAdapterThatIsOffIsLeftAlone) {
    AdapterRestore restore;
    ScriptedInterface interface;
    interface.power = false;
    restore.setShouldReconnect(true);
    EXPECT_FALSE(restore.reconnectIfDue(interface));
    EXPECT_THAT(interface.calls, IsEmpty());
}

TEST(AdapterRestore, ARefusedPowerOffStillTriesToPowerOn) {
    AdapterRestore restore;
    ScriptedInterface interface;
    interface.refuse = true;
    restore.setShouldReconnect(true);
    const LogCapture log;
    EXPECT_TRUE(restore.reconnectIfDue(interface));
    EXPECT_THAT(interface.calls, ElementsAre("power off", "power on"));
    EXPECT_THAT(log.warnings(), ElementsAre(QStringLiteral("setPower failed: scripted: refused"),
                                            QStringLiteral("setPower failed: scripted: refused")));
}

} // namespace
} // namespace vantrel
