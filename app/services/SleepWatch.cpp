#include "services/SleepWatch.h"

#include "base/Error.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusUnixFileDescriptor>
#include <QLoggingCategory>
#include <fcntl.h>
#include <utility>

namespace vantrel {

namespace {

Q_LOGGING_CATEGORY(lcSleep, "vantrel.sleep")

QString service() { return QStringLiteral("org.freedesktop.login1"); }
QString path() { return QStringLiteral("/org/freedesktop/login1"); }
QString managerInterface() { return QStringLiteral("org.freedesktop.login1.Manager"); }

void logFailure(const char* what, const QDBusError& error) {
    qCWarning(lcSleep, "%s failed: %s: %s", what, qUtf8Printable(error.name()), qUtf8Printable(error.message()));
}

} // namespace

SleepWatch::SleepWatch(QDBusConnection systemBus, QObject* parent) : QObject(parent), _bus(std::move(systemBus)) {
    if (!_bus.isConnected()) {
        logFailure("connecting to the system bus", _bus.lastError());
        return;
    }
    if (!_bus.connect(service(), path(), managerInterface(), QStringLiteral("PrepareForSleep"), this,
                      SLOT(prepareForSleep(bool)))) {
        logFailure("listening to PrepareForSleep", _bus.lastError());
        return;
    }
    takeLock();
}

void SleepWatch::readyToSleep() {
    if (_sleeping) {
        _ownerReady = true;
        _lock.reset();
    }
}

void SleepWatch::prepareForSleep(bool begins) {
    if (begins == _sleeping) {
        return;
    }
    _sleeping = begins;
    _ownerReady = false;
    if (begins) {
        Q_EMIT aboutToSleep();
    } else {
        takeLock();
        Q_EMIT wokeUp();
    }
}

void SleepWatch::takeLock() {
    if (_lock.isOpen() || _lockAsked) {
        return;
    }
    auto call = QDBusMessage::createMethodCall(service(), path(), managerInterface(), QStringLiteral("Inhibit"));
    call << QStringLiteral("sleep") << QStringLiteral("Vantrel") << QStringLiteral("A capture is being finished")
         << QStringLiteral("delay");
    auto* const watcher = new QDBusPendingCallWatcher(_bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        lockAnswered(*watcher);
    });
    _lockAsked = true;
}

void SleepWatch::lockAnswered(const QDBusPendingCall& call) {
    _lockAsked = false;
    const QDBusPendingReply<QDBusUnixFileDescriptor> reply = call;
    if (reply.isError()) {
        logFailure("Inhibit", reply.error());
        return;
    }
    if (_sleeping && _ownerReady) {
        return; // too late to hold anything up
    }
    _lock = FileDescriptor(::fcntl(reply.value().fileDescriptor(), F_DUPFD_CLOEXEC, 0));
    if (!_lock.isOpen()) {
        const Error error = Error::fromErrno(QStringLiteral("fcntl"));
        qCWarning(lcSleep, "fcntl failed: %s", qUtf8Printable(error.why));
    }
}

} // namespace vantrel
