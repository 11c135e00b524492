// What a radio's capabilities and the regulatory domain's flags make of its channels.
#include "AttributeBytes.h"
#include "netlink/Nl80211Parsing.h"
#include "wifi/ChannelMath.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <linux/nl80211.h>
#include <set>

namespace vantrel::netlink {
namespace {

using testing::attribute;
using testing::attributeOfLength;
using testing::bytesOf;
using testing::ByteString;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using testing::operator+; // NOLINT(misc-unused-using-decls): the check does not see an operator used

using Flags = std::set<int>;
constexpr std::uint16_t ht = 1U << 1;
constexpr std::uint16_t intolerant = 1U << 14;
constexpr std::uint32_t vht = 0x003071b0;       // of a radio with 80 MHz
constexpr std::uint32_t vht160 = vht | 1U << 2; // and 160

ByteString frequency(int megahertz, const Flags& flags = {}) {
    ByteString bytes = attribute(NL80211_FREQUENCY_ATTR_FREQ, static_cast<std::uint32_t>(megahertz));
    for (const int flag : flags) {
        bytes = bytes + attribute(flag);
    }
    return bytes + attribute(NL80211_FREQUENCY_ATTR_MAX_TX_POWER, 2000U);
}

ByteString listed(const std::vector<ByteString>& frequencies) {
    ByteString bytes;
    int place = 0;
    for (const auto& one : frequencies) {
        bytes = bytes + attribute(place++, one);
    }
    return attribute(NL80211_BAND_ATTR_FREQS | NLA_F_NESTED, bytes);
}

ByteString wiphy(int band, const ByteString& bandBytes) {
    return attribute(NL80211_ATTR_WIPHY, 0U) + attribute(NL80211_ATTR_WIPHY_BANDS, attribute(band, bandBytes));
}

ByteString htCapabilities(std::uint16_t bits) { return attribute(NL80211_BAND_ATTR_HT_CAPA, bytesOf(bits)); }

ByteString vhtCapabilities(std::uint32_t bits) { return attribute(NL80211_BAND_ATTR_VHT_CAPA, bits); }

std::vector<CWChannel> supportedOf(const ByteString& message) {
    WiphyChannels channels;
    channels.add(message);
    return channels.supported();
}

// The 5 GHz channels of these numbers, all with the same flags.
std::vector<ByteString> highFrequencies(const std::vector<int>& numbers, const Flags& flags = {}) {
    std::vector<ByteString> frequencies;
    for (const int number : numbers) {
        frequencies.push_back(frequency(5000 + 5 * number, flags));
    }
    return frequencies;
}

std::vector<int> numbersWithWidth(const std::vector<CWChannel>& channels, int band, int width) {
    std::vector<int> numbers;
    for (const auto& channel : channels) {
        if (channel.channelBand == band && channel.channelWidth == width) {
            numbers.push_back(channel.channelNumber);
        }
    }
    return numbers;
}

const std::vector<int> firstBlock = {36, 40, 44, 48, 52, 56, 60, 64};

// The 2.4 GHz table as the kernel gives it in the United States: 12 to 14 are disabled, and 40 MHz channels must keep
// within 1 to 11.
std::vector<ByteString> lowUnitedStates() {
    std::vector<ByteString> frequencies;
    for (int number = 1; number <= 14; ++number) {
        Flags flags;
        if (number > 11) {
            flags = {NL80211_FREQUENCY_ATTR_DISABLED};
        } else if (number < 5) {
            flags = {NL80211_FREQUENCY_ATTR_NO_HT40_MINUS};
        } else if (number > 7) {
            flags = {NL80211_FREQUENCY_ATTR_NO_HT40_PLUS};
        }
        flags.insert({NL80211_FREQUENCY_ATTR_NO_80MHZ, NL80211_FREQUENCY_ATTR_NO_160MHZ});
        frequencies.push_back(frequency(*centreFrequency(number, bandTwoDotFourGHz), flags));
    }
    return frequencies;
}

// And the 5 GHz one: radar detection from 52 to 144, no 160 MHz from 149 up, and no 80 MHz at 165.
std::vector<ByteString> highUnitedStates() {
    auto frequencies = highFrequencies({36, 40, 44, 48});
    const Flags radar = {NL80211_FREQUENCY_ATTR_NO_IR, NL80211_FREQUENCY_ATTR_RADAR};
    for (const auto& one :
         highFrequencies({52, 56, 60, 64, 100, 104, 108, 112, 116, 120, 124, 128, 132, 136, 140, 144}, radar)) {
        frequencies.push_back(one);
    }
    for (const auto& one : highFrequencies({149, 153, 157, 161}, {NL80211_FREQUENCY_ATTR_NO_160MHZ})) {
        frequencies.push_back(one);
    }
    frequencies.push_back(frequency(5825, {NL80211_FREQUENCY_ATTR_NO_HT40_PLUS, NL80211_FREQUENCY_ATTR_NO_80MHZ,
                                           NL80211_FREQUENCY_ATTR_NO_160MHZ}));
    for (const auto& one : highFrequencies({169, 173, 177}, {NL80211_FREQUENCY_ATTR_DISABLED})) {
        frequencies.push_back(one);
    }
    return frequencies;
}

TEST(WiphyChannels, ATableLikeThatOfTheUnitedStates) {
    WiphyChannels channels;
    channels.add(wiphy(NL80211_BAND_5GHZ, htCapabilities(ht) + vhtCapabilities(vht160) + listed(highUnitedStates())));
    channels.add(wiphy(NL80211_BAND_2GHZ, htCapabilities(ht) + listed(lowUnitedStates())));

    constexpr std::array low = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
    constexpr std::array upTo64And128 = {36, 40, 44, 48, 52, 56, 60, 64, 100, 104, 108, 112, 116, 120, 124, 128};
    constexpr std::array the80s = {132, 136, 140, 144, 149, 153, 157, 161};
    auto expected = channelsWithin(low, bandTwoDotFourGHz, width40MHz);
    for (const auto& channel : channelsWithin(upTo64And128, bandFiveGHz, width160MHz)) {
        expected.push_back(channel);
    }
    for (const auto& channel : channelsWithin(the80s, bandFiveGHz, width80MHz)) {
        expected.push_back(channel);
    }
    expected.push_back({165, bandFiveGHz, width20MHz});
    EXPECT_THAT(channels.supported(), ElementsAreArray(expected));
}

TEST(WiphyChannels, ATableLikeThatOfTheWorld) {
    std::vector<ByteString> low;
    for (int number = 1; number <= 14; ++number) {
        Flags flags = {NL80211_FREQUENCY_ATTR_NO_80MHZ, NL80211_FREQUENCY_ATTR_NO_160MHZ};
        if (number > 11) {
            flags.insert(NL80211_FREQUENCY_ATTR_NO_IR);
        }
        if (number == 14) {
            flags.insert({NL80211_FREQUENCY_ATTR_NO_HT40_PLUS, NL80211_FREQUENCY_ATTR_NO_HT40_MINUS});
        }
        low.push_back(frequency(*centreFrequency(number, bandTwoDotFourGHz), flags));
    }
    const Flags passive = {NL80211_FREQUENCY_ATTR_NO_IR, NL80211_FREQUENCY_ATTR_NO_160MHZ};
    const std::vector<int> high = {36, 40, 44, 48, 149, 153, 157, 161, 165};
    WiphyChannels channels;
    channels.add(wiphy(NL80211_BAND_2GHZ, htCapabilities(ht) + listed(low)));
    channels.add(
        wiphy(NL80211_BAND_5GHZ, htCapabilities(ht) + vhtCapabilities(vht) + listed(highFrequencies(high, passive))));

    constexpr std::array every = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14};
    auto expected = channelsWithin(every, bandTwoDotFourGHz, width40MHz);
    for (const auto& channel : channelsWithin(high, bandFiveGHz, width80MHz)) {
        expected.push_back(channel);
    }
    EXPECT_THAT(channels.supported(), ElementsAreArray(expected)) << "listening needs no right to transmit";
}

TEST(WiphyChannels, ADumpOneFrequencyAtATime) {
    const auto all = highUnitedStates();
    WiphyChannels split;
    split.add(attribute(NL80211_ATTR_WIPHY, 0U) + attribute(NL80211_ATTR_WIPHY_NAME, "phy0"));
    split.add(wiphy(NL80211_BAND_5GHZ, htCapabilities(ht) + vhtCapabilities(vht160)));
    for (const auto& one : all) {
        split.add(wiphy(NL80211_BAND_5GHZ, listed({one})));
    }
    split.add(wiphy(NL80211_BAND_2GHZ, listed({frequency(2412)})));
    auto expected = supportedOf(wiphy(NL80211_BAND_5GHZ, htCapabilities(ht) + vhtCapabilities(vht160) + listed(all)));
    expected.insert(expected.begin(), {1, bandTwoDotFourGHz, width20MHz});
    EXPECT_THAT(split.supported(), ElementsAreArray(expected));
}

TEST(WiphyChannels, WidthsAskForCapabilities) {
    const auto widest = [](const ByteString& capabilities) {
        const auto channels = supportedOf(wiphy(NL80211_BAND_5GHZ, capabilities + listed(highFrequencies(firstBlock))));
        return std::max_element(
                   channels.begin(), channels.end(),
                   [](const auto& one, const auto& other) { return one.channelWidth < other.channelWidth; })
            ->channelWidth;
    };
    EXPECT_EQ(widest({}), width20MHz);
    EXPECT_EQ(widest(htCapabilities(0)), width20MHz);
    EXPECT_EQ(widest(htCapabilities(ht | intolerant)), width20MHz);
    EXPECT_EQ(widest(htCapabilities(ht)), width40MHz);
    EXPECT_EQ(widest(htCapabilities(ht) + vhtCapabilities(vht)), width80MHz);
    EXPECT_EQ(widest(htCapabilities(ht) + vhtCapabilities(vht160)), width160MHz);
    EXPECT_EQ(widest(htCapabilities(ht) + vhtCapabilities(vht | 2U << 2)), width160MHz);
    EXPECT_EQ(widest(htCapabilities(ht) + vhtCapabilities(vht | 3U << 2)), width80MHz) << "a reserved value";
}

TEST(WiphyChannels, ExtendedBandwidthCountsWhereTheSetSaysSo) {
    const auto widest = [](std::uint32_t capabilities, std::uint8_t lastByte) {
        const auto set =
            attribute(NL80211_BAND_ATTR_VHT_MCS_SET, ByteString{0xfa, 0xff, 0, 0, 0xfa, 0xff, 0, lastByte});
        return supportedOf(wiphy(NL80211_BAND_5GHZ, htCapabilities(ht) + vhtCapabilities(capabilities) + set +
                                                        listed(highFrequencies(firstBlock))))
            .at(3)
            .channelWidth; // of channel 36 the fourth; else of channel 40 the first
    };
    EXPECT_EQ(widest(vht | 1U << 30, 0x20), width160MHz);
    EXPECT_EQ(widest(vht | 1U << 30, 0xdf), width20MHz);
    EXPECT_EQ(widest(vht, 0x20), width20MHz);
}

TEST(WiphyChannels, EachBandHasItsOwnCapabilities) {
    WiphyChannels channels;
    channels.add(wiphy(NL80211_BAND_2GHZ, listed({frequency(2412), frequency(2432)})));
    channels.add(wiphy(NL80211_BAND_5GHZ, htCapabilities(ht) + listed(highFrequencies({36, 40}))));
    EXPECT_THAT(numbersWithWidth(channels.supported(), bandTwoDotFourGHz, width40MHz), IsEmpty());
    EXPECT_THAT(numbersWithWidth(channels.supported(), bandFiveGHz, width40MHz), ElementsAre(36, 40));
}

TEST(WiphyChannels, TheControlChannelsFlagForbidsForty) {
    const auto supported = supportedOf(wiphy(
        NL80211_BAND_5GHZ, htCapabilities(ht) + listed({frequency(5180, {NL80211_FREQUENCY_ATTR_NO_HT40_MINUS}),
                                                        frequency(5200, {NL80211_FREQUENCY_ATTR_NO_HT40_PLUS}),
                                                        frequency(5220, {NL80211_FREQUENCY_ATTR_NO_HT40_PLUS}),
                                                        frequency(5240, {NL80211_FREQUENCY_ATTR_NO_HT40_MINUS})})));
    EXPECT_THAT(numbersWithWidth(supported, bandFiveGHz, width20MHz), ElementsAre(36, 40, 44, 48));
    EXPECT_THAT(numbersWithWidth(supported, bandFiveGHz, width40MHz), ElementsAre(36, 40));
}

TEST(WiphyChannels, TheFlagOfAnyPartForbidsEightyAndMore) {
    auto frequencies = highFrequencies(firstBlock);
    const auto supportedWith = [&frequencies](int flag) {
        frequencies.back() = frequency(5320, {flag}); // channel 64
        return supportedOf(
            wiphy(NL80211_BAND_5GHZ, htCapabilities(ht) + vhtCapabilities(vht160) + listed(frequencies)));
    };
    auto supported = supportedWith(NL80211_FREQUENCY_ATTR_NO_80MHZ);
    EXPECT_THAT(numbersWithWidth(supported, bandFiveGHz, width80MHz), ElementsAre(36, 40, 44, 48));
    EXPECT_THAT(numbersWithWidth(supported, bandFiveGHz, width160MHz), ElementsAreArray(firstBlock));
    supported = supportedWith(NL80211_FREQUENCY_ATTR_NO_160MHZ);
    EXPECT_THAT(numbersWithWidth(supported, bandFiveGHz, width80MHz), ElementsAreArray(firstBlock));
    EXPECT_THAT(numbersWithWidth(supported, bandFiveGHz, width160MHz), IsEmpty());
    for (const int flag : {NL80211_FREQUENCY_ATTR_DISABLED, NL80211_FREQUENCY_ATTR_NO_20MHZ}) {
        supported = supportedWith(flag);
        EXPECT_THAT(numbersWithWidth(supported, bandFiveGHz, width20MHz), ElementsAre(36, 40, 44, 48, 52, 56, 60));
        EXPECT_THAT(numbersWithWidth(supported, bandFiveGHz, width40MHz), ElementsAre(36, 40, 44, 48, 52, 56));
        EXPECT_THAT(numbersWithWidth(supported, bandFiveGHz, width80MHz), ElementsAre(36, 40, 44, 48));
        EXPECT_THAT(numbersWithWidth(supported, bandFiveGHz, width160MHz), IsEmpty());
    }
}

TEST(WiphyChannels, OtherBandsAndFrequenciesAreLeftOut) {
    WiphyChannels channels;
    channels.add(wiphy(NL80211_BAND_6GHZ, listed({frequency(5955), frequency(5180)})));
    channels.add(wiphy(NL80211_BAND_5GHZ, listed({frequency(4920), frequency(5170), frequency(2412)})));
    channels.add(wiphy(NL80211_BAND_2GHZ, listed({frequency(5180), frequency(0)})));
    channels.add(wiphy(77, listed({frequency(5180)})));
    EXPECT_THAT(channels.supported(), IsEmpty());
}

TEST(WiphyChannels, MalformedAttributesAreLeftOut) {
    const auto whole = listed({frequency(5180)});
    EXPECT_EQ(supportedOf(wiphy(NL80211_BAND_5GHZ, whole)).size(), 1U);
    EXPECT_THAT(supportedOf({}), IsEmpty());
    EXPECT_THAT(supportedOf(whole), IsEmpty()) << "not within a band";
    EXPECT_THAT(supportedOf(attribute(NL80211_ATTR_WIPHY_BANDS)), IsEmpty());
    EXPECT_THAT(supportedOf(attribute(NL80211_ATTR_WIPHY_BANDS, 0xffffffffU)), IsEmpty());
    EXPECT_THAT(supportedOf(wiphy(NL80211_BAND_5GHZ, attribute(NL80211_BAND_ATTR_FREQS))), IsEmpty());
    const auto eightBytes = attribute(NL80211_FREQUENCY_ATTR_FREQ, bytesOf(std::uint64_t{5180}));
    EXPECT_THAT(supportedOf(wiphy(NL80211_BAND_5GHZ, listed({eightBytes}))), IsEmpty());
    const auto longer = attributeOfLength(0x7fff, NL80211_BAND_ATTR_FREQS, frequency(5180));
    EXPECT_THAT(supportedOf(wiphy(NL80211_BAND_5GHZ, longer)), IsEmpty());
    const auto oddHt = attribute(NL80211_BAND_ATTR_HT_CAPA, ByteString{0x02});
    const auto oddVht = attribute(NL80211_BAND_ATTR_VHT_CAPA, ByteString{0xb0, 0x71, 0x30});
    const auto numbers = listed(highFrequencies(firstBlock));
    EXPECT_EQ(supportedOf(wiphy(NL80211_BAND_5GHZ, oddHt + oddVht + numbers)).size(), firstBlock.size());
}

TEST(WiphyChannels, EveryCutOfAMessageIsSafe) {
    const auto message =
        wiphy(NL80211_BAND_5GHZ, htCapabilities(ht) + vhtCapabilities(vht160) + listed(highUnitedStates()));
    const auto whole = supportedOf(message);
    for (std::size_t cut = 0; cut < message.size(); ++cut) {
        // A copy of exactly that size, so that the address sanitizer sees every read beyond it.
        const ByteString part(message.begin(), message.begin() + static_cast<std::ptrdiff_t>(cut));
        EXPECT_THAT(supportedOf(part), IsEmpty()) << "the attribute that holds the bands has lost its end, " << cut;
    }
    EXPECT_FALSE(whole.empty());
}

} // namespace
} // namespace vantrel::netlink
