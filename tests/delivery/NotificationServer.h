// A notification server that does as a test tells it, on a bus of its own.
#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QList>
#include <QObject>
#include <QStringList>
#include <QVariantMap>
#include <memory>
#include <utility>

namespace vantrel::testing {

class NotificationServer : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public:
    struct Notification {
        QString application;
        uint replaces = 0;
        QString icon;
        QString summary;
        QString body;
        QStringList actions;
        QVariantMap hints;
        int expires = 0;
    };

    NotificationServer() = default;
    explicit NotificationServer(QStringList offered) : capabilities(std::move(offered)) {}

    QStringList capabilities{QStringLiteral("body"), QStringLiteral("actions")};
    bool knowsItsCapabilities = true; // else it refuses to say
    bool refuses = false;
    bool answersCapabilities = true;
    bool answersNotify = true;

    // Answers the last question for the capabilities that was left without an answer.
    void answerLate() { _asking.send(_question.createReply(QVariant(capabilities))); }

    int asked = 0;             // for the capabilities
    QList<Notification> shown; // from id 1
    QList<uint> closed;

    [[nodiscard]] bool serveOn(QDBusConnection bus) {
        return bus.registerObject(QStringLiteral("/org/freedesktop/Notifications"), this,
                                  QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals) &&
               bus.registerService(QStringLiteral("org.freedesktop.Notifications"));
    }

    // What a user does.
    void click(uint id, const QString& key, const QString& token = {}) {
        if (!token.isEmpty()) {
            Q_EMIT ActivationToken(id, token);
        }
        Q_EMIT ActionInvoked(id, key);
    }
    void expire(uint id) { Q_EMIT NotificationClosed(id, 1); }

public Q_SLOTS:
    QStringList GetCapabilities() { // NOLINT(readability-identifier-naming): these names are those of the bus
        ++asked;
        setDelayedReply(!answersCapabilities);
        _question = message();
        _asking = connection();
        if (!knowsItsCapabilities) {
            sendErrorReply(QDBusError::UnknownMethod, QStringLiteral("no such method"));
        }
        return capabilities;
    }
    uint Notify(const QString& application, uint replaces, const QString& icon, // NOLINT
                const QString& summary, const QString& body, const QStringList& actions, const QVariantMap& hints,
                int expires) {
        if (refuses) {
            sendErrorReply(QDBusError::LimitsExceeded, QStringLiteral("too many"));
            return 0;
        }
        shown.append({application, replaces, icon, summary, body, actions, hints, expires});
        setDelayedReply(!answersNotify);
        return static_cast<uint>(shown.size());
    }
    void CloseNotification(uint id) { closed << id; } // NOLINT(readability-identifier-naming)

Q_SIGNALS:
    void ActionInvoked(uint id, const QString& key);     // NOLINT(readability-identifier-naming)
    void ActivationToken(uint id, const QString& token); // NOLINT(readability-identifier-naming)
    void NotificationClosed(uint id, uint reason);       // NOLINT(readability-identifier-naming)

private:
    QDBusMessage _question;
    QDBusConnection _asking{QString()};
};

} // namespace vantrel::testing
