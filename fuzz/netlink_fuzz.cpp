// Any bytes as nl80211's attributes: what is read of them is within what there is. The first byte picks the message; a
// radio's may come in pieces, each behind its length in two bytes.
#include "FuzzInput.h"
#include "netlink/Nl80211Parsing.h"
#include "wifi/ChannelMath.h"

#include <algorithm>
#include <tuple>

namespace {

using namespace vantrel;
using namespace vantrel::netlink;
using Bytes = std::span<const std::uint8_t>;

bool isChannel(const CWChannel& channel) {
    return centreFrequency(channel.channelNumber, channel.channelBand).has_value() && channel.channelWidth >= 0 &&
           channel.channelWidth <= width160MHz;
}

void readInterface(Bytes bytes) {
    const auto interface = parseInterface(bytes);
    require(!interface || (interface->index > 0 && !interface->name.isEmpty() &&
                           (!interface->channel || isChannel(*interface->channel))));
}

void readAssociation(Bytes bytes) {
    const auto association = parseAssociation(bytes);
    require(!association || association->ssid.size() <= 32);
}

void readWiphy(Bytes bytes) {
    WiphyChannels channels;
    constexpr std::size_t lengthSize = 2;
    while (bytes.size() >= lengthSize) {
        const auto length = std::min<std::size_t>(bytes[0] + 256U * bytes[1], bytes.size() - lengthSize);
        // A copy of exactly that size, so that the address sanitizer sees every read beyond it.
        const FuzzInput piece(bytes.data() + lengthSize, length);
        channels.add(piece.bytes());
        bytes = bytes.subspan(lengthSize + length);
    }
    const auto supported = channels.supported();
    const auto key = [](const CWChannel& channel) {
        return std::tuple(channel.channelBand, channel.channelNumber, channel.channelWidth);
    };
    require(std::all_of(supported.begin(), supported.end(),
                        [](const CWChannel& channel) { return blockCentreFrequency(channel).has_value(); }));
    require(std::is_sorted(supported.begin(), supported.end(),
                           [&key](const auto& one, const auto& other) { return key(one) < key(other); }));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const FuzzInput input(data + 1, size - 1);
    switch (data[0] % 4) {
    case 0:
        readInterface(input.bytes());
        break;
    case 1:
        readAssociation(input.bytes());
        break;
    case 2:
        readWiphy(input.bytes());
        break;
    default: // 3
        static_cast<void>(parseP2pDevice(input.bytes()));
        break;
    }
    return 0;
}
