// The serial queue: one worker thread runs everything added to it, one at a time, in the order it was added.
//
// Threads: addOperation() by the capture thread (one at a time), addTask() and the waits by any thread but the worker.
// At most `capacity` operations wait in the queue; adding more waits, so that a slow disk shows as frames the kernel
// counts as dropped and never as memory without end. Destruction runs what was added, then joins the worker.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace vantrel {

class Operation {
public:
    virtual ~Operation() = default;
    virtual void main() = 0;
    // Whether the queue may keep the operation for spareOperation() after it has run.
    [[nodiscard]] virtual bool isReusable() const noexcept { return false; }
};

class PacketQueue {
public:
    static constexpr std::size_t defaultCapacity = 8192;

    // `beforeBatch` runs on the worker before each batch of operations, which has a few hundred at the most.
    explicit PacketQueue(std::function<void()> beforeBatch = {}, std::size_t capacity = defaultCapacity);
    ~PacketQueue();
    PacketQueue(const PacketQueue&) = delete;
    PacketQueue& operator=(const PacketQueue&) = delete;

    // Adds one operation; waits while the queue is full. Takes a lock only then, or to wake the worker. The operation
    // runs at once after a quiet moment, else within a few milliseconds.
    void addOperation(std::unique_ptr<Operation> operation);

    // Runs the task after everything added before it. Allocates, so it is not for frames.
    void addTask(std::function<void()> task);

    // An operation that has run, to be filled anew; none when there is none to spare. Capture thread.
    [[nodiscard]] std::unique_ptr<Operation> spareOperation();

    // Returns when everything added before the call has run.
    void waitUntilAllOperationsAreFinished();

private:
    enum class Worker { Busy, Dozing, Asleep };

    struct Task {
        std::function<void()> run;
        std::uint64_t position; // runs before the operation of that number
    };

    void work();
    bool takeBatch();
    void awaitWork(std::unique_lock<std::mutex>& lock);
    void runOperations();
    void finishBatch(std::uint64_t tasks);
    void awaitRoom();
    void wakeWorker();
    [[nodiscard]] std::uint64_t pending() const noexcept { return _tail - _head; }

    const std::size_t _capacity;
    const std::size_t _wakeAt; // operations that end the worker's doze
    const std::function<void()> _beforeBatch;

    // Operations are numbered as they are added; number n stands in slot n % _capacity while _head <= n < _tail.
    std::vector<std::unique_ptr<Operation>> _slots;
    std::vector<std::unique_ptr<Operation>> _spareOfProducer; // capture thread only

    alignas(64) std::atomic<std::uint64_t> _tail = 0; // written by the capture thread alone
    alignas(64) std::atomic<std::uint64_t> _head = 0; // written by the worker alone, with _mutex held
    std::atomic<Worker> _worker = Worker::Busy;       // written with _mutex held
    std::vector<std::unique_ptr<Operation>> _batch;   // worker only, as the two below
    std::vector<std::unique_ptr<Operation>> _spareOfWorker;
    std::deque<Task> _dueTasks;

    alignas(64) std::mutex _mutex;
    std::condition_variable _wakeWorker;
    std::condition_variable _progress; // room, or operations finished
    std::deque<Task> _tasks;           // guarded by _mutex, as is all below
    std::vector<std::unique_ptr<Operation>> _spare;
    std::uint64_t _finished = 0; // operations
    std::uint64_t _tasksAdded = 0;
    std::uint64_t _tasksFinished = 0;
    std::size_t _waiters = 0;
    bool _urgent = false;
    bool _stopping = false;

    std::thread _thread; // last, so that it starts on a finished object
};

} // namespace vantrel
