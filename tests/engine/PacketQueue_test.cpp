#include "engine/PacketQueue.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <vector>

namespace vantrel {
namespace {

class Step final : public Operation {
public:
    explicit Step(std::function<void()> run, bool reusable = false) : _run(std::move(run)), _reusable(reusable) {}
    void main() override { _run(); }
    bool isReusable() const noexcept override { return _reusable; }

private:
    std::function<void()> _run;
    bool _reusable;
};

std::unique_ptr<Operation> step(std::function<void()> run) { return std::make_unique<Step>(std::move(run)); }

TEST(PacketQueue, RunsEverythingInOrderOneAtATime) {
    constexpr int count = 100'000;
    std::vector<int> order;
    std::atomic<int> running = 0;
    bool overlapped = false;
    PacketQueue queue;
    for (int number = 0; number < count; ++number) {
        queue.addOperation(step([&, number] {
            overlapped = overlapped || ++running != 1;
            order.push_back(number);
            --running;
        }));
    }
    queue.waitUntilAllOperationsAreFinished();
    ASSERT_EQ(order.size(), std::size_t{count});
    EXPECT_TRUE(std::ranges::is_sorted(order));
    EXPECT_FALSE(overlapped);
}

TEST(PacketQueue, ATaskRunsAfterWhatStandsBeforeItAndBeforeWhatFollows) {
    std::vector<int> order;
    PacketQueue queue;
    queue.addOperation(step([&] { order.push_back(1); }));
    queue.addTask([&] { order.push_back(2); });
    queue.addOperation(step([&] { order.push_back(3); }));
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(order, (std::vector{1, 2, 3}));
}

TEST(PacketQueue, AFullQueueMakesTheProducerWaitButNeverATask) {
    std::promise<void> gate;
    std::atomic<int> ran = 0;
    std::atomic<int> added = 0;
    PacketQueue queue({}, 4);
    std::promise<void> blocked;
    queue.addOperation(step([&] {
        blocked.set_value();
        gate.get_future().wait();
    }));
    blocked.get_future().wait(); // the worker holds one operation, the queue is empty
    std::thread producer([&] {
        for (int number = 0; number < 20; ++number) {
            queue.addOperation(step([&] { ++ran; }));
            ++added;
        }
    });
    while (added < 4) {
        std::this_thread::yield();
    }
    queue.addTask([&] { ++ran; }); // returns although the queue is full
    EXPECT_EQ(ran, 0);
    EXPECT_EQ(added, 4);
    gate.set_value();
    producer.join();
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(ran, 21);
}

TEST(PacketQueue, ALoneOperationRunsWithoutAnythingBehindIt) {
    PacketQueue queue;
    for (int round = 0; round < 50; ++round) {
        std::promise<void> ran;
        queue.addOperation(step([&] { ran.set_value(); }));
        ran.get_future().wait(); // hangs, and is ended by the test's time limit, if the worker sleeps on
    }
}

// Real time: the operations are aimed at the moments, 2 and 4 ms after the last one, when the worker goes to sleep.
TEST(PacketQueue, NoOperationIsOverlookedWhileTheWorkerFallsAsleep) {
    using std::chrono::microseconds;
    PacketQueue queue;
    for (int round = 0; round < 300; ++round) {
        const auto aim = std::chrono::steady_clock::now() + microseconds(1700 + (round * 37) % 3000);
        while (std::chrono::steady_clock::now() < aim) {
        }
        std::promise<void> ran;
        queue.addOperation(step([&] { ran.set_value(); }));
        ASSERT_EQ(ran.get_future().wait_for(std::chrono::seconds(5)), std::future_status::ready) << "round " << round;
    }
}

TEST(PacketQueue, FinishedOperationsAreUsedAgain) {
    PacketQueue queue;
    EXPECT_EQ(queue.spareOperation(), nullptr);
    queue.addOperation(std::make_unique<Step>([] {}, true));
    queue.addOperation(std::make_unique<Step>([] {}, false));
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_NE(queue.spareOperation(), nullptr);
    EXPECT_EQ(queue.spareOperation(), nullptr) << "an operation that must not be used again was kept";
}

TEST(PacketQueue, DestructionRunsWhatWasAdded) {
    std::atomic<int> ran = 0;
    {
        PacketQueue queue;
        for (int number = 0; number < 1000; ++number) {
            queue.addOperation(step([&] { ++ran; }));
        }
    }
    EXPECT_EQ(ran, 1000);
}

TEST(PacketQueue, TheBatchHookRunsOnTheWorkerBeforeOperations) {
    std::atomic<int> hooks = 0;
    int hooksAtFirst = 0;
    PacketQueue queue([&] { ++hooks; });
    queue.addOperation(step([&] { hooksAtFirst = hooks; }));
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(hooksAtFirst, 1);
}

TEST(PacketQueue, TasksMayComeFromSeveralThreads) {
    std::atomic<int> ran = 0;
    PacketQueue queue;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            for (int number = 0; number < 1000; ++number) {
                queue.addTask([&] { ++ran; });
            }
            queue.waitUntilAllOperationsAreFinished();
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(ran, 4000);
}

} // namespace
} // namespace vantrel
