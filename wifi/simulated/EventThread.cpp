#include "EventThread.h"

#include <utility>

namespace vantrel {

EventThread::EventThread(QString name) : _name(std::move(name)), _thread([this] { run(); }) {}

EventThread::~EventThread() {
    {
        const std::lock_guard lock(_mutex);
        _stopping = true;
    }
    _changed.notify_one();
    _thread.join();
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
    lock.unlock();
    _teller.tell(type, _name);
    lock.lock();
}

void EventThread::runTask(std::unique_lock<std::mutex>& lock) {
    const auto task = std::exchange(_task, nullptr);
    _taskTime.reset();
    lock.unlock();
    task();
    lock.lock();
}

} // namespace vantrel
