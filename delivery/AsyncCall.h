// A call over D-Bus whose answer comes through the event loop, also when there is no bus: QtDBus itself then keeps
// silent.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QObject>
#include <chrono>
#include <utility>

namespace vantrel {

// Main thread; returns at once. `answered` receives the finished call, never before this has returned, and never once
// the context is gone.
template <typename Answered>
void callAsync(const QDBusConnection& bus, const QDBusMessage& message, std::chrono::milliseconds limit,
               QObject* context, Answered answered) {
    const QDBusPendingCall call = bus.asyncCall(message, static_cast<int>(limit.count()));
    if (call.isFinished()) {
        QMetaObject::invokeMethod(
            context, [call, answered = std::move(answered)] { answered(call); }, Qt::QueuedConnection);
        return;
    }
    auto* const watcher = new QDBusPendingCallWatcher(call, context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context, [watcher, answered = std::move(answered)] {
        watcher->deleteLater();
        answered(*watcher);
    });
}

} // namespace vantrel
