#include "base/Coalescer.h"
#include "support/EventLoop.h"

#include <gtest/gtest.h>
#include <thread>

namespace vantrel {
namespace {

using testing::runUntil;
using namespace std::chrono_literals;

TEST(Coalescer, AMillionRequestsFromAnotherThreadAreAFewRuns) {
    MainQueue queue;
    int runs = 0;
    Coalescer coalescer(queue, 50ms, [&] { ++runs; });
    std::thread requester([&] {
        for (int count = 0; count < 1'000'000; ++count) {
            coalescer.request();
        }
    });
    requester.join(); // all of them while the main thread did nothing
    ASSERT_TRUE(runUntil([&] { return runs > 0; }));
    EXPECT_EQ(runs, 1);
}

// Real time: the interval is the thing under test, and its lower bound is checked, not how late it may be.
TEST(Coalescer, ARequestDuringTheIntervalIsAnsweredAtItsEnd) {
    MainQueue queue;
    int runs = 0;
    Coalescer coalescer(queue, 50ms, [&] { ++runs; });
    coalescer.request();
    ASSERT_TRUE(runUntil([&] { return runs == 1; }));
    const auto first = std::chrono::steady_clock::now();
    coalescer.request();
    coalescer.request();
    ASSERT_TRUE(runUntil([&] { return runs == 2; }));
    EXPECT_GE(std::chrono::steady_clock::now() - first, 40ms);
}

TEST(Coalescer, ARequestAfterAQuietIntervalRunsAgain) {
    MainQueue queue;
    int runs = 0;
    Coalescer coalescer(queue, 1ms, [&] { ++runs; });
    for (int round = 1; round <= 20; ++round) {
        coalescer.request();
        ASSERT_TRUE(runUntil([&] { return runs >= round; })) << "request " << round << " was lost";
    }
}

} // namespace
} // namespace vantrel
