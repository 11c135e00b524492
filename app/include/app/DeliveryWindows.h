// The panels, alerts and windows that the delivery asks for. Once nobody is there to answer, questions are declined and
// panels dismissed.
//
// Main thread.
#pragma once

#include "delivery/DeliveryDialogs.h"
#include "delivery/UserNotification.h"
#include "ui/VantrelScriptPanel.h"

#include <functional>
#include <memory>

namespace vantrel {

class AlertDialogs;
class SettingsStore;

class DeliveryWindows final : public CompletionDialogs, public UploadDialogs {
public:
    // All of it is borrowed and outlives this object.
    DeliveryWindows(SettingsStore& settings, AlertDialogs& alerts);
    ~DeliveryWindows() override;

    void showCriticalAlertWithInfo(const QString& messageText, const QString& informativeText) override;
    std::optional<QString> chooseSavePath(const QString& fileName) override;
    void showScriptPanel(const QString& capturePath) override;
    Choice askAboutFailedUpload(const QString& messageText, const QString& informativeText, bool offersSaveAs) override;
    void chooseSavePath(const QString& fileName, std::function<void(const QString& path)> chosen) override;
    void chooseFileToUpload(bool asksForTags, std::function<void(const FileToUpload& file)> chosen) override;

    // In place of a notification server. `show` runs when the user wants to see what it tells of.
    void showNotification(const UserNotification& notification, std::function<void()> show);

private:
    SettingsStore& _settings; // borrowed
    AlertDialogs& _alerts;    // borrowed
    std::unique_ptr<ui::VantrelScriptPanel> _scriptPanel;
};

} // namespace vantrel
