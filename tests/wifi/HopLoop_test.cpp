#include "wifi/HopLoop.h"

#include "ScriptedInterface.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"
#include "support/EventLoop.h"
#include "support/LogCapture.h"
#include "wifi/AdapterRestore.h"
#include "wifi/CaptureFlags.h"
#include "wifi/WiFiSurroundings.h"

#include <QDir>
#include <QTemporaryDir>
#include <gmock/gmock.h>

namespace vantrel::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr CWChannel home{44, bandFiveGHz, width40MHz};
constexpr CWChannel one{1, bandTwoDotFourGHz, width20MHz};
constexpr CWChannel six{6, bandTwoDotFourGHz, width20MHz};
constexpr CWChannel eleven{11, bandTwoDotFourGHz, width20MHz};

// A clock whose waits are over at once. It notes them, and can end the capture in the midst of one.
class JumpingClock final : public HopClock {
public:
    JumpingClock(ScriptedInterface& airport, CaptureFlags& flags) : _airport(airport), _flags(flags) {}

    int captureEndsInWait = 0; // 1: the first
    std::chrono::nanoseconds lateness{};

    [[nodiscard]] Time now() override { return _now; }
    void waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable&, Time deadline,
                   const std::function<bool()>& over) override {
        EXPECT_TRUE(lock.owns_lock());
        const auto wait = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - _now);
        _airport.note(std::string(_flags.hoppingStarted ? "dwell " : "wait ") + std::to_string(wait.count()));
        if (++_waits == captureEndsInWait) {
            _flags.capturing = false;
        }
        if (!over()) {
            _now = deadline + lateness;
        }
    }
    void pass(std::chrono::nanoseconds time) { _now += time; }

private:
    ScriptedInterface& _airport;
    CaptureFlags& _flags;
    Time _now{1h};
    int _waits = 0;
};

// The real clock, which notes when a wait has really begun: whoever takes the loop's mutex from then on finds it
// asleep.
class NotingClock final : public HopClock {
public:
    explicit NotingClock(ScriptedInterface& airport) : _airport(airport) {}
    [[nodiscard]] Time now() override { return std::chrono::steady_clock::now(); }
    void waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& changed, Time deadline,
                   const std::function<bool()>& over) override {
        changed.wait_until(lock, deadline, [&] {
            if (over()) {
                return true;
            }
            if (deadline - now() > 1s) {
                _airport.note("asleep");
            }
            return false;
        });
    }

private:
    ScriptedInterface& _airport;
};

class HopLoopTest : public ::testing::Test, protected WiFiView {
protected:
    HopLoopTest() {
        settings.registerDefaults({{keys::DwellTime, 250}});
        airport.channel = home;
        flags.capturing = true;
    }
    ~HopLoopTest() override {
        mainQueue.close();
        loop.reset();
    }

    // With a clock that jumps, and a capture that ends in the given wait.
    JumpingClock& makeJumping(int captureEndsInWait) {
        auto made = std::make_unique<JumpingClock>(airport, flags);
        made->captureEndsInWait = captureEndsInWait;
        JumpingClock& clock = *made;
        loop = std::make_unique<HopLoop>(surroundings(), std::move(made));
        return clock;
    }
    void makeReal() { loop = std::make_unique<HopLoop>(surroundings()); }

    // Hops until the capture has ended by itself; answers what was done to the adapter.
    const std::vector<std::string>& hop(std::vector<CWChannel> channels) {
        loop->doHoppingWithChannels(std::move(channels));
        EXPECT_TRUE(runUntil([this] { return statusItemUpdates > 0 && !flags.capturing; }));
        loop->stop();
        return airport.calls;
    }
    void endCapture() {
        flags.capturing = false;
        loop->stop();
    }

    void updateStatusItem() override { ++statusItemUpdates; }
    void updateStatusMenu() override { ++statusMenuUpdates; }
    void updateProgress() override { ++progressUpdates; }

    QTemporaryDir folder;
    SettingsStore settings{QDir(folder.path()).filePath(QStringLiteral("settings.json"))};
    ScriptedInterface airport;
    CaptureFlags flags;
    AdapterRestore restore;
    MainQueue mainQueue;
    std::unique_ptr<HopLoop> loop;
    int statusItemUpdates = 0; // main thread
    int statusMenuUpdates = 0;
    int progressUpdates = 0;

