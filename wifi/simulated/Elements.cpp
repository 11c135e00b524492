#include "Elements.h"

#include "wifi/ChannelMath.h"

#include <algorithm>

namespace vantrel {

namespace {

constexpr int idSsid = 0;
constexpr int idSupportedRates = 1;
constexpr int idDsParameter = 3;
constexpr int idTrafficMap = 5;
constexpr int idCountry = 7;
constexpr int idErp = 42;
constexpr int idHtCapabilities = 45;
constexpr int idRsn = 48;
constexpr int idExtendedRates = 50;
constexpr int idHtOperation = 61;
constexpr int idVhtCapabilities = 191;
constexpr int idVhtOperation = 192;

constexpr std::uint8_t dtimPeriod = 3;

// Rates in 500 kb/s; the high bit marks those that every member must support.
constexpr std::array<std::uint8_t, 8> rates2GHz = {0x82, 0x84, 0x8b, 0x96, 0x0c, 0x12, 0x18, 0x24};
constexpr std::array<std::uint8_t, 4> furtherRates2GHz = {0x30, 0x48, 0x60, 0x6c};
constexpr std::array<std::uint8_t, 8> rates5GHz = {0x8c, 0x12, 0x98, 0x24, 0xb0, 0x48, 0x60, 0x6c};

// "US", any environment; each triplet: first channel, number of channels, highest power in dBm.
constexpr std::array<std::uint8_t, 6> country2GHz = {'U', 'S', ' ', 1, 11, 30};
constexpr std::array<std::uint8_t, 16> country5GHz = {'U', 'S', ' ', 36, 4, 23, 52, 4, 24, 100, 12, 24, 149, 5, 30, 0};

// Version 1, group and pairwise cipher CCMP (00-0F-AC:4), key management PSK (00-0F-AC:2), no further capabilities.
constexpr std::array<std::uint8_t, 20> rsnPsk = {1,    0, 0x00, 0x0f, 0xac, 4,    1,    0, 0x00, 0x0f,
                                                 0xac, 4, 1,    0,    0x00, 0x0f, 0xac, 2, 0,    0};

void appendRates(ByteWriter& out, int band) {
    if (band == bandTwoDotFourGHz) {
        out.element(idSupportedRates, rates2GHz);
    } else {
        out.element(idSupportedRates, rates5GHz);
    }
}

void appendHtCapabilities(ByteWriter& out, bool wide) {
    Bytes content;
    ByteWriter field(content);
    field.u16(wide ? 0x0062 : 0x0020); // short guard interval at 20 and, with 40 MHz, at 40 MHz
    field.u8(0x17);                    // A-MPDU: the longest, 4 µs apart
    field.u8(0xff);                    // two streams
    field.u8(0xff);
    for (int rest = 0; rest < 14; ++rest) {
        field.u8(0);
    }
    field.u16(0); // extended capabilities
    field.u32(0); // beamforming
    field.u8(0);  // antenna selection
    out.element(idHtCapabilities, content);
}

// 1 when the second 20 MHz of the network's 40 MHz stands above the primary channel, 3 when below, 0 without one.
int secondaryOffset(const CWChannel& channel) {
    const auto pair = coveredChannels({channel.channelNumber, channel.channelBand, width40MHz});
    if (channel.channelWidth == width20MHz || pair.empty()) {
        return 0;
    }
    return pair.front() == channel.channelNumber ? 1 : 3;
}

void appendHtOperation(ByteWriter& out, const CWChannel& channel) {
    Bytes content;
    ByteWriter field(content);
    const int offset = secondaryOffset(channel);
    field.u8(channel.channelNumber);
    field.u8(offset == 0 ? 0 : offset | 0x04); // the bit allows any width
    while (content.size() < 22) {
        field.u8(0);
    }
    out.element(idHtOperation, content);
}

void appendVhtCapabilities(ByteWriter& out, bool wide160) {
    Bytes content;
    ByteWriter field(content);
    field.u32(0x03800032U | (wide160 ? 0x00000004U : 0U)); // 11454 bytes, short guard at 80 MHz, longest A-MPDU
    field.u16(0xfffa);                                     // receives MCS 0 to 9 on two streams
    field.u16(0);
    field.u16(0xfffa); // sends the same
    field.u16(0);
    out.element(idVhtCapabilities, content);
}

int blockCentreNumber(const CWChannel& channel) { return (blockCentreFrequency(channel).value_or(5000) - 5000) / 5; }

void appendVhtOperation(ByteWriter& out, const CWChannel& channel) {
    Bytes content;
    ByteWriter field(content);
    CWChannel half = channel;
    half.channelWidth = std::min(channel.channelWidth, width80MHz);
    const bool beyond40 = channel.channelWidth >= width80MHz;
    field.u8(beyond40 ? 1 : 0);
    field.u8(beyond40 ? blockCentreNumber(half) : 0);
    field.u8(channel.channelWidth == width160MHz ? blockCentreNumber(channel) : 0);
    field.u16(0xfffc); // every member receives MCS 0 to 7 on one stream
    out.element(idVhtOperation, content);
}

void appendSsid(ByteWriter& out, std::string_view ssid) {
    const auto* text = reinterpret_cast<const std::uint8_t*>(ssid.data());
    out.element(idSsid, {text, std::min<std::size_t>(ssid.size(), 32)});
}

void appendDsParameter(ByteWriter& out, int channelNumber) {
    const std::array<std::uint8_t, 1> number = {static_cast<std::uint8_t>(channelNumber)};
    out.element(idDsParameter, number);
}

} // namespace

void appendNetworkElements(ByteWriter& out, const Announcement& network, std::optional<std::uint8_t> dtimCount) {
    const bool low = network.channel.channelBand == bandTwoDotFourGHz;
    appendSsid(out, network.ssid);
    appendRates(out, network.channel.channelBand);
    appendDsParameter(out, network.channel.channelNumber);
    if (dtimCount) {
        const std::array<std::uint8_t, 4> map = {*dtimCount, dtimPeriod, 0, 0};
        out.element(idTrafficMap, map);
    }
    if (low) {
        out.element(idCountry, country2GHz);
        const std::array<std::uint8_t, 1> noProtection = {0};
        out.element(idErp, noProtection);
        out.element(idExtendedRates, furtherRates2GHz);
    } else {
        out.element(idCountry, country5GHz);
    }
    if (network.secured) {
        out.element(idRsn, rsnPsk);
    }
    appendHtCapabilities(out, network.channel.channelWidth > width20MHz);
    appendHtOperation(out, network.channel);
    if (!low) {
        appendVhtCapabilities(out, network.channel.channelWidth == width160MHz);
        appendVhtOperation(out, network.channel);
    }
}

void appendProbeElements(ByteWriter& out, const CWChannel& channel) {
    appendSsid(out, {});
    appendRates(out, channel.channelBand);
    if (channel.channelBand == bandTwoDotFourGHz) {
        out.element(idExtendedRates, furtherRates2GHz);
    }
    appendDsParameter(out, channel.channelNumber);
    appendHtCapabilities(out, channel.channelBand == bandFiveGHz);
    if (channel.channelBand == bandFiveGHz) {
        appendVhtCapabilities(out, false);
    }
}

} // namespace vantrel
