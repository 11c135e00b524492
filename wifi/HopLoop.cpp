#include "wifi/HopLoop.h"

#include "WiFiTexts.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"
#include "wifi/AdapterRestore.h"
#include "wifi/CWInterface.h"
#include "wifi/CaptureFlags.h"
#include "wifi/WiFiSurroundings.h"

#include <algorithm>
#include <utility>

namespace vantrel {

namespace {

using namespace std::chrono_literals;

constexpr auto shortestDwell = 100ms;
constexpr std::chrono::milliseconds longestDwell = 24h; // far beyond any use, and within the clock's range
constexpr auto wrapPause = 100ms;                       // after the extra tuning that begins each round
constexpr auto refreshInterval = 50ms;                  // less than any dwell: every hop shows

std::chrono::milliseconds dwellOf(const SettingsStore& settings) {
    const auto wanted = settings.integerForKey(keys::DwellTime);
    return std::chrono::milliseconds(std::clamp<std::int64_t>(wanted, shortestDwell.count(), longestDwell.count()));
}

class SteadyClock final : public HopClock {
public:
    [[nodiscard]] Time now() override { return std::chrono::steady_clock::now(); }
    void waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& changed, Time deadline,
                   const std::function<bool()>& over) override {
        changed.wait_until(lock, deadline, over);
    }
};

double inMilliseconds(std::chrono::nanoseconds time) { return std::chrono::duration<double, std::milli>(time).count(); }

} // namespace

std::unique_ptr<HopClock> makeSteadyClock() { return std::make_unique<SteadyClock>(); }

HopLoop::HopLoop(const Surroundings& surroundings, std::unique_ptr<HopClock> clock)
    : _around(surroundings),
      _clock(std::move(clock)),
      _refreshRequests(surroundings.mainQueue, refreshInterval, [this] { refresh(); }) {}

HopLoop::~HopLoop() { stop(); }

void HopLoop::doHoppingWithChannels(std::vector<CWChannel> channels) {
    stop();
    {
        const std::lock_guard lock(_mutex);
        _stopping = false;
    }
    {
        const std::lock_guard lock(_statisticsMutex);
        _statistics = {};
    }
    _thread = std::thread([this, channels = std::move(channels)] { run(channels); });
}

void HopLoop::stop() {
    {
        const std::lock_guard lock(_mutex);
        _stopping = true;
    }
    _changed.notify_all();
    if (_thread.joinable()) {
        _thread.join();
    }
}

HopStatistics HopLoop::statistics() const {
    const std::lock_guard lock(_statisticsMutex);
    return _statistics;
}

void HopLoop::run(const std::vector<CWChannel>& channels) {
    _dwell = dwellOf(_around.settings);
    _around.flags.hoppingStarted = false;
    if (channels.size() < 2) {
        return;
    }
    _around.restore.setCurrentChannel(_around.airport.wlanChannel());
    hop(channels);
    _around.restore.restoreChannel(_around.airport);
    _around.restore.reconnectIfDue(_around.airport);
    logStatistics();
    _around.mainQueue.post([this] { _around.view.updateStatusItem(); });
}

void HopLoop::hop(const std::vector<CWChannel>& channels) {
    {
        const std::lock_guard lock(_statisticsMutex);
        _statistics.dwell = _dwell;
    }
    std::unique_lock lock(_mutex);
    while (!isOver()) {
        // So the first channel is tuned twice in a row at each wrap.
        HopVisit ignored;
        tune(channels.front(), ignored, false);
        static_cast<void>(waitUntil(lock, _clock->now() + wrapPause));
        for (const CWChannel& channel : channels) {
            _around.flags.hoppingStarted = true;
            if (isOver()) {
                return;
            }
            listen(lock, channel);
        }
    }
}

// The dwell is counted from the end of the tuning, by a deadline, so that neither the tuning nor what is done meanwhile
// shortens or lengthens it.
void HopLoop::listen(std::unique_lock<std::mutex>& lock, const CWChannel& channel) {
    HopVisit visit{.channel = channel};
    const bool tuned = tune(channel, visit, true);
    const auto begun = _clock->now();
    if (tuned) {
        _refreshRequests.request();
    }
    const bool isWhole = waitUntil(lock, begun + _dwell);
    visit.listened = _clock->now() - begun;
    if (tuned && isWhole) {
        const std::lock_guard statistics(_statisticsMutex);
        ++_statistics.visits;
        _statistics.latest.push_back(visit);
        if (_statistics.latest.size() > HopStatistics::mostVisits) {
            _statistics.latest.pop_front();
        }
    }
}

bool HopLoop::tune(const CWChannel& channel, HopVisit& visit, bool isLogged) {
    const auto begun = _clock->now();
    const auto tuned = _around.airport.setWLANChannel(channel);
    visit.tuning = _clock->now() - begun;
    if (!tuned && isLogged) {
        qCWarning(lcWifi, texts::setWLANChannelFailed, qUtf8Printable(tuned.error().text()));
    }
    const std::lock_guard statistics(_statisticsMutex);
    ++_statistics.tunings;
    _statistics.failures += tuned ? 0 : 1;
    _statistics.tuningTime += visit.tuning;
    return tuned.has_value();
}

// Answers whether the deadline was reached, and not the end of the loop.
bool HopLoop::waitUntil(std::unique_lock<std::mutex>& lock, HopClock::Time deadline) {
    _clock->waitUntil(lock, _changed, deadline, [this] { return isOver(); });
    return !isOver();
}

bool HopLoop::isOver() const { return _stopping || !_around.flags.capturing; }

void HopLoop::refresh() {
    _around.view.updateStatusItem();
    _around.view.updateStatusMenu();
    _around.view.updateProgress();
}

void HopLoop::logStatistics() const {
    const auto measured = statistics();
    if (measured.tunings > 0) {
        qCInfo(lcWifi,
               "hopping: %llu dwells of %.0f ms, median error %.3f ms; %llu tunings of %.3f ms on average, %llu failed",
               static_cast<unsigned long long>(measured.visits), inMilliseconds(measured.dwell),
               inMilliseconds(measured.medianDwellError()), static_cast<unsigned long long>(measured.tunings),
               inMilliseconds(measured.tuningTime) / static_cast<double>(measured.tunings),
               static_cast<unsigned long long>(measured.failures));
    }
}

} // namespace vantrel
