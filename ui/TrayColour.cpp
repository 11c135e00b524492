#include "TrayColour.h"

#include "Glyph.h"

#include <QDBusError>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QEvent>
#include <QGuiApplication>
#include <QLoggingCategory>

namespace vantrel::ui {

namespace {
// XDG Desktop Portal, interface Settings.
const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString settingsInterface = QStringLiteral("org.freedesktop.portal.Settings");

const QColor light(0xee, 0xee, 0xee);
const QColor dark(0x2e, 0x34, 0x36);
} // namespace

QColor trayColour(const QColor& announced, const QString& desktop, ColourScheme scheme, const QColor& ownText) {
    if (announced.isValid()) {
        return announced;
    }
    if (desktop.split(u':').contains(QStringLiteral("GNOME"))) {
        return light; // its top bar is dark in every scheme
    }
    switch (scheme) {
    case ColourScheme::PrefersDark:
        return light;
    case ColourScheme::PrefersLight:
        return dark;
    case ColourScheme::NoPreference:
        break;
    }
    return ownText;
}

TrayColour::TrayColour(const QDBusConnection& sessionBus) {
    connect(&_hint, &TrayColourHint::changed, this, &TrayColour::changed);
    qGuiApp->installEventFilter(this);
    if (sessionBus.isConnected()) {
        askForScheme(sessionBus);
    }
}

QColor TrayColour::colour() const {
    return trayColour(_hint.colour(), qEnvironmentVariable("XDG_CURRENT_DESKTOP"), _scheme, glyphColour());
}

void TrayColour::askForScheme(QDBusConnection bus) {
    if (!bus.connect(portalService, portalPath, settingsInterface, QStringLiteral("SettingChanged"), this,
                     SLOT(settingChanged(QDBusMessage)))) {
        qWarning("connect() to SettingChanged failed: %s", qUtf8Printable(bus.lastError().message()));
    }
    QDBusMessage question =
        QDBusMessage::createMethodCall(portalService, portalPath, settingsInterface, QStringLiteral("Read"));
    question << QString(appearance) << QString(colorScheme);
    auto* call = new QDBusPendingCallWatcher(bus.asyncCall(question), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call] {
        call->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *call;
        if (reply.isError()) { // usual where no portal is installed
            qDebug("Read of %s failed: %s", colorScheme.data(), qUtf8Printable(reply.error().message()));
            return;
        }
        setScheme(schemeOf(reply.value().variant()));
    });
}

void TrayColour::settingChanged(const QDBusMessage& message) {
    if (const auto scheme = changedScheme(message.arguments())) {
        setScheme(*scheme);
    }
}

void TrayColour::setScheme(ColourScheme scheme) {
    if (scheme != _scheme) {
        _scheme = scheme;
        Q_EMIT changed();
    }
}

bool TrayColour::eventFilter(QObject* watched, QEvent* event) {
    if (watched == qGuiApp && event->type() == QEvent::ApplicationPaletteChange) {
        Q_EMIT changed();
    }
    return QObject::eventFilter(watched, event);
}

} // namespace vantrel::ui
