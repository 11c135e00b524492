// Finishes a running capture, and lets the adapter come back, before the machine sleeps.
//
// Main thread. What it is made of is borrowed and outlives it.
#pragma once

#include "engine/Timers.h"

#include <functional>
#include <memory>

namespace vantrel {

class CaptureSession;

class SleepGuard {
public:
    // `readyToSleep` is called once for each aboutToSleep(), within it or later.
    SleepGuard(CaptureSession& session, Timers& timers, std::function<void()> readyToSleep);

    void aboutToSleep();
    void wokeUp();

private:
    void waitForAdapter();

    CaptureSession& _session;
    Timers& _timers;
    std::function<void()> _readyToSleep;
    std::unique_ptr<Timers::Handle> _poll;   // until the capture is over
    std::unique_ptr<Timers::Handle> _settle; // then until the adapter is back
};

} // namespace vantrel
