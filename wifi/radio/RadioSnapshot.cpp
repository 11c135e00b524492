#include "RadioSnapshot.h"

#include <utility>

namespace vantrel {

protocol::State RadioSnapshot::state() const {
    const std::lock_guard lock(_mutex);
    return _state;
}

std::vector<CWChannel> RadioSnapshot::channels() const {
    const std::lock_guard lock(_mutex);
    return _channels.supported;
}

void RadioSnapshot::setState(const protocol::State& state) {
    protocol::State former;
    {
        const std::lock_guard lock(_mutex);
        former = std::exchange(_state, state);
    }
    const QString& name = state.interfaceName.isEmpty() ? former.interfaceName : state.interfaceName;
    if (state.powerOn != former.powerOn) {
        _events.tell(CWEventType::PowerDidChange, name);
    }
    if (state.mode != former.mode) {
        _events.tell(CWEventType::ModeDidChange, name);
    }
    if (state.ssid != former.ssid) {
        _events.tell(CWEventType::SSIDDidChange, name);
    }
    if (state.bssid != former.bssid) {
        _events.tell(CWEventType::BSSIDDidChange, name);
    }
}

void RadioSnapshot::setChannels(const protocol::Channels& channels) {
    const std::lock_guard lock(_mutex);
    _channels = channels;
}

void RadioSnapshot::setAbsent() {
    setChannels({});
    setState({});
}

} // namespace vantrel
