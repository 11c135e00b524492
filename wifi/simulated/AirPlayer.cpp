#include "AirPlayer.h"

#include "Logging.h"
#include "base/Capabilities.h"

#include <pthread.h>

namespace vantrel {

namespace {

// How far ahead the frames are made: short enough to keep little in memory under any load.
constexpr std::uint64_t planAhead = 20000; // µs
// A thread that was held up for longer (a suspended machine) lets the missed frames go instead of sending them late.
constexpr std::uint64_t longestDelay = 500000; // µs

} // namespace

AirPlayer::AirPlayer(std::shared_ptr<const Air> air, Clock::time_point epoch, std::unique_ptr<FrameSink> sink)
    : _air(std::move(air)),
      _epoch(epoch),
      _sink(std::move(sink)),
      _thread([this] { run(); }) {}

AirPlayer::~AirPlayer() {
    ++_callers;
    {
        const std::lock_guard lock(_mutex);
        --_callers;
        _stopping = true;
    }
    _changed.notify_one();
    _thread.join();
}

void AirPlayer::tune(std::optional<CWChannel> channel) {
    ++_callers;
    {
        const std::lock_guard lock(_mutex);
        --_callers;
        _channel = channel;
        _planned.clear();
        _next = 0;
        _plannedUntil = now();
    }
    _changed.notify_one();
}

void AirPlayer::run() {
    ::pthread_setname_np(::pthread_self(), "vantrel-air");
    // Started by a thread that opens the device; what is written into an open one needs no capability.
    if (const auto dropped = setCapabilities({}); !dropped) {
        qCWarning(lcSimulated, "%s", qUtf8Printable(dropped.error().text()));
    }
    std::unique_lock lock(_mutex);
    while (!_stopping) {
        if (_callers > 0) {
            _changed.wait(lock, [this] { return _callers == 0 || _stopping; });
        } else if (!_channel) {
            _changed.wait(lock);
        } else if (_next < _planned.size()) {
            playDue(lock);
        } else {
            fill();
            if (_planned.empty()) {
                _changed.wait_until(lock, when(_plannedUntil));
            }
        }
    }
}

// Plays the next frame if its time has come; waits for its time, or for a change, if not.
void AirPlayer::playDue(std::unique_lock<std::mutex>& lock) {
    const HeardFrame& frame = _planned[_next];
    if (frame.time > now()) {
        _changed.wait_until(lock, when(frame.time));
        return;
    }
    _sink->deliver(frame.packet);
    ++_next;
}

void AirPlayer::fill() {
    const std::uint64_t current = now();
    if (current > _plannedUntil + longestDelay) {
        _plannedUntil = current;
    }
    const std::uint64_t from = _plannedUntil;
    _plannedUntil += planAhead;
    _planned = _air->heard(*_channel, from, _plannedUntil);
    _next = 0;
}

std::uint64_t AirPlayer::now() const {
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - _epoch).count());
}

AirPlayer::Clock::time_point AirPlayer::when(std::uint64_t time) const {
    return _epoch + std::chrono::microseconds(time);
}

} // namespace vantrel