    HopLoop::Surroundings surroundings() {
        return {.settings = settings,
                .airport = airport,
                .flags = flags,
                .restore = restore,
                .mainQueue = mainQueue,
                .view = *this};
    }
};

// What the adapter goes through.

TEST_F(HopLoopTest, TunesTheFirstChannelTwiceAtEachWrap) {
    makeJumping(7);
    EXPECT_THAT(hop({one, six, eleven}),
                ElementsAre("channel 1/1", "wait 100", "channel 1/1", "dwell 250", "channel 6/1", "dwell 250",
                            "channel 11/1", "dwell 250", "channel 1/1", "dwell 100", "channel 1/1", "dwell 250",
                            "channel 6/1", "dwell 250", "channel 44/2"));
}

TEST_F(HopLoopTest, HoppingCountsAsStartedFromTheFirstTuningOfTheCycle) {
    flags.hoppingStarted = true; // of an earlier capture
    makeJumping(2);
    std::vector<bool> started;
    airport.duringCall = [&](const std::string&) { started.push_back(flags.hoppingStarted); };
    hop({one, six});
    EXPECT_THAT(started, ElementsAre(false, true, true)) << "the first tuning is not of the cycle yet";
}

TEST_F(HopLoopTest, StopInADwellEndsTheLoopAfterItOnTheFormerChannel) {
    makeJumping(2);
    EXPECT_THAT(hop({one, six}), ElementsAre("channel 1/1", "wait 100", "channel 1/1", "dwell 250", "channel 44/2"));
    EXPECT_FALSE(restore.currentChannel());
}

TEST_F(HopLoopTest, StopInTheFirstPauseTunesNothingMore) {
    makeJumping(1);
    EXPECT_THAT(hop({one, six}), ElementsAre("channel 1/1", "wait 100", "channel 44/2"));
    EXPECT_TRUE(flags.hoppingStarted);
}

TEST_F(HopLoopTest, StopInTheLastDwellOfARoundBeginsNoOther) {
    makeJumping(3);
    EXPECT_THAT(hop({one, six}), ElementsAre("channel 1/1", "wait 100", "channel 1/1", "dwell 250", "channel 6/1",
                                             "dwell 250", "channel 44/2"));
}

TEST_F(HopLoopTest, CaptureThatIsOverAlreadyIsOnlyPutBack) {
    makeJumping(0);
    flags.capturing = false;
    flags.hoppingStarted = true;
    EXPECT_THAT(hop({one, six}), ElementsAre("channel 44/2"));
    EXPECT_FALSE(flags.hoppingStarted);
}

class ShortLists : public HopLoopTest, public ::testing::WithParamInterface<std::vector<CWChannel>> {};

TEST_P(ShortLists, AreNeitherTunedNorCountAsHopping) {
    makeJumping(0);
    flags.hoppingStarted = true;
    restore.setCurrentChannel(six);
    restore.setShouldReconnect(true);
    loop->doHoppingWithChannels(GetParam());
    loop->stop();
    EXPECT_THAT(airport.calls, IsEmpty());
    EXPECT_FALSE(flags.hoppingStarted) << "every frame is dropped";
    EXPECT_EQ(restore.currentChannel(), six) << "left to the end of the capture";
    bool settled = false;
    mainQueue.post([&] { settled = true; });
    ASSERT_TRUE(runUntil([&] { return settled; }));
    EXPECT_EQ(statusItemUpdates, 0);
}

INSTANTIATE_TEST_SUITE_P(Lists, ShortLists, ::testing::Values(std::vector<CWChannel>{}, std::vector<CWChannel>{one}),
                         [](const auto& instance) { return instance.param.empty() ? "Empty" : "OneChannel"; });

class Dwells : public HopLoopTest, public ::testing::WithParamInterface<std::pair<std::int64_t, const char*>> {};

TEST_P(Dwells, HaveAFloor) {
    settings.setInteger(keys::DwellTime, GetParam().first);
    makeJumping(2);
    EXPECT_THAT(hop({one, six}),
                ElementsAre("channel 1/1", "wait 100", "channel 1/1", GetParam().second, "channel 44/2"));
}

