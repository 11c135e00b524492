#include "AvahiService.h"

#include "RemoteTexts.h"
#include "base/Error.h"
#include "remote/AvahiAnswers.h"

#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QPointer>
#include <net/if.h>

namespace vantrel {

namespace {

const QString service = QStringLiteral("org.freedesktop.Avahi");
const QString serverInterface = QStringLiteral("org.freedesktop.Avahi.Server");
const QString groupInterface = QStringLiteral("org.freedesktop.Avahi.EntryGroup");
const QString collisionError = QStringLiteral("org.freedesktop.Avahi.CollisionError");
const QString stateChanged = QStringLiteral("StateChanged");
const QString serverPath = QStringLiteral("/");

// avahi-common/defs.h and address.h
constexpr int unknownState = -1; // none of theirs
constexpr int serverRunning = 2;
constexpr int groupEstablished = 2;
constexpr int groupCollision = 3;
constexpr int groupFailure = 4;
constexpr int protocolIPv4 = 0;
constexpr quint32 noFlags = 0;

constexpr char loopback[] = "lo";

void logFailure(const QString& call, const QDBusError& error) {
    qCWarning(lcRemote, "%s failed: %s: %s", qUtf8Printable(call), qUtf8Printable(error.name()),
              qUtf8Printable(error.message()));
}

QDBusMessage freeMessage(const QString& owner, const QString& group) {
    return QDBusMessage::createMethodCall(owner, group, groupInterface, QStringLiteral("Free"));
}

} // namespace

AvahiService::AvahiService(const Description& description)
    : NetService(description),
      _bus(QDBusConnection::systemBus()) {
    qDBusRegisterMetaType<QList<QByteArray>>(); // the text records of a service
}

AvahiService::~AvahiService() { stop(); }

void AvahiService::publish() {
    if (!_bus.isConnected()) {
        qCInfo(lcRemote, "no system bus, so the feed is not announced: %s", qUtf8Printable(_bus.lastError().message()));
        return;
    }
    _watcher.setConnection(_bus);
    _watcher.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
    _watcher.addWatchedService(service);
    connect(&_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString& /*name*/, const QString& /*before*/, const QString& owner) { ownerChanged(owner); });
    askForDaemon();
}

void AvahiService::stop() {
    disconnect(&_watcher, nullptr, this, nullptr);
    freeGroup();
    leaveDaemon();
}

// A daemon that does not run is not started for this: its being off is somebody's wish.
void AvahiService::askForDaemon() {
    auto question =
        QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                                       QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetNameOwner"));
    question << service;
    call(
        question,
        [this](const QDBusMessage& answer) { ownerChanged(avahiNameOf(answer.arguments()).value_or(QString())); },
        [](const QDBusError& error) {
            qCInfo(lcRemote, "the feed is not announced until avahi-daemon runs: %s", qUtf8Printable(error.message()));
            return true;
        });
}

void AvahiService::ownerChanged(const QString& owner) {
    if (owner == _owner) {
        return;
    }
    leaveDaemon();
    _owner = owner;
    if (owner.isEmpty()) {
        qCInfo(lcRemote, "avahi-daemon has ended: the feed is announced again when it runs");
        return;
    }
    _bus.connect(owner, serverPath, serverInterface, stateChanged, this, SLOT(serverStateChanged(int, QString)));
    call(serverMessage(QStringLiteral("GetState")), [this](const QDBusMessage& answer) {
        serverStateChanged(avahiStateOf(answer.arguments()).value_or(unknownState), {});
    });
}

// What was asked of it is not waited for, and what was made there is its own affair.
void AvahiService::leaveDaemon() {
    ++_attempt;
    if (!_owner.isEmpty()) {
        _bus.disconnect(_owner, serverPath, serverInterface, stateChanged, this,
                        SLOT(serverStateChanged(int, QString)));
    }
    _owner.clear();
    _group.clear();
}

// While the daemon looks for a host name that is free, nothing is announced.
void AvahiService::serverStateChanged(int state, const QString& /*error*/) {
    ++_attempt;
    freeGroup();
    if (state == serverRunning) {
        begin();
    }
}

void AvahiService::begin() {
    if (!description().name.isEmpty()) {
        _name = description().name;
        makeGroup();
        return;
    }
    call(serverMessage(QStringLiteral("GetHostName")), [this](const QDBusMessage& answer) {
        if (takeName(answer, "GetHostName")) {
            makeGroup();
        }
    });
}

