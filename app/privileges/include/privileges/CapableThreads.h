// The threads that keep a capability of the program, while every other thread gives it up.
//
// A thread starts with the capabilities of the one that starts it, and the main thread is to have none. So one thread,
// made before the main thread gives them up, does nothing but start those that need them. It holds the capabilities
// permitted and out of force; the threads that it starts put them in force.
#pragma once

#include "base/Error.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

namespace vantrel {

class CapableThreads {
public:
    // Main thread, which must be the only one: what other threads hold stays with them. Of what the process has been
    // given, only the capabilities of the mask are kept, and only here: the calling thread has none when it returns,
    // also when it fails. For root nothing is taken away, since every program that root executes has everything again.
    [[nodiscard]] static Expected<std::unique_ptr<CapableThreads>> keep(std::uint64_t mask);
    // The threads that were started may run on; they keep what they have.
    ~CapableThreads();
    CapableThreads(const CapableThreads&) = delete;
    CapableThreads& operator=(const CapableThreads&) = delete;

    // Any thread; returns once the thread runs. The thread belongs to the caller. Where the process was given nothing,
    // it is an ordinary one.
    [[nodiscard]] std::thread start(std::function<void()> work);

private:
    struct Order {
        std::function<void()> work;
        std::promise<std::thread> made;
    };

    explicit CapableThreads(std::uint64_t kept) : _kept(kept) {}
    void carryOutOrders();
    [[nodiscard]] std::optional<Order> nextOrder();

    const std::uint64_t _kept; // 0: every thread is an ordinary one
    std::mutex _ordering;      // one order at a time
    std::mutex _mutex;
    std::condition_variable _changed;
    std::optional<Order> _order; // guarded by _mutex
    bool _ending = false;        // guarded by _mutex
    std::thread _keeper;         // last: runs on the members above
};

} // namespace vantrel
