// A service announced by avahi-daemon through its D-Bus interface (org.freedesktop.Avahi.Server and .EntryGroup, as
// in /usr/share/dbus-1/interfaces).
//
// Every call is asynchronous; the answer to each begins the next step. An answer that belongs to a daemon that is gone,
// or to a publication that was given up, is recognised by the number of its attempt.
#pragma once

#include "remote/NetService.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QObject>

namespace vantrel {

class AvahiService final : public QObject, public NetService {
    Q_OBJECT

public:
    explicit AvahiService(const Description& description);
    ~AvahiService() override;

    void publish() override;
    void stop() override;

private Q_SLOTS:
    void serverStateChanged(int state, const QString& error);
    void groupStateChanged(const QDBusMessage& message);

private:
    void askForDaemon();
    void ownerChanged(const QString& owner);
    void leaveDaemon();
    void begin();
    void makeGroup();
    void groupMade(const QString& path);
    void addService();
    void takeAnotherName();
    [[nodiscard]] bool takeName(const QDBusMessage& answer, const char* member);
    void freeGroup();

    [[nodiscard]] QDBusMessage serverMessage(const QString& member) const;
    [[nodiscard]] QDBusMessage groupMessage(const QString& member) const;
    // Runs `then` with the answer, unless it comes too late, or is an error. That is logged, unless it is one that
    // `failed` knows what to do about.
    using Then = std::function<void(const QDBusMessage& answer)>;
    using Failed = std::function<bool(const QDBusError& error)>;
    void call(const QDBusMessage& message, Then then, Failed failed = {});

    QDBusConnection _bus;
    QDBusServiceWatcher _watcher;
    QString _owner; // the daemon's own name on the bus; empty while there is none
    QString _group; // the entry group's object path; empty while there is none
    QString _name;  // under which the service is announced, or about to be
    unsigned _attempt = 0;
};

} // namespace vantrel
