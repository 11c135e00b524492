// Network links as rtnetlink sees them: whether an interface is up, and taking it up or down.
//
// Waits for each answer at most two seconds. Changing needs CAP_NET_ADMIN. One thread.
#pragma once

#include "base/Error.h"
#include "netlink/NetlinkSocket.h"

#include <memory>

namespace vantrel::netlink {

class Links {
public:
    [[nodiscard]] static Expected<std::unique_ptr<Links>> open();
    ~Links();
    Links(const Links&) = delete;
    Links& operator=(const Links&) = delete;

    // IFF_UP; an error when there is no such interface.
    [[nodiscard]] Expected<bool> isUp(int interfaceIndex);
    // Does nothing when it is so already. A radio that is blocked refuses to go up (ERFKILL).
    [[nodiscard]] Expected<void> setUp(int interfaceIndex, bool up);

private:
    explicit Links(Socket socket);

    Socket _socket;
};

// Says that some link has changed: the reader asks again. One thread.
class LinkEvents {
public:
    [[nodiscard]] static Expected<std::unique_ptr<LinkEvents>> open();
    ~LinkEvents();
    LinkEvents(const LinkEvents&) = delete;
    LinkEvents& operator=(const LinkEvents&) = delete;

    [[nodiscard]] int descriptor() const; // becomes readable; does not block
    [[nodiscard]] bool drain();           // as Nl80211Events::drain()

private:
    explicit LinkEvents(Socket socket);

    Socket _socket;
};

} // namespace vantrel::netlink
