#include "app/ProgressDisplay.h"

#include "engine/Timers.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"
#include "ui/ProgressTexts.h"
#include "wifi/CWInterface.h"

namespace vantrel {

namespace {

constexpr std::chrono::milliseconds refreshInterval{100};

ui::FileProgress fileProgress(const SettingsStore& settings, const CaptureProgress& progress, const QDateTime& now) {
    const auto positive = [](std::int64_t limit) { return limit > 0 ? static_cast<std::uint64_t>(limit) : 0; };
    const double elapsed =
        progress.creationTime.isValid() ? static_cast<double>(progress.creationTime.msecsTo(now)) / 1000 : 0;
    return {.limitCaptureFile = settings.boolForKey(keys::LimitCaptureFile),
            .units = settings.integerForKey(keys::LimitCaptureFileUnits),
            .value = settings.integerForKey(keys::LimitCaptureFileValue),
            .size = progress.size,
            .maxCaptureFileSize = positive(progress.limits.maxFileSize),
            .elapsed = elapsed,
            .frames = progress.frames,
            .maxCaptureFileFrames = positive(progress.limits.maxFileFrames)};
}

} // namespace

void ProgressDisplay::captureDidStart() {
    _isCapturing = true;
    _lastUpdate.reset();
}

void ProgressDisplay::startProgress() {
    if (!_isCapturing) {
        return;
    }
    _progressPanel = ui::VantrelProgressPanel::initWithWindowNibName(QStringLiteral("VantrelProgressPanel"), {});
    if (!_progressPanel) {
        return;
    }
    _progressPanel->setDelegate(this);
    _progressPanel->center();
    updateProgress();
    _progressPanel->makeKeyAndOrderFront();
}

void ProgressDisplay::updateProgress() {
    if (!_progressPanel) {
        return;
    }
    const auto now = _around.clock();
    if (_lastUpdate && now - *_lastUpdate < refreshInterval) {
        return;
    }
    _lastUpdate = now;
    refresh();
}

void ProgressDisplay::refresh() {
    const auto [progress, isMultipleFileCapture] = _around.read();
    _progressPanel->setWindowTitle(ui::windowTitle(_around.airport.channelNumber(), _around.airport.channelWidth()));
    _progressPanel->setProgress(ui::progressValue(fileProgress(_around.settings, progress, _around.timers.now())));
    _progressPanel->setMessage(isMultipleFileCapture
                                   ? ui::messageText(static_cast<std::uint64_t>(progress.totalCaptureFiles),
                                                     static_cast<std::uint64_t>(progress.maxCaptureFiles),
                                                     progress.frames, progress.size)
                                   : ui::messageText(progress.frames, progress.size));
    _progressPanel->setDroppedFrames(progress.framesDroppedByKernel, progress.framesNotWritten);
}

void ProgressDisplay::closeProgress() {
    if (_progressPanel) {
        _progressPanel->orderOut();
        _progressPanel.reset();
    }
}

} // namespace vantrel
