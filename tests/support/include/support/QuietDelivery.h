// The delivery of the test programs that capture without a window: files go to their folder, and nothing is shown but
// what the caller's alert says.
#pragma once

#include "app/SessionAdapters.h"
#include "delivery/CaptureCompletion.h"
#include "delivery/DeliveryDialogs.h"
#include "delivery/FileOpener.h"
#include "delivery/UserNotification.h"

#include <functional>

namespace vantrel::testing {

class QuietDelivery final : private CompletionDialogs, private UserNotificationCenter, private FileOpener {
public:
    using Alert = std::function<void(const QString& messageText, const QString& informativeText)>;

    QuietDelivery(const SettingsStore& settings, MainQueue& mainQueue, Alert alert)
        : _alert(std::move(alert)),
          _completion({.settings = settings,
                       .mainQueue = mainQueue,
                       .dialogs = *this,
                       .notifications = *this,
                       .opener = *this,
                       .upload = [](UploadService, const QString&, bool) {}}) {}

    [[nodiscard]] CaptureFinalizer& finalizer() { return _finalizer; }

private:
    void showCriticalAlertWithInfo(const QString& messageText, const QString& informativeText) override {
        _alert(messageText, informativeText);
    }
    std::optional<QString> chooseSavePath(const QString&) override { return std::nullopt; }
    void showScriptPanel(const QString&) override {}
    void deliverNotification(const UserNotification&) override {}
    void openUrl(const QString&) override {}
    void openFolder(const QString&) override {}
    void revealFile(const QString&) override {}
    void openFile(const QString&, const QString&) override {}

    const Alert _alert;
    CaptureCompletion _completion;
    DeliveringFinalizer _finalizer{_completion};
};

} // namespace vantrel::testing
