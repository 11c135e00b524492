#include "netlink/Nl80211Parsing.h"

#include "AttributeBytes.h"

#include <gmock/gmock.h>
#include <linux/nl80211.h>

namespace vantrel::netlink {
namespace {

using testing::attribute;
using testing::attributeOfLength;
using testing::bytesOf;
using testing::ByteString;
using testing::operator+; // NOLINT(misc-unused-using-decls): the check does not see an operator used

const ByteString address = {0x02, 0x00, 0x5e, 0x10, 0x20, 0xff};

ByteString interfaceBytes(std::uint32_t type = NL80211_IFTYPE_STATION) {
    return attribute(NL80211_ATTR_IFINDEX, 3U) + attribute(NL80211_ATTR_IFNAME, "wlan0") +
           attribute(NL80211_ATTR_WIPHY, 1U) + attribute(NL80211_ATTR_IFTYPE, type) +
           attribute(NL80211_ATTR_MAC, address);
}

ByteString tunedTo(std::uint32_t megahertz, std::uint32_t width) {
    return interfaceBytes() + attribute(NL80211_ATTR_WIPHY_FREQ, megahertz) +
           attribute(NL80211_ATTR_CHANNEL_WIDTH, width) + attribute(NL80211_ATTR_CENTER_FREQ1, megahertz);
}

ByteString without(ByteString bytes, int unwanted) {
    ByteString kept;
    while (!bytes.empty()) {
        std::uint16_t length = 0;
        std::uint16_t type = 0;
        std::memcpy(&length, bytes.data(), sizeof length);
        std::memcpy(&type, bytes.data() + sizeof length, sizeof type);
        const auto whole = static_cast<std::ptrdiff_t>(NLA_ALIGN(length));
        if (type != unwanted) {
            kept.insert(kept.end(), bytes.begin(), bytes.begin() + whole);
        }
        bytes.erase(bytes.begin(), bytes.begin() + whole);
    }
    return kept;
}

TEST(ParseInterface, OfAStation) {
    const auto interface = parseInterface(interfaceBytes());
    ASSERT_TRUE(interface);
    EXPECT_EQ(interface->index, 3);
    EXPECT_EQ(interface->name, QStringLiteral("wlan0"));
    EXPECT_EQ(interface->wiphy, 1U);
    EXPECT_EQ(interface->kind, InterfaceKind::Station);
    EXPECT_EQ(toText(interface->address), QStringLiteral("02:00:5e:10:20:ff"));
    EXPECT_FALSE(interface->channel) << "the kernel names none while it has none";
}

TEST(ParseInterface, KindsThatMatter) {
    EXPECT_EQ(parseInterface(interfaceBytes(NL80211_IFTYPE_MONITOR))->kind, InterfaceKind::Monitor);
    for (const auto type : {NL80211_IFTYPE_AP, NL80211_IFTYPE_ADHOC, NL80211_IFTYPE_P2P_CLIENT}) {
        EXPECT_EQ(parseInterface(interfaceBytes(type))->kind, InterfaceKind::Other) << type;
    }
    EXPECT_EQ(parseInterface(interfaceBytes(4711))->kind, InterfaceKind::Other);
}

ByteString p2pBytes() {
    return attribute(NL80211_ATTR_WIPHY, 1U) + attribute(NL80211_ATTR_IFTYPE, NL80211_IFTYPE_P2P_DEVICE) +
           attribute(NL80211_ATTR_WDEV, bytesOf(std::uint64_t{0x100000002}));
}

TEST(ParseP2pDevice, KnowsItsNumberAndItsRadio) {
    EXPECT_EQ(parseP2pDevice(p2pBytes()), (P2pDevice{.number = 0x100000002, .wiphy = 1}));
    EXPECT_FALSE(parseInterface(p2pBytes())) << "it is no network interface";
}

TEST(ParseP2pDevice, IsNoOtherInterface) {
    EXPECT_FALSE(parseP2pDevice(interfaceBytes()));
    EXPECT_FALSE(parseP2pDevice({}));
    for (const int needed : {NL80211_ATTR_WIPHY, NL80211_ATTR_IFTYPE, NL80211_ATTR_WDEV}) {
        EXPECT_FALSE(parseP2pDevice(without(p2pBytes(), needed))) << needed;
    }
    EXPECT_FALSE(parseP2pDevice(without(p2pBytes(), NL80211_ATTR_WDEV) + attribute(NL80211_ATTR_WDEV, 2U)))
        << "a number of another size";
    const ByteString whole = p2pBytes();
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_FALSE(parseP2pDevice(std::span(whole).first(size))) << size;
    }
}

TEST(ParseInterface, WidthsOfTheChannel) {
    const auto widthOf = [](std::uint32_t width) {
        return parseInterface(tunedTo(5180, width))->channel->channelWidth;
    };
    EXPECT_EQ(widthOf(NL80211_CHAN_WIDTH_20_NOHT), width20MHz);
    EXPECT_EQ(widthOf(NL80211_CHAN_WIDTH_20), width20MHz);
    EXPECT_EQ(widthOf(NL80211_CHAN_WIDTH_40), width40MHz);
    EXPECT_EQ(widthOf(NL80211_CHAN_WIDTH_80), width80MHz);
    EXPECT_EQ(widthOf(NL80211_CHAN_WIDTH_160), width160MHz);
    EXPECT_EQ(widthOf(NL80211_CHAN_WIDTH_80P80), width160MHz);
    EXPECT_EQ(widthOf(NL80211_CHAN_WIDTH_5), 0);
    EXPECT_EQ(widthOf(999), 0);
    EXPECT_EQ(parseInterface(without(tunedTo(5180, 1), NL80211_ATTR_CHANNEL_WIDTH))->channel->channelWidth, 0);
}

TEST(ParseInterface, NumbersAndBandsOfTheChannel) {
    const auto channelAt = [](std::uint32_t megahertz) {
        return parseInterface(tunedTo(megahertz, NL80211_CHAN_WIDTH_20))->channel;
    };
    EXPECT_EQ(channelAt(2412), (CWChannel{1, bandTwoDotFourGHz, width20MHz}));
    EXPECT_EQ(channelAt(2484), (CWChannel{14, bandTwoDotFourGHz, width20MHz}));
    EXPECT_EQ(channelAt(5180), (CWChannel{36, bandFiveGHz, width20MHz}));
    EXPECT_EQ(channelAt(5885), (CWChannel{177, bandFiveGHz, width20MHz}));
    for (const std::uint32_t elsewhere : {0U, 2411U, 5170U, 5955U, 58320U, 0xffffffffU}) {
        EXPECT_FALSE(channelAt(elsewhere)) << elsewhere;
    }
}

TEST(ParseInterface, NothingWithoutWhatNamesIt) {
    for (const int needed : {NL80211_ATTR_IFINDEX, NL80211_ATTR_IFNAME, NL80211_ATTR_WIPHY, NL80211_ATTR_IFTYPE}) {
        EXPECT_FALSE(parseInterface(without(interfaceBytes(), needed))) << needed;
    }
    EXPECT_TRUE(parseInterface(without(interfaceBytes(), NL80211_ATTR_MAC)));
    EXPECT_FALSE(parseInterface({}));
}

TEST(ParseInterface, ValuesOfTheWrongSizeAreLeftOut) {
    for (const std::uint32_t index : {0U, 0x80000000U, 0xffffffffU}) {
        EXPECT_FALSE(parseInterface(interfaceBytes() + attribute(NL80211_ATTR_IFINDEX, index))) << index;
    }
    EXPECT_FALSE(parseInterface(interfaceBytes() + attribute(NL80211_ATTR_IFINDEX, bytesOf(std::uint16_t{3}))));
    EXPECT_FALSE(parseInterface(interfaceBytes() + attribute(NL80211_ATTR_IFINDEX, bytesOf(std::uint64_t{3}))));
    EXPECT_FALSE(parseInterface(interfaceBytes() + attribute(NL80211_ATTR_WIPHY)));
    EXPECT_FALSE(parseInterface(interfaceBytes() + attribute(NL80211_ATTR_IFNAME)));
    const auto shortAddress = parseInterface(interfaceBytes() + attribute(NL80211_ATTR_MAC, ByteString(5, 0xff)));
    ASSERT_TRUE(shortAddress);
    EXPECT_EQ(shortAddress->address, MacAddress());
}

TEST(ParseInterface, ANameMayLackItsZero) {
    const auto unended = interfaceBytes() + attribute(NL80211_ATTR_IFNAME, ByteString{'w', 'l', 'p', '1'});
    EXPECT_EQ(parseInterface(unended)->name, QStringLiteral("wlp1"));
}

TEST(ParseInterface, EndsAtTheFirstAttributeThatCannotBe) {
    const ByteString value = bytesOf(std::uint32_t{7});
    for (const unsigned length : {0U, 1U, 3U, 200U, 0xffffU}) {
        const auto wrong = attributeOfLength(static_cast<std::uint16_t>(length), NL80211_ATTR_WIPHY, value);
        const auto interface = parseInterface(interfaceBytes() + wrong + attribute(NL80211_ATTR_IFNAME, "late"));
        ASSERT_TRUE(interface) << length;
        EXPECT_EQ(interface->wiphy, 1U) << length;
        EXPECT_EQ(interface->name, QStringLiteral("wlan0")) << length;
    }
    const auto byOneByte = parseInterface(interfaceBytes() + attributeOfLength(9, NL80211_ATTR_WIPHY, value));
    EXPECT_EQ(byOneByte->wiphy, 1U);
}

TEST(ParseInterface, EveryCutOfAMessageIsSafe) {
    const auto whole = interfaceBytes();
    const auto needed = whole.size() - attribute(NL80211_ATTR_MAC, address).size();
    for (std::size_t cut = 0; cut < whole.size(); ++cut) {
        // A copy of exactly that size, so that the address sanitizer sees every read beyond it.
        const ByteString part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(cut));
        EXPECT_EQ(parseInterface(part).has_value(), cut >= needed) << cut;
    }
}

