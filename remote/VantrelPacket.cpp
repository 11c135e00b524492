#include "remote/VantrelPacket.h"

#include "frames/LittleEndian.h"
#include "frames/Radiotap.h"
#include "remote/Streams.h"

#include <cstdio>
#include <zlib.h>

namespace vantrel {

namespace {

// Radiotap's signal and noise are in two's complement.
int signedByte(std::uint8_t byte) { return byte < 0x80 ? byte : byte - 0x100; }

constexpr std::size_t fcsLength = 4;
constexpr std::size_t bssidOffset = 16; // the third address
constexpr std::size_t bssidLength = 6;

// The frame control field (IEEE Std 802.11-2020, 9.2.4.1).
constexpr unsigned versionMask = 0x0003;
constexpr unsigned typeMask = 0x000C; // 0: management
constexpr unsigned subtypeMask = 0x00F0;
constexpr unsigned subtypeProbeResponse = 0x0050;
constexpr unsigned subtypeBeacon = 0x0080;

} // namespace

VantrelPacket VantrelPacket::initWithData(std::span<const std::uint8_t> data) {
    VantrelPacket packet(data);
    packet.parse();
    return packet;
}

void VantrelPacket::parse() {
    if (!readSignal()) {
        return;
    }
    const std::size_t frameStart = readLe16(_data, 2); // within the bytes, as the walk made sure
    if (_data.size() <= frameStart + fcsLength || !checkSequenceIsRight(frameStart)) {
        return;
    }
    readBssid(std::span(_data).subspan(frameStart, _data.size() - frameStart - fcsLength));
    _isValid = !bssid().empty();
}

// Whether the radio header could be walked to its end.
bool VantrelPacket::readSignal() {
    RadiotapIterator iterator;
    int result = iterator.init(_data);
    while (result == 0) {
        result = iterator.next();
        if (result == 0 && iterator.thisArgIndex() == radiotap::antennaSignal) {
            _rssi = signedByte(iterator.thisArg()[0]);
        } else if (result == 0 && iterator.thisArgIndex() == radiotap::antennaNoise) {
            _noise = signedByte(iterator.thisArg()[0]);
        }
    }
    return result == RadiotapIterator::noMoreEntries;
}

bool VantrelPacket::checkSequenceIsRight(std::size_t frameStart) const {
    const std::size_t frameEnd = _data.size() - fcsLength;
    const uLong crc = crc32(0, _data.data() + frameStart, static_cast<uInt>(frameEnd - frameStart));
    return crc == readLe32(_data, frameEnd);
}

void VantrelPacket::readBssid(std::span<const std::uint8_t> frame) {
    if (frame.size() < bssidOffset + bssidLength) {
        return;
    }
    const unsigned frameControl = readLe16(frame, 0);
    const unsigned subtype = frameControl & subtypeMask;
    if ((frameControl & (versionMask | typeMask)) == 0 &&
        (subtype == subtypeProbeResponse || subtype == subtypeBeacon)) {
        const auto address = frame.subspan(bssidOffset, bssidLength);
        std::snprintf(_bssid.data(), _bssid.size(), "%02x:%02x:%02x:%02x:%02x:%02x", address[0], address[1], address[2],
                      address[3], address[4], address[5]);
    }
}

bool VantrelPacket::writeToStream(OutputStream& stream) const { return writeBlock(stream, _data) > 0; }

} // namespace vantrel
