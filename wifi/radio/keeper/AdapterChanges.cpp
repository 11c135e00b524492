// What is done to an adapter, and undone: the monitor interface, setting the station aside, and putting it back.
#include "Logging.h"
#include "keeper/AdapterKeeper.h"

#include <algorithm>

namespace vantrel {

namespace {

QString freeName(const std::vector<netlink::WirelessInterface>& interfaces) {
    for (int number = 0;; ++number) {
        const QString name = QStringLiteral("vantrel%1").arg(number);
        if (std::none_of(interfaces.begin(), interfaces.end(),
                         [&name](const auto& interface) { return interface.name == name; })) {
            return name;
        }
    }
}

} // namespace

Expected<void> AdapterKeeper::ensureMonitor() {
    if (_monitor) {
        return {};
    }
    const auto interfaces = _control.interfaces();
    const QString name = freeName(interfaces.value_or(std::vector<netlink::WirelessInterface>()));
    const auto added = _control.addMonitor(_station->wiphy, name);
    if (!added) {
        return tl::unexpected(added.error());
    }
    _monitor = *added;
    _monitorName = name;
    auto raised = _control.setLinkUp(*_monitor, true);
    if (!raised) {
        removeMonitor();
    }
    return raised;
}

void AdapterKeeper::removeMonitor() {
    const auto monitor = std::exchange(_monitor, std::nullopt);
    if (!monitor || !_control.isLinkUp(*monitor)) { // already gone
        return;
    }
    if (const auto removed = _control.removeInterface(*monitor); !removed) {
        qCWarning(lcKeeper, "%s", qUtf8Printable(removed.error().text()));
    }
}

Expected<void> AdapterKeeper::setAside() {
    if (_aside) {
        return {};
    }
    const QString& name = _station->name;
    const auto managed = _control.isManaged(name);
    if (!managed) {
        return tl::unexpected(managed.error());
    }
    Debts debts = _debts;
    debts.raiseLink |= _control.isLinkUp(_station->index).value_or(false);
    debts.handBack |= *managed;
    auto done = owe(debts);
    if (done && *managed) {
        done = _control.setManaged(name, false);
    }
    if (done) {
        done = _control.setLinkUp(_station->index, false);
    }
    if (done) {
        done = quietP2pDevices();
    }
    if (done) {
        _aside = true;
        _association.reset();
    } else {
        settle();
    }
    return done;
}

// The kernel says only when one is stopped whether it was started, so each is owed until then.
Expected<void> AdapterKeeper::quietP2pDevices() {
    for (const std::uint64_t device : _control.p2pDevices(_station->wiphy)) {
        Debts debts = _debts;
        auto& owed = debts.p2pDevices;
        const bool isOwed = std::find(owed.begin(), owed.end(), device) != owed.end();
        if (!isOwed) {
            owed.push_back(device);
        }
        if (auto noted = owe(debts); !noted) {
            return noted;
        }
        const auto stopped = _control.stopP2pDevice(device);
        if (!stopped) {
            return tl::unexpected(stopped.error());
        }
        if (!*stopped && !isOwed) {
            std::erase(_debts.p2pDevices, device);
            if (auto noted = noteDebts(); !noted) {
                return noted;
            }
        }
    }
    return {};
}

Expected<void> AdapterKeeper::owe(const Debts& debts) {
    Debts owed = debts;
    owed.interfaceName = _station->name;
    owed.address = netlink::toText(_station->address);
    if (owed == _debts || !owed.any()) {
        return {};
    }
    auto written = _record.write(owed);
    if (written) {
        _debts = owed;
    }
    return written;
}

Expected<void> AdapterKeeper::noteDebts() const { return _debts.any() ? _record.write(_debts) : _record.remove(); }

Expected<void> AdapterKeeper::settle() {
    if (!_debts.any()) {
        return {};
    }
    const QString name = _station->name;
    Expected<void> outcome;
    if (_debts.raiseLink) {
        pay(_debts.raiseLink, _control.setLinkUp(_station->index, true), outcome);
    }
    if (const auto started = startP2pDevices(); !started && outcome) {
        outcome = started;
    }
    if (_debts.handBack) {
        pay(_debts.handBack, _control.setManaged(name, true), outcome);
    }
    const auto noted = noteDebts();
    const auto& failed = outcome ? noted : outcome;
    if (!failed && failed.error().text() != _lastFailure) {
        qCWarning(lcKeeper, "%s could not be put back yet: %s", qUtf8Printable(name),
                  qUtf8Printable(failed.error().text()));
    }
    _lastFailure = failed ? QString() : failed.error().text();
    return failed;
}

Expected<void> AdapterKeeper::startP2pDevices() {
    Expected<void> outcome;
    std::erase_if(_debts.p2pDevices, [&](std::uint64_t device) {
        const auto started = _control.startP2pDevice(device);
        if (!started && outcome) {
            outcome = started;
        }
        return started.has_value();
    });
    return outcome;
}

void AdapterKeeper::pay(bool& debt, const Expected<void>& paid, Expected<void>& outcome) {
    if (paid) {
        debt = false;
    } else if (outcome) {
        outcome = paid;
    }
}

void AdapterKeeper::replayRecord() {
    const auto left = _record.take();
    if (!left) {
        return;
    }
    const auto interfaces = _control.interfaces();
    if (!interfaces) {
        return;
    }
    const auto found = std::find_if(interfaces->begin(), interfaces->end(), [&left](const auto& interface) {
        return interface.kind == netlink::InterfaceKind::Station &&
               (netlink::toText(interface.address) == left->address || interface.name == left->interfaceName);
    });
    if (found == interfaces->end()) {
        qCInfo(lcKeeper, "%s, which was left changed, is not here any more", qUtf8Printable(left->interfaceName));
        if (const auto removed = _record.remove(); !removed) {
            qCWarning(lcKeeper, "%s", qUtf8Printable(removed.error().text()));
        }
        return;
    }
    qCInfo(lcKeeper, "%s was left changed and is put back", qUtf8Printable(found->name));
    _debts = *left;
    _station = *found;
    settle();
    if (!_wantedName.isEmpty() && _station->name != _wantedName) {
        _station.reset();
        _debts = {};
    }
}

} // namespace vantrel
