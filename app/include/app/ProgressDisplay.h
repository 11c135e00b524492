// The progress panel of a running capture: opens and closes it, fills it at most ten times a second, and passes its
// buttons on.
//
// Main thread.
#pragma once

#include "engine/CaptureSurroundings.h"
#include "ui/VantrelProgressPanel.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace vantrel {

class ProgressDisplay final : private ui::VantrelProgressPanelDelegate {
public:
    struct Reading {
        CaptureProgress progress;
        bool isMultipleFileCapture = false;
    };
    // The references are borrowed and outlive this object.
    struct Surroundings {
        const SettingsStore& settings;
        const CWInterface& airport;
        const Timers& timers;
        std::function<Reading()> read; // the capture; called only while the panel is open
        std::function<void()> stop;    // the buttons; either leaves the work for later
        std::function<void()> cancel;
        // Against which refreshes are counted. It never jumps, as the clock of the wall does.
        std::function<std::chrono::steady_clock::time_point()> clock = std::chrono::steady_clock::now;
    };

    explicit ProgressDisplay(Surroundings surroundings) : _around(std::move(surroundings)) {}

    // From here to captureDidEnd() a panel may be opened.
    void captureDidStart();
    void captureDidEnd() { _isCapturing = false; }

    // Comes some time after the start of the capture; nothing happens when it is over by then.
    void startProgress();
    // Does nothing within 0.1 s of the last refresh.
    void updateProgress();
    void closeProgress();

    // The panel while it is open; stays this object's own.
    [[nodiscard]] ui::VantrelProgressPanel* panel() const { return _progressPanel.get(); }

private:
    void refresh();

    [[nodiscard]] bool respondsToUserDidStop() const override { return true; }
    void userDidStop(ui::VantrelProgressPanel&) override { _around.stop(); }
    [[nodiscard]] bool respondsToUserDidCancel() const override { return true; }
    void userDidCancel(ui::VantrelProgressPanel&) override { _around.cancel(); }

    const Surroundings _around;
    std::unique_ptr<ui::VantrelProgressPanel> _progressPanel;
    std::optional<std::chrono::steady_clock::time_point> _lastUpdate; // none yet in this capture
    bool _isCapturing = false;
};

} // namespace vantrel
