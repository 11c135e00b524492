#include "remote/VantrelCaptureConnection.h"

#include "Assertion.h"
#include "CaptureTurn.h"
#include "RemoteTexts.h"
#include "UnsentQueue.h"
#include "engine/CaptureDevice.h"
#include "remote/CaptureControls.h"

namespace vantrel {

namespace {

using namespace std::chrono_literals;

// A client that floods is held back by its own full socket: at most this much is read in that time.
constexpr std::size_t floodBlock = std::size_t{64} * 1024;
constexpr auto floodPause = 5ms;

} // namespace

std::unique_ptr<VantrelCaptureConnection>
VantrelCaptureConnection::initWithInputStream(std::unique_ptr<InputStream> inputStream,
                                              std::unique_ptr<OutputStream> outputStream, Surroundings surroundings) {
    return std::unique_ptr<VantrelCaptureConnection>(
        new VantrelCaptureConnection(std::move(inputStream), std::move(outputStream), std::move(surroundings)));
}

VantrelCaptureConnection::VantrelCaptureConnection(std::unique_ptr<InputStream> inputStream,
                                                   std::unique_ptr<OutputStream> outputStream,
                                                   Surroundings surroundings)
    : _around(std::move(surroundings)),
      _inputStream(std::move(inputStream)),
      _outputStream(std::move(outputStream)),
      _packetQueue(std::make_unique<UnsentQueue>()) {}

VantrelCaptureConnection::~VantrelCaptureConnection() {
    close();
    if (_capture.joinable()) {
        endCapture();
    }
}

bool VantrelCaptureConnection::open() {
    _isOpen = true;
    _inputStream->setDelegate(this);
    _outputStream->setDelegate(this);
    _inputStream->scheduleIn(_mainQueue);
    _outputStream->scheduleIn(_mainQueue);
    _inputStream->open();
    _outputStream->open();
    _reader = std::thread([this] { keepAlive(); });
    _capture = _around.startCaptureThread([this] { startCapture(); });
    return true;
}

void VantrelCaptureConnection::close() {
    if (!_isOpen) {
        return;
    }
    _isOpen = false;
    stopCapture();
    _inputStream->close();
    {
        const std::lock_guard lock(_outputMutex);
        _outputStream->close();
    }
    _reader.join(); // its read was ended by the closing
    _inputStream->setDelegate(nullptr);
    _outputStream->setDelegate(nullptr);
    Q_EMIT VantrelCaptureConnectionDidCloseNotification(this);
    const std::lock_guard lock(_outputMutex);
    _packetQueue->clear();
}

void VantrelCaptureConnection::stream(Stream& aStream, StreamEvent handleEvent) {
    assertThat(&aStream == _inputStream.get() || &aStream == _outputStream.get(),
               "aStream == self.inputStream || aStream == self.outputStream",
               {"-[VantrelCaptureConnection stream:handleEvent:]", "VantrelCaptureConnection"});
    switch (handleEvent) {
    case StreamEvent::EndEncountered:
    case StreamEvent::ErrorOccurred:
        close();
        break;
    case StreamEvent::HasSpaceAvailable:
        if (&aStream == _outputStream.get()) {
            sendQueue();
        }
        break;
    case StreamEvent::OpenCompleted:
    case StreamEvent::HasBytesAvailable: // the reader takes them
        break;
    }
}

// A failure is announced by the stream.
void VantrelCaptureConnection::sendQueue() {
    const std::lock_guard lock(_outputMutex);
    while (_outputStream->hasSpaceAvailable() && !_packetQueue->isEmpty()) {
        static_cast<void>(_packetQueue->dequeue().writeToStream(*_outputStream));
    }
    static_cast<void>(_outputStream->flush());
}

void VantrelCaptureConnection::keepAlive() {
    std::vector<std::uint8_t> thrownAway(floodBlock);
    ssize_t count = 0;
    do {
        count = _inputStream->read(thrownAway);
        if (count == static_cast<ssize_t>(floodBlock)) {
            std::this_thread::sleep_for(floodPause);
        }
    } while (count > 0);
}

std::vector<VantrelPacket> VantrelCaptureConnection::packetQueue() const {
    const std::lock_guard lock(_outputMutex);
    return _packetQueue->packets();
}

VantrelCaptureConnection::PacketTable VantrelCaptureConnection::packets() const {
    const std::lock_guard lock(_packetsMutex);
    return _packets;
}

void VantrelCaptureConnection::stopCapture() {
    {
        const std::lock_guard lock(_deviceMutex);
        _stopRequested = true; // for a device that is not there yet
        if (_device) {
            _device->breakLoop();
        }
    }
    _around.turn.lookAgain();
}

// The capture thread's last act is to ask for this; the destructor may come first.
void VantrelCaptureConnection::endCapture() {
    if (!_capture.joinable()) {
        return;
    }
    _capture.join();
    _restore.restoreChannel(_around.airport);
    const bool isRejoining = _restore.reconnectIfDue(_around.airport);
    _around.controls.enableCaptures();
    if (_hasTurn) {
        _around.turn.giveBack(isRejoining);
    }
    _captureIsOver = true;
    Q_EMIT captureDidEnd();
}

} // namespace vantrel