TEST(ParseInterface, FlagsOfTheTypeAreNoPartOfIt) {
    const auto nested = attribute(NL80211_ATTR_IFNAME | NLA_F_NESTED, "flagged");
    EXPECT_EQ(parseInterface(interfaceBytes() + nested)->name, QStringLiteral("flagged"));
}

ByteString ssidElement(std::string_view ssid) {
    return ByteString{0, static_cast<std::uint8_t>(ssid.size())} + ByteString(ssid.begin(), ssid.end());
}

ByteString networkBytes(std::uint32_t status, const ByteString& elements,
                        int container = NL80211_BSS_INFORMATION_ELEMENTS) {
    return attribute(NL80211_ATTR_IFINDEX, 3U) +
           attribute(NL80211_ATTR_BSS, attribute(NL80211_BSS_BSSID, address) + attribute(NL80211_BSS_FREQUENCY, 2412U) +
                                           attribute(container, elements) + attribute(NL80211_BSS_STATUS, status));
}

TEST(ParseAssociation, TheNetworkOfThisInterface) {
    const auto supportedRates = ByteString{1, 2, 0x82, 0x84};
    const auto found = parseAssociation(
        networkBytes(NL80211_BSS_STATUS_ASSOCIATED, supportedRates + ssidElement("Lab") + ssidElement("second")));
    ASSERT_TRUE(found);
    EXPECT_EQ(found->ssid, QStringLiteral("Lab"));
    EXPECT_EQ(toText(found->bssid), QStringLiteral("02:00:5e:10:20:ff"));
}

