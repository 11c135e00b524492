// What the capture session asks for, given by the tray, the alerts and the delivery.
#pragma once

#include "engine/CaptureSurroundings.h"

#include <functional>

namespace vantrel {

class CWWiFiClient;

namespace ui {
class StatusItem;
}

// Shows a capture in the tray item. Main thread; the item and the client are borrowed and outlive it.
class TrayCaptureView final : public CaptureView {
public:
    TrayCaptureView(ui::StatusItem& item, CWWiFiClient& wifi) : _item(item), _wifi(wifi) {}

    // Gives the text of a running capture, for the tool tip.
    void setProgressText(std::function<QString()> text) { _progressText = std::move(text); }

    void enableCaptures() override;
    void disableCaptures() override;
    void updateStatusItem() override;
    void startProgress() override;
    void updateProgress() override;
    void closeProgress() override;

private:
    ui::StatusItem& _item; // borrowed
    CWWiFiClient& _wifi;   // borrowed
    std::function<QString()> _progressText;
    bool _capturing = false;
    bool _open = false; // the progress is shown
};

// Modal alerts and choosers. Main thread.
class AlertDialogs final : public UserDialogs {
public:
    // From now on alerts are only logged and choosers dismissed.
    void stopAsking() { _asking = false; }

    void showCriticalAlertWithInfo(const QString& messageText, const QString& informativeText) override;
    std::optional<QString> chooseCaptureFolder() override;

private:
    bool _asking = true;
};

// Captures stay on the channel the adapter is on.
class CurrentChannelOnly final : public ChannelHopper {
public:
    explicit CurrentChannelOnly(CaptureFlags& flags) : _flags(flags) {}
    void startHopping(CaptureMode mode) override;

private:
    CaptureFlags& _flags; // borrowed
};

// Closes each finished file, counts it, and delivers it.
class DeliveringFinalizer final : public CaptureFinalizer {
public:
    bool finalizeCaptureFile(const FinishedCapture& finished) override;
};

} // namespace vantrel
