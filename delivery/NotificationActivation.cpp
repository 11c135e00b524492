#include "delivery/NotificationActivation.h"

#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"

#include <QUrl>

namespace vantrel {

namespace {

// The page is given the user's address and a ticket, which must never reach a stranger. Names under .example belong to
// nobody and never will (RFC 2606).
constexpr QLatin1StringView mojoPacketsHost{"https://mojopackets.example"};

QString loginUrl(const UserInfo& info) {
    return mojoPacketsHost +
           QStringLiteral("/site/login?email=%1&ticket=%2&trace_id=%3")
               .arg(info.value(userinfo::Email), info.value(userinfo::Ticket), info.value(userinfo::TraceId));
}

} // namespace

NotificationActivation::NotificationActivation(const SettingsStore& settings, FileOpener& opener)
    : _settings(settings),
      _opener(opener) {}

bool NotificationActivation::shouldPresentNotification(const UserNotification& /*notification*/) { return true; }

void NotificationActivation::didActivateNotification(const UserNotification& notification, ActivationType type) {
    if (type != ActivationType::ContentsClicked && type != ActivationType::ActionButtonClicked) {
        return;
    }
    const UserInfo& info = notification.userInfo;
    const QString uploader = info.value(userinfo::Uploader);
    const auto opener = [&]() -> FileOpener& {
        _opener.setActivationToken(notification.activationToken);
        return _opener;
    };
    if (uploader == userinfo::CloudShark) {
        opener().openUrl(captureUrl(info.value(userinfo::Id)));
    } else if (uploader == userinfo::MojoPackets) {
        opener().openUrl(loginUrl(info));
    } else if (uploader == userinfo::LocalMultiple) {
        opener().openFolder(info.value(userinfo::Location));
    } else if (uploader == userinfo::LocalSingle) {
        opener().revealFile(info.value(userinfo::Path));
    }
}

// A server chose the id. Whatever could end the path component is escaped, so that the page stays one of the appliance;
// a component that would lead back up has no escaped form (browsers read %2e as a dot), so it leads to all captures.
QString NotificationActivation::captureUrl(const QString& id) const {
    QString url = _settings.stringForKey(keys::CloudSharkApplianceURL);
    while (url.endsWith(QLatin1Char('/'))) {
        url.chop(1);
    }
    url += QStringLiteral("/captures");
    if (id.isEmpty() || id == QLatin1StringView(".") || id == QLatin1StringView("..")) {
        return url;
    }
    return url + QLatin1Char('/') + QString::fromLatin1(QUrl::toPercentEncoding(id));
}

} // namespace vantrel
