// Reading nl80211's messages: attributes in, values out. Every length and nesting is checked; what is missing or
// malformed is left out, never guessed.
//
// The spans are the attributes behind the generic netlink header, as the kernel sends them (linux/nl80211.h; the
// byte order is the machine's own). Pure functions, for any thread.
#pragma once

#include "netlink/Nl80211.h"

#include <map>
#include <span>

namespace vantrel::netlink {

// One NL80211_CMD_NEW_INTERFACE; nothing when it has no index, wiphy, name or type (a P2P device has no index). Its
// channel is left out at bands other than 2.4 and 5 GHz; the width is 0 where it is none of 20, 40, 80 and 160 MHz.
[[nodiscard]] std::optional<WirelessInterface> parseInterface(std::span<const std::uint8_t> attributes);

// One NL80211_CMD_NEW_INTERFACE of a P2P device: its own number, and its radio's; nothing for any other interface.
struct P2pDevice {
    std::uint64_t number = 0;
    std::uint32_t wiphy = 0;
    friend bool operator==(const P2pDevice&, const P2pDevice&) = default;
};
[[nodiscard]] std::optional<P2pDevice> parseP2pDevice(std::span<const std::uint8_t> attributes);

// Gathers the many messages of a split NL80211_CMD_GET_WIPHY dump: a band's channels may come one by one.
//
// What it takes for usable is what the kernel takes when a channel is set: the control channel's flag forbids 40 MHz
// on that side, the flag of any 20 MHz part forbids 80 or 160 MHz, and each width but 20 MHz asks for a capability of
// the radio at that band (IEEE Std 802.11-2020, 9.4.2.55.2 and 9.4.2.157.2). At 5 GHz the kernel goes by the VHT
// capabilities alone, whatever HE ones say.
class WiphyChannels {
public:
    void add(std::span<const std::uint8_t> attributes);
    // In the order of supportedWLANChannels().
    [[nodiscard]] std::vector<CWChannel> supported() const;

private:
    struct Frequency {
        bool usable = true; // not disabled, and 20 MHz wide channels are allowed
        bool no40Plus = false, no40Minus = false, no80 = false, no160 = false;
    };
    struct Band {
        std::map<int, Frequency> frequencies; // by the number of the channel
        bool joins40 = false;                 // HT capabilities
        bool joins80 = false;                 // VHT capabilities are there
        bool joins160 = false;                // VHT capabilities' supported channel width set says so
        bool extendsWidths = false;           // VHT capabilities' extended NSS bandwidth support is not zero
        bool knowsExtension = false;          // and the VHT MCS set says that it counts
    };
    static void addFrequency(Band& band, int channelBand, std::span<const std::uint8_t> attributes);
    static void addBand(Band& band, int channelBand, std::span<const std::uint8_t> attributes);
    [[nodiscard]] static bool allows(const Band& band, const CWChannel& channel);

    Band _low;  // 2.4 GHz
    Band _high; // 5 GHz
};

// One NL80211_CMD_NEW_SCAN_RESULTS: the network, when its status says that this interface is associated with it.
[[nodiscard]] std::optional<Association> parseAssociation(std::span<const std::uint8_t> attributes);

} // namespace vantrel::netlink
