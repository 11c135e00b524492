#include "app/SessionAdapters.h"

#include "app/ProgressDisplay.h"
#include "app/TrayDisplay.h"
#include "delivery/CaptureCompletion.h"
#include "engine/CaptureSession.h"
#include "engine/CaptureTotals.h"
#include "ui/Alerts.h"
#include "wifi/CWInterface.h"
#include "wifi/ChannelPlan.h"
#include "wifi/HopLoop.h"

#include <QFileInfo>
#include <QLoggingCategory>

namespace vantrel {

namespace {
Q_LOGGING_CATEGORY(lcAlerts, "vantrel.alerts")
}

void TrayCaptureView::enableCaptures() {
    _tray.enableCaptures();
    _progress.captureDidEnd();
}

void TrayCaptureView::disableCaptures() {
    _tray.disableCaptures();
    _progress.captureDidStart();
}

void TrayCaptureView::updateStatusItem() { _tray.updateStatusItem(); }
void TrayCaptureView::updateStatusMenu() { _tray.updateStatusMenu(); }
void TrayCaptureView::startProgress() { _progress.startProgress(); }
void TrayCaptureView::updateProgress() { _progress.updateProgress(); }
void TrayCaptureView::closeProgress() { _progress.closeProgress(); }

void AlertDialogs::showCriticalAlertWithInfo(const QString& messageText, const QString& informativeText) {
    if (_asking) {
        ui::showCriticalAlertWithInfo(messageText, informativeText);
    } else {
        qCWarning(lcAlerts, "%s %s", qUtf8Printable(messageText), qUtf8Printable(informativeText));
    }
}

WiFiDialogs::Answer AlertDialogs::ask(const Question& question) {
    if (!_asking) {
        qCWarning(lcAlerts, "%s %s", qUtf8Printable(question.messageText), qUtf8Printable(question.informativeText));
        return {};
    }
    const auto answer = ui::ask({.style = question.style == Style::Critical ? ui::Question::Style::Critical
                                                                            : ui::Question::Style::Informational,
                                 .messageText = question.messageText,
                                 .informativeText = question.informativeText,
                                 .firstButton = question.firstButton,
                                 .secondButton = question.secondButton,
                                 .hasSuppression = question.hasSuppression});
    return {.isFirstButton = answer.isFirstButton, .isSuppressed = answer.isSuppressed};
}

std::optional<QString> AlertDialogs::chooseCaptureFolder() { return _asking ? ui::askForFolder() : std::nullopt; }

void PlannedHopper::startHopping(CaptureMode mode) {
    const UniiBands bands = enabledUniiBands(_around.settings);
    _around.loop.doHoppingWithChannels(
        hopChannels(mode, _around.airport.supportedWLANChannels(), _around.customChannels(), bands));
}

void PlannedHopper::stopHopping() { _around.loop.stop(); }

bool SessionStarter::prepareCapture() {
    _beforeCapture();
    return _session.prepareCapture();
}

bool SessionStarter::startCapture(CaptureMode mode) { return _session.startCapture(mode); }

bool DeliveringFinalizer::finalizeCaptureFile(const FinishedCapture& finished) {
    const QString path = finished.file.path();
    finished.file.close();
    if (!finished.isRetry) {
        finished.totals.push(finished.file.frames(), static_cast<std::uint64_t>(QFileInfo(path).size()));
    }
    return _completion.finalizeCaptureFile({.path = path,
                                            .location = finished.location,
                                            .prefix = finished.prefix,
                                            .isMultipleFileCapture = finished.isMultipleFileCapture,
                                            .maxCaptureFiles = finished.maxCaptureFiles,
                                            .totalCaptureFiles = finished.totalCaptureFiles,
                                            .totalFrames = finished.totals.totalFrames(finished.maxCaptureFiles),
                                            .totalBytes = finished.totals.totalBytes(finished.maxCaptureFiles),
                                            .isCapturing = finished.isCapturing,
                                            .isRetry = finished.isRetry,
                                            .reconnecting = finished.reconnecting});
}

} // namespace vantrel
