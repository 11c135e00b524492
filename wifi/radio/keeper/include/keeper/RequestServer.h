// Serves the application: one request after the other, and an announcement of whatever changes.
//
// Watches the socket, the kernel's events and the switches from the event loop of the thread that made it. A request is
// executed whole before the next is read, so that nothing which changes the radio ever overlaps.
#pragma once

#include "keeper/AdapterKeeper.h"
#include "netlink/Links.h"
#include "netlink/Nl80211.h"
#include "netlink/RadioKill.h"
#include "protocol/PacketSocket.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>
#include <functional>
#include <memory>
#include <vector>

namespace vantrel {

class RequestServer final : public QObject {
    Q_OBJECT
public:
    // The keeper is borrowed. Announces the channels and the state at once.
    RequestServer(AdapterKeeper& keeper, protocol::PacketSocket socket);

    // Watches the kernel for changes. Without a source of events, which is logged, the rest goes on.
    void watchKernel();

Q_SIGNALS:
    // Nobody is left to serve; emitted once.
    void clientGone();

private:
    void readRequest();
    [[nodiscard]] protocol::Done execute(const protocol::Message& request);
    void announceChanges();
    void send(const protocol::Packet& packet);
    void end();

    void watchRadios();
    void somethingChanged(bool channelsMayHaveChanged);
    void watch(int descriptor, const std::function<void()>& readable);

    AdapterKeeper& _keeper; // borrowed
    protocol::PacketSocket _socket;
    bool _ended = false;
    std::optional<protocol::State> _announcedState;
    std::optional<protocol::Channels> _announcedChannels;

    std::unique_ptr<netlink::Nl80211Events> _radioEvents; // empty as long as the kernel has no Wi-Fi
    std::unique_ptr<netlink::LinkEvents> _linkEvents;
    std::unique_ptr<netlink::RadioKillEvents> _switchEvents;
    std::vector<std::unique_ptr<QSocketNotifier>> _notifiers; // after what they watch
    QTimer _settled; // events come in bursts: looked at once, when one has passed
    bool _channelsMayHaveChanged = false;
    QTimer _idleAside;
};

} // namespace vantrel
