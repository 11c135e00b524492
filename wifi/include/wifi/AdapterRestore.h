// What a capture changed on the adapter and must put back: the channel it left and the network it took it from.
//
// Shared by the capture commands, the hop loop and the end of a capture; every operation may be called on any thread.
// Two that put something back at the same time do so one after the other, so that whoever returns finds it done.
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

    // Setting it makes one reconnection due, also when it was set before.
    void setShouldReconnect(bool shouldReconnect);
    [[nodiscard]] bool shouldReconnect() const;

    // Tunes back to the stored channel, if there is one, and forgets it. A refusal is logged.
    void restoreChannel(CWInterface& interface);

    // Powers the adapter off and on again when a reconnection is due, so that it rejoins its network; answers whether
    // it was. Whoever calls first does it, once for each time that it became due; whoever calls meanwhile waits for
    // it, and gets the same answer as everybody later. An adapter that is off is left so: somebody has switched it off
    // meanwhile. The wish to reconnect stays until a capture command clears it.
    bool reconnectIfDue(CWInterface& interface);

private:
    std::mutex _changing; // held while the adapter is changed; taken before _mutex
    mutable std::mutex _mutex;
    std::optional<CWChannel> _currentChannel; // guarded by _mutex
    bool _shouldReconnect = false;            // guarded by _mutex
    bool _reconnectionIsDue = false;          // guarded by _mutex
};

} // namespace vantrel