INSTANTIATE_TEST_SUITE_P(Times, Dwells,
                         ::testing::Values(std::pair{250, "dwell 250"}, std::pair{100, "dwell 100"},
                                           std::pair{101, "dwell 101"}, std::pair{50, "dwell 100"},
                                           std::pair{0, "dwell 100"}, std::pair{-5, "dwell 100"},
                                           std::pair{std::numeric_limits<std::int64_t>::max(), "dwell 86400000"}));

TEST_F(HopLoopTest, DwellTimeIsReadAtTheStart) {
    makeJumping(3);
    airport.duringCall = [this](const std::string&) { settings.setInteger(keys::DwellTime, 700); };
    EXPECT_THAT(hop({one, six}), ElementsAre("channel 1/1", "wait 100", "channel 1/1", "dwell 250", "channel 6/1",
                                             "dwell 250", "channel 44/2"));
}

TEST_F(HopLoopTest, RefusedChannelIsLoggedAndItsDwellSpent) {
    makeJumping(4);
    airport.refusesChannel = [](const CWChannel& channel) { return channel == one; };
    const LogCapture log;
    EXPECT_THAT(hop({one, six, eleven}),
                ElementsAre("channel 1/1", "wait 100", "channel 1/1", "dwell 250", "channel 6/1", "dwell 250",
                            "channel 11/1", "dwell 250", "channel 44/2"));
    EXPECT_THAT(log.warnings(), ElementsAre(QStringLiteral("setWLANChannel failed: scripted: refused")))
        << "the extra tuning of the wrap is not logged";
}

// Putting the adapter back.

TEST_F(HopLoopTest, ChannelBeforeTheLoopReplacesWhatACommandStored) {
    makeJumping(1);
    restore.setCurrentChannel(eleven);
    EXPECT_EQ(hop({one, six}).back(), "channel 44/2");
}

TEST_F(HopLoopTest, WithoutAChannelThereIsNoneToGoBackTo) {
    makeJumping(1);
    airport.channel.reset();
    restore.setCurrentChannel(eleven);
    EXPECT_THAT(hop({one, six}), ElementsAre("channel 1/1", "wait 100"));
}

TEST_F(HopLoopTest, ReconnectionComesAfterTheChannelAndTheWishStays) {
    makeJumping(1);
    restore.setShouldReconnect(true);
    EXPECT_THAT(hop({one, six}), ElementsAre("channel 1/1", "wait 100", "channel 44/2", "power off", "power on"));
    EXPECT_TRUE(restore.shouldReconnect());
    EXPECT_TRUE(restore.reconnectIfDue(airport)) << "the end of the capture learns of it";
    EXPECT_EQ(airport.calls.back(), "power on");
    EXPECT_EQ(airport.calls.size(), 5U) << "and does it no second time";
}

TEST_F(HopLoopTest, StopReturnsOnceTheAdapterIsBack) {
    loop = std::make_unique<HopLoop>(surroundings(), std::make_unique<NotingClock>(airport));
    settings.setInteger(keys::DwellTime, 60000);
    restore.setShouldReconnect(true);
    loop->doHoppingWithChannels({one, six});
    airport.waitFor("asleep");
    const auto begun = std::chrono::steady_clock::now();
    endCapture();
    EXPECT_LT(std::chrono::steady_clock::now() - begun, 20s) << "the dwell is not waited for";
    EXPECT_THAT(airport.calls,
                ElementsAre("channel 1/1", "channel 1/1", "asleep", "channel 44/2", "power off", "power on"));
}

TEST_F(HopLoopTest, DestructionEndsALoopWhoseCaptureStillRuns) {
    makeReal();
    settings.setInteger(keys::DwellTime, 60000);
    loop->doHoppingWithChannels({one, six});
    airport.waitFor("channel 1/1");
    loop.reset();
    EXPECT_EQ(airport.calls.back(), "channel 44/2");
}

TEST_F(HopLoopTest, StartEndsTheLoopBefore) {
    makeReal();
    settings.setInteger(keys::DwellTime, 60000);
    loop->doHoppingWithChannels({one, six});
    airport.waitFor("channel 1/1");
    loop->doHoppingWithChannels({six, eleven});
    airport.waitFor("channel 6/1");
    endCapture();
    const auto back = std::ranges::find(airport.calls, "channel 44/2");
    EXPECT_LT(back, std::ranges::find(airport.calls, "channel 6/1"));
    EXPECT_EQ(airport.calls.back(), "channel 44/2");
}

