#include "delivery/DesktopNotifications.h"

#include "AsyncCall.h"
#include "base/Translated.h"
#include "delivery/NotificationActivation.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QLoggingCategory>
#include <QVariantMap>
#include <algorithm>
#include <utility>

namespace vantrel {

namespace {

Q_LOGGING_CATEGORY(lcNotifications, "vantrel.notifications")

QString service() { return QStringLiteral("org.freedesktop.Notifications"); }
QString path() { return QStringLiteral("/org/freedesktop/Notifications"); }
QString busService() { return QStringLiteral("org.freedesktop.DBus"); }

// Keys of actions. "default" is the server's name for a click on the notification itself; the others are ours.
constexpr QLatin1StringView contentsKey{"default"};
constexpr QLatin1StringView actionKey{"open"};
constexpr QLatin1StringView dismissKey{"dismiss"};

constexpr int untilTheServerLikes = -1; // expire_timeout

QDBusMessage methodCall(const QString& server, const QString& method) {
    return QDBusMessage::createMethodCall(server, path(), service(), method);
}

void logFailure(const char* what, const QDBusError& error) {
    qCWarning(lcNotifications, "%s failed: %s: %s", what, qUtf8Printable(error.name()),
              qUtf8Printable(error.message()));
}

QString bodyOf(const UserNotification& notification, bool isMarkup) {
    QStringList lines{notification.subtitle, notification.informativeText};
    lines.removeAll(QString());
    const QString text = lines.join(QLatin1Char('\n'));
    return isMarkup ? text.toHtmlEscaped() : text;
}

// Key and label in turn.
QStringList actionsOf(const UserNotification& notification) {
    const QString uploader = notification.userInfo.value(userinfo::Uploader);
    const bool isLocal = uploader == userinfo::LocalSingle || uploader == userinfo::LocalMultiple;
    const QString label =
        translated(isLocal ? QT_TRANSLATE_NOOP("vantrel", "Show") : QT_TRANSLATE_NOOP("vantrel", "Open"));
    QStringList actions{contentsKey, label, actionKey, label};
    if (!notification.otherButtonTitle.isEmpty()) {
        actions << dismissKey << notification.otherButtonTitle;
    }
    return actions;
}

} // namespace

DesktopNotifications::DesktopNotifications(QDBusConnection sessionBus, Undelivered undelivered, QString icon,
                                           std::chrono::milliseconds limit)
    : _bus(std::move(sessionBus)),
      _undelivered(std::move(undelivered)),
      _icon(std::move(icon)),
      _limit(limit) {
    if (!_bus.isConnected()) {
        logFailure("connecting to the session bus", _bus.lastError());
        return;
    }
    listen();
}

// No sender is named: for a name that others own, QtDBus would wait for the bus to say who that is. The slots look at
// the sender instead.
void DesktopNotifications::listen() {
    const bool listens = _bus.connect({}, path(), service(), QStringLiteral("ActionInvoked"), this,
                                      SLOT(actionInvoked(uint, QString, QDBusMessage))) &&
                         _bus.connect({}, path(), service(), QStringLiteral("ActivationToken"), this,
                                      SLOT(activationTokenGiven(uint, QString, QDBusMessage))) &&
                         _bus.connect(busService(), QStringLiteral("/org/freedesktop/DBus"), busService(),
                                      QStringLiteral("NameOwnerChanged"), {service()}, {}, this,
                                      SLOT(serverChanged(QString, QString, QString)));
    if (!listens) {
        logFailure("listening to the notification server", _bus.lastError());
    }
}

void DesktopNotifications::setDelegate(UserNotificationCenterDelegate* delegate) { _delegate = delegate; }

void DesktopNotifications::deliverNotification(const UserNotification& notification) {
    if (_delegate != nullptr && !_delegate->shouldPresentNotification(notification)) {
        return;
    }
    if (_capabilities) {
        show(notification);
        return;
    }
    _waiting.push_back(notification);
    askForCapabilities();
}

void DesktopNotifications::askForCapabilities() {
    if (_capabilitiesAsked) {
        return;
    }
    _capabilitiesAsked = true;
    const auto question = methodCall(service(), QStringLiteral("GetCapabilities"));
    callAsync(_bus, question, _limit, this, [this](const QDBusPendingCall& call) { capabilitiesAnswered(call); });
}

void DesktopNotifications::capabilitiesAnswered(const QDBusPendingCall& call) {
    _capabilitiesAsked = false;
    const QDBusPendingReply<QStringList> reply = call;
    if (reply.isError()) {
        logFailure("GetCapabilities", reply.error());
    }
    const QString server = reply.reply().service();
    if (!server.startsWith(QLatin1Char(':'))) { // no server's answer, but the bus's or our own: nobody is there
        const auto undelivered = _undelivered;  // it may wait for the user and destroy this object
        for (const UserNotification& notification : std::exchange(_waiting, {})) {
            undelivered(notification);
        }
        return;
    }
    if (!_server.isEmpty() && server != _server) { // another has taken its place meanwhile
        askForCapabilities();
        return;
    }
    _server = server;
    _capabilities = reply.isError() ? QStringList() : reply.value();
    for (const UserNotification& notification : std::exchange(_waiting, {})) {
        show(notification);
    }
}

void DesktopNotifications::show(const UserNotification& notification) {
    const bool isMarkup = _capabilities->contains(QStringLiteral("body-markup"));
    const bool hasActions = _capabilities->contains(QStringLiteral("actions"));
    constexpr uint replacesNone = 0;
    const QVariantMap hints{{QStringLiteral("desktop-entry"), QStringLiteral("vantrel")}};
    auto message = methodCall(service(), QStringLiteral("Notify"));
    message << QStringLiteral("Vantrel") << replacesNone << _icon << notification.title
            << bodyOf(notification, isMarkup) << (hasActions ? actionsOf(notification) : QStringList()) << hints
            << untilTheServerLikes;
    callAsync(_bus, message, _limit, this,
              [this, notification](const QDBusPendingCall& call) { showAnswered(call, notification); });
}

void DesktopNotifications::showAnswered(const QDBusPendingCall& call, const UserNotification& notification) {
    const QDBusPendingReply<uint> reply = call;
    if (reply.isError()) {
        logFailure("Notify", reply.error());
        _undelivered(notification);
        return;
    }
    remember({reply.reply().service(), reply.value(), notification});
}

DesktopNotifications::Shown* DesktopNotifications::find(const QString& server, uint id) {
    const auto found = std::find_if(_shown.begin(), _shown.end(),
                                    [&](const Shown& shown) { return shown.id == id && shown.server == server; });
    return found == _shown.end() ? nullptr : &*found;
}

void DesktopNotifications::remember(Shown shown) {
    std::erase_if(_shown, [&](const Shown& old) { return old.id == shown.id && old.server == shown.server; });
    _shown.push_back(std::move(shown));
    if (_shown.size() > remembered) {
        _shown.pop_front();
    }
}

void DesktopNotifications::close(const Shown& shown) {
    auto message = methodCall(shown.server, QStringLiteral("CloseNotification"));
    message << shown.id;
    _bus.send(message); // unanswered: many servers have closed it by themselves, and then refuse
}

void DesktopNotifications::serverChanged(const QString& /*name*/, const QString& /*oldServer*/,
                                         const QString& newServer) {
    _server = newServer;
    _capabilities.reset();
    _shown.clear();
}

void DesktopNotifications::activationTokenGiven(uint id, const QString& token, const QDBusMessage& signal) {
    if (Shown* const shown = find(signal.service(), id)) {
        shown->notification.activationToken = token;
    }
}

void DesktopNotifications::actionInvoked(uint id, const QString& key, const QDBusMessage& signal) {
    Shown* const shown = find(signal.service(), id);
    if (shown == nullptr) {
        return; // another program's
    }
    const UserNotification notification = shown->notification; // the delegate may deliver another
    shown->notification.activationToken.clear();               // good for one click
    if (key == dismissKey) {
        close(*shown);
    } else if (_delegate != nullptr && key == contentsKey) {
        _delegate->didActivateNotification(notification, ActivationType::ContentsClicked);
    } else if (_delegate != nullptr && key == actionKey) {
        _delegate->didActivateNotification(notification, ActivationType::ActionButtonClicked);
    }
}

} // namespace vantrel
