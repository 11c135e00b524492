// The thread that tells the delegate of changes and runs the one thing that happens by itself: rejoining the network.
//
// Independent of any event loop. The thread starts with the object and is joined by its destructor.
#pragma once

#include "wifi/EventTeller.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

namespace vantrel {

class EventThread {
public:
    using Clock = std::chrono::steady_clock;

    // The name is the adapter's.
    explicit EventThread(QString name);
    ~EventThread();
    EventThread(const EventThread&) = delete;
    EventThread& operator=(const EventThread&) = delete;

    // As EventTeller has them.
    void setDelegate(CWEventDelegate* delegate) { _teller.setDelegate(delegate); }
    void monitor(CWEventType type) { _teller.monitor(type); }

    // Any thread; never waits. Events of types that are not monitored by the time they are delivered are dropped.
    void post(CWEventType type);

    // Any thread; never waits. Runs the task once at that time, in place of one scheduled before.
    void schedule(Clock::time_point time, std::function<void()> task);
    void cancel();

private:
    void run();
    void deliver(std::unique_lock<std::mutex>& lock);
    void runTask(std::unique_lock<std::mutex>& lock);

    const QString _name;
    EventTeller _teller;
    std::mutex _mutex;
    std::condition_variable _changed;
    std::deque<CWEventType> _events;            // guarded by _mutex
    std::function<void()> _task;                // guarded by _mutex; empty when none is scheduled
    std::optional<Clock::time_point> _taskTime; // guarded by _mutex
    bool _stopping = false;                     // guarded by _mutex
    std::thread _thread;                        // last: runs on the members above
};

} // namespace vantrel
