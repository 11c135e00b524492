#include "app/SleepGuard.h"

#include "engine/CaptureSession.h"

#include <chrono>
#include <utility>

namespace vantrel {

namespace {

using namespace std::chrono_literals;

constexpr auto pollInterval = 50ms;
// The adapter is given back a moment after it was last needed. The login manager waits for five seconds in all.
constexpr auto adapterReturns = 2s;

} // namespace

SleepGuard::SleepGuard(CaptureSession& session, Timers& timers, std::function<void()> readyToSleep)
    : _session(session),
      _timers(timers),
      _readyToSleep(std::move(readyToSleep)) {}

void SleepGuard::aboutToSleep() {
    if (_session.state() == CaptureSession::State::Idle) {
        _readyToSleep();
        return;
    }
    _session.userDidStop();
    _poll = _timers.every(pollInterval, [this] {
        if (!_settle && _session.state() == CaptureSession::State::Idle) {
            waitForAdapter();
        }
    });
}

void SleepGuard::waitForAdapter() { _settle = _timers.after(adapterReturns, _readyToSleep); }

void SleepGuard::wokeUp() {
    _poll.reset();
    _settle.reset();
}

} // namespace vantrel
