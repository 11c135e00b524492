#include "CaptureTurn.h"

#include "wifi/CWInterface.h"

#include <chrono>

namespace vantrel {

namespace {

using namespace std::chrono_literals;

constexpr auto longestRejoining = 6s; // a supplicant takes about four
constexpr auto lookInterval = 50ms;

} // namespace

bool CaptureTurn::take(const CWInterface& airport, const std::function<bool()>& isOver,
                       const std::function<void()>& willWaitForAdapter) {
    std::unique_lock lock(_mutex);
    _changed.wait(lock, [&] { return !_isTaken || isOver(); });
    if (isOver()) {
        return false;
    }
    _isTaken = true;
    if (_isRejoining) {
        willWaitForAdapter();
    }
    const auto deadline = std::chrono::steady_clock::now() + longestRejoining;
    while (_isRejoining && !airport.isAssociated() && std::chrono::steady_clock::now() < deadline) {
        if (_changed.wait_for(lock, lookInterval, isOver)) {
            _isTaken = false;
            _changed.notify_all();
            return false;
        }
    }
    _isRejoining = false;
    return true;
}

void CaptureTurn::giveBack(bool isRejoining) {
    {
        const std::lock_guard lock(_mutex);
        _isTaken = false;
        _isRejoining = isRejoining;
    }
    _changed.notify_all();
}

void CaptureTurn::lookAgain() {
    // Not between somebody's look and his sleep.
    { const std::lock_guard lock(_mutex); }
    _changed.notify_all();
}

} // namespace vantrel
