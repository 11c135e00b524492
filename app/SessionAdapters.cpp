#include "app/SessionAdapters.h"

#include "delivery/CaptureDelivery.h"
#include "engine/CaptureTotals.h"
#include "ui/Alerts.h"
#include "ui/StatusItem.h"
#include "wifi/CWWiFiClient.h"

#include <QFileInfo>
#include <QLoggingCategory>

namespace vantrel {

namespace {
Q_LOGGING_CATEGORY(lcDelivery, "vantrel.delivery")
}

void TrayCaptureView::enableCaptures() {
    _item.setCapturesEnabled(true);
    _item.setCapturing(false);
}

void TrayCaptureView::disableCaptures() {
    _item.setCapturesEnabled(false);
    _item.setCapturing(true);
}

void TrayCaptureView::updateStatusItem() {
    _item.setNote(_wifi.backendNote());
    if (!_open) {
        _item.setToolTip(QStringLiteral("Vantrel"));
    }
}

void TrayCaptureView::startProgress() {
    _open = true;
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
    ui::showCriticalAlertWithInfo(messageText, informativeText);
}

std::optional<QString> AlertDialogs::chooseCaptureFolder() { return ui::askForFolder(); }

void CurrentChannelOnly::startHopping(CaptureMode /*mode*/) { _flags.hoppingStarted = true; }

bool DeliveringFinalizer::finalizeCaptureFile(const FinishedCapture& finished) {
    const QString path = finished.file.path();
    finished.file.close();
    finished.totals.push(finished.file.frames(), static_cast<std::uint64_t>(QFileInfo(path).size()));
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
