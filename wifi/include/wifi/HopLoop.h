// Tunes the adapter to one channel after another, on a thread of its own, for as long as a capture runs; then puts it
// back on its channel and into its network.
//
// Main thread, save statistics(). One loop at a time: a start and the destructor end the one before. The main queue is
// closed before this is destroyed, because it may hold work of the loop.
#pragma once

#include "base/Coalescer.h"
#include "wifi/CWChannel.h"
#include "wifi/HopStatistics.h"

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace vantrel {

class AdapterRestore;
class CWInterface;
struct CaptureFlags;
class SettingsStore;
class WiFiView;

// Time as the hop loop sees it. Hop thread.
class HopClock {
public:
    using Time = std::chrono::steady_clock::time_point;

    virtual ~HopClock() = default;
    [[nodiscard]] virtual Time now() = 0;
    // Waits until the deadline, or until `over` answers true, which is looked at whenever `changed` is notified.
    virtual void waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& changed, Time deadline,
                           const std::function<bool()>& over) = 0;
};
[[nodiscard]] std::unique_ptr<HopClock> makeSteadyClock();

class HopLoop {
public:
    // All of it is borrowed and outlives the loop.
    struct Surroundings {
        const SettingsStore& settings;
        CWInterface& airport;
        CaptureFlags& flags;
        AdapterRestore& restore;
        MainQueue& mainQueue;
        WiFiView& view;
    };

    explicit HopLoop(const Surroundings& surroundings, std::unique_ptr<HopClock> clock = makeSteadyClock());
    ~HopLoop();
    HopLoop(const HopLoop&) = delete;
    HopLoop& operator=(const HopLoop&) = delete;

    // Starts to hop across these channels, in this order, while CaptureFlags::capturing is set; each is listened to for
    // the "DwellTime" of the settings, at least 0.1 s. With fewer than two channels nothing is tuned and hopping never
    // counts as started. A channel that cannot be tuned is logged, and its dwell spent where the adapter is.
    void doHoppingWithChannels(std::vector<CWChannel> channels);

    // Ends the loop, also in the midst of a dwell, and waits until the adapter is back. To be called as soon as the
    // capturing flag is cleared; from then on no channel of the list is tuned any more. Nothing happens when no loop
    // runs.
    void stop();

    // Of the running loop, or the last one. Any thread.
    [[nodiscard]] HopStatistics statistics() const;

private:
    void run(const std::vector<CWChannel>& channels);
    void hop(const std::vector<CWChannel>& channels);
    void listen(std::unique_lock<std::mutex>& lock, const CWChannel& channel);
    bool tune(const CWChannel& channel, HopVisit& visit, bool isLogged);
    [[nodiscard]] bool waitUntil(std::unique_lock<std::mutex>& lock, HopClock::Time deadline);
    [[nodiscard]] bool isOver() const;
    void refresh();
    void logStatistics() const;

    const Surroundings _around;
    const std::unique_ptr<HopClock> _clock; // hop thread
    Coalescer _refreshRequests;
    std::chrono::milliseconds _dwell{}; // hop thread

    // Held by the hop thread while it tunes through its list and released while it dwells; so whoever takes it finds no
    // tuning under way.
    std::mutex _mutex;
    std::condition_variable _changed;
    bool _stopping = false; // guarded by _mutex

    mutable std::mutex _statisticsMutex;
    HopStatistics _statistics; // guarded by _statisticsMutex
    std::thread _thread;       // main thread
};

} // namespace vantrel
