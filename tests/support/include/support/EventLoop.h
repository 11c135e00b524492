// Runs the event loop of the test's thread until something has become true.
#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>
#include <chrono>

namespace vantrel::testing {

// Answers whether the condition became true in time. It is looked at after every event and at least every 5 ms, since
// not everything that is waited for posts an event.
template <typename Condition>
bool runUntil(Condition condition, std::chrono::milliseconds limit = std::chrono::seconds(20)) {
    const QDeadlineTimer deadline(limit);
    QTimer wakeUp;
    wakeUp.start(std::chrono::milliseconds(5));
    while (!condition()) {
        if (deadline.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    return true;
}

} // namespace vantrel::testing
