#include "netlink/Nl80211Parsing.h"

#include "Attributes.h"
#include "wifi/ChannelMath.h"

#include <algorithm>
#include <climits>
#include <linux/nl80211.h>

namespace vantrel::netlink {

namespace {

// HT Capability Information (IEEE Std 802.11-2020, 9.4.2.55.2)
constexpr std::uint16_t ht40MHz = 1U << 1;
constexpr std::uint16_t htIntolerantOf40MHz = 1U << 14;
// VHT Capabilities Information (9.4.2.157.2): supported channel width set, extended NSS bandwidth support
constexpr std::uint32_t vhtWidthSet = 3U << 2;
constexpr std::uint32_t vht160MHz = 1U << 2;
constexpr std::uint32_t vht160And80Plus80MHz = 2U << 2;
constexpr std::uint32_t vhtExtendedBandwidth = 3U << 30;
// Supported VHT-MCS and NSS Set (9.4.2.157.3): 8 bytes, little endian whatever the machine; bit 61
constexpr std::size_t vhtSetSize = 8;
constexpr std::size_t vhtExtensionByte = 7;
constexpr std::uint8_t vhtExtensionCapable = 1U << 5;

constexpr int lastNumberAt2Dot4GHz = 14;
constexpr int lastNumberAt5GHz = 177;

struct Place {
    int number;
    int band;
};

std::optional<Place> placeOf(std::uint32_t megahertz) {
    const auto search = [megahertz](int last, int band) -> std::optional<Place> {
        for (int number = 1; number <= last; ++number) {
            const auto centre = centreFrequency(number, band);
            if (centre && static_cast<std::uint32_t>(*centre) == megahertz) {
                return Place{number, band};
            }
        }
        return std::nullopt;
    };
    const auto low = search(lastNumberAt2Dot4GHz, bandTwoDotFourGHz);
    return low ? low : search(lastNumberAt5GHz, bandFiveGHz);
}

int widthCode(std::uint32_t width) {
    switch (width) {
    case NL80211_CHAN_WIDTH_20_NOHT:
    case NL80211_CHAN_WIDTH_20:
        return width20MHz;
    case NL80211_CHAN_WIDTH_40:
        return width40MHz;
    case NL80211_CHAN_WIDTH_80:
        return width80MHz;
    case NL80211_CHAN_WIDTH_80P80:
    case NL80211_CHAN_WIDTH_160:
        return width160MHz;
    default: // the kernel's number: those of other bands, and of kernels to come
        return 0;
    }
}

InterfaceKind kindOf(std::uint32_t type) {
    switch (type) {
    case NL80211_IFTYPE_STATION:
        return InterfaceKind::Station;
    case NL80211_IFTYPE_MONITOR:
        return InterfaceKind::Monitor;
    default: // the kernel's number
        return InterfaceKind::Other;
    }
}

std::optional<MacAddress> addressOf(Bytes value) {
    MacAddress address{};
    if (value.size() != address.size()) {
        return std::nullopt;
    }
    std::copy(value.begin(), value.end(), address.begin());
    return address;
}

// A name ends at its zero, or with the attribute.
QString nameOf(Bytes value) {
    const auto end = std::find(value.begin(), value.end(), 0);
    return QString::fromUtf8(reinterpret_cast<const char*>(value.data()), end - value.begin());
}

// The first element of number 0 (9.4.2.2); a network that does not tell its name has an empty one.
std::optional<QString> ssidOf(Bytes elements) {
    constexpr std::size_t headerSize = 2;
    constexpr std::size_t longestSsid = 32;
    while (elements.size() >= headerSize && elements.size() - headerSize >= elements[1]) {
        const Bytes value = elements.subspan(headerSize, elements[1]);
        if (elements[0] == 0) {
            if (value.size() > longestSsid) {
                return std::nullopt;
            }
            return QString::fromUtf8(reinterpret_cast<const char*>(value.data()), static_cast<qsizetype>(value.size()));
        }
        elements = elements.subspan(headerSize + value.size());
    }
    return std::nullopt;
}

} // namespace

std::optional<WirelessInterface> parseInterface(Bytes attributes) {
    WirelessInterface interface;
    std::optional<std::uint32_t> index;
    std::optional<std::uint32_t> wiphy;
    std::optional<std::uint32_t> type;
    std::optional<std::uint32_t> frequency;
    std::optional<std::uint32_t> width;
    forEachAttribute(attributes, [&](int attribute, Bytes value) {
        if (attribute == NL80211_ATTR_IFINDEX) {
            index = numberOf<std::uint32_t>(value);
        } else if (attribute == NL80211_ATTR_WIPHY) {
            wiphy = numberOf<std::uint32_t>(value);
        } else if (attribute == NL80211_ATTR_IFTYPE) {
            type = numberOf<std::uint32_t>(value);
        } else if (attribute == NL80211_ATTR_IFNAME) {
            interface.name = nameOf(value);
        } else if (attribute == NL80211_ATTR_MAC) {
            interface.address = addressOf(value).value_or(MacAddress());
        } else if (attribute == NL80211_ATTR_WIPHY_FREQ) {
            frequency = numberOf<std::uint32_t>(value);
        } else if (attribute == NL80211_ATTR_CHANNEL_WIDTH) {
            width = numberOf<std::uint32_t>(value);
        }
    });
    if (!index || *index == 0 || *index > INT_MAX || !wiphy || !type || interface.name.isEmpty()) {
        return std::nullopt;
    }
    interface.index = static_cast<int>(*index);
    interface.wiphy = *wiphy;
    interface.kind = kindOf(*type);
    if (const auto place = frequency ? placeOf(*frequency) : std::nullopt) {
        interface.channel = CWChannel{place->number, place->band, width ? widthCode(*width) : 0};
    }
    return interface;
}

std::optional<P2pDevice> parseP2pDevice(Bytes attributes) {
    std::optional<std::uint64_t> number;
    std::optional<std::uint32_t> wiphy;
    std::optional<std::uint32_t> type;
    forEachAttribute(attributes, [&](int attribute, Bytes value) {
        if (attribute == NL80211_ATTR_WDEV) {
            number = numberOf<std::uint64_t>(value);
        } else if (attribute == NL80211_ATTR_WIPHY) {
            wiphy = numberOf<std::uint32_t>(value);
        } else if (attribute == NL80211_ATTR_IFTYPE) {
            type = numberOf<std::uint32_t>(value);
        }
    });
    if (!number || !wiphy || type != NL80211_IFTYPE_P2P_DEVICE) {
        return std::nullopt;
    }
    return P2pDevice{*number, *wiphy};
}

void WiphyChannels::add(Bytes attributes) {
    forEachAttribute(attributes, [this](int attribute, Bytes bands) {
        if (attribute != NL80211_ATTR_WIPHY_BANDS) {
            return;
        }
        forEachAttribute(bands, [this](int band, Bytes value) {
            if (band == NL80211_BAND_2GHZ) {
                addBand(_low, bandTwoDotFourGHz, value);
            } else if (band == NL80211_BAND_5GHZ) {
                addBand(_high, bandFiveGHz, value);
            }
        });
    });
}

void WiphyChannels::addBand(Band& band, int channelBand, Bytes attributes) {
    forEachAttribute(attributes, [&band, channelBand](int attribute, Bytes value) {
        if (attribute == NL80211_BAND_ATTR_FREQS) {
            forEachAttribute(value, [&band, channelBand](int, Bytes one) { addFrequency(band, channelBand, one); });
        } else if (attribute == NL80211_BAND_ATTR_HT_CAPA) {
            const auto capabilities = numberOf<std::uint16_t>(value).value_or(0);
            band.joins40 = (capabilities & ht40MHz) != 0 && (capabilities & htIntolerantOf40MHz) == 0;
        } else if (attribute == NL80211_BAND_ATTR_VHT_CAPA) {
            const auto capabilities = numberOf<std::uint32_t>(value);
            const auto widths = capabilities.value_or(0) & vhtWidthSet;
            band.joins80 = capabilities.has_value();
            band.joins160 = widths == vht160MHz || widths == vht160And80Plus80MHz;
            band.extendsWidths = (capabilities.value_or(0) & vhtExtendedBandwidth) != 0;
        } else if (attribute == NL80211_BAND_ATTR_VHT_MCS_SET) {
            band.knowsExtension = value.size() == vhtSetSize && (value[vhtExtensionByte] & vhtExtensionCapable) != 0;
        }
    });
}

void WiphyChannels::addFrequency(Band& band, int channelBand, Bytes attributes) {
    std::optional<Place> place;
    Frequency frequency;
    forEachAttribute(attributes, [&](int attribute, Bytes value) {
        if (attribute == NL80211_FREQUENCY_ATTR_FREQ) {
            place = placeOf(numberOf<std::uint32_t>(value).value_or(0));
        } else if (attribute == NL80211_FREQUENCY_ATTR_DISABLED || attribute == NL80211_FREQUENCY_ATTR_NO_20MHZ) {
            frequency.usable = false;
        } else if (attribute == NL80211_FREQUENCY_ATTR_NO_HT40_PLUS) {
            frequency.no40Plus = true;
        } else if (attribute == NL80211_FREQUENCY_ATTR_NO_HT40_MINUS) {
            frequency.no40Minus = true;
        } else if (attribute == NL80211_FREQUENCY_ATTR_NO_80MHZ) {
            frequency.no80 = true;
        } else if (attribute == NL80211_FREQUENCY_ATTR_NO_160MHZ) {
            frequency.no160 = true;
        }
    });
    if (place && place->band == channelBand) {
        band.frequencies[place->number] = frequency;
    }
}

bool WiphyChannels::allows(const Band& band, const CWChannel& channel) {
    const auto isFree = [&](bool Frequency::*forbidden) {
        const auto covered = coveredChannels(channel);
        return std::none_of(covered.begin(), covered.end(),
                            [&](int number) { return band.frequencies.at(number).*forbidden; });
    };
    const auto& control = band.frequencies.at(channel.channelNumber);
    switch (channel.channelWidth) {
    case width40MHz: {
        const bool upwards = coveredChannels(channel).front() == channel.channelNumber;
        return band.joins40 && !(upwards ? control.no40Plus : control.no40Minus);
    }
    case width80MHz:
        return band.joins80 && isFree(&Frequency::no80);
    case width160MHz:
        return band.joins80 && (band.joins160 || (band.extendsWidths && band.knowsExtension)) &&
               isFree(&Frequency::no160);
    default: // 20 MHz: a usable frequency is all that it needs
        return true;
    }
}

std::vector<CWChannel> WiphyChannels::supported() const {
    std::vector<CWChannel> channels;
    const auto append = [&channels](const Band& band, int channelBand) {
        std::vector<int> numbers;
        for (const auto& [number, frequency] : band.frequencies) {
            if (frequency.usable) {
                numbers.push_back(number);
            }
        }
        const auto possible = channelsWithin(numbers, channelBand, width160MHz);
        std::copy_if(possible.begin(), possible.end(), std::back_inserter(channels),
                     [&band](const CWChannel& channel) { return allows(band, channel); });
    };
    append(_low, bandTwoDotFourGHz);
    append(_high, bandFiveGHz);
    return channels;
}

std::optional<Association> parseAssociation(Bytes attributes) {
    std::optional<MacAddress> bssid;
    std::optional<std::uint32_t> status;
    std::optional<QString> answered; // of the last probe response, or beacon where there was none
    std::optional<QString> announced;
    forEachAttribute(attributes, [&](int attribute, Bytes bss) {
        if (attribute != NL80211_ATTR_BSS) {
            return;
        }
        forEachAttribute(bss, [&](int member, Bytes value) {
            if (member == NL80211_BSS_BSSID) {
                bssid = addressOf(value);
            } else if (member == NL80211_BSS_STATUS) {
                status = numberOf<std::uint32_t>(value);
            } else if (member == NL80211_BSS_INFORMATION_ELEMENTS) {
                answered = ssidOf(value);
            } else if (member == NL80211_BSS_BEACON_IES) {
                announced = ssidOf(value);
            }
        });
    });
    if (!bssid || status != std::optional<std::uint32_t>(NL80211_BSS_STATUS_ASSOCIATED)) {
        return std::nullopt;
    }
    return Association{*bssid, answered ? *answered : announced.value_or(QString())};
}

} // namespace vantrel::netlink
