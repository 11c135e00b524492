#include "app/DeliveryWindows.h"

#include "app/SessionAdapters.h"
#include "ui/DeliveryPanels.h"
#include "ui/NotificationWindow.h"

#include <QLoggingCategory>

namespace vantrel {

namespace {

Q_LOGGING_CATEGORY(lcWindows, "vantrel.windows")

constexpr QLatin1StringView scriptPanelNib{"VantrelScriptPanel"};
constexpr QLatin1StringView scriptPanelTitle{"Launch script for %1"};

} // namespace

DeliveryWindows::DeliveryWindows(SettingsStore& settings, AlertDialogs& alerts)
    : _settings(settings),
      _alerts(alerts) {}

DeliveryWindows::~DeliveryWindows() = default;

void DeliveryWindows::showCriticalAlertWithInfo(const QString& messageText, const QString& informativeText) {
    _alerts.showCriticalAlertWithInfo(messageText, informativeText);
}

std::optional<QString> DeliveryWindows::chooseSavePath(const QString& fileName) {
    return _alerts.asks() ? ui::askForSavePath(fileName) : std::nullopt;
}

void DeliveryWindows::showScriptPanel(const QString& capturePath) {
    if (!_alerts.asks()) {
        return;
    }
    _scriptPanel.reset(); // ends the script of an earlier capture
    _scriptPanel = ui::VantrelScriptPanel::initWithWindowNibName(scriptPanelNib, capturePath, _settings);
    if (_scriptPanel) {
        _scriptPanel->showPanelWithTitle(scriptPanelTitle.arg(capturePath));
    }
}

UploadDialogs::Choice DeliveryWindows::askAboutFailedUpload(const QString& messageText, const QString& informativeText,
                                                            bool offersSaveAs) {
    if (_alerts.asks()) {
        return ui::askAboutFailedUpload(messageText, informativeText, offersSaveAs);
    }
    qCWarning(lcWindows, "%s %s", qUtf8Printable(messageText), qUtf8Printable(informativeText));
    return Choice::Cancel;
}

void DeliveryWindows::chooseSavePath(const QString& fileName, std::function<void(const QString& path)> chosen) {
    if (_alerts.asks()) {
        ui::askForSavePath(fileName, std::move(chosen));
    }
}

void DeliveryWindows::chooseFileToUpload(bool asksForTags, std::function<void(const FileToUpload& file)> chosen) {
    if (_alerts.asks()) {
        ui::askForCaptureToUpload(asksForTags, std::move(chosen));
    }
}

void DeliveryWindows::showNotification(const UserNotification& notification, std::function<void()> show) {
    if (_alerts.asks()) {
        ui::NotificationWindow::present(notification, std::move(show));
    }
}

} // namespace vantrel
