// The capture thread's part: the whole life of the device, from open to close.
#include "CaptureTexts.h"
#include "base/MainQueue.h"
#include "base/Translated.h"
#include "engine/CaptureDevice.h"
#include "engine/CaptureSession.h"
#include "engine/PacketQueue.h"

#include <new>

namespace vantrel {

void CaptureSession::runCapture() {
    if (!openDevice()) {
        _around.mainQueue.post([this] { captureDidFail(); });
        return;
    }
    beginFiles();
    _around.mainQueue.post([this] { captureDidStart(); });
    _around.mainQueue.post([this] { startUpdateTimer(); });
    runLoop();
    _state = State::Draining;
    takeStatistics();
    closeDevice();
    _around.packetQueue.waitUntilAllOperationsAreFinished();
    _around.mainQueue.post([this] { captureDidEnd(); });
}

bool CaptureSession::openDevice() {
    closeDevice(); // one that a refused data-link type left open: its monitor mode ends before the new one begins
    auto created = CaptureDevice::create(_around.airport);
    if (!created) {
        return false;
    }
    CaptureDevice* device = created.get();
    {
        const std::lock_guard lock(_deviceMutex);
        _device = std::move(created);
    }
    if (const int status = device->activate(); status != 0) {
        qCWarning(lcCapture, texts::pcapActivateFailed, device->creationError());
        qCInfo(lcCapture, "pcap_activate() answered %d: %s", status, qUtf8Printable(device->errorText()));
        _around.mainQueue.postAndWait([this] {
            _around.dialogs.showCriticalAlertWithInfo(translated(texts::noPermission),
                                                      translated(texts::noPermissionInfo));
        });
        closeDevice();
        return false;
    }
    if (device->setDataLink(_fileDataLinkType) != 0) {
        qCWarning(lcCapture, texts::pcapSetDatalinkFailed, qUtf8Printable(device->errorText()));
        return false;
    }
    return true;
}

void CaptureSession::beginFiles() {
    _totalCaptureFiles = 1;
    _flushQueued = false;
    _framesLostHere = 0;
    _statisticsTime = 0;
    _totals.clear();
    beginCaptureFile();
}

void CaptureSession::runLoop() {
    // A Stop that came before the device was there found nothing to break.
    if (_endRequested) {
        _device->breakLoop();
    }
    const auto arrived = [](unsigned char* session, const pcap_pkthdr* header, const unsigned char* data) {
        reinterpret_cast<CaptureSession*>(session)->frameArrived(*header, data);
    };
    if (_device->loop(arrived, this) == PCAP_ERROR) {
        qCWarning(lcCapture, texts::pcapLoopFailed, qUtf8Printable(_device->errorText()));
    }
    // What was on the air before Stop belongs to the capture.
    if (!_userCanceled && !_limitReached) {
        _device->drain(arrived, this);
    }
}

void CaptureSession::closeDevice() {
    std::unique_ptr<CaptureDevice> closing;
    {
        const std::lock_guard lock(_deviceMutex);
        closing = std::move(_device);
    }
    // Destroyed without the mutex: giving the adapter back may take its time.
}

void CaptureSession::frameArrived(const pcap_pkthdr& header, const unsigned char* data) {
    try {
        std::unique_ptr<VantrelPacketOperation> operation(
            static_cast<VantrelPacketOperation*>(_around.packetQueue.spareOperation().release()));
        if (operation) {
            operation->setFrame(header, data, _fileDataLinkType, &_slicing);
        } else {
            operation = VantrelPacketOperation::initWithPcapHeader(header, data, _fileDataLinkType, &_slicing);
        }
        operation->setDelegate(this);
        _around.packetQueue.addOperation(std::move(operation));
    } catch (const std::bad_alloc&) { // must not unwind through libpcap; the loss is counted
        ++_framesLostHere;
    }
    // libpcap's counters belong to this thread; the frames' own clock says when a second has passed.
    if (header.ts.tv_sec != _statisticsTime) {
        _statisticsTime = header.ts.tv_sec;
        takeStatistics();
    }
}

void CaptureSession::takeStatistics() {
    const auto statistics = _device->statistics();
    _framesDroppedByKernel = statistics.dropped + _framesLostHere;
    if (_state == State::Draining && _framesDroppedByKernel > 0) {
        qCWarning(lcCapture, "%llu of %llu frames were dropped before they could be captured",
                  static_cast<unsigned long long>(_framesDroppedByKernel.load()),
                  static_cast<unsigned long long>(statistics.received));
    }
}

} // namespace vantrel
