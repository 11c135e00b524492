// Plays what is in the air on the tuned channel into one sink, in real time, on a thread of its own.
//
// The thread starts with the object and is joined by its destructor, which may run on any thread but the player's own.
#pragma once

#include "FrameSink.h"
#include "simulated/Air.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace vantrel {

class AirPlayer {
public:
    using Clock = std::chrono::steady_clock;

    // The air's time zero is the epoch. Nothing is heard until the first tune().
    AirPlayer(std::shared_ptr<const Air> air, Clock::time_point epoch, std::unique_ptr<FrameSink> sink);
    ~AirPlayer();
    AirPlayer(const AirPlayer&) = delete;
    AirPlayer& operator=(const AirPlayer&) = delete;

    // Any thread. Once it returns, no frame of the former channel is delivered any more; nothing is heard while there
    // is no channel.
    void tune(std::optional<CWChannel> channel);

private:
    void run();
    void fill();
    void playDue(std::unique_lock<std::mutex>& lock);
    [[nodiscard]] std::uint64_t now() const;
    [[nodiscard]] Clock::time_point when(std::uint64_t time) const;

    const std::shared_ptr<const Air> _air;
    const Clock::time_point _epoch;
    const std::unique_ptr<FrameSink> _sink; // the player's thread only

    std::mutex _mutex;
    std::condition_variable _changed;
    std::atomic<int> _callers = 0;     // threads that want the mutex: the player lets them in between two frames
    bool _stopping = false;            // guarded by _mutex
    std::optional<CWChannel> _channel; // guarded by _mutex
    std::vector<HeardFrame> _planned;  // guarded by _mutex; what is heard up to _plannedUntil, in order
    std::size_t _next = 0;             // guarded by _mutex; the first of _planned that was not played
    std::uint64_t _plannedUntil = 0;   // guarded by _mutex; µs
    std::thread _thread;               // last: runs on the members above
};

} // namespace vantrel
