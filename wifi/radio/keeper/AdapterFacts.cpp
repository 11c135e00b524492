// What is so now: which adapter there is, and what others do to it.
#include "Logging.h"
#include "keeper/AdapterKeeper.h"

#include <algorithm>

namespace vantrel {

void AdapterKeeper::refresh(bool channelsMayHaveChanged) {
    const auto interfaces = _control.interfaces();
    if (!interfaces) {
        return;
    }
    const int before = _station ? _station->index : 0; // the kernel counts from 1
    lookForStation(*interfaces);
    if (!_station) {
        return;
    }
    if (channelsMayHaveChanged || before != _station->index) {
        _channels.supported = _control.supportedChannels(_station->wiphy);
    }
    const bool wasBlocked = _blocked;
    readFacts();
    checkMonitor();
    checkStation(wasBlocked);
    // What could not be put back when it was due, because the radio was blocked, say, may be possible now.
    if (!_aside && _debts.any()) {
        settle();
        readFacts();
    }
}

void AdapterKeeper::lookForStation(const std::vector<netlink::WirelessInterface>& interfaces) {
    const auto chosen = std::find_if(interfaces.begin(), interfaces.end(), [this](const auto& interface) {
        if (_station) {
            return interface.index == _station->index;
        }
        return interface.kind == netlink::InterfaceKind::Station &&
               (_wantedName.isEmpty() || interface.name == _wantedName);
    });
    if (chosen != interfaces.end()) {
        _station = *chosen;
        return;
    }
    if (_station) {
        forgetStation();
        lookForStation(interfaces); // another may take its place
    }
}

// The adapter is gone, and whatever was changed on it with it.
void AdapterKeeper::forgetStation() {
    qCInfo(lcKeeper, "%s is gone", qUtf8Printable(_station->name));
    _station.reset();
    _channels.supported.clear();
    _association.reset();
    _restChannel.reset();
    _linkUp = false;
    _blocked = false;
    _aside = false;
    _apart = false;
    _poweredDown = false;
    removeMonitor();
    _debts = {};
    if (const auto removed = _record.remove(); !removed) {
        qCWarning(lcKeeper, "%s", qUtf8Printable(removed.error().text()));
    }
}

void AdapterKeeper::readFacts() {
    if (!_station) {
        return;
    }
    _linkUp = _control.isLinkUp(_station->index).value_or(false);
    _blocked = _control.isBlocked(_station->wiphy);
    _association = _linkUp ? _control.association(_station->index) : std::nullopt;
    if (isAssociated() && _station->channel) {
        _restChannel = _station->channel;
    }
}

// A monitor that has lost its link hears nothing, and libpcap does not notice: one that is gone it does notice, so a
// capture ends in good order.
void AdapterKeeper::checkMonitor() {
    if (!_monitor) {
        return;
    }
    const auto up = _control.isLinkUp(*_monitor);
    if (!up) {
        _monitor.reset();
    } else if (!*up) {
        qCInfo(lcKeeper, "%s was taken down from outside, so it is removed", qUtf8Printable(_monitorName));
        removeMonitor();
    }
}

// Somebody else's wish for the adapter goes before what is left of a capture's: a switch that was moved back, or a link
// that was raised, by the user or by whoever manages the network.
void AdapterKeeper::checkStation(bool wasBlocked) {
    const bool unblocked = wasBlocked && !_blocked;
    if (!_aside || !(unblocked || _linkUp)) {
        return;
    }
    _apart = false;
    _poweredDown = false;
    if (_monitorUsers == 0) {
        removeMonitor();
        _aside = false;
    }
}

std::optional<CWChannel> AdapterKeeper::restChannel() const {
    const auto& supported = _channels.supported;
    if (_restChannel &&
        (isAssociated() || std::find(supported.begin(), supported.end(), *_restChannel) != supported.end())) {
        return _restChannel;
    }
    return supported.empty() ? std::nullopt : std::optional(supported.front());
}

} // namespace vantrel
