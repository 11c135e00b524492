#include "wifi/AdapterRestore.h"

#include "WiFiTexts.h"
#include "wifi/CWInterface.h"

#include <utility>

namespace vantrel {

Q_LOGGING_CATEGORY(lcWifi, "vantrel.wifi")

void AdapterRestore::setCurrentChannel(std::optional<CWChannel> channel) {
    const std::lock_guard lock(_mutex);
    _currentChannel = channel;
}

std::optional<CWChannel> AdapterRestore::currentChannel() const {
    const std::lock_guard lock(_mutex);
    return _currentChannel;
}

void AdapterRestore::setShouldReconnect(bool shouldReconnect) {
    const std::lock_guard lock(_mutex);
    _shouldReconnect = shouldReconnect;
    _reconnectionIsDue = shouldReconnect;
}

bool AdapterRestore::shouldReconnect() const {
    const std::lock_guard lock(_mutex);
    return _shouldReconnect;
}

void AdapterRestore::restoreChannel(CWInterface& interface) {
    const std::lock_guard changing(_changing);
    std::optional<CWChannel> channel;
    {
        const std::lock_guard lock(_mutex);
        channel = std::exchange(_currentChannel, std::nullopt);
    }
    if (!channel) {
        return;
    }
    if (const auto tuned = interface.setWLANChannel(*channel); !tuned) {
        qCWarning(lcWifi, texts::setWLANChannelFailed, qUtf8Printable(tuned.error().text()));
    }
}

bool AdapterRestore::reconnectIfDue(CWInterface& interface) {
    const std::lock_guard changing(_changing);
    if (!interface.powerOn()) {
        return false;
    }
    {
        const std::lock_guard lock(_mutex);
        if (!std::exchange(_reconnectionIsDue, false)) {
            return _shouldReconnect;
        }
    }
    for (const bool on : {false, true}) {
        if (const auto switched = interface.setPower(on); !switched) {
            qCWarning(lcWifi, texts::setPowerFailed, qUtf8Printable(switched.error().text()));
        }
    }
    return true;
}

} // namespace vantrel
