#include "engine/PacketQueue.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <pthread.h>

namespace vantrel {

namespace {

constexpr std::size_t batchLimit = 256;
// Frames come in bursts. A worker that has caught up dozes for a moment, or until this many have gathered, so that
// neither thread pays a wake-up for every frame; only after a quiet moment does the first frame wake it at once.
constexpr std::size_t burst = 1024;
constexpr auto doze = std::chrono::milliseconds(2);
constexpr std::size_t spareLimit = 4096;

// An operation was last touched by the other thread: its first lines are fetched while those before it are handled.
constexpr std::size_t ahead = 3;

template <bool forWriting>
void fetch(const Operation* operation) noexcept {
    constexpr std::ptrdiff_t line = 64;
    constexpr std::ptrdiff_t lines = 6; // reaches over a short frame and the headers of a long one
    const auto* bytes = reinterpret_cast<const char*>(operation);
    for (std::ptrdiff_t index = 0; index < lines; ++index) {
        __builtin_prefetch(bytes + index * line, forWriting ? 1 : 0);
    }
}

} // namespace

PacketQueue::PacketQueue(std::function<void()> beforeBatch, std::size_t capacity)
    : _capacity(capacity),
      _wakeAt(std::min(burst, capacity)),
      _beforeBatch(std::move(beforeBatch)),
      _slots(capacity),
      _thread([this] { work(); }) {}

PacketQueue::~PacketQueue() {
    {
        const std::lock_guard lock(_mutex);
        _stopping = true;
    }
    _wakeWorker.notify_one();
    _thread.join();
}

void PacketQueue::addOperation(std::unique_ptr<Operation> operation) {
    const std::uint64_t number = _tail.load(std::memory_order_relaxed);
    if (number - _head.load(std::memory_order_acquire) >= _capacity) {
        awaitRoom();
    }
    _slots[number % _capacity] = std::move(operation);
    // No fence follows, for it would make each frame wait until the other thread's cache has let go of its memory. So
    // the worker may just have gone to sleep without being seen to: awaitWork() looks again.
    _tail.store(number + 1, std::memory_order_release);
    switch (_worker.load(std::memory_order_relaxed)) {
    case Worker::Busy:
        return;
    case Worker::Dozing:
        if (number + 1 - _head.load(std::memory_order_relaxed) < _wakeAt) {
            return;
        }
        break;
    case Worker::Asleep:
        break;
    }
    wakeWorker();
}

void PacketQueue::wakeWorker() {
    {
        const std::lock_guard lock(_mutex);
        _worker = Worker::Busy; // one wake-up is enough
    }
    _wakeWorker.notify_one();
}

void PacketQueue::awaitRoom() {
    std::unique_lock lock(_mutex);
    ++_waiters;
    _wakeWorker.notify_one();
    _progress.wait(lock, [this] { return pending() < _capacity; });
    --_waiters;
}

void PacketQueue::addTask(std::function<void()> task) {
    {
        const std::lock_guard lock(_mutex);
        _tasks.push_back({std::move(task), _tail});
        ++_tasksAdded;
        _urgent = true;
    }
    _wakeWorker.notify_one();
}

std::unique_ptr<Operation> PacketQueue::spareOperation() {
    if (_spareOfProducer.empty()) {
        const std::lock_guard lock(_mutex);
        _spareOfProducer.swap(_spare);
    }
    if (_spareOfProducer.empty()) {
        return nullptr;
    }
    auto operation = std::move(_spareOfProducer.back()); // the one last touched
    _spareOfProducer.pop_back();
    if (_spareOfProducer.size() >= ahead) {
        fetch<true>(_spareOfProducer[_spareOfProducer.size() - ahead].get());
    }
    return operation;
}

void PacketQueue::waitUntilAllOperationsAreFinished() {
    std::unique_lock lock(_mutex);
    const std::uint64_t operations = _tail;
    const std::uint64_t tasks = _tasksAdded;
    _urgent = true;
    ++_waiters;
    _wakeWorker.notify_one();
    _progress.wait(lock, [&] { return _finished >= operations && _tasksFinished >= tasks; });
    --_waiters;
}

void PacketQueue::work() {
    ::pthread_setname_np(::pthread_self(), "vantrel-queue"); // shown by ps -L and top -H, at most fifteen letters
    while (takeBatch()) {
        if (_beforeBatch) {
            _beforeBatch();
        }
        runOperations();
        const std::uint64_t tasks = _dueTasks.size();
        for (; !_dueTasks.empty(); _dueTasks.pop_front()) {
            _dueTasks.front().run();
        }
        finishBatch(tasks);
    }
}

// Operations up to the first task, or the tasks that come next; false when there is nothing more to do.
bool PacketQueue::takeBatch() {
    std::unique_lock lock(_mutex);
    awaitWork(lock);
    _worker = Worker::Busy;
    _urgent = false;
    std::uint64_t head = _head;
    std::uint64_t end = std::min<std::uint64_t>(_tail, head + batchLimit);
    if (!_tasks.empty()) {
        end = std::min(end, _tasks.front().position);
    }
    for (; head < end; ++head) {
        _batch.push_back(std::move(_slots[head % _capacity]));
    }
    _head = head; // room for the producer as soon as the batch is taken
    while (!_tasks.empty() && _tasks.front().position == head) {
        _dueTasks.push_back(std::move(_tasks.front()));
        _tasks.pop_front();
    }
    if (_waiters > 0) {
        _progress.notify_all();
    }
    return !_batch.empty() || !_dueTasks.empty();
}

void PacketQueue::awaitWork(std::unique_lock<std::mutex>& lock) {
    const auto mustWork = [this] { return pending() > 0 || !_tasks.empty() || _stopping; };
    if (mustWork()) {
        return;
    }
    _worker = Worker::Dozing;
    _wakeWorker.wait_for(lock, doze, [this] { return pending() >= _wakeAt || _urgent || _stopping; });
    _urgent = false;
    if (mustWork()) {
        return;
    }
    // A frame added at this very moment may not see it yet; a while later each does.
    _worker = Worker::Asleep;
    if (!_wakeWorker.wait_for(lock, doze, mustWork)) {
        _worker = Worker::Asleep;
        _wakeWorker.wait(lock, mustWork);
    }
}

void PacketQueue::runOperations() {
    for (std::size_t index = 0; index < _batch.size(); ++index) {
        if (index + ahead < _batch.size()) {
            fetch<false>(_batch[index + ahead].get());
        }
        auto operation = std::move(_batch[index]);
        operation->main();
        if (operation->isReusable()) {
            _spareOfWorker.push_back(std::move(operation));
        }
    }
}

void PacketQueue::finishBatch(std::uint64_t tasks) {
    const std::lock_guard lock(_mutex);
    _finished += _batch.size();
    _batch.clear();
    _tasksFinished += tasks;
    if (_spare.size() < spareLimit) {
        std::ranges::move(_spareOfWorker, std::back_inserter(_spare));
    }
    _spareOfWorker.clear();
    if (_waiters > 0) {
        _progress.notify_all();
    }
}

} // namespace vantrel
