// The main thread's part of a capture: preparing, starting, ending.
#include "engine/CaptureSession.h"

#include "CaptureTexts.h"
#include "base/MainQueue.h"
#include "engine/CaptureDevice.h"
#include "engine/PacketQueue.h"
#include "engine/TemporaryFolder.h"
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

bool isSpecialLocation(const QString& location) {
    return location == locations::AskForEachCapture || location == locations::CloudShark ||
           location == locations::MojoPackets;
}

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
    if (_state != State::Idle) {
        return false;
    }
    auto& settings = _around.settings;
    const auto folder = temporaryFolder();
    if (!folder) {
        _around.dialogs.showCriticalAlertWithInfo(texts::noFolder, folder.error().text());
        return false;
    }
    _temporaryFolder = *folder;
    _maxCaptureFiles = settings.integerForKey(keys::MaxCaptureFiles);
    _captureFilePrefix = freePrefix(*folder);

    QString location = settings.stringForKey(keys::CaptureFilesLocation);
    if (!isSpecialLocation(location) && !QFileInfo::exists(location)) {
        location = _around.desktopFolder;
        settings.setString(keys::CaptureFilesLocation, location);
    }
    _captureFileLocation = location;
    if (location == locations::AskForEachCapture && isMultipleFileCapture()) {
        const auto chosen = _around.dialogs.chooseCaptureFolder();
        if (!chosen) {
            return false;
        }
        _captureFileLocation = *chosen;
    }
    return true;
}

// The start time names the capture, to the second and on a 12-hour clock. A capture whose second is taken, by a quick
// second start or because the clock was set back, is named for the next free one: no file is ever written over.
QString CaptureSession::freePrefix(const QString& folder) const {
    QDateTime time = _around.timers.now();
    for (;;) {
        const QString prefix = QString(texts::prefix).arg(QLocale::c().toString(time, QString(texts::prefixTime)));
        if (!QFileInfo::exists(temporaryPath(folder, prefix))) {
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
    _fileDataLinkType = _dataLinkType;
    _userCanceled = false;
    _endRequested = false;
    _writeFailed = false;
    _limitReached = false;
    _framesDroppedByKernel = 0;
    _captureThread = std::thread([this] { runCapture(); });
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
    _state = State::Capturing;
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
    stopTimersAndPanel();
    _around.flags.capturing = false;
    _around.restore.restoreChannel(_around.airport);
    const bool reconnecting = _around.restore.reconnectIfDue(_around.airport);
    _around.view.enableCaptures();
    // A capture may start again while an alert below stands open.
    _state = State::Idle;
    if (_userCanceled) {
        discardCapture();
    } else {
        keepCapture(reconnecting);
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

void CaptureSession::keepCapture(bool reconnecting) {
    const auto file = _captureFile;
    if (file && _writeFailed) {
        file->close(); // cuts it to its whole records, so that its count is true
    }
    if (file && file->frames() > 0) {
        finalizeCaptureFile(reconnecting);
        replaceCaptureFile(nullptr);
        if (_writeFailed) {
            tellWriteError();
        }
        return;
    }
    replaceCaptureFile(nullptr);
    if (isMultipleFileCapture()) {
        return;
    }
    if (file) {
        file->close();
        file->remove();
    }
    if (_writeFailed) {
        tellWriteError();
    } else {
        _around.dialogs.showCriticalAlertWithInfo(texts::noFrames, texts::noFramesInfo);
    }
}

void CaptureSession::tellWriteError() {
    _around.dialogs.showCriticalAlertWithInfo(texts::writeFailed, _writeErrorText);
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
