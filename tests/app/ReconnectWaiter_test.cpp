#include "app/ReconnectWaiter.h"

#include "base/MainQueue.h"
#include "support/EventLoop.h"

#include <QElapsedTimer>
#include <atomic>
#include <gtest/gtest.h>

namespace vantrel::testing {
namespace {

TEST(ReconnectWaiter, WaitsAsideAndGoesOnOnTheMainThread) {
    MainQueue mainQueue;
    ReconnectWaiter waiter(mainQueue);
    const std::thread::id here = std::this_thread::get_id();
    std::atomic<bool> waitedElsewhere = false;
    std::thread::id wentOn;
    waiter.wait([&] { waitedElsewhere = std::this_thread::get_id() != here; },
                [&] { wentOn = std::this_thread::get_id(); });
    ASSERT_TRUE(runUntil([&] { return wentOn != std::thread::id(); }));
    EXPECT_TRUE(waitedElsewhere);
    EXPECT_EQ(wentOn, here);
}

// Real time, of which a minute would have to pass if the wait were not given up.
TEST(ReconnectWaiter, AnEndingProgramWaitsForNobody) {
    MainQueue mainQueue;
    std::atomic<bool> waiting = false;
    bool wentOn = false;
    QElapsedTimer clock;
    {
        ReconnectWaiter waiter(mainQueue);
        waiter.wait(
            [&] {
                waiting = true;
                waiter.sleep(std::chrono::minutes(1));
            },
            [&] { wentOn = true; });
        ASSERT_TRUE(runUntil([&] { return waiting.load(); }));
        clock.start();
        mainQueue.close(); // as the application does first
    }
    EXPECT_LT(clock.elapsed(), 10'000);
    EXPECT_FALSE(wentOn);
}

} // namespace
} // namespace vantrel::testing
