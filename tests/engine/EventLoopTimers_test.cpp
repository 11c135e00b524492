// Real time: the event loop's timers are the thing under test.
#include "engine/Timers.h"

#include "support/EventLoop.h"

#include <gtest/gtest.h>

namespace vantrel {
namespace {

using testing::runUntil;
using namespace std::chrono_literals;

TEST(EventLoopTimers, AOneShotTimerFiresOnceAndNotEarly) {
    const auto timers = makeEventLoopTimers();
    const auto started = std::chrono::steady_clock::now();
    int fired = 0;
    const auto timer = timers->after(30ms, [&] { ++fired; });
    int later = 0;
    const auto second = timers->after(60ms, [&] { ++later; });
    ASSERT_TRUE(runUntil([&] { return fired > 0; }));
    EXPECT_GE(std::chrono::steady_clock::now() - started, 29ms);
    ASSERT_TRUE(runUntil([&] { return later > 0; }));
    EXPECT_EQ(fired, 1);
}

TEST(EventLoopTimers, ARepeatingTimerGoesOn) {
    const auto timers = makeEventLoopTimers();
    int fired = 0;
    const auto timer = timers->every(1ms, [&] { ++fired; });
    EXPECT_TRUE(runUntil([&] { return fired >= 5; }));
}

TEST(EventLoopTimers, DestroyingTheHandleStopsItAlsoFromItsOwnAction) {
    const auto timers = makeEventLoopTimers();
    int fired = 0;
    auto timer = timers->every(1ms, [] {});
    timer = timers->every(1ms, [&] {
        ++fired;
        timer.reset();
    });
    ASSERT_TRUE(runUntil([&] { return fired > 0; }));
    int later = 0;
    const auto second = timers->after(20ms, [&] { ++later; });
    ASSERT_TRUE(runUntil([&] { return later > 0; }));
    EXPECT_EQ(fired, 1);
}

// A limit of a month in minutes is more than a timer of the event loop can hold.
TEST(EventLoopTimers, ADelayOfYearsDoesNotFireAtOnce) {
    const auto timers = makeEventLoopTimers();
    int fired = 0;
    const auto years = timers->after(std::chrono::hours(24 * 365 * 5), [&] { ++fired; });
    int later = 0;
    const auto second = timers->after(20ms, [&] { ++later; });
    ASSERT_TRUE(runUntil([&] { return later > 0; }));
    EXPECT_EQ(fired, 0);
}

} // namespace
} // namespace vantrel
