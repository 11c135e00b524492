#include "Cursor.h"
#include "feed/Beacon.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace vantrel::feed {

namespace {

using Element = std::span<const std::uint8_t>; // its data, without number and length

// IEEE Std 802.11-2020, table 9-92, and its amendments.
constexpr std::uint8_t elementSsid = 0;
constexpr std::uint8_t elementDsParameter = 3;
constexpr std::uint8_t elementCountry = 7;
constexpr std::uint8_t elementRsn = 48;
constexpr std::uint8_t elementHtOperation = 61;
constexpr std::uint8_t elementVhtOperation = 192;
constexpr std::uint8_t elementVendor = 221;
constexpr std::uint8_t elementExtension = 255;
constexpr std::uint8_t extensionHeOperation = 36;
constexpr std::uint8_t extensionEhtOperation = 106;

constexpr std::size_t longestSsid = 32;

// The first element of each kind that the channel depends on.
struct ChannelElements {
    Element ds;
    Element ht;
    Element vht;
    Element he;
    Element eht;
};

ChannelWidth vhtWidth(int segment0, int segment1) {
    const int distance = std::abs(segment1 - segment0);
    if (segment1 == 0) {
        return ChannelWidth::MHz80;
    }
    if (distance == 8) {
        return ChannelWidth::MHz160;
    }
    return distance > 16 ? ChannelWidth::MHz80Plus80 : ChannelWidth::MHz80;
}

// 9.4.2.56: primary channel; secondary channel offset (bits 0 and 1) and station channel width (bit 2).
void addHtOperation(Beacon& beacon, Element element) {
    constexpr std::size_t size = 22;
    if (element.size() < size) {
        return;
    }
    if (!beacon.channel && element[0] != 0) {
        beacon.channel = element[0];
    }
    const int offset = element[1] & 0x03;
    const bool wide = (element[1] & 0x04) != 0;
    if (wide && (offset == 1 || offset == 3)) {
        beacon.width = ChannelWidth::MHz40;
    }
}

// 9.4.2.158, table 9-274: channel width, and the centres of the frequency segments; what stands in an HE operation
// element is laid out alike.
void addVhtOperation(Beacon& beacon, Element element) {
    switch (element[0]) {
    case 1:
        beacon.width = vhtWidth(element[1], element[2]);
        break;
    case 2: // deprecated, still sent
        beacon.width = ChannelWidth::MHz160;
        break;
    case 3:
        beacon.width = ChannelWidth::MHz80Plus80;
        break;
    default: // 20 or 40 MHz, as HT tells
        break;
    }
}

// The 6 GHz operation information: primary channel, control (width in bits 0 and 1), segments, lowest rate.
void addSixGHz(Beacon& beacon, Element information) {
    beacon.channel = information[0];
    switch (information[1] & 0x03) {
    case 0:
        beacon.width = ChannelWidth::MHz20;
        break;
    case 1:
        beacon.width = ChannelWidth::MHz40;
        break;
    case 2:
        beacon.width = ChannelWidth::MHz80;
        break;
    default: // 3
        beacon.width =
            std::abs(information[3] - information[2]) > 16 ? ChannelWidth::MHz80Plus80 : ChannelWidth::MHz160;
    }
}

// 802.11ax, 9.4.2.249: parameters (24 bits), BSS colour, MCS set (16 bits); then, where the parameters say so, VHT
// operation information, the highest index of co-hosted networks, and the 6 GHz operation information.
void addHeOperation(Beacon& beacon, Element element) {
    constexpr std::uint32_t hasVht = 1U << 14;
    constexpr std::uint32_t hasCoHosted = 1U << 15;
    constexpr std::uint32_t hasSixGHz = 1U << 17;
    Cursor cursor(element);
    const auto parameters = cursor.takeLe24();
    if (!parameters || !cursor.take(3)) {
        return;
    }
    if ((*parameters & hasVht) != 0) {
        const auto vht = cursor.take(3);
        if (!vht) {
            return;
        }
        addVhtOperation(beacon, *vht);
    }
    if ((*parameters & hasCoHosted) != 0 && !cursor.take(1)) {
        return;
    }
    const auto sixGHz = (*parameters & hasSixGHz) != 0 ? cursor.take(5) : std::nullopt;
    if (sixGHz) {
        addSixGHz(beacon, *sixGHz);
    }
}

// 802.11be, 9.4.2.321: parameters (bit 0: the information is present), MCS set (32 bits); then control (width in bits 0
// to 2) and the segments.
void addEhtOperation(Beacon& beacon, Element element) {
    Cursor cursor(element);
    const auto parameters = cursor.take8();
    if (!parameters || !cursor.take(4) || (*parameters & 0x01) == 0) {
        return;
    }
    const auto information = cursor.take(3);
    if (!information) {
        return;
    }
    constexpr std::array widths = {ChannelWidth::MHz20, ChannelWidth::MHz40, ChannelWidth::MHz80, ChannelWidth::MHz160,
                                   ChannelWidth::MHz320};
    const std::size_t width = (*information)[0] & 0x07U;
    if (width < widths.size()) {
        beacon.width = widths[width];
    }
}

// From the oldest to the newest, as each refines what the ones before it told.
void addChannel(Beacon& beacon, const ChannelElements& elements) {
    constexpr std::size_t vhtOperationSize = 5;
    if (!elements.ds.empty() && elements.ds[0] != 0) {
        beacon.channel = elements.ds[0];
    }
    addHtOperation(beacon, elements.ht);
    if (elements.vht.size() >= vhtOperationSize) {
        addVhtOperation(beacon, elements.vht);
    }
    addHeOperation(beacon, elements.he);
    addEhtOperation(beacon, elements.eht);
}

void addSsid(Beacon& beacon, Element element) {
    const bool hidden = std::all_of(element.begin(), element.end(), [](std::uint8_t byte) { return byte == 0; });
    if (!hidden && element.size() <= longestSsid) {
        beacon.ssid.assign(element.begin(), element.end());
    }
}

void addCountry(Beacon& beacon, Element element) {
    const auto isLetter = [](std::uint8_t byte) { return byte >= 'A' && byte <= 'Z'; };
    if (element.size() >= 3 && isLetter(element[0]) && isLetter(element[1])) {
        beacon.country.assign(element.begin(), element.begin() + 2);
    }
}

void keepFirst(Element& kept, Element element) {
    if (kept.empty()) {
        kept = element;
    }
}

void keepExtension(ChannelElements& elements, Element element) {
    if (element.empty()) {
        return;
    }
    if (element[0] == extensionHeOperation) {
        keepFirst(elements.he, element.subspan(1));
    } else if (element[0] == extensionEhtOperation) {
        keepFirst(elements.eht, element.subspan(1));
    }
}

// What one element adds at once; those that tell of the channel are kept for later.
void addElement(Beacon& beacon, ChannelElements& channel, std::uint8_t number, Element element) {
    switch (number) {
    case elementSsid:
        addSsid(beacon, element);
        break;
    case elementDsParameter:
        channel.ds = element;
        break;
    case elementCountry:
        addCountry(beacon, element);
        break;
    case elementRsn:
        beacon.security.addRsn(element);
        break;
    case elementHtOperation:
        channel.ht = element;
        break;
    case elementVhtOperation:
        channel.vht = element;
        break;
    case elementVendor:
        beacon.security.addVendor(element);
        break;
    case elementExtension:
        keepExtension(channel, element);
        break;
    default: // the many others
        break;
    }
}

} // namespace

void addElements(Beacon& beacon, std::span<const std::uint8_t> elements) {
    ChannelElements channel;
    std::array<bool, 256> seen{};
    for (Cursor cursor(elements);;) {
        const auto number = cursor.take8();
        const auto length = cursor.take8();
        const auto element = length ? cursor.take(*length) : std::nullopt;
        if (!element) {
            break;
        }
        const bool manifold = *number == elementVendor || *number == elementExtension; // many kinds under one number
        if (!std::exchange(seen[*number], true) || manifold) {
            addElement(beacon, channel, *number, *element);
        }
    }
    addChannel(beacon, channel);
}

} // namespace vantrel::feed
