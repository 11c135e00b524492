#include "app/ReconnectWaiter.h"

#include "base/MainQueue.h"

#include <utility>

namespace vantrel {

ReconnectWaiter::~ReconnectWaiter() {
    {
        const std::lock_guard lock(_mutex);
        _isEnding = true;
    }
    _ending.notify_all();
    for (std::thread& thread : _threads) {
        thread.join();
    }
}

void ReconnectWaiter::wait(std::function<void()> wait, std::function<void()> next) {
    const auto thread = _threads.emplace(_threads.end());
    *thread = std::thread([this, thread, wait = std::move(wait), next = std::move(next)] {
        wait();
        _mainQueue.post([this, thread, next] {
            thread->join(); // its last act was to say so
            _threads.erase(thread);
            next();
        });
    });
}

void ReconnectWaiter::sleep(std::chrono::milliseconds time) {
    std::unique_lock lock(_mutex);
    _ending.wait_for(lock, time, [this] { return _isEnding; });
}

} // namespace vantrel