TEST_F(HopLoopTest, StopWithoutALoopDoesNothing) {
    makeReal();
    loop->stop();
    loop->stop();
    EXPECT_THAT(airport.calls, IsEmpty());
}

// Refreshes.

TEST_F(HopLoopTest, EveryHopIsShownOnTheMainThread) {
    makeReal();
    settings.setInteger(keys::DwellTime, 100);
    loop->doHoppingWithChannels({one, six});
    EXPECT_TRUE(runUntil([this] { return progressUpdates >= 3; }));
    EXPECT_GE(statusItemUpdates, 3);
    EXPECT_GE(statusMenuUpdates, 3);
    endCapture();
    const int before = statusItemUpdates;
    EXPECT_TRUE(runUntil([&] { return statusItemUpdates > before; })) << "and the end";
}

TEST_F(HopLoopTest, RefusedChannelsShowNothingButTheEnd) {
    makeJumping(9);
    airport.refuse = true;
    const LogCapture log; // the refusals are told elsewhere
    hop({one, six});
    bool settled = false;
    mainQueue.post([&] { settled = true; });
    ASSERT_TRUE(runUntil([&] { return settled; }));
    EXPECT_EQ(statusItemUpdates, 1);
    EXPECT_EQ(statusMenuUpdates, 0);
    EXPECT_EQ(progressUpdates, 0);
}

// What is measured.

TEST_F(HopLoopTest, DwellBeginsWhenTheTuningIsDoneAndBothAreMeasured) {
    JumpingClock& clock = makeJumping(5);
    clock.lateness = 3ms;
    airport.duringCall = [&](const std::string&) { clock.pass(30ms); };
    airport.refusesChannel = [](const CWChannel& channel) { return channel == six; };
    const LogCapture log;
    EXPECT_THAT(hop({one, six, eleven}),
                ElementsAre("channel 1/1", "wait 100", "channel 1/1", "dwell 250", "channel 6/1", "dwell 250",
                            "channel 11/1", "dwell 250", "channel 1/1", "dwell 100", "channel 44/2"));
    const HopStatistics statistics = loop->statistics();
    EXPECT_EQ(statistics.dwell, 250ms);
    EXPECT_EQ(statistics.tunings, 5U);
    EXPECT_EQ(statistics.failures, 1U);
    EXPECT_EQ(statistics.tuningTime, 150ms);
    EXPECT_EQ(statistics.visits, 2U);
    ASSERT_EQ(statistics.latest.size(), 2U);
    EXPECT_EQ(statistics.latest[0].channel, one);
    EXPECT_EQ(statistics.latest[1].channel, eleven);
    EXPECT_EQ(statistics.latest[0].tuning, 30ms);
    EXPECT_EQ(statistics.latest[0].listened, 253ms);
    EXPECT_EQ(statistics.medianDwellError(), 3ms);
}

TEST_F(HopLoopTest, DwellThatIsCutShortIsNotMeasured) {
    makeJumping(3);
    hop({one, six});
    EXPECT_EQ(loop->statistics().visits, 1U);
}

TEST_F(HopLoopTest, MeasurementsAreOfTheLatestLoopAndBounded) {
    constexpr int visits = HopStatistics::mostVisits + 10;
    makeJumping(visits + visits / 2 + 2);
    hop({one, six});
    EXPECT_GT(loop->statistics().visits, HopStatistics::mostVisits);
    EXPECT_EQ(loop->statistics().latest.size(), HopStatistics::mostVisits);
    loop->doHoppingWithChannels({one, six}); // the capture is over
    loop->stop();
    EXPECT_EQ(loop->statistics().visits, 0U);
    EXPECT_TRUE(loop->statistics().latest.empty());
}

TEST_F(HopLoopTest, RealDwellsAreNeverShortAndHardlyLong) {
    makeReal();
    settings.setInteger(keys::DwellTime, 100);
    loop->doHoppingWithChannels({one, six, eleven});
    airport.waitFor("channel 11/1", 3);
    endCapture();
    const HopStatistics statistics = loop->statistics();
    EXPECT_GE(statistics.visits, 8U);
    for (const HopVisit& visit : statistics.latest) {
        EXPECT_GE(visit.listened, 100ms);
    }
    EXPECT_LT(statistics.medianDwellError(), 50ms) << "also on a busy machine";
}

} // namespace
} // namespace vantrel::testing