// The answer is waited for also when nobody wants it any more: a group that was made must be freed.
void AvahiService::makeGroup() {
    auto* answer = new QDBusPendingCallWatcher(_bus.asyncCall(serverMessage(QStringLiteral("EntryGroupNew"))));
    connect(answer, &QDBusPendingCallWatcher::finished, answer,
            [bus = _bus, owner = _owner, attempt = _attempt, self = QPointer(this), answer] {
                answer->deleteLater();
                const QDBusPendingReply<QDBusObjectPath> path = *answer;
                const bool isWanted = self && self->_attempt == attempt;
                if (!path.isError() && isWanted) {
                    self->groupMade(path.value().path());
                } else if (!path.isError()) {
                    bus.send(freeMessage(owner, path.value().path()));
                } else if (isWanted) {
                    logFailure(QStringLiteral("EntryGroupNew"), path.error());
                }
            });
}

void AvahiService::groupMade(const QString& path) {
    _group = path;
    _bus.connect(_owner, _group, groupInterface, stateChanged, this, SLOT(groupStateChanged(QDBusMessage)));
    addService();
}

void AvahiService::addService() {
    const unsigned index = ::if_nametoindex(loopback);
    if (index == 0) { // anything else would tell the whole network
        const Error error = Error::fromErrno(QStringLiteral("if_nametoindex"));
        qCWarning(lcRemote, "if_nametoindex failed: %s", qUtf8Printable(error.why));
        return;
    }
    QString type = description().type;
    if (type.endsWith(QLatin1Char('.'))) {
        type.chop(1);
    }
    auto message = groupMessage(QStringLiteral("AddService"));
    message << static_cast<int>(index) << protocolIPv4 << noFlags << _name << type << description().domain << QString()
            << QVariant::fromValue(static_cast<ushort>(description().port)) << QVariant::fromValue(QList<QByteArray>());
    call(
        message, [this](const QDBusMessage& /*answer*/) { call(groupMessage(QStringLiteral("Commit")), {}); },
        [this](const QDBusError& error) {
            const bool isTaken = error.name() == collisionError;
            if (isTaken) {
                takeAnotherName();
            }
            return isTaken;
        });
}

void AvahiService::groupStateChanged(const QDBusMessage& message) {
    if (message.path() != _group) {
        return;
    }
    switch (avahiStateOf(message.arguments()).value_or(unknownState)) {
    case groupEstablished:
        qCInfo(lcRemote, "the feed is announced as \"%s\", port %u", qUtf8Printable(_name),
               static_cast<unsigned>(description().port));
        break;
    case groupCollision:
        takeAnotherName();
        break;
    case groupFailure:
        qCWarning(lcRemote, "avahi-daemon failed to announce the feed: %s",
                  qUtf8Printable(message.arguments().value(1).toString()));
        break;
    default: // on its way; the numbers come from outside
        break;
    }
}

void AvahiService::takeAnotherName() {
    auto message = serverMessage(QStringLiteral("GetAlternativeServiceName"));
    message << _name;
    call(message, [this](const QDBusMessage& answer) {
        if (takeName(answer, "GetAlternativeServiceName")) {
            call(groupMessage(QStringLiteral("Reset")), [this](const QDBusMessage& /*done*/) { addService(); });
        }
    });
}

bool AvahiService::takeName(const QDBusMessage& answer, const char* member) {
    const auto name = avahiNameOf(answer.arguments());
    if (!name) {
        qCWarning(lcRemote, "%s failed: the answer is no name", member);
        return false;
    }
    _name = *name;
    return true;
}

void AvahiService::freeGroup() {
    if (!_group.isEmpty()) {
        _bus.disconnect(_owner, _group, groupInterface, stateChanged, this, SLOT(groupStateChanged(QDBusMessage)));
        _bus.send(freeMessage(_owner, _group));
        _group.clear();
    }
}

QDBusMessage AvahiService::serverMessage(const QString& member) const {
    return QDBusMessage::createMethodCall(_owner, serverPath, serverInterface, member);
}

QDBusMessage AvahiService::groupMessage(const QString& member) const {
    return QDBusMessage::createMethodCall(_owner, _group, groupInterface, member);
}

void AvahiService::call(const QDBusMessage& message, Then then, Failed failed) {
    auto* answer = new QDBusPendingCallWatcher(_bus.asyncCall(message), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this,
            [this, attempt = _attempt, member = message.member(), then = std::move(then), failed = std::move(failed),
             answer] {
                answer->deleteLater();
                if (attempt != _attempt) {
                    return;
                }
                if (answer->isError()) {
                    if (!failed || !failed(answer->error())) {
                        logFailure(member, answer->error());
                    }
                } else if (then) {
                    then(answer->reply());
                }
            });
}

} // namespace vantrel
