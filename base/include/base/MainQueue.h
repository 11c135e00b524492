// Hands work from any thread to the thread that made the queue (the main thread), in the order it was posted.
//
// Ownership: made on the main thread after the application object, destroyed there; work that has not run by then is
// dropped, and whoever waits for it is released. The tasks stand behind a mutex of our own, so that what a task
// carries is visibly ordered between the threads; any number of tasks costs at most one pending event.
#pragma once

#include <QObject>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

namespace vantrel {

class MainQueue : public QObject {
public:
    using Task = std::function<void()>;

    MainQueue();
    ~MainQueue() override;

    // Any thread. Runs the task later on the main thread; never waits, also when called there.
    void post(Task task);

    // Any thread but the main one. Runs the task on the main thread and waits until it has run.
    // Answers false when the queue was closed before the task ran.
    bool postAndWait(Task task);

    // Main thread. Drops what has not run and refuses new work.
    void close();

protected:
    bool event(QEvent* event) override;

private:
    struct Entry;
    void append(Entry entry);

    std::mutex _mutex;
    std::deque<Entry> _entries; // guarded by _mutex
    bool _closed = false;       // guarded by _mutex
};

} // namespace vantrel
