// The state of the simulated adapter, shared by its interface and its monitors; all operations are for any thread.
#pragma once

#include "AirPlayer.h"
#include "EventThread.h"
#include "simulated/SimulatedRadio.h"

namespace vantrel {

class RadioState {
public:
    explicit RadioState(const SimulatedOptions& options);
    ~RadioState();
    RadioState(const RadioState&) = delete;
    RadioState& operator=(const RadioState&) = delete;

    [[nodiscard]] static QString name();
    [[nodiscard]] CWInterfaceMode mode() const;
    [[nodiscard]] QString ssid() const;
    [[nodiscard]] std::optional<CWChannel> channel() const;
    [[nodiscard]] const std::vector<CWChannel>& supportedChannels() const { return _supported; }
    [[nodiscard]] bool powerOn() const;

    [[nodiscard]] Expected<void> tune(const CWChannel& channel);
    void setPower(bool on);
    void disassociate();

    // A player for a new monitor, which hears the tuned channel from now on. The caller owns it, and takes it away by
    // removePlayer() before destroying it.
    [[nodiscard]] Expected<std::unique_ptr<AirPlayer>> addPlayer(std::unique_ptr<FrameSink> sink);
    void removePlayer(const AirPlayer& player);

    [[nodiscard]] EventThread& events() { return _events; }

private:
    struct Snapshot;
    [[nodiscard]] Snapshot snapshot() const;
    [[nodiscard]] CWInterfaceMode modeLocked() const;
    [[nodiscard]] Expected<void> whyNotTunable(const CWChannel& channel) const;
    void announceSince(const Snapshot& before);
    void retunePlayers();
    void scheduleRejoin();
    void rejoin(std::uint64_t request);

    const std::vector<CWChannel> _supported;
    const std::chrono::milliseconds _rejoinDelay;
    const std::shared_ptr<const Air> _air;
    const AirPlayer::Clock::time_point _epoch = AirPlayer::Clock::now();

    std::mutex _tuningMutex; // held while the adapter changes channels; taken before _mutex
    mutable std::mutex _mutex;
    bool _power = true;                // guarded by _mutex
    bool _associated = false;          // guarded by _mutex
    bool _tuning = false;              // guarded by _mutex: between two channels, nothing is heard
    std::optional<CWChannel> _channel; // guarded by _mutex; kept while the power is off
    std::vector<AirPlayer*> _players;  // guarded by _mutex; borrowed
    std::uint64_t _rejoinRequest = 0;  // guarded by _mutex; the number of the latest, so that older ones are stale
    bool _rejoinDue = false;           // guarded by _mutex
    EventThread _events;               // last: its thread calls rejoin()
};

} // namespace vantrel