TEST(ParseAssociation, OtherStatesAreNone) {
    EXPECT_FALSE(parseAssociation(networkBytes(NL80211_BSS_STATUS_AUTHENTICATED, ssidElement("Lab"))));
    EXPECT_FALSE(parseAssociation(networkBytes(NL80211_BSS_STATUS_IBSS_JOINED, ssidElement("Lab"))));
    EXPECT_FALSE(parseAssociation(networkBytes(77, ssidElement("Lab"))));
    const auto heardOnly = attribute(NL80211_ATTR_BSS, attribute(NL80211_BSS_BSSID, address));
    EXPECT_FALSE(parseAssociation(heardOnly));
    const auto withoutAddress =
        attribute(NL80211_ATTR_BSS, attribute(NL80211_BSS_STATUS, NL80211_BSS_STATUS_ASSOCIATED));
    EXPECT_FALSE(parseAssociation(withoutAddress));
    EXPECT_FALSE(parseAssociation({}));
}

TEST(ParseAssociation, NamesThatAreNotText) {
    const auto nameOf = [](const ByteString& elements) {
        return parseAssociation(networkBytes(NL80211_BSS_STATUS_ASSOCIATED, elements))->ssid;
    };
    EXPECT_EQ(nameOf(ssidElement("caf\xc3\xa9")), QStringLiteral("caf\u00e9"));
    EXPECT_EQ(nameOf(ssidElement("a\xff")), QStringLiteral("a\ufffd"));
    EXPECT_EQ(nameOf(ssidElement("")), QString());
    EXPECT_EQ(nameOf(ssidElement(std::string(32, 'x'))), QString(32, QLatin1Char('x')));
    EXPECT_EQ(nameOf(ssidElement(std::string(33, 'x'))), QString()) << "longer than a name can be";
}

