#include "RadioStart.h"

#include "Logging.h"

namespace vantrel {

Expected<void> RadioStart::await(std::chrono::milliseconds limit) {
    std::unique_lock lock(_mutex);
    _changed.wait_for(lock, limit, [this] { return announced() || _ended; });
    _over = true;
    if (_ended) {
        return tl::unexpected(*_ended);
    }
    if (announced()) {
        return {};
    }
    if (_unreadable) {
        return tl::unexpected(*_unreadable);
    }
    qCWarning(lcRadio, "vantrel-radio has announced no adapter within %lld ms", static_cast<long long>(limit.count()));
    return {};
}

void RadioStart::noteState() {
    const std::lock_guard lock(_mutex);
    _heardState = true;
    _changed.notify_all();
}

void RadioStart::noteChannels() {
    const std::lock_guard lock(_mutex);
    _heardChannels = true;
    _changed.notify_all();
}

void RadioStart::noteUnreadable(const Error& error) {
    const std::lock_guard lock(_mutex);
    _unreadable = error;
}

bool RadioStart::noteEnd(const Error& error) {
    const std::lock_guard lock(_mutex);
    if (_over || announced()) {
        return false;
    }
    _ended = error;
    _changed.notify_all();
    return true;
}

} // namespace vantrel
