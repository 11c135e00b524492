#include "wifi/AdapterRestore.h"

#include "wifi/CWInterface.h"

#include <QLoggingCategory>
#include <utility>

namespace vantrel {

namespace {
Q_LOGGING_CATEGORY(lcWifi, "vantrel.wifi")
}

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
}

bool AdapterRestore::shouldReconnect() const {
    const std::lock_guard lock(_mutex);
    return _shouldReconnect;
}

void AdapterRestore::restoreChannel(CWInterface& interface) {
    std::optional<CWChannel> channel;
    {
        const std::lock_guard lock(_mutex);
        channel = std::exchange(_currentChannel, std::nullopt);
    }
    if (!channel) {
        return;
    }
    if (const auto tuned = interface.setWLANChannel(*channel); !tuned) {
        qCWarning(lcWifi, "setWLANChannel failed: %s", qUtf8Printable(tuned.error().text()));
    }
}

bool AdapterRestore::reconnectIfDue(CWInterface& interface) const {
    if (!shouldReconnect()) {
        return false;
    }
    for (const bool on : {false, true}) {
        if (const auto switched = interface.setPower(on); !switched) {
            qCWarning(lcWifi, "setPower failed: %s", qUtf8Printable(switched.error().text()));
        }
    }
    return true;
}

} // namespace vantrel
