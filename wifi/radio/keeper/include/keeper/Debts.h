// What was changed on an adapter and must be put back, whatever happens to this process.
//
// The record of it stands in a file from before the first change until after the last thing was put back, so that a
// killed process, or a machine without power, leaves a note to its successor. One thread.
#pragma once

#include "base/Error.h"

#include <QString>
#include <cstdint>
#include <optional>
#include <vector>

namespace vantrel {

struct Debts {
    QString interfaceName;
    QString address;                       // the adapter's, should the name have changed; "02:00:00:00:00:00"
    bool raiseLink = false;                // the station's link was up
    bool handBack = false;                 // NetworkManager managed the device
    std::vector<std::uint64_t> p2pDevices; // these were started, as nl80211 numbers them
    [[nodiscard]] bool any() const { return raiseLink || handBack || !p2pDevices.empty(); }
    friend bool operator==(const Debts&, const Debts&) = default;
};

class DebtRecord {
public:
    explicit DebtRecord(QString path) : _path(std::move(path)) {}

    // Durable when it returns: written beside, brought to the disk, renamed.
    [[nodiscard]] Expected<void> write(const Debts& debts) const;
    [[nodiscard]] Expected<void> remove() const;
    // What a predecessor left; nothing when it left nothing. A record that cannot be read is logged and removed.
    [[nodiscard]] std::optional<Debts> take() const;

    // radio.json in $XDG_STATE_HOME/vantrel, else in ~/.local/state/vantrel.
    [[nodiscard]] static QString defaultPath();

private:
    QString _path;
};

} // namespace vantrel
