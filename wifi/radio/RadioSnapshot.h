// What vantrel-radio announced last: the adapter as it can be read at any time.
//
// Any thread. The thread that replaces it tells the delegate what has changed.
#pragma once

#include "protocol/Messages.h"
#include "wifi/EventTeller.h"

#include <mutex>

namespace vantrel {

class RadioSnapshot {
public:
    [[nodiscard]] protocol::State state() const;
    [[nodiscard]] std::vector<CWChannel> channels() const;
    [[nodiscard]] EventTeller& events() { return _events; }

    // One thread at a time. The delegate is told of power, mode, network and access point, in this order, as they
    // differ from what was known; under the adapter's name, which for one that vanished is the one it had.
    void setState(const protocol::State& state);
    void setChannels(const protocol::Channels& channels);
    void setAbsent();

private:
    mutable std::mutex _mutex;
    protocol::State _state;       // guarded by _mutex
    protocol::Channels _channels; // guarded by _mutex
    EventTeller _events;
};

} // namespace vantrel
