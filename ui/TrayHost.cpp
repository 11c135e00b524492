#include "TrayHost.h"

#include "base/MessageValues.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QLoggingCategory>

namespace vantrel::ui {

namespace {
// freedesktop.org, StatusNotifierItem, section StatusNotifierWatcher.
const QString watcherService = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");

// A desktop that starts up may show its XEmbed tray first and its StatusNotifierItem host, the better place, right
// after it; the choice between the two is final.
constexpr std::chrono::milliseconds xembedGrace{1500};
} // namespace

TrayHost::TrayHost() {
    _watcher.setConnection(QDBusConnection::sessionBus());
    _watcher.setWatchMode(QDBusServiceWatcher::WatchForRegistration);
    _watcher.addWatchedService(watcherService);
    _xembedGrace.setSingleShot(true);
    _xembedGrace.setInterval(xembedGrace);
    connect(&_watcher, &QDBusServiceWatcher::serviceRegistered, this, &TrayHost::askForHost);
    connect(&_xembed, &XEmbedTray::appeared, &_xembedGrace, qOverload<>(&QTimer::start));
    connect(&_xembedGrace, &QTimer::timeout, this, &TrayHost::found);
}

void TrayHost::start() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        qWarning("no session bus, so only an XEmbed tray can show the item: %s",
                 qUtf8Printable(bus.lastError().message()));
    } else {
        bus.connect(watcherService, watcherPath, watcherService, QStringLiteral("StatusNotifierHostRegistered"), this,
                    SLOT(askForHost()));
        askForHost();
    }
    _xembed.start();
}

void TrayHost::askForHost() {
    if (_found) {
        return;
    }
    QDBusMessage question = QDBusMessage::createMethodCall(
        watcherService, watcherPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    question << watcherService << QStringLiteral("IsStatusNotifierHostRegistered");
    question.setAutoStartService(false);
    auto* call = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call] {
        call->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *call;
        if (reply.isError()) {
            if (reply.error().type() != QDBusError::ServiceUnknown) { // usual while the session has no watcher yet
                qWarning("Get IsStatusNotifierHostRegistered failed: %s", qUtf8Printable(reply.error().message()));
            }
        } else if (exactly<bool>(reply.value().variant()).value_or(false)) {
            found();
        }
    });
}

void TrayHost::found() {
    if (_found) {
        return;
    }
    _found = true;
    _xembedGrace.stop();
    _xembed.stop();
    Q_EMIT available();
}

} // namespace vantrel::ui
