#include "app/SleepGuard.h"

#include "engine/CaptureSession.h"

#include <chrono>

namespace vantrel {

namespace {

using namespace std::chrono_literals;

constexpr auto pollInterval = 50ms;
// The adapter is given back a moment after it was last needed. The login manager waits for five seconds in all.
constexpr auto adapterReturns = 2s;

} // namespace

SleepGuard::SleepGuard(SleepWatch& watch, CaptureSession& session, Timers& timers)
    : _watch(watch),
      _session(session),
      _timers(timers) {
    connect(&_watch, &SleepWatch::aboutToSleep, this, &SleepGuard::finishCapture);
    connect(&_watch, &SleepWatch::wokeUp, this, [this] {
        _poll.reset();
        _settle.reset();
    });
}

void SleepGuard::finishCapture() {
    if (_session.state() == CaptureSession::State::Idle) {
        _watch.readyToSleep();
        return;
    }
    _session.userDidStop();
    _poll = _timers.every(pollInterval, [this] {
        if (!_settle && _session.state() == CaptureSession::State::Idle) {
            waitForAdapter();
        }
    });
}

void SleepGuard::waitForAdapter() {
    _settle = _timers.after(adapterReturns, [this] { _watch.readyToSleep(); });
}

} // namespace vantrel