TEST(ParseAssociation, ElementsThatRunOverTheEnd) {
    const auto nameOf = [](const ByteString& elements) {
        return parseAssociation(networkBytes(NL80211_BSS_STATUS_ASSOCIATED, elements))->ssid;
    };
    EXPECT_EQ(nameOf({}), QString());
    EXPECT_EQ(nameOf({0}), QString());
    EXPECT_EQ(nameOf({0, 4, 'L', 'a', 'b'}), QString());
    EXPECT_EQ(nameOf(ByteString{1, 200, 0} + ssidElement("Lab")), QString());
}

TEST(ParseAssociation, TheBeaconTellsTheNameWhereNoAnswerDoes) {
    const auto beacon = networkBytes(NL80211_BSS_STATUS_ASSOCIATED, ssidElement("Beacon"), NL80211_BSS_BEACON_IES);
    EXPECT_EQ(parseAssociation(beacon)->ssid, QStringLiteral("Beacon"));
    const auto both =
        attribute(NL80211_ATTR_BSS, attribute(NL80211_BSS_BSSID, address) +
                                        attribute(NL80211_BSS_STATUS, NL80211_BSS_STATUS_ASSOCIATED) +
                                        attribute(NL80211_BSS_INFORMATION_ELEMENTS, ssidElement("Hidden")) +
                                        attribute(NL80211_BSS_BEACON_IES, ssidElement("")));
    EXPECT_EQ(parseAssociation(both)->ssid, QStringLiteral("Hidden"));
}

TEST(ParseAssociation, WrongNesting) {
    const auto flat =
        attribute(NL80211_BSS_BSSID, address) + attribute(NL80211_BSS_STATUS, NL80211_BSS_STATUS_ASSOCIATED);
    EXPECT_FALSE(parseAssociation(flat));
    EXPECT_FALSE(parseAssociation(attribute(NL80211_ATTR_BSS, attribute(NL80211_ATTR_BSS, flat))));
    EXPECT_FALSE(parseAssociation(attribute(NL80211_ATTR_BSS, 0xffffffffU)));
    EXPECT_FALSE(parseAssociation(attribute(NL80211_ATTR_BSS)));
}

} // namespace
} // namespace vantrel::netlink
