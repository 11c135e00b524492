#include "delivery/NotificationActivation.h"

#include "delivery/CaptureLinks.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"

namespace vantrel {

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
        opener().openUrl(
            cloudSharkCaptureUrl(_settings.stringForKey(keys::CloudSharkApplianceURL), info.value(userinfo::Id)));
    } else if (uploader == userinfo::MojoPackets) {
        opener().openUrl(mojoPacketsLoginUrl(info.value(userinfo::Email), info.value(userinfo::Ticket),
                                             info.value(userinfo::TraceId)));
    } else if (uploader == userinfo::LocalMultiple) {
        opener().openFolder(info.value(userinfo::Location));
    } else if (uploader == userinfo::LocalSingle) {
        opener().revealFile(info.value(userinfo::Path));
    }
}

} // namespace vantrel
