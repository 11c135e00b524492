// Takes the user from a clicked notification to what it tells of: the saved file, the folder of a capture, or the page
// of an upload. Main thread.
#pragma once

#include "delivery/FileOpener.h"
#include "delivery/UserNotification.h"

namespace vantrel {

class SettingsStore;

class NotificationActivation : public UserNotificationCenterDelegate {
public:
    // Both are borrowed and outlive this.
    NotificationActivation(const SettingsStore& settings, FileOpener& opener);

    // Always, also while the application is in front.
    [[nodiscard]] bool shouldPresentNotification(const UserNotification& notification) override;

    // Acts on a click on the contents or on the action button, and ignores everything else, as it does a notification
    // of an unknown uploader.
    void didActivateNotification(const UserNotification& notification, ActivationType type) override;

private:
    const SettingsStore& _settings;
    FileOpener& _opener;
};

} // namespace vantrel
