#include "base/Coalescer.h"

namespace vantrel {

Coalescer::Coalescer(MainQueue& queue, std::chrono::milliseconds interval, std::function<void()> run)
    : _queue(queue),
      _run(std::move(run)) {
    _timer.setSingleShot(true);
    _timer.setInterval(interval);
    QObject::connect(&_timer, &QTimer::timeout, &_timer, [this] { intervalPassed(); });
}

void Coalescer::request() {
    // Reading first keeps the cache line shared between the threads while requests come thick.
    if (!_again.load(std::memory_order_relaxed)) {
        _again.store(true);
    }
    if (!_pending.load() && !_pending.exchange(true)) {
        _queue.post([this] { runOnce(); });
    }
}

void Coalescer::runOnce() {
    _again.store(false);
    _timer.start();
    _run();
}

void Coalescer::intervalPassed() {
    if (_again.load()) {
        runOnce();
        return;
    }
    _pending.store(false);
    // A request between the two lines above saw a pending run that will not come.
    if (_again.load() && !_pending.exchange(true)) {
        runOnce();
    }
}

} // namespace vantrel
