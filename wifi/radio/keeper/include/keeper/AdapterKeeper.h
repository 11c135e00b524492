// Drives one adapter for its client, and puts it back as it was.
//
// Two things are done to a station, and both are undone:
// - aside: NetworkManager leaves the device alone, the station's link is down, and the radio's P2P devices are stopped,
//   so that a monitor can be tuned. It lasts while a monitor that was tuned is in use, and a moment longer
//   (isIdleAside(), giveBack()).
// - apart: the station has left its network and must not rejoin by itself, so it stays aside. It lasts until the power
//   is switched on, a switch that was off is moved back, or the client is gone; or until somebody else raises the link.
// While it is a member of a network, the adapter is never tuned away from it. The channel it rests on otherwise is the
// last one that it was tuned to or had in a network, so that a capture listens where the user was told.
//
// One thread, no event loop: its owner calls refresh() when something has changed, and giveBack() when time has passed.
#pragma once

#include "keeper/AdapterControl.h"
#include "keeper/Debts.h"
#include "protocol/Messages.h"

namespace vantrel {

class AdapterKeeper {
public:
    // Drives the station interface of that name, or, when the name is empty, the first there is. The control is
    // borrowed. First puts back what a predecessor left changed.
    AdapterKeeper(AdapterControl& control, DebtRecord record, QString interfaceName);

    // What the client asks, as CWInterface has it.
    [[nodiscard]] Expected<void> setChannel(const CWChannel& channel);
    [[nodiscard]] Expected<void> setPower(bool on);
    [[nodiscard]] Expected<void> disassociate();
    // The name of the monitor's network device, one for all its users. A probe only looks at what the device offers,
    // so the station is left alone.
    [[nodiscard]] Expected<QString> beginMonitor(bool probe);
    void endMonitor();

    // Looks at everything again: adapters come and go, links go up and down, switches are moved. What the radio and
    // the regulatory domain allow is read anew only when it may have changed.
    void refresh(bool channelsMayHaveChanged);

    // Set aside, and nobody needs that any more.
    [[nodiscard]] bool isIdleAside() const {
        return _aside && _monitorUsers == 0 && !_poweredDown && (!_apart || _monitor);
    }
    // Ends it; of a station that is apart only the monitor goes.
    void giveBack();

    // The client is gone: everything is put back. False when something could not be; its record stays.
    bool restore();

    [[nodiscard]] protocol::State state() const;
    [[nodiscard]] const protocol::Channels& channels() const { return _channels; }

private:
    void replayRecord();
    void lookForStation(const std::vector<netlink::WirelessInterface>& interfaces);
    void forgetStation();
    void readFacts();
    void checkMonitor();
    void checkStation(bool wasBlocked);
    [[nodiscard]] bool isOff() const { return _blocked || _poweredDown; }
    [[nodiscard]] bool isAssociated() const { return _association.has_value() && !_aside; }
    [[nodiscard]] std::optional<CWChannel> restChannel() const;

    [[nodiscard]] Expected<void> requireStation(const QString& what) const;
    [[nodiscard]] Expected<void> ensureMonitor();
    void removeMonitor();
    [[nodiscard]] Expected<void> setAside();
    [[nodiscard]] Expected<void> quietP2pDevices();
    [[nodiscard]] Expected<void> tune(const CWChannel& channel);
    [[nodiscard]] Expected<void> powerDown();
    [[nodiscard]] Expected<void> powerUp();

    // Writes the record before what it names is done.
    [[nodiscard]] Expected<void> owe(const Debts& debts);
    // Makes the record say what is owed now.
    [[nodiscard]] Expected<void> noteDebts() const;
    // Puts back what is owed; what cannot be put back stays owed.
    Expected<void> settle();
    [[nodiscard]] Expected<void> startP2pDevices();
    void pay(bool& debt, const Expected<void>& paid, Expected<void>& outcome);

    AdapterControl& _control; // borrowed
    const DebtRecord _record;
    const QString _wantedName;

    std::optional<netlink::WirelessInterface> _station;
    protocol::Channels _channels;
    bool _linkUp = false;
    bool _blocked = false;
    std::optional<netlink::Association> _association;
    std::optional<CWChannel> _restChannel;

    std::optional<int> _monitor; // its interface's index
    QString _monitorName;
    int _monitorUsers = 0;

    Debts _debts;
    bool _aside = false;
    bool _apart = false;       // only while _aside
    bool _poweredDown = false; // off without the radio's switch
    QString _lastFailure;      // of putting back, so that retrying is logged once
};

} // namespace vantrel
