// The serial queue: one worker thread runs everything added to it, one at a time, in the order it was added.
//
// Threads: addOperation() by the capture thread (one at a time), addTask() and the waits by any thread but the worker.
// At most `capacity` operations wait in the queue; adding more waits, so that a slow disk shows as frames the kernel
// counts as dropped and never as memory without end. Destruction runs what was added, then joins the worker.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace vantrel {

class Operation {
public:
    virtual ~Operation() = default;
    virtual void main() = 0;
    // Whether the queue may keep the operation for spareOperation() after it has run.
    [[nodiscard]] virtual bool isReusable() const noexcept { return false; }

private:
    friend class OperationChain;
    Operation* _next = nullptr; // owned by the chain that the operation stands in
};

// A list of operations that costs no allocation of its own.
class OperationChain {
public:
    OperationChain() noexcept = default;
    OperationChain(OperationChain&& other) noexcept;
    OperationChain& operator=(OperationChain&& other) noexcept;
    OperationChain(const OperationChain&) = delete;
    OperationChain& operator=(const OperationChain&) = delete;
    ~OperationChain() { clear(); }

    [[nodiscard]] bool isEmpty() const noexcept { return _first == nullptr; }
    void append(std::unique_ptr<Operation> operation) noexcept;
    void prepend(std::unique_ptr<Operation> operation) noexcept;
    [[nodiscard]] std::unique_ptr<Operation> takeFirst() noexcept;
    void prependAll(OperationChain&& other) noexcept;
    void clear() noexcept;

private:
    Operation* _first = nullptr;
    Operation* _last = nullptr;
};

class PacketQueue {
public:
    static constexpr std::size_t defaultCapacity = 8192;

    // `beforeBatch` runs on the worker before each batch of operations, and within long ones every few hundred.
    explicit PacketQueue(std::function<void()> beforeBatch = {}, std::size_t capacity = defaultCapacity);
    ~PacketQueue();
    PacketQueue(const PacketQueue&) = delete;
    PacketQueue& operator=(const PacketQueue&) = delete;

    // Adds one operation; waits while the queue is full.
    void addOperation(std::unique_ptr<Operation> operation);

    // Runs the task after everything added before it. Allocates, so it is not for frames.
    void addTask(std::function<void()> task);

    // An operation that has run, to be filled anew; none when there is none to spare. Capture thread.
    [[nodiscard]] std::unique_ptr<Operation> spareOperation();

    // Returns when everything added before the call has run.
    void waitUntilAllOperationsAreFinished();

private:
    enum class Worker { Busy, Dozing, Asleep };

    void work();
    [[nodiscard]] OperationChain takeBatch();
    void runBatch(OperationChain batch);
    void add(std::unique_ptr<Operation> operation, bool urgent);

    const std::size_t _capacity;
    const std::function<void()> _beforeBatch;
    OperationChain _spareOfProducer; // capture thread only

    std::mutex _mutex;
    std::condition_variable _wakeWorker;
    std::condition_variable _progress; // operations finished
    OperationChain _pending;           // guarded by _mutex, as is all below
    OperationChain _spare;
    std::size_t _pendingCount = 0;
    std::size_t _spareCount = 0;
    std::uint64_t _added = 0;
    std::uint64_t _finished = 0;
    std::size_t _waiters = 0;
    Worker _worker = Worker::Busy;
    bool _urgent = false;
    bool _stopping = false;

    std::thread _thread; // last, so that it starts on a finished object
};

} // namespace vantrel
