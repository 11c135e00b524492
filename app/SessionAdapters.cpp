#include "app/SessionAdapters.h"

#include "delivery/CaptureDelivery.h"
#include "engine/CaptureSession.h"
#include "engine/CaptureTotals.h"
#include "ui/Alerts.h"
#include "ui/StatusItem.h"
#include "wifi/CWWiFiClient.h"
#include "wifi/ChannelPlan.h"
#include "wifi/ChannelTitle.h"
#include "wifi/HopLoop.h"

#include <QFileInfo>
#include <QLoggingCategory>

namespace vantrel {

namespace {
Q_LOGGING_CATEGORY(lcDelivery, "vantrel.delivery")
}

void TrayCaptureView::enableCaptures() {
    _capturing = false;
    _item.setCapturesEnabled(true);
    _item.setCapturing(false);
}

void TrayCaptureView::disableCaptures() {
    _capturing = true;
    _item.setCapturesEnabled(false);
    _item.setCapturing(true);
}

void TrayCaptureView::updateStatusItem() {
    _item.setNote(_wifi.backendNote());
    if (!_open) {
        _item.setToolTip(adapterText());
    }
}

QString TrayCaptureView::adapterText() const {
    const CWInterface& airport = _wifi.interface();
    if (!airport.powerOn()) {
        return QStringLiteral("Vantrel: Off");
    }
    const auto channel = airport.wlanChannel();
    return channel ? QStringLiteral("Vantrel: %1").arg(channelTitle(*channel)) : QStringLiteral("Vantrel");
}

void TrayCaptureView::updateStatusMenu() {
    const CWInterface& airport = _wifi.interface();
    const bool isOn = airport.powerOn();
    _item.setPowerOn(isOn);
    _item.setNetwork(isOn && airport.isAssociated() ? std::optional(airport.ssid()) : std::nullopt);
}

// Comes some time after the start, so the capture may be over already.
void TrayCaptureView::startProgress() {
    _open = _capturing;
    updateProgress();
}

void TrayCaptureView::updateProgress() {
    if (_open && _progressText) {
        _item.setToolTip(_progressText());
    }
}

void TrayCaptureView::closeProgress() {
    _open = false;
    updateStatusItem();
}

void AlertDialogs::showCriticalAlertWithInfo(const QString& messageText, const QString& informativeText) {
    if (_asking) {
        ui::showCriticalAlertWithInfo(messageText, informativeText);
    } else {
        qCWarning(lcDelivery, "%s %s", qUtf8Printable(messageText), qUtf8Printable(informativeText));
    }
}

WiFiDialogs::Answer AlertDialogs::ask(const Question& question) {
    if (!_asking) {
        qCWarning(lcDelivery, "%s %s", qUtf8Printable(question.messageText), qUtf8Printable(question.informativeText));
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

bool SessionStarter::prepareCapture() { return _session.prepareCapture(); }

bool SessionStarter::startCapture(CaptureMode mode) { return _session.startCapture(mode); }

bool DeliveringFinalizer::finalizeCaptureFile(const FinishedCapture& finished) {
    const QString path = finished.file.path();
    finished.file.close();
    if (!finished.isRetry) {
        finished.totals.push(finished.file.frames(), static_cast<std::uint64_t>(QFileInfo(path).size()));
    }
    const auto delivered = deliverCaptureFile({.path = path,
                                               .location = finished.location,
                                               .prefix = finished.prefix,
                                               .isMultipleFileCapture = finished.isMultipleFileCapture,
                                               .maxCaptureFiles = finished.maxCaptureFiles});
    if (!delivered) {
        qCWarning(lcDelivery, "%s stays where it is: %s", qUtf8Printable(path),
                  qUtf8Printable(delivered.error().text()));
        return false;
    }
    qCInfo(lcDelivery, "capture file: %s", qUtf8Printable(*delivered));
    return true;
}

} // namespace vantrel
