#include "base/MainQueue.h"

#include <QCoreApplication>
#include <QEvent>
#include <future>

namespace vantrel {

namespace {
const auto wakeUp = static_cast<QEvent::Type>(QEvent::registerEventType());
}

struct MainQueue::Entry {
    Task task;
    std::shared_ptr<std::promise<bool>> done; // empty when nobody waits
};

MainQueue::MainQueue() = default;

MainQueue::~MainQueue() { close(); }

void MainQueue::post(Task task) { append({std::move(task), nullptr}); }

bool MainQueue::postAndWait(Task task) {
    auto done = std::make_shared<std::promise<bool>>();
    auto answer = done->get_future();
    append({std::move(task), std::move(done)});
    return answer.get();
}

void MainQueue::append(Entry entry) {
    {
        const std::lock_guard lock(_mutex);
        if (!_closed) {
            _entries.push_back(std::move(entry));
            if (_entries.size() == 1) {
                QCoreApplication::postEvent(this, new QEvent(wakeUp));
            }
            return;
        }
    }
    if (entry.done) {
        entry.done->set_value(false);
    }
}

void MainQueue::close() {
    std::deque<Entry> dropped;
    {
        const std::lock_guard lock(_mutex);
        _closed = true;
        dropped.swap(_entries);
    }
    for (auto& entry : dropped) {
        if (entry.done) {
            entry.done->set_value(false);
        }
    }
}

bool MainQueue::event(QEvent* event) {
    Entry entry;
    {
        // Before anything else: the event was posted under this mutex, which orders its making in another thread before
        // its reading here, visibly also where Qt's own locks are not.
        std::unique_lock lock(_mutex);
        if (event->type() != wakeUp) {
            lock.unlock();
            return QObject::event(event);
        }
        if (_entries.empty()) {
            return true;
        }
        entry = std::move(_entries.front());
        _entries.pop_front();
        // Woken before the task runs: it may hold a modal dialogue, and what stands behind it must not wait for that.
        if (!_entries.empty()) {
            QCoreApplication::postEvent(this, new QEvent(wakeUp));
        }
    }
    entry.task();
    if (entry.done) {
        entry.done->set_value(true);
    }
    return true;
}

} // namespace vantrel
