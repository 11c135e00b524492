// A machine that goes to sleep while it captures.
#include "app/SleepGuard.h"

#include "AppFixture.h"

#include <vector>

namespace vantrel::testing {

namespace {

// Timers that run when the test says so.
class HandTimers final : public Timers {
public:
    struct Entry {
        std::chrono::milliseconds interval;
        std::function<void()> action;
    };
    class EntryHandle final : public Handle {
    public:
        EntryHandle(std::vector<Entry*>& running, Entry entry) : _running(running), _entry(std::move(entry)) {
            _running.push_back(&_entry);
        }
        ~EntryHandle() override { std::erase(_running, &_entry); }

    private:
        std::vector<Entry*>& _running;
        Entry _entry;
    };

    [[nodiscard]] QDateTime now() const override { return QDateTime::currentDateTime(); }
    [[nodiscard]] std::unique_ptr<Handle> after(std::chrono::milliseconds delay,
                                                std::function<void()> action) override {
        return std::make_unique<EntryHandle>(running, Entry{delay, std::move(action)});
    }
    [[nodiscard]] std::unique_ptr<Handle> every(std::chrono::milliseconds interval,
                                                std::function<void()> action) override {
        return std::make_unique<EntryHandle>(running, Entry{interval, std::move(action)});
    }
    void run(std::size_t index) { std::function<void()>(running.at(index)->action)(); }

    std::vector<Entry*> running;
};

class SleepGuardTest : public AppFixture {
protected:
    void SetUp() override {
        storeSettings(R"({"FirstTimeCapture": false})");
        make();
        start();
        guard = std::make_unique<SleepGuard>(app->session(), timers, [this] { ++ready; });
    }

    HandTimers timers;
    int ready = 0;
    std::unique_ptr<SleepGuard> guard;
};

TEST_F(SleepGuardTest, WithoutACaptureTheMachineMaySleepAtOnce) {
    guard->aboutToSleep();
    EXPECT_EQ(ready, 1);
    EXPECT_TRUE(timers.running.empty());
}

TEST_F(SleepGuardTest, ARunningCaptureIsFinishedAndTheAdapterBackBeforeTheMachineSleeps) {
    ASSERT_TRUE(startCapture());
    ASSERT_TRUE(waitForFrames());
    guard->aboutToSleep();
    ASSERT_EQ(timers.running.size(), 1U);
    timers.run(0);
    EXPECT_EQ(timers.running.size(), 1U) << "the capture has not ended yet";
    ASSERT_TRUE(waitIdle());
    timers.run(0);
    ASSERT_EQ(timers.running.size(), 2U);
    EXPECT_GT(timers.running[1]->interval, std::chrono::milliseconds(1500)) << "the adapter comes back by then";
    EXPECT_LT(timers.running[1]->interval, std::chrono::milliseconds(4000)) << "the login manager waits five seconds";
    EXPECT_EQ(ready, 0);
    timers.run(0); // no second wait
    EXPECT_EQ(timers.running.size(), 2U);
    timers.run(1);
    EXPECT_EQ(ready, 1);
    ASSERT_EQ(savedFiles().size(), 1);
    EXPECT_TRUE(readCapture(savedFiles().front()).isWhole);
}

TEST_F(SleepGuardTest, AwakeAgainTheNextCaptureMayBegin) {
    ASSERT_TRUE(startCapture());
    ASSERT_TRUE(waitForFrames());
    guard->aboutToSleep();
    ASSERT_TRUE(waitIdle());
    guard->wokeUp();
    EXPECT_TRUE(timers.running.empty());
    EXPECT_TRUE(startCapture());
}

TEST_F(SleepGuardTest, TheApplicationListensToTheLoginManager) {
    ASSERT_TRUE(startCapture());
    ASSERT_TRUE(waitForFrames());
    Q_EMIT app->sleepWatch().aboutToSleep();
    EXPECT_TRUE(waitIdle());
    Q_EMIT app->sleepWatch().wokeUp();
}

} // namespace
} // namespace vantrel::testing
