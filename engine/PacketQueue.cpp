#include "engine/PacketQueue.h"

#include <chrono>
#include <utility>

namespace vantrel {

namespace {

// Frames come in bursts. A worker that has caught up dozes for a moment, or until this many have gathered, so that
// neither thread pays a wake-up for every frame; only after a quiet moment does the first frame wake it at once.
constexpr std::size_t burst = 256;
constexpr auto doze = std::chrono::milliseconds(2);
constexpr std::size_t spareLimit = 4096;

class TaskOperation final : public Operation {
public:
    explicit TaskOperation(std::function<void()> task) : _task(std::move(task)) {}
    void main() override { _task(); }

private:
    std::function<void()> _task;
};

} // namespace

OperationChain::OperationChain(OperationChain&& other) noexcept
    : _first(std::exchange(other._first, nullptr)),
      _last(std::exchange(other._last, nullptr)) {}

OperationChain& OperationChain::operator=(OperationChain&& other) noexcept {
    if (this != &other) {
        clear();
        _first = std::exchange(other._first, nullptr);
        _last = std::exchange(other._last, nullptr);
    }
    return *this;
}

void OperationChain::append(std::unique_ptr<Operation> operation) noexcept {
    Operation* added = operation.release();
    added->_next = nullptr;
    (_last == nullptr ? _first : _last->_next) = added;
    _last = added;
}

void OperationChain::prepend(std::unique_ptr<Operation> operation) noexcept {
    Operation* added = operation.release();
    added->_next = _first;
    _first = added;
    if (_last == nullptr) {
        _last = added;
    }
}

std::unique_ptr<Operation> OperationChain::takeFirst() noexcept {
    std::unique_ptr<Operation> taken(_first);
    if (taken) {
        _first = std::exchange(taken->_next, nullptr);
        if (_first == nullptr) {
            _last = nullptr;
        }
    }
    return taken;
}

void OperationChain::prependAll(OperationChain&& other) noexcept {
    if (other._first == nullptr) {
        return;
    }
    other._last->_next = _first;
    if (_last == nullptr) {
        _last = other._last;
    }
    _first = std::exchange(other._first, nullptr);
    other._last = nullptr;
}

void OperationChain::clear() noexcept {
    while (takeFirst()) {
    }
}

PacketQueue::PacketQueue(std::function<void()> beforeBatch, std::size_t capacity)
    : _capacity(capacity),
      _beforeBatch(std::move(beforeBatch)),
      _thread([this] { work(); }) {}

PacketQueue::~PacketQueue() {
    {
        const std::lock_guard lock(_mutex);
        _stopping = true;
    }
    _wakeWorker.notify_one();
    _thread.join();
}

void PacketQueue::addOperation(std::unique_ptr<Operation> operation) { add(std::move(operation), false); }

void PacketQueue::addTask(std::function<void()> task) { add(std::make_unique<TaskOperation>(std::move(task)), true); }

void PacketQueue::add(std::unique_ptr<Operation> operation, bool urgent) {
    bool mustWake = false;
    {
        std::unique_lock lock(_mutex);
        if (!urgent && _pendingCount >= _capacity) {
            ++_waiters;
            _wakeWorker.notify_one();
            _progress.wait(lock, [this] { return _pendingCount < _capacity; });
            --_waiters;
        }
        _pending.append(std::move(operation));
        ++_pendingCount;
        ++_added;
        _urgent = _urgent || urgent;
        mustWake = _worker == Worker::Asleep || (_worker == Worker::Dozing && (_urgent || _pendingCount >= burst));
        if (mustWake) {
            _worker = Worker::Busy; // one wake-up is enough
        }
    }
    if (mustWake) {
        _wakeWorker.notify_one();
    }
}

std::unique_ptr<Operation> PacketQueue::spareOperation() {
    if (_spareOfProducer.isEmpty()) {
        const std::lock_guard lock(_mutex);
        _spareOfProducer = std::move(_spare);
        _spareCount = 0;
    }
    return _spareOfProducer.takeFirst();
}

void PacketQueue::waitUntilAllOperationsAreFinished() {
    std::unique_lock lock(_mutex);
    const std::uint64_t target = _added;
    _urgent = true;
    ++_waiters;
    _wakeWorker.notify_one();
    _progress.wait(lock, [this, target] { return _finished >= target; });
    --_waiters;
}

OperationChain PacketQueue::takeBatch() {
    std::unique_lock lock(_mutex);
    if (_pending.isEmpty() && !_stopping) {
        _worker = Worker::Dozing;
        _wakeWorker.wait_for(lock, doze, [this] { return _pendingCount >= burst || _urgent || _stopping; });
    }
    if (_pending.isEmpty() && !_stopping) {
        _worker = Worker::Asleep;
        _urgent = false;
        _wakeWorker.wait(lock, [this] { return !_pending.isEmpty() || _stopping; });
    }
    _worker = Worker::Busy;
    _urgent = false;
    _pendingCount = 0;
    return std::move(_pending);
}

void PacketQueue::work() {
    for (;;) {
        OperationChain batch = takeBatch();
        if (batch.isEmpty()) {
            return;
        }
        {
            // Room for the producer as soon as the batch is taken: it may hold a queue's length of frames.
            const std::lock_guard lock(_mutex);
            if (_waiters > 0) {
                _progress.notify_all();
            }
        }
        runBatch(std::move(batch));
    }
}

void PacketQueue::runBatch(OperationChain batch) {
    OperationChain spare;
    std::size_t spareCount = 0;
    std::uint64_t finished = 0;
    while (auto operation = batch.takeFirst()) {
        if (finished == 0 && _beforeBatch) {
            _beforeBatch();
        }
        operation->main();
        ++finished;
        if (operation->isReusable() && spareCount < burst) {
            spare.prepend(std::move(operation)); // the one last touched is used first
            ++spareCount;
        }
        if (batch.isEmpty() || finished == burst) {
            operation.reset();
            const std::lock_guard lock(_mutex);
            _finished += std::exchange(finished, 0);
            if (_spareCount < spareLimit) {
                _spare.prependAll(std::move(spare));
                _spareCount += spareCount;
            }
            spare.clear();
            spareCount = 0;
            if (_waiters > 0) {
                _progress.notify_all();
            }
        }
    }
}

} // namespace vantrel
