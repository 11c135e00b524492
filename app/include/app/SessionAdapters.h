// What the capture session and the Wi-Fi commands ask for, given by the tray, the alerts, the delivery and each other.
#pragma once

#include "engine/CaptureSurroundings.h"
#include "wifi/WiFiSurroundings.h"

#include <functional>
#include <vector>

namespace vantrel {

class CaptureCompletion;
class CaptureSession;
class HopLoop;
class ProgressDisplay;
class TrayDisplay;

// Shows the adapter and a capture in the tray and in the progress panel. Main thread; both are borrowed and outlive it.
class TrayCaptureView final : public CaptureView, public WiFiView {
public:
    TrayCaptureView(TrayDisplay& tray, ProgressDisplay& progress) : _tray(tray), _progress(progress) {}

    void enableCaptures() override;
    void disableCaptures() override;
    void updateStatusItem() override;
    void updateStatusMenu() override;
    void startProgress() override;
    void updateProgress() override;
    void closeProgress() override;

private:
    TrayDisplay& _tray;         // borrowed
    ProgressDisplay& _progress; // borrowed
};

// Modal alerts, questions and choosers. Main thread.
class AlertDialogs final : public UserDialogs, public WiFiDialogs {
public:
    // From now on alerts are only logged, questions declined and choosers dismissed.
    void stopAsking() { _asking = false; }
    [[nodiscard]] bool asks() const { return _asking; }

    Answer ask(const Question& question) override;
    void showCriticalAlertWithInfo(const QString& messageText, const QString& informativeText) override;
    std::optional<QString> chooseCaptureFolder() override;

private:
    bool _asking = true;
};

// Sends the hop loop across the channels that a mode, the adapter and the settings make. Main thread; all of it is
// borrowed and outlives it.
class PlannedHopper final : public ChannelHopper {
public:
    struct Surroundings {
        const SettingsStore& settings;
        CWInterface& airport;
        HopLoop& loop;
        std::function<std::vector<int>()> customChannels; // the numbers that the user chose last
    };
    explicit PlannedHopper(Surroundings surroundings) : _around(std::move(surroundings)) {}

    void startHopping(CaptureMode mode) override;
    void stopHopping() override;

private:
    const Surroundings _around;
};

// Where the capture commands find the session. Main thread; the session is borrowed and outlives it.
class SessionStarter final : public CaptureStarter {
public:
    // beforeCapture runs first when a capture is prepared.
    SessionStarter(CaptureSession& session, std::function<void()> beforeCapture)
        : _session(session),
          _beforeCapture(std::move(beforeCapture)) {}
    [[nodiscard]] bool prepareCapture() override;
    [[nodiscard]] bool startCapture(CaptureMode mode) override;

private:
    CaptureSession& _session; // borrowed
    const std::function<void()> _beforeCapture;
};

// Closes each finished file, counts it, and delivers it. Borrowed like the session's finalizer; the completion outlives
// it.
class DeliveringFinalizer final : public CaptureFinalizer {
public:
    explicit DeliveringFinalizer(CaptureCompletion& completion) : _completion(completion) {}
    bool finalizeCaptureFile(const FinishedCapture& finished) override;

private:
    CaptureCompletion& _completion; // borrowed
};

} // namespace vantrel
