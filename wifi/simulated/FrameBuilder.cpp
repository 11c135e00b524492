#include "simulated/FrameBuilder.h"

#include "ByteWriter.h"
#include "Elements.h"

#include <algorithm>

namespace vantrel {

namespace {

// The frame control field, first byte in the low half (IEEE Std 802.11-2020, 9.2.4.1).
constexpr std::uint32_t controlProbeRequest = 0x0040;
constexpr std::uint32_t controlProbeResponse = 0x0050;
constexpr std::uint32_t controlBeacon = 0x0080;
constexpr std::uint32_t controlRts = 0x00b4;
constexpr std::uint32_t controlCts = 0x00c4;
constexpr std::uint32_t controlAck = 0x00d4;
constexpr std::uint32_t controlNullData = 0x0048;
constexpr std::uint32_t controlQosData = 0x0088;
constexpr std::uint32_t controlToDs = 0x0100;
constexpr std::uint32_t controlFromDs = 0x0200;
constexpr std::uint32_t controlRetry = 0x0800;
constexpr std::uint32_t controlPowerSave = 0x1000;
constexpr std::uint32_t controlProtected = 0x4000;

constexpr std::uint32_t beaconIntervalInTimeUnits = 100; // of 1024 µs
constexpr std::uint32_t capabilityAccessPoint = 0x0001;
constexpr std::uint32_t capabilityPrivacy = 0x0010;
constexpr std::uint32_t capabilityShortSlot = 0x0400;

constexpr std::size_t ccmpOverhead = 8 + 8; // its header and its integrity code

std::uint32_t sequenceControl(std::uint16_t sequence) { return static_cast<std::uint32_t>(sequence & 0x0fff) << 4; }

void appendManagementHeader(ByteWriter& out, std::uint32_t control, const MacAddress& receiver,
                            const MacAddress& transmitter, const MacAddress& bssid, std::uint16_t sequence) {
    out.u16(control);
    out.u16(receiver == broadcastAddress ? 0 : 44);
    out.bytes(receiver);
    out.bytes(transmitter);
    out.bytes(bssid);
    out.u16(sequenceControl(sequence));
}

void appendFixedFields(ByteWriter& out, const Announcement& network, std::uint64_t timestamp) {
    out.u64(timestamp);
    out.u16(beaconIntervalInTimeUnits);
    out.u16(capabilityAccessPoint | (network.secured ? capabilityPrivacy : 0U) |
            (network.channel.channelBand == bandTwoDotFourGHz ? capabilityShortSlot : 0U));
}

void appendDataHeader(ByteWriter& out, std::uint32_t control, const DataHeader& header) {
    const MacAddress& receiver = header.toDistribution ? header.bssid : header.station;
    const MacAddress& transmitter = header.toDistribution ? header.station : header.bssid;
    out.u16(control | (header.toDistribution ? controlToDs : controlFromDs) | (header.retry ? controlRetry : 0U));
    out.u16(header.duration);
    out.bytes(receiver);
    out.bytes(transmitter);
    out.bytes(header.bssid); // the far end of the way: here always the access point's own network
    out.u16(sequenceControl(header.sequence));
}

} // namespace

Bytes beaconFrame(const Announcement& network, std::uint16_t sequence, std::uint64_t timestamp,
                  std::uint8_t dtimCount) {
    Bytes frame;
    frame.reserve(256);
    ByteWriter out(frame);
    appendManagementHeader(out, controlBeacon, broadcastAddress, network.bssid, network.bssid, sequence);
    appendFixedFields(out, network, timestamp);
    appendNetworkElements(out, network, dtimCount);
    return frame;
}

Bytes probeResponseFrame(const Announcement& network, const MacAddress& station, std::uint16_t sequence,
                         std::uint64_t timestamp) {
    Bytes frame;
    frame.reserve(256);
    ByteWriter out(frame);
    appendManagementHeader(out, controlProbeResponse, station, network.bssid, network.bssid, sequence);
    appendFixedFields(out, network, timestamp);
    appendNetworkElements(out, network, std::nullopt);
    return frame;
}

Bytes probeRequestFrame(const MacAddress& station, const CWChannel& channel, std::uint16_t sequence) {
    Bytes frame;
    ByteWriter out(frame);
    appendManagementHeader(out, controlProbeRequest, broadcastAddress, station, broadcastAddress, sequence);
    appendProbeElements(out, channel);
    return frame;
}

Bytes qosDataFrame(const DataHeader& header, std::uint64_t packetNumber, std::size_t bodySize) {
    Bytes frame;
    frame.reserve(26 + ccmpOverhead + bodySize);
    ByteWriter out(frame);
    appendDataHeader(out, controlQosData | controlProtected, header);
    out.u16(0); // best effort, normal acknowledgement
    // CCMP header (12.5.3.2): packet number 0 and 1, reserved, key id 0 with the extension bit, packet number 2 to 5.
    out.u16(static_cast<std::uint32_t>(packetNumber & 0xffff));
    out.u8(0);
    out.u8(0x20);
    out.u32(static_cast<std::uint32_t>(packetNumber >> 16));
    std::uint64_t noise = packetNumber * 0x9e3779b97f4a7c15ULL + 1;
    for (std::size_t left = bodySize + 8; left > 0;) {
        noise = noise * 6364136223846793005ULL + 1442695040888963407ULL;
        for (int shift = 32; shift < 64 && left > 0; shift += 8, --left) {
            out.u8(static_cast<int>((noise >> shift) & 0xff));
        }
    }
    return frame;
}

Bytes nullDataFrame(const DataHeader& header, bool powerSave) {
    Bytes frame;
    ByteWriter out(frame);
    appendDataHeader(out, controlNullData | (powerSave ? controlPowerSave : 0U), header);
    return frame;
}

Bytes ackFrame(const MacAddress& receiver) {
    Bytes frame;
    ByteWriter out(frame);
    out.u16(controlAck);
    out.u16(0);
    out.bytes(receiver);
    return frame;
}

Bytes rtsFrame(const MacAddress& receiver, const MacAddress& transmitter, std::uint16_t duration) {
    Bytes frame;
    ByteWriter out(frame);
    out.u16(controlRts);
    out.u16(duration);
    out.bytes(receiver);
    out.bytes(transmitter);
    return frame;
}

Bytes ctsFrame(const MacAddress& receiver, std::uint16_t duration) {
    Bytes frame;
    ByteWriter out(frame);
    out.u16(controlCts);
    out.u16(duration);
    out.bytes(receiver);
    return frame;
}

} // namespace vantrel
