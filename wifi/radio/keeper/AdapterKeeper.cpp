// What the client asks for.
#include "keeper/AdapterKeeper.h"

#include "Logging.h"

#include <algorithm>

namespace vantrel {

Q_LOGGING_CATEGORY(lcKeeper, "vantrel.radio")

namespace {

const QString switchedOff = QStringLiteral("the adapter is switched off");
const QString setChannelCall = QStringLiteral("setWLANChannel");
const QString setPowerCall = QStringLiteral("setPower");
const QString monitorCall = QStringLiteral("beginMonitorMode");

} // namespace

AdapterKeeper::AdapterKeeper(AdapterControl& control, DebtRecord record, QString interfaceName)
    : _control(control),
      _record(std::move(record)),
      _wantedName(std::move(interfaceName)) {
    replayRecord();
    refresh(true);
}

Expected<void> AdapterKeeper::requireStation(const QString& what) const {
    if (!_station) {
        return failure(what, QStringLiteral("this machine has no Wi-Fi adapter that can be used"));
    }
    return {};
}

Expected<void> AdapterKeeper::setChannel(const CWChannel& channel) {
    if (auto there = requireStation(setChannelCall); !there) {
        return there;
    }
    if (isOff()) {
        return failure(setChannelCall, switchedOff);
    }
    const auto& supported = _channels.supported;
    if (std::find(supported.begin(), supported.end(), channel) == supported.end()) {
        return failure(setChannelCall, QStringLiteral("the adapter does not support this channel"));
    }
    if (!_aside && _control.association(_station->index)) {
        return failure(setChannelCall, QStringLiteral("the adapter is connected to a network"));
    }
    if (_monitorUsers > 0 && !_monitor) {
        return failure(setChannelCall, QStringLiteral("the monitor interface has disappeared"));
    }
    return tune(channel);
}

Expected<void> AdapterKeeper::tune(const CWChannel& channel) {
    // The monitor first: where that is not permitted, nothing else has been touched.
    if (auto made = ensureMonitor(); !made) {
        return made;
    }
    auto tuned = setAside();
    if (tuned) {
        tuned = _control.setChannel(*_monitor, channel);
        // Somebody else may have raised the station: a NetworkManager that was started again, a user.
        if (!tuned && _control.isLinkUp(_station->index).value_or(false)) {
            _aside = false;
            if (tuned = setAside(); tuned) {
                tuned = _control.setChannel(*_monitor, channel);
            }
        }
    }
    if (tuned) {
        _restChannel = channel;
    } else if (_monitorUsers == 0) {
        removeMonitor();
    }
    return tuned;
}

Expected<void> AdapterKeeper::setPower(bool on) {
    if (auto there = requireStation(setPowerCall); !there) {
        return there;
    }
    auto switched = on ? powerUp() : powerDown();
    readFacts();
    return switched;
}

// While something is owed, "off" leaves the radio's switch alone: it is the first half of rejoining, and should this
// process die before the second half, the record brings the station back.
Expected<void> AdapterKeeper::powerDown() {
    if (isOff()) {
        return {};
    }
    if (isIdleAside() && !_apart) {
        giveBack(); // only a tuning of a moment ago holds it
    }
    if (!_aside && _monitorUsers == 0) {
        const auto blocked = _control.setBlocked(_station->wiphy, true);
        if (blocked) {
            return {};
        }
        qCInfo(lcKeeper, "the station is taken down instead: %s", qUtf8Printable(blocked.error().text()));
    }
    if (auto aside = setAside(); !aside) {
        return aside;
    }
    removeMonitor();
    _poweredDown = true;
    return {};
}

Expected<void> AdapterKeeper::powerUp() {
    if (_control.isBlocked(_station->wiphy)) {
        if (auto unblocked = _control.setBlocked(_station->wiphy, false); !unblocked) {
            return unblocked;
        }
        if (_control.isBlocked(_station->wiphy)) {
            return failure(setPowerCall, QStringLiteral("a switch of this machine keeps the adapter off"));
        }
    }
    _poweredDown = false;
    _aside = false;
    _apart = false;
    if (_monitorUsers == 0) {
        removeMonitor();
    }
    auto settled = settle();
    auto raised = _control.setLinkUp(_station->index, true);
    return settled ? raised : settled;
}

Expected<void> AdapterKeeper::disassociate() {
    if (auto there = requireStation(QStringLiteral("disassociate")); !there) {
        return there;
    }
    _association = _control.association(_station->index);
    if (_aside || !_association) {
        return {};
    }
    auto left = setAside();
    if (left) {
        _apart = true;
    }
    readFacts();
    return left;
}

Expected<QString> AdapterKeeper::beginMonitor(bool probe) {
    if (const auto there = requireStation(monitorCall); !there) {
        return tl::unexpected(there.error());
    }
    if (isOff()) {
        return failure(monitorCall, switchedOff);
    }
    if (const auto made = ensureMonitor(); !made) {
        return tl::unexpected(made.error());
    }
    _association = _control.association(_station->index);
    const auto channel = restChannel();
    if (!probe && !isAssociated() && channel) {
        if (const auto tuned = tune(*channel); !tuned) {
            if (_monitorUsers == 0) {
                giveBack();
            }
            return tl::unexpected(tuned.error());
        }
    }
    ++_monitorUsers;
    return _monitorName;
}

void AdapterKeeper::endMonitor() {
    _monitorUsers = std::max(0, _monitorUsers - 1);
    if (_monitorUsers == 0) {
        removeMonitor();
    }
}

void AdapterKeeper::giveBack() {
    if (_monitorUsers == 0) {
        removeMonitor();
    }
    if (!_apart) {
        _aside = false;
        settle();
    }
    readFacts();
}

bool AdapterKeeper::restore() {
    _monitorUsers = 0;
    removeMonitor();
    _aside = false;
    _apart = false;
    _poweredDown = false;
    return settle().has_value();
}

protocol::State AdapterKeeper::state() const {
    protocol::State state;
    if (!_station) {
        return state;
    }
    state.interfaceName = _station->name;
    state.powerOn = !isOff() && (_linkUp || _aside);
    if (!state.powerOn) {
        return state;
    }
    state.channel = restChannel();
    if (isAssociated()) {
        state.mode = CWInterfaceMode::Station;
        state.ssid = _association->ssid;
        state.bssid = netlink::toText(_association->bssid);
    } else if (_monitorUsers > 0 && _monitor) {
        state.mode = CWInterfaceMode::Monitor;
    }
    return state;
}

} // namespace vantrel
