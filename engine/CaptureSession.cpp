// The main thread's part of a capture: preparing, starting, ending.
#include "engine/CaptureSession.h"

#include "CaptureTexts.h"
#include "base/MainQueue.h"
#include "base/Translated.h"
#include "engine/CaptureDevice.h"
#include "engine/PacketQueue.h"
#include "engine/TemporaryFolder.h"
#include "settings/Defaults.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"
#include "wifi/AdapterRestore.h"
#include "wifi/CWInterface.h"

#include <QDir>
#include <QFileInfo>
#include <QLocale>

namespace vantrel {

Q_LOGGING_CATEGORY(lcCapture, "vantrel.capture")

namespace {

using namespace std::chrono_literals;

constexpr auto progressInterval = 100ms;
constexpr auto panelDelay = 250ms;
constexpr auto updateInterval = 1000ms;
} // namespace

CaptureSession::CaptureSession(const Surroundings& surroundings)
    : _around(surroundings),
      _progressRequests(surroundings.mainQueue, progressInterval, [this] { _around.view.updateProgress(); }),
      _slicing(surroundings.settings, keys::EnableAdaptivePacketSlicing) {}

CaptureSession::~CaptureSession() {
    endCapture();
    if (_captureThread.joinable()) {
        _captureThread.join();
    }
    _around.packetQueue.waitUntilAllOperationsAreFinished();
}

bool CaptureSession::prepareCapture() {
    // The tray menu stays usable while a folder is being chosen.
    if (_state == State::Ending) {
        // The save panel stands open, or a long file is on its way: the commands are enabled, so nobody may click in
        // vain.
        _around.dialogs.showCriticalAlertWithInfo(translated(texts::stillSaving), translated(texts::stillSavingInfo));
    }
    if (_state != State::Idle || _preparing) {
        return false;
    }
    const auto folder = temporaryFolder();
    if (!folder) {
        _around.dialogs.showCriticalAlertWithInfo(translated(texts::noFolder), folder.error().text());
        return false;
    }
    _temporaryFolder = *folder;
    _maxCaptureFiles = _around.settings.integerForKey(keys::MaxCaptureFiles);
    const QDateTime started = _around.timers.now();
    _preparing = true;
    const bool resolved = resolveLocation();
    _preparing = false;
    if (resolved) {
        _captureFilePrefix = freePrefix(started);
    }
    return resolved;
}

bool CaptureSession::resolveLocation() {
    auto& settings = _around.settings;
    QString location = settings.stringForKey(keys::CaptureFilesLocation);
    if (!isSpecialLocation(location) && !QFileInfo::exists(location)) {
        location = _around.desktopFolder;
        QDir().mkpath(location); // not every desktop makes it
        settings.setString(keys::CaptureFilesLocation, location);
    }
    if (location == locations::AskForEachCapture && isMultipleFileCapture()) {
        const auto chosen = _around.dialogs.chooseCaptureFolder();
        if (!chosen) {
            return false;
        }
        location = *chosen;
    }
    _captureFileLocation = location;
    return true;
}

// The start time names the capture, to the second and on a 12-hour clock. A capture whose second is taken, by a quick
// second start or because the clock was set back, is named for the next free one: neither its files nor the folder that
// gathers them are ever shared with another capture.
QString CaptureSession::freePrefix(const QDateTime& started) const {
    const QDir destination(_captureFileLocation);
    QDateTime time = started;
    for (;;) {
        const QString prefix = QString(texts::prefix).arg(QLocale::c().toString(time, QString(texts::prefixTime)));
        if (!QFileInfo::exists(temporaryPath(_temporaryFolder, prefix)) && !destination.exists(prefix) &&
            !destination.exists(QString(texts::fileName).arg(prefix))) {
            return prefix;
        }
        time = time.addSecs(1);
    }
}

bool CaptureSession::startCapture(CaptureMode mode) {
    State expected = State::Idle;
    if (!_state.compare_exchange_strong(expected, State::Opening)) {
        return false;
    }
    if (_captureThread.joinable()) {
        _captureThread.join(); // of the last capture: its last act was to say so
    }
    _around.flags.mode = mode;
    _around.flags.hoppingStarted = false;
    _fileDataLinkType = _dataLinkType;
    _userCanceled = false;
    _endRequested = false;
    _writeFailed = false;
    _limitReached = false;
    _framesDroppedByKernel = 0;
    _framesNotWritten = 0;
    _captureThread = _around.startCaptureThread([this] { runCapture(); });
    return true;
}

void CaptureSession::userDidStop() {
    _around.mainQueue.post([this] { endCapture(); });
}

void CaptureSession::userDidCancel() {
    _around.mainQueue.post([this] {
        _userCanceled = true;
        endCapture();
    });
}

void CaptureSession::endCapture() {
    _endRequested = true;
    stopTimersAndPanel();
    const std::lock_guard lock(_deviceMutex);
    if (_device) {
        _device->breakLoop();
    }
}

void CaptureSession::stopTimersAndPanel() {
    _mainTimer.reset();
    _updateTimer.reset();
    _around.view.closeProgress();
}

void CaptureSession::captureDidStart() {
    _around.flags.capturing = true;
    State expected = State::Opening; // a loop that has ended already is draining
    _state.compare_exchange_strong(expected, State::Capturing);
    if (const CaptureMode mode = _around.flags.mode; mode != CaptureMode::SingleChannel) {
        _around.hopper.startHopping(mode);
    }
    _around.view.disableCaptures();
    _panelTimer = _around.timers.after(panelDelay, [this] { _around.view.startProgress(); });
}

void CaptureSession::startUpdateTimer() {
    if (_endRequested) {
        return;
    }
    _updateTimer = _around.timers.every(updateInterval, [this] {
        _around.view.updateProgress();
        // One at a time: behind a slow disk they would only pile up.
        if (!_flushQueued.exchange(true)) {
            _around.packetQueue.addTask([this] { flushCaptureFile(); });
        }
    });
}

void CaptureSession::startMainTimer(std::int64_t seconds) {
    if (_endRequested) {
        return;
    }
    constexpr std::int64_t longest = std::numeric_limits<std::int64_t>::max() / 1000;
    _mainTimer =
        _around.timers.after(std::chrono::milliseconds(std::min(seconds, longest) * 1000), [this] { timerExpired(); });
}

// The next frame sees the flag; with no traffic the check queued behind the frames does.
void CaptureSession::timerExpired() {
    _timerExpired = true;
    _around.packetQueue.addTask([this] { checkCapture(); });
}

void CaptureSession::captureDidEnd() {
    _state = State::Ending;
    // A loop that ended by itself leaves the timers running, and their work in the queue behind the last frame.
    _endRequested = true;
    stopTimersAndPanel();
    _around.packetQueue.waitUntilAllOperationsAreFinished();
    _around.flags.capturing = false;
    _around.hopper.stopHopping();
    _around.restore.restoreChannel(_around.airport);
    const bool reconnecting = _around.restore.reconnectIfDue(_around.airport);
    _around.view.enableCaptures();
    std::optional<Alert> alert;
    if (_userCanceled) {
        discardCapture();
    } else {
        alert = keepCapture(reconnecting);
    }
    _state = State::Idle; // the next capture may start while the alert stands open
    if (alert) {
        _around.dialogs.showCriticalAlertWithInfo(alert->messageText, alert->informativeText);
    }
    _around.mainQueue.post([this] { _around.view.updateStatusItem(); });
}

void CaptureSession::discardCapture() {
    if (isMultipleFileCapture()) {
        QDir(QDir(_captureFileLocation).filePath(_captureFilePrefix)).removeRecursively();
    }
    if (_captureFile) {
        _captureFile->close();
        _captureFile->remove();
        replaceCaptureFile(nullptr);
    }
}

std::optional<CaptureSession::Alert> CaptureSession::keepCapture(bool reconnecting) {
    const auto file = _captureFile;
    if (file) {
        file->close(); // the last records may be the ones that find the disk full
        if (file->writeError() && !_writeFailed) {
            recordWriteError();
        }
    }
    std::optional<Alert> alert;
    if (_writeFailed) {
        alert = Alert{translated(texts::writeFailed), _writeErrorText};
    }
    if (file && file->frames() > 0) {
        finalizeCaptureFile(reconnecting);
    } else if (alert || !isMultipleFileCapture()) {
        if (file) {
            file->remove();
        }
        if (!alert) {
            // Frames that came and found no file are no fault of the link-layer header's.
            const bool hadNoFile = !file && _framesNotWritten > 0;
            alert =
                Alert{translated(texts::noFrames),
                      hadNoFile ? translated(texts::noFileInfo).arg(temporaryPath(_temporaryFolder, _captureFilePrefix))
                                : translated(texts::noFramesInfo)};
        }
    }
    replaceCaptureFile(nullptr);
    if (const std::uint64_t lost = _framesNotWritten; lost > 0) {
        qCWarning(lcCapture, texts::framesNotWritten, static_cast<unsigned long>(lost));
    }
    return alert;
}

// The device could not be opened. What the capture command changed on the adapter is put back all the same.
void CaptureSession::captureDidFail() {
    _around.restore.restoreChannel(_around.airport);
    _around.restore.reconnectIfDue(_around.airport);
    _state = State::Idle;
}

CaptureSession::Progress CaptureSession::progress() const {
    Progress progress;
    progress.totalCaptureFiles = _totalCaptureFiles;
    progress.maxCaptureFiles = _maxCaptureFiles;
    progress.framesDroppedByKernel = _framesDroppedByKernel;
    progress.framesNotWritten = _framesNotWritten;
    const std::lock_guard lock(_fileMutex);
    progress.limits = _limits;
    if (_captureFile) {
        progress.frames = _captureFile->frames();
        progress.size = _captureFile->size();
        progress.creationTime = _captureFile->creationTime();
    }
    return progress;
}

} // namespace vantrel
