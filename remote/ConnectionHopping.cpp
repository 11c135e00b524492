// The hop thread's part: the way over the channels, and what is sent at its end.
#include "RemoteTexts.h"
#include "SweepPlan.h"
#include "UnsentQueue.h"
#include "remote/VantrelCaptureConnection.h"
#include "wifi/CWInterface.h"
#include "wifi/HopLoop.h"

namespace vantrel {

void VantrelCaptureConnection::doChannelHopping() {
    std::vector<SweepStop> stops = sweepStops(_around.airport.supportedWLANChannels());
    while (_capturing) {
        sweep(stops);
        sendSweep();
    }
}

void VantrelCaptureConnection::sweep(std::vector<SweepStop>& stops) {
    if (stops.empty()) { // nothing to tune; heard is what the adapter's own channel brings
        dwell(usualDwell);
    }
    for (SweepStop& stop : stops) {
        if (!_capturing) {
            return;
        }
        listen(stop);
    }
}

void VantrelCaptureConnection::listen(SweepStop& stop) {
    if (_around.airport.powerOn()) {
        const auto tuned = _around.airport.setWLANChannel(stop.channel);
        _frameCounter = 0;
        if (!tuned) {
            qCWarning(lcRemote, texts::hopFailed, qUtf8Printable(tuned.error().text()));
        }
    } else {
        _frameCounter = 0;
    }
    dwell(stop.dwell);
    stop.dwell = _frameCounter != 0 ? usualDwell : silentDwell;
}

void VantrelCaptureConnection::dwell(std::chrono::milliseconds time) {
    std::unique_lock lock(_hopMutex);
    _around.clock.waitUntil(lock, _hopChanged, _around.clock.now() + time, [this] { return !_capturing; });
}

// A client that does not read holds nobody up: what has no space waits in the queue.
void VantrelCaptureConnection::sendSweep() {
    const std::lock_guard lock(_packetsMutex);
    for (auto& [bssid, packet] : _packets) {
        if (!_capturing) {
            break;
        }
        if (!sendOrQueue(std::move(packet))) {
            stopCapture();
            break;
        }
    }
    _packets.clear();
    const std::lock_guard output(_outputMutex);
    if (!_outputStream->flush()) {
        stopCapture();
    }
}

// False when the client's stream has failed. As long as records wait, the stream will announce its space.
bool VantrelCaptureConnection::sendOrQueue(VantrelPacket packet) {
    const std::lock_guard lock(_outputMutex);
    if (_packetQueue->isEmpty() && _outputStream->hasSpaceAvailable()) {
        return packet.writeToStream(*_outputStream);
    }
    _packetQueue->enqueue(std::move(packet));
    return true;
}

} // namespace vantrel
