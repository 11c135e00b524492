#include "CaptureTurn.h"

#include "ConnectionFixture.h"

#include <future>

namespace vantrel {
namespace {

using namespace std::chrono_literals;

class CaptureTurns : public ::testing::Test {
protected:
    std::future<bool> takeInBackground() {
        return std::async(std::launch::async, [this] {
            return turn.take(
                airport, [this] { return over.load(); }, [this] { ++waits; });
        });
    }

    testing::Journal journal;
    testing::TestAirport airport{journal};
    CaptureTurn turn;
    std::atomic<bool> over = false;
    std::atomic<int> waits = 0; // for the adapter
};

bool isWaiting(const std::future<bool>& taken) { return taken.wait_for(150ms) == std::future_status::timeout; }

TEST_F(CaptureTurns, IsHadAtOnceWhenNobodyHasIt) { EXPECT_TRUE(takeInBackground().get()); }

TEST_F(CaptureTurns, TheNextWaitsUntilItIsGivenBack) {
    ASSERT_TRUE(takeInBackground().get());
    auto next = takeInBackground();
    EXPECT_TRUE(isWaiting(next));
    turn.giveBack(false);
    EXPECT_TRUE(next.get());
    EXPECT_EQ(waits, 0);
}

TEST_F(CaptureTurns, WhoeverIsOverStopsToWait) {
    ASSERT_TRUE(takeInBackground().get());
    auto next = takeInBackground();
    over = true;
    turn.lookAgain();
    EXPECT_FALSE(next.get());
    turn.giveBack(false);
    EXPECT_FALSE(takeInBackground().get());
    over = false;
    EXPECT_TRUE(takeInBackground().get());
}

TEST_F(CaptureTurns, AnAdapterOnItsWayBackIsWaitedFor) {
    ASSERT_TRUE(takeInBackground().get());
    turn.giveBack(true);
    auto next = takeInBackground();
    EXPECT_TRUE(isWaiting(next));
    EXPECT_EQ(waits, 1);
    airport.associated = true;
    EXPECT_TRUE(next.get());
    airport.associated = false;
    turn.giveBack(false);
    EXPECT_TRUE(takeInBackground().get()); // not on its way any more
}

TEST_F(CaptureTurns, WhoeverIsOverStopsToWaitForTheAdapterToo) {
    ASSERT_TRUE(takeInBackground().get());
    turn.giveBack(true);
    auto next = takeInBackground();
    EXPECT_TRUE(isWaiting(next));
    over = true;
    turn.lookAgain();
    EXPECT_FALSE(next.get());
    over = false;
    airport.associated = true;
    EXPECT_TRUE(takeInBackground().get());
}

} // namespace
} // namespace vantrel
