// What a capture changed on the adapter and must put back: the channel it left and the network it took it from.
//
// Shared by the capture commands, the hop loop and the end of a capture; every operation may be called on any thread.
#pragma once

#include "wifi/CWChannel.h"

#include <mutex>
#include <optional>

namespace vantrel {

class CWInterface;

class AdapterRestore {
public:
    void setCurrentChannel(std::optional<CWChannel> channel);
    [[nodiscard]] std::optional<CWChannel> currentChannel() const;

    void setShouldReconnect(bool shouldReconnect);
    [[nodiscard]] bool shouldReconnect() const;

    // Tunes back to the stored channel, if there is one, and forgets it. A refusal is logged.
    void restoreChannel(CWInterface& interface);

    // Powers the adapter off and on again when a reconnection is due, so that it rejoins its network; answers whether
    // it did. The wish to reconnect stays until a capture command clears it.
    bool reconnectIfDue(CWInterface& interface) const;

private:
    mutable std::mutex _mutex;
    std::optional<CWChannel> _currentChannel; // guarded by _mutex
    bool _shouldReconnect = false;            // guarded by _mutex
};

} // namespace vantrel
