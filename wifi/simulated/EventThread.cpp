#include "EventThread.h"

#include <utility>

namespace vantrel {

namespace {

void tell(CWEventDelegate& delegate, CWEventType type, const QString& name) {
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

EventThread::EventThread(QString name) : _name(std::move(name)), _thread([this] { run(); }) {}

EventThread::~EventThread() {
    {
        const std::lock_guard lock(_mutex);
        _stopping = true;
    }
    _changed.notify_one();
    _thread.join();
}

void EventThread::setDelegate(CWEventDelegate* delegate) {
    std::unique_lock lock(_mutex);
    _delegate = delegate;
    if (std::this_thread::get_id() != _thread.get_id()) {
        _delivered.wait(lock, [this] { return !_delivering; });
    }
}

void EventThread::monitor(CWEventType type) {
    const std::lock_guard lock(_mutex);
    _monitored.insert(type);
}

void EventThread::post(CWEventType type) {
    {
        const std::lock_guard lock(_mutex);
        _events.push_back(type);
    }
    _changed.notify_one();
}

void EventThread::schedule(Clock::time_point time, std::function<void()> task) {
    {
        const std::lock_guard lock(_mutex);
        _task = std::move(task);
        _taskTime = time;
    }
    _changed.notify_one();
}

void EventThread::cancel() {
    const std::lock_guard lock(_mutex);
    _task = nullptr;
    _taskTime.reset();
}

void EventThread::run() {
    std::unique_lock lock(_mutex);
    while (!_stopping) {
        if (!_events.empty()) {
            deliver(lock);
        } else if (!_taskTime) {
            _changed.wait(lock);
        } else if (*_taskTime <= Clock::now()) {
            runTask(lock);
        } else {
            const auto time = *_taskTime; // the member may change while this waits
            _changed.wait_until(lock, time);
        }
    }
}

void EventThread::deliver(std::unique_lock<std::mutex>& lock) {
    const CWEventType type = _events.front();
    _events.pop_front();
    CWEventDelegate* const delegate = _delegate;
    if (delegate == nullptr || !_monitored.contains(type)) {
        return;
    }
    _delivering = true;
    lock.unlock();
    tell(*delegate, type, _name);
    lock.lock();
    _delivering = false;
    _delivered.notify_all();
}

void EventThread::runTask(std::unique_lock<std::mutex>& lock) {
    const auto task = std::exchange(_task, nullptr);
    _taskTime.reset();
    lock.unlock();
    task();
    lock.lock();
}

} // namespace vantrel
