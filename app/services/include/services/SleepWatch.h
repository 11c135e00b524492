// Tells when the machine is about to sleep, and holds the sleep up until the owner is ready.
//
// Speaks to org.freedesktop.login1 on the system bus, as its documentation of inhibitor locks lays down: a lock of mode
// "delay" is held while the machine is awake. The login manager waits for its release a few seconds at most (five,
// unless it was set up otherwise). Where there is no login manager, or it refuses, that is logged: nothing is told, or
// the sleep is not held up. Main thread, with an event loop; nothing waits.
#pragma once

#include "base/FileDescriptor.h"

#include <QDBusConnection>
#include <QObject>

class QDBusPendingCall;

namespace vantrel {

class SleepWatch : public QObject {
    Q_OBJECT

public:
    explicit SleepWatch(QDBusConnection systemBus = QDBusConnection::systemBus(), QObject* parent = nullptr);

    // After aboutToSleep(): the machine may sleep now. Does nothing at any other time.
    void readyToSleep();

Q_SIGNALS:
    // Answer with readyToSleep(), within this call or later.
    void aboutToSleep();
    // The machine has slept, or the sleep was given up.
    void wokeUp();

private Q_SLOTS:
    void prepareForSleep(bool begins);

private:
    void takeLock();
    void lockAnswered(const QDBusPendingCall& call);

    QDBusConnection _bus;
    FileDescriptor _lock;     // the machine may sleep once it is closed
    bool _lockAsked = false;  // the answer has not come yet
    bool _sleeping = false;   // between aboutToSleep() and wokeUp()
    bool _ownerReady = false; // while _sleeping
};

} // namespace vantrel
