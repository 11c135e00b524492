#include "ByteWriter.h"
#include "simulated/FrameBuilder.h"

#include <zlib.h>

namespace vantrel {

namespace {

// Bits of the present word and values of the fields, as radiotap.org defines them.
constexpr std::uint32_t presentTsft = 1U << 0;
constexpr std::uint32_t presentFlags = 1U << 1;
constexpr std::uint32_t presentRate = 1U << 2;
constexpr std::uint32_t presentChannel = 1U << 3;
constexpr std::uint32_t presentSignal = 1U << 5;
constexpr std::uint32_t presentNoise = 1U << 6;
constexpr std::uint32_t presentAntenna = 1U << 11;
constexpr std::uint32_t presentMcs = 1U << 19;
constexpr std::uint32_t presentVht = 1U << 21;

constexpr int flagFcsAtEnd = 0x10;
constexpr int flagBadFcs = 0x40;

constexpr std::uint32_t channelCck = 0x0020;
constexpr std::uint32_t channelOfdm = 0x0040;
constexpr std::uint32_t channel2GHz = 0x0080;
constexpr std::uint32_t channel5GHz = 0x0100;

// Bandwidth, index, guard interval, format, error correction, STBC and extension streams: all but the first two are
// the plain ones, whose flags are 0.
constexpr int mcsKnown = 0x01 | 0x02 | 0x04 | 0x08 | 0x10 | 0x20 | 0x40;
constexpr int mcsBandwidth40 = 1;

constexpr std::uint32_t vhtKnownStbc = 0x0001;
constexpr std::uint32_t vhtKnownGuard = 0x0004;
constexpr std::uint32_t vhtKnownBandwidth = 0x0040;

bool isCck(int rate) { return rate == 2 || rate == 4 || rate == 11 || rate == 22; }

std::uint32_t channelFlags(const Reception& reception) {
    if (reception.frequency >= 5000) {
        return channel5GHz | channelOfdm;
    }
    const bool cck = !reception.ht && !reception.vht && isCck(reception.rate);
    return channel2GHz | (cck ? channelCck : channelOfdm);
}

// The bandwidth codes of the VHT field for a whole 20, 40, 80 or 160 MHz.
int vhtBandwidth(int widthCode) {
    switch (widthCode) {
    case width40MHz:
        return 1;
    case width80MHz:
        return 4;
    case width160MHz:
        return 11;
    default: // 20 MHz, and codes that say nothing
        return 0;
    }
}

void appendVht(ByteWriter& out, const VhtRate& rate) {
    out.alignTo(2);
    out.u16(vhtKnownStbc | vhtKnownGuard | vhtKnownBandwidth);
    out.u8(0); // no STBC, long guard interval
    out.u8(vhtBandwidth(rate.width));
    out.u8(rate.index << 4 | rate.streams);
    out.u8(0); // the three other users of a multi-user frame
    out.u8(0);
    out.u8(0);
    out.u8(0);  // coding: BCC
    out.u8(0);  // group
    out.u16(0); // partial association
}

std::uint32_t presentWord(const Reception& reception) {
    std::uint32_t present = presentTsft | presentFlags | presentChannel | presentSignal | presentNoise | presentAntenna;
    if (reception.vht) {
        present |= presentVht;
    } else if (reception.ht) {
        present |= presentMcs;
    } else {
        present |= presentRate;
    }
    return present;
}

void appendRadiotapHeader(Bytes& packet, const Reception& reception) {
    const std::uint32_t present = presentWord(reception);
    ByteWriter out(packet);
    out.u8(0); // version
    out.u8(0);
    out.u16(0); // the length, known at the end
    out.u32(present);
    out.u64(reception.tsft);
    out.u8(flagFcsAtEnd | (reception.badFcs ? flagBadFcs : 0));
    if ((present & presentRate) != 0) {
        out.u8(reception.rate);
    }
    out.alignTo(2);
    out.u16(static_cast<std::uint32_t>(reception.frequency));
    out.u16(channelFlags(reception));
    out.u8(reception.signal);
    out.u8(reception.noise);
    out.u8(reception.antenna);
    if (reception.vht) {
        appendVht(out, *reception.vht);
    } else if (reception.ht) {
        out.u8(mcsKnown);
        out.u8(reception.ht->wide ? mcsBandwidth40 : 0);
        out.u8(reception.ht->index);
    }
    packet[2] = static_cast<std::uint8_t>(packet.size());
}

} // namespace

Bytes received(const Reception& reception, std::span<const std::uint8_t> frame) {
    Bytes packet;
    packet.reserve(48 + frame.size() + 4);
    appendRadiotapHeader(packet, reception);
    ByteWriter out(packet);
    out.bytes(frame);
    auto fcs = static_cast<std::uint32_t>(::crc32(0, frame.data(), static_cast<uInt>(frame.size())));
    if (reception.badFcs) {
        fcs ^= 0x00010000U;
    }
    out.u32(fcs);
    return packet;
}

} // namespace vantrel
