// Finishes a running capture, and lets the adapter come back, before the machine sleeps.
//
// Main thread. What it is made of is borrowed and outlives it.
#pragma once

#include "engine/Timers.h"
#include "services/SleepWatch.h"

#include <QObject>
#include <memory>

namespace vantrel {

class CaptureSession;

class SleepGuard final : public QObject {
    Q_OBJECT

public:
    SleepGuard(SleepWatch& watch, CaptureSession& session, Timers& timers);

private:
    void finishCapture();
    void waitForAdapter();

    SleepWatch& _watch;
    CaptureSession& _session;
    Timers& _timers;
    std::unique_ptr<Timers::Handle> _poll;   // until the capture is over
    std::unique_ptr<Timers::Handle> _settle; // then until the adapter is back
};

} // namespace vantrel
