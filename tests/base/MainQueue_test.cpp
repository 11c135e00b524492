#include "base/MainQueue.h"
#include "support/EventLoop.h"

#include <QFile>
#include <QThread>
#include <atomic>
#include <gmock/gmock.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace vantrel {
namespace {

using ::testing::ElementsAre;
using testing::runUntil;

TEST(MainQueue, RunsTasksOnItsThreadInOrder) {
    MainQueue queue;
    std::vector<int> order;
    QThread* ranOn = nullptr;
    std::thread poster([&] {
        for (int number = 1; number <= 3; ++number) {
            queue.post([&order, &ranOn, number] {
                order.push_back(number);
                ranOn = QThread::currentThread();
            });
        }
    });
    poster.join();
    ASSERT_TRUE(runUntil([&] { return order.size() == 3; }));
    EXPECT_THAT(order, ElementsAre(1, 2, 3));
    EXPECT_EQ(ranOn, QThread::currentThread());
}

TEST(MainQueue, NeverRunsATaskInsideThePost) {
    MainQueue queue;
    bool ran = false;
    queue.post([&] { ran = true; });
    EXPECT_FALSE(ran);
    EXPECT_TRUE(runUntil([&] { return ran; }));
}

TEST(MainQueue, PostAndWaitReturnsAfterTheTask) {
    MainQueue queue;
    std::atomic<bool> ran = false;
    std::atomic<bool> answered = false;
    std::thread waiter([&] {
        const bool answer = queue.postAndWait([&] { ran = true; });
        answered = answer && ran;
    });
    EXPECT_TRUE(runUntil([&] { return answered.load(); }));
    waiter.join();
}

TEST(MainQueue, ClosingDropsTasksAndReleasesWhoeverWaits) {
    MainQueue queue;
    bool ran = false;
    queue.post([&] { ran = true; });
    std::atomic<int> answer = -1;
    std::thread waiter([&] { answer = queue.postAndWait([&] { ran = true; }) ? 1 : 0; });
    queue.close();
    waiter.join();
    EXPECT_EQ(answer, 0);
    QCoreApplication::processEvents();
    EXPECT_FALSE(ran);
    queue.post([&] { ran = true; });
    QCoreApplication::processEvents();
    EXPECT_FALSE(ran);
}

// Answers whether the thread, by its number, sleeps in a call of the system.
bool sleeps(pid_t thread) {
    QFile file(QStringLiteral("/proc/self/task/%1/stat").arg(thread));
    if (!file.open(QIODevice::ReadOnly)) {
        return false;
    }
    const QByteArray line = file.readAll();
    return line.mid(line.lastIndexOf(')') + 2).startsWith('S'); // proc(5)
}

TEST(MainQueue, ClosingReleasesWhoeverWaitsAlready) {
    MainQueue queue;
    std::atomic<pid_t> thread = 0;
    std::atomic<int> answer = -1;
    std::thread waiter([&] {
        thread = ::gettid();
        answer = queue.postAndWait([] {}) ? 1 : 0;
    });
    while (!sleeps(thread)) {
        std::this_thread::yield();
    }
    queue.close();
    waiter.join();
    EXPECT_EQ(answer, 0);
}

// A modal dialogue is a task that runs an event loop: the tasks behind it must not wait for the user.
TEST(MainQueue, TasksBehindOneThatRunsAnEventLoopStillRun) {
    MainQueue queue;
    bool second = false;
    bool sawSecond = false;
    queue.post([&] { sawSecond = runUntil([&] { return second; }); });
    queue.post([&] { second = true; });
    EXPECT_TRUE(runUntil([&] { return sawSecond; }));
}

} // namespace
} // namespace vantrel
