// The capture thread's part: the whole life of the device, from open to close.
#include "CaptureTurn.h"
#include "RemoteTexts.h"
#include "base/Capabilities.h"
#include "engine/CaptureDevice.h"
#include "engine/DeviceTexts.h"
#include "frames/RadioHeader.h"
#include "remote/CaptureControls.h"
#include "remote/VantrelCaptureConnection.h"
#include "wifi/CWInterface.h"

#include <new>
#include <pcap/pcap.h>

namespace vantrel {

Q_LOGGING_CATEGORY(lcRemote, "vantrel.remote")

void VantrelCaptureConnection::startCapture() {
    // The capture before this one has enabled what must not begin while this one waits.
    const auto disable = [this] { _mainQueue.post([this] { _around.controls.disableCaptures(); }); };
    _hasTurn = _around.turn.take(
        _around.airport, [this] { return _stopRequested.load(); }, disable);
    if (_hasTurn) {
        if (openDevice()) {
            runLoop();
        }
        closeDevice();
    }
    _mainQueue.post([this] { endCapture(); });
}

bool VantrelCaptureConnection::openDevice() {
    // Looked at before the device is made, which may change the answer; left once there is one.
    const bool wasAssociated = _around.airport.isAssociated();
    const auto channel = _around.airport.wlanChannel();
    auto created = CaptureDevice::create(_around.airport);
    if (!created) {
        return false;
    }
    CaptureDevice* device = created.get();
    {
        const std::lock_guard lock(_deviceMutex);
        _device = std::move(created);
        if (_stopRequested) {
            device->breakLoop();
        }
    }
    if (wasAssociated) {
        _restore.setCurrentChannel(channel);
        _restore.setShouldReconnect(true);
        _around.airport.disassociate();
    }
    // Each frame by itself: it must be known on which channel it was heard.
    if (device->activate(CaptureDevice::Delivery::Single) != 0) {
        qCWarning(lcRemote, texts::pcapActivateFailed, qUtf8Printable(device->errorText()));
        return false;
    }
    if (!device->setFilter(texts::captureFilter)) {
        return false;
    }
    if (device->setDataLink(dataLinkTypeRadiotap) < 0) {
        qCWarning(lcRemote, texts::pcapSetDatalinkFailed, qUtf8Printable(device->errorText()));
        return false;
    }
    return giveUpCapabilities();
}

// The device is open. What follows takes frames from the air apart, here, and in the hop thread, which starts with what
// this one holds: neither needs a capability any more.
bool VantrelCaptureConnection::giveUpCapabilities() {
    const auto given = setCapabilities({});
    if (!given) {
        qCWarning(lcRemote, "%s", qUtf8Printable(given.error().text()));
    }
    return given.has_value();
}

void VantrelCaptureConnection::runLoop() {
    _mainQueue.post([this] { _around.controls.disableCaptures(); });
    _capturing = true;
    std::thread hopping([this] { doChannelHopping(); });
    if (_device->loop(frameArrived, reinterpret_cast<unsigned char*>(this)) == PCAP_ERROR) {
        qCWarning(lcRemote, texts::pcapLoopFailed, qUtf8Printable(_device->errorText()));
    }
    {
        const std::lock_guard lock(_hopMutex);
        _capturing = false;
    }
    _hopChanged.notify_all();
    hopping.join(); // so that nothing is tuned once the adapter is on its way back
}

void VantrelCaptureConnection::closeDevice() {
    std::unique_ptr<CaptureDevice> closing;
    const std::lock_guard lock(_deviceMutex);
    closing = std::move(_device);
}

void VantrelCaptureConnection::frameArrived(unsigned char* connection, const pcap_pkthdr* header,
                                            const unsigned char* data) {
    auto* self = reinterpret_cast<VantrelCaptureConnection*>(connection);
    ++self->_frameCounter;
    try {
        VantrelPacket packet = VantrelPacket::initWithData({data, header->caplen});
        if (packet.isValid()) {
            self->handlePacket(std::move(packet));
        }
    } catch (const std::bad_alloc&) { // must not unwind through libpcap; the network is heard again
        return;
    }
}

// Of two that are equally strong the earlier stays.
void VantrelCaptureConnection::handlePacket(VantrelPacket packet) {
    const std::lock_guard lock(_packetsMutex);
    const auto stored = _packets.find(packet.bssid());
    if (stored == _packets.end()) {
        std::string bssid(packet.bssid());
        _packets.emplace(std::move(bssid), std::move(packet));
    } else if (stored->second.rssi() < packet.rssi()) {
        stored->second = std::move(packet);
    }
}

} // namespace vantrel
