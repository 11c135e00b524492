// Shows notifications through the desktop's notification server (freedesktop.org, Desktop Notifications 1.2:
// org.freedesktop.Notifications on the session bus).
//
// Main thread. No operation waits for the server or the bus; answers arrive through the event loop. What the user does
// with a notification is told to the delegate for as long as this object lives, also after the notification has left
// the screen, since servers keep a history; only the newest `remembered` ones count, and none of a server that is gone.
#pragma once

#include "delivery/UserNotification.h"

#include <QDBusConnection>
#include <QObject>
#include <QStringList>
#include <chrono>
#include <deque>
#include <functional>
#include <optional>
#include <vector>

class QDBusMessage;
class QDBusPendingCall;

namespace vantrel {

class DesktopNotifications : public QObject, public UserNotificationCenter {
    Q_OBJECT
public:
    // Called from the event loop when no server took the notification: there is none and none can be started, it
    // refused, it did not answer in time, or there is no bus. A server that answers too late shows it all the same.
    using Undelivered = std::function<void(const UserNotification& notification)>;

    static constexpr std::size_t remembered = 256;
    static constexpr std::chrono::milliseconds patience{10000}; // for each answer of the server

    // The icon is a name of the icon theme or the absolute path of a picture.
    DesktopNotifications(QDBusConnection sessionBus, Undelivered undelivered, QString icon = QStringLiteral("vantrel"),
                         std::chrono::milliseconds limit = patience);

    // Borrowed; may be null, and then everything is shown and nobody is told of clicks.
    void setDelegate(UserNotificationCenterDelegate* delegate);

    // What the server can do decides how it is shown: buttons only if it has actions, markup escaped only if it reads
    // markup. A server without actions still shows it.
    void deliverNotification(const UserNotification& notification) override;

private Q_SLOTS:
    // By name, because QtDBus connects to signals of the bus only so.
    void serverChanged(const QString& name, const QString& oldServer, const QString& newServer);
    void activationTokenGiven(uint id, const QString& token, const QDBusMessage& signal);
    void actionInvoked(uint id, const QString& key, const QDBusMessage& signal);

private:
    // A server counts its notifications from 1, so that only its unique name and the number together name one.
    struct Shown {
        QString server;
        uint id;
        UserNotification notification;
    };

    void listen();
    void askForCapabilities();
    void capabilitiesAnswered(const QDBusPendingCall& call);
    void show(const UserNotification& notification);
    void showAnswered(const QDBusPendingCall& call, const UserNotification& notification);
    Shown* find(const QString& server, uint id);
    void remember(Shown shown);
    void close(const Shown& shown);

    QDBusConnection _bus;
    const Undelivered _undelivered;
    const QString _icon;
    const std::chrono::milliseconds _limit;
    UserNotificationCenterDelegate* _delegate = nullptr; // borrowed
    QString _server;                                     // unique name on the bus, once it is known
    std::optional<QStringList> _capabilities;            // of this server
    bool _capabilitiesAsked = false;
    std::vector<UserNotification> _waiting; // for the capabilities
    std::deque<Shown> _shown;               // the newest last
};

} // namespace vantrel
