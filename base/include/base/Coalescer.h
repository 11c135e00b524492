// Turns any number of requests, from any thread, into at most one run per interval on the main thread.
//
// A request while none is pending runs as soon as the main thread is free; further ones until the interval has passed
// are answered together by one run at its end, so that the last request is never lost. The request itself is one
// atomic exchange, cheap enough to be made for every frame.
#pragma once

#include "base/MainQueue.h"

#include <QTimer>
#include <atomic>
#include <chrono>
#include <functional>

namespace vantrel {

class Coalescer {
public:
    // Main thread. The queue is borrowed and must outlive the coalescer; so must every thread's last request().
    Coalescer(MainQueue& queue, std::chrono::milliseconds interval, std::function<void()> run);

    // Any thread; never waits.
    void request();

private:
    void runOnce();
    void intervalPassed();

    MainQueue& _queue; // borrowed
    std::function<void()> _run;
    std::atomic<bool> _pending = false; // a run is queued, or its interval has not passed
    std::atomic<bool> _again = false;   // asked for since the last run began
    QTimer _timer;
};

} // namespace vantrel
