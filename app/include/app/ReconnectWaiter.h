// Waits until the adapter is back in its network, without holding up the main thread.
//
// Main thread. Each wait runs on a thread of its own, which is told to give up, and joined, with this object.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <list>
#include <mutex>
#include <thread>

namespace vantrel {

class MainQueue;

class ReconnectWaiter {
public:
    explicit ReconnectWaiter(MainQueue& mainQueue) : _mainQueue(mainQueue) {}
    ~ReconnectWaiter();
    ReconnectWaiter(const ReconnectWaiter&) = delete;
    ReconnectWaiter& operator=(const ReconnectWaiter&) = delete;

    // Runs `wait`, which sleeps by sleep(), on a thread, and then `next` on the main thread.
    void wait(std::function<void()> wait, std::function<void()> next);

    // Any thread: sleeps, and returns at once when the program ends.
    void sleep(std::chrono::milliseconds time);

private:
    MainQueue& _mainQueue; // borrowed
    std::list<std::thread> _threads;
    std::mutex _mutex;
    std::condition_variable _ending;
    bool _isEnding = false; // guarded by _mutex
};

} // namespace vantrel
