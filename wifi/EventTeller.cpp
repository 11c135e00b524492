#include "wifi/EventTeller.h"

namespace vantrel {

namespace {

void call(CWEventDelegate& delegate, CWEventType type, const QString& name) {
    switch (type) {
    case CWEventType::PowerDidChange:
        delegate.powerStateDidChangeForWiFiInterfaceWithName(name);
        break;
    case CWEventType::SSIDDidChange:
        delegate.ssidDidChangeForWiFiInterfaceWithName(name);
        break;
    case CWEventType::BSSIDDidChange:
        delegate.bssidDidChangeForWiFiInterfaceWithName(name);
        break;
    case CWEventType::ModeDidChange:
        delegate.modeDidChangeForWiFiInterfaceWithName(name);
        break;
    }
}

} // namespace

void EventTeller::setDelegate(CWEventDelegate* delegate) {
    std::unique_lock lock(_mutex);
    _delegate = delegate;
    if (_teller != std::this_thread::get_id()) {
        _told.wait(lock, [this] { return _teller == std::thread::id(); });
    }
}

void EventTeller::monitor(CWEventType type) {
    const std::lock_guard lock(_mutex);
    _monitored.insert(type);
}

void EventTeller::tell(CWEventType type, const QString& name) {
    std::unique_lock lock(_mutex);
    CWEventDelegate* const delegate = _delegate;
    if (delegate == nullptr || !_monitored.contains(type)) {
        return;
    }
    _teller = std::this_thread::get_id();
    lock.unlock();
    call(*delegate, type, name);
    lock.lock();
    _teller = {};
    _told.notify_all();
}

} // namespace vantrel
