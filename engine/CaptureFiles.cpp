// The packet queue's part: limits, rotation and writing.
#include "CaptureTexts.h"
#include "base/MainQueue.h"
#include "base/Translated.h"
#include "engine/CaptureSession.h"
#include "engine/PacketQueue.h"
#include "settings/Defaults.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"

#include <QDir>
#include <utility>

namespace vantrel {

namespace {
constexpr std::chrono::seconds deliveryRetry{1};
}

void CaptureSession::didProcessPacketWithPcapHeader(const pcap_pkthdr& header, const std::uint8_t* data) {
    if (!checkCapture()) {
        if (_deliveryTried) {
            ++_framesNotWritten; // the full file cannot be delivered, and there is no other to write to
        }
        return;
    }
    if (!_captureFile) {
        ++_framesNotWritten;
        _progressRequests.request();
        return;
    }
    _captureFile->dumpWithHeader(header, data);
    if (_captureFile->writeError()) [[unlikely]] {
        noteWriteError();
        return;
    }
    _progressRequests.request();
}

bool CaptureSession::checkCapture() {
    const auto& flags = _around.flags;
    if (flags.mode != CaptureMode::SingleChannel && !flags.hoppingStarted) {
        return false; // caught before hopping began: from a channel nobody asked for
    }
    if (_writeFailed || _limitReached) {
        return false;
    }
    if (!isLimitReached()) {
        return true;
    }
    if (rotates() && (_around.settings.boolForKey(keys::RotateCaptureFiles) || _totalCaptureFiles < _maxCaptureFiles)) {
        return rotate();
    }
    _limitReached = true; // asked once: frames go on coming until the loop is broken
    _around.mainQueue.post([this] { endCapture(); });
    return false;
}

bool CaptureSession::isLimitReached() const {
    if (_timerExpired) {
        return true;
    }
    const auto size = static_cast<std::int64_t>(_captureFile ? _captureFile->size() : 0);
    if (_limits.maxFileSize > 0 && size >= _limits.maxFileSize) {
        return true;
    }
    const auto frames = static_cast<std::int64_t>(_captureFile ? _captureFile->frames() : 0);
    return _limits.maxFileFrames >= 1 && frames >= _limits.maxFileFrames;
}

bool CaptureSession::rotate() {
    if (_captureFile) {
        if (!mayTryDelivery()) {
            return false;
        }
        _captureFile->close();
        if (_captureFile->writeError()) {
            noteWriteError(); // the end of the capture delivers what is whole
            return false;
        }
        if (!finalizeCaptureFile(false)) {
            _nextDeliveryTry = std::chrono::steady_clock::now() + deliveryRetry;
            return false;
        }
    }
    if (_totalCaptureFiles < _maxCaptureFiles) {
        ++_totalCaptureFiles;
    }
    beginCaptureFile();
    return true;
}

// After a failed delivery the next is tried a second later and not with the next frame, and not at all once the capture
// ends, which delivers once more by itself: a destination that is full or slow must not hold up its end.
bool CaptureSession::mayTryDelivery() const {
    return !_deliveryTried || (!_endRequested && std::chrono::steady_clock::now() >= _nextDeliveryTry);
}

QString CaptureSession::temporaryPath(const QString& folder, const QString& prefix) const {
    return QDir(folder).filePath(QString(texts::fileName).arg(prefix));
}

std::shared_ptr<VantrelCaptureFile> CaptureSession::createCaptureFile() {
    const CaptureLimits limits = captureLimits(_around.settings);
    {
        const std::lock_guard lock(_fileMutex);
        _limits = limits;
    }
    _timerExpired = false;
    if (limits.seconds > 0) {
        _around.mainQueue.post([this, seconds = limits.seconds] { startMainTimer(seconds); });
    }
    return VantrelCaptureFile::initWithPath(temporaryPath(_temporaryFolder, _captureFilePrefix), _fileDataLinkType);
}

// Without a file the capture runs on, and its next file may be made again; until then its frames count as lost, and the
// user hears of it at once.
void CaptureSession::beginCaptureFile() {
    replaceCaptureFile(createCaptureFile());
    if (!_captureFile) {
        _around.mainQueue.post([this, path = temporaryPath(_temporaryFolder, _captureFilePrefix)] {
            _around.dialogs.showCriticalAlertWithInfo(translated(texts::noFile),
                                                      translated(texts::noFileInfo).arg(path));
        });
    }
}

void CaptureSession::replaceCaptureFile(std::shared_ptr<VantrelCaptureFile> file) {
    _deliveryTried = false;
    const std::lock_guard lock(_fileMutex);
    _captureFile.swap(file);
}

bool CaptureSession::isMultipleFileCapture() const {
    const auto& settings = _around.settings;
    const QString location = settings.stringForKey(keys::CaptureFilesLocation);
    return settings.boolForKey(keys::LimitCaptureFile) && location != locations::CloudShark &&
           location != locations::MojoPackets && _maxCaptureFiles > 1;
}

// The settings may change while a capture runs; what was prepared for an upload or a save panel stays one file.
bool CaptureSession::rotates() const { return isMultipleFileCapture() && !isSpecialLocation(_captureFileLocation); }

bool CaptureSession::finalizeCaptureFile(bool reconnecting) {
    const bool isRetry = std::exchange(_deliveryTried, true);
    return _around.finalizer.finalizeCaptureFile({.file = *_captureFile,
                                                  .totals = _totals,
                                                  .location = _captureFileLocation,
                                                  .prefix = _captureFilePrefix,
                                                  .isMultipleFileCapture = rotates(),
                                                  .maxCaptureFiles = _maxCaptureFiles,
                                                  .totalCaptureFiles = _totalCaptureFiles,
                                                  .isCapturing = _around.flags.capturing,
                                                  .isRetry = isRetry,
                                                  .reconnecting = reconnecting});
}

void CaptureSession::flushCaptureFile() {
    _flushQueued = false;
    if (_captureFile && !_captureFile->flush()) {
        noteWriteError();
    }
}

// The disk is full or gone. The capture ends like one the user stopped, and tells why once its file is closed.
void CaptureSession::noteWriteError() {
    if (!_writeFailed) {
        recordWriteError();
        _around.mainQueue.post([this] { endCapture(); });
    }
}

void CaptureSession::recordWriteError() {
    _writeFailed = true;
    _captureFile->close(); // cuts it back to its whole records and counts them
    const Error& error = *_captureFile->writeError();
    _writeErrorText =
        translated(texts::writeFailedInfo).arg(_captureFile->path(), error.why).arg(_captureFile->frames());
}

} // namespace vantrel
