#include "BeaconBytes.h"
#include "feed/Beacon.h"

#include <gtest/gtest.h>
#include <random>

namespace vantrel::feed {
namespace {

using namespace testing;

Beacon read(const Bytes& elements) {
    Beacon beacon;
    addElements(beacon, Exact(elements).span());
    return beacon;
}

// Parameters (24 bits), colour, MCS set; then the optional parts.
Bytes heOperation(std::uint32_t parameters, const Bytes& parts) {
    return extension(36, Bytes{static_cast<std::uint8_t>(parameters), static_cast<std::uint8_t>(parameters >> 8),
                               static_cast<std::uint8_t>(parameters >> 16), 1, 0, 0} +
                             parts);
}
Bytes ehtOperation(std::uint8_t parameters, std::uint8_t control) {
    return extension(106, {parameters, 0, 0, 0, 0, control, 0, 0});
}
constexpr std::uint32_t hasVht = 1U << 14;
constexpr std::uint32_t hasCoHosted = 1U << 15;
constexpr std::uint32_t hasSixGHz = 1U << 17;

TEST(Elements, ssidIsAnyBytesUpToThirtyTwo) {
    EXPECT_EQ(read(element(0, Bytes(32, 'x'))).ssid, std::string(32, 'x'));
    EXPECT_EQ(read(element(0, {0x1B, '[', 0xFF, 0, 'a'})).ssid, std::string("\x1b[\xff\0a", 5));
    EXPECT_EQ(read(element(0, Bytes(33, 'x'))).ssid, "");
}

TEST(Elements, aHiddenNameIsEmptyOrNulBytes) {
    EXPECT_EQ(read(element(0, {})).ssid, "");
    EXPECT_EQ(read(element(0, Bytes(8, 0))).ssid, "");
}

TEST(Elements, theFirstOfEachKindCounts) {
    EXPECT_EQ(read(element(0, bytesOf("one")) + element(0, bytesOf("two"))).ssid, "one");
    EXPECT_EQ(read(element(0, {}) + element(0, bytesOf("two"))).ssid, "");
    EXPECT_EQ(read(element(3, {1}) + element(3, {2})).channel, 1);
    EXPECT_EQ(read(htOperation(36, 5) + htOperation(40, 0)).width, ChannelWidth::MHz40);
    EXPECT_EQ(securityText(read(element(48, rsn({2})) + element(48, rsn({8}))).security), "WPA2");
    EXPECT_EQ(read(ehtOperation(1, 4) + ehtOperation(1, 0)).width, ChannelWidth::MHz320);
}

TEST(Elements, endAtTheFirstThatRunsOver) {
    const auto beacon = read(element(0, bytesOf("Lab")) + Bytes{3, 200, 6} + element(7, bytesOf("DE ")));
    EXPECT_EQ(beacon.ssid, "Lab");
    EXPECT_FALSE(beacon.channel);
    EXPECT_EQ(beacon.country, "");
    EXPECT_EQ(read(Bytes{0, 3, 'L', 'a'}).ssid, "");
    EXPECT_EQ(read(Bytes{0}).ssid, "");
}

TEST(Elements, tooShortOnesDoNotCount) {
    EXPECT_FALSE(read(element(3, {})).channel);
    EXPECT_FALSE(read(element(61, Bytes(21, 5))).channel);
    EXPECT_EQ(read(element(192, {1, 42, 0, 0})).width, ChannelWidth::MHz20);
    EXPECT_EQ(read(element(7, bytesOf("DE"))).country, "");
    EXPECT_EQ(read(element(255, {})).width, ChannelWidth::MHz20);
    EXPECT_EQ(read(extension(106, {1, 0, 0, 0, 0, 4, 0})).width, ChannelWidth::MHz20);
    EXPECT_EQ(read(extension(36, {0, 0x40, 0, 1, 0, 0, 1, 42})).width, ChannelWidth::MHz20);
    EXPECT_FALSE(read(extension(36, {0, 0, 2, 1, 0, 0, 5, 2, 7, 0})).channel);
}

TEST(Elements, widthByHtOperation) {
    EXPECT_EQ(read(htOperation(6, 0x00)).width, ChannelWidth::MHz20);
    EXPECT_EQ(read(htOperation(6, 0x05)).width, ChannelWidth::MHz40); // secondary above
    EXPECT_EQ(read(htOperation(6, 0x07)).width, ChannelWidth::MHz40); // below
    EXPECT_EQ(read(htOperation(6, 0x01)).width, ChannelWidth::MHz20); // the width bit is clear
    EXPECT_EQ(read(htOperation(6, 0x06)).width, ChannelWidth::MHz20); // an offset that does not exist
    EXPECT_EQ(read(htOperation(44, 0x05)).channel, 44);
    EXPECT_FALSE(read(htOperation(0, 0x05)).channel);
    EXPECT_EQ(read(element(3, {6}) + htOperation(7, 0)).channel, 6);
}

TEST(Elements, widthByVhtOperation) {
    const Bytes ht = htOperation(36, 0x05);
    EXPECT_EQ(read(ht + vhtOperation(0, 0, 0)).width, ChannelWidth::MHz40);
    EXPECT_EQ(read(ht + vhtOperation(1, 42, 0)).width, ChannelWidth::MHz80);
    EXPECT_EQ(read(ht + vhtOperation(1, 42, 50)).width, ChannelWidth::MHz160);
    EXPECT_EQ(read(ht + vhtOperation(1, 42, 155)).width, ChannelWidth::MHz80Plus80);
    EXPECT_EQ(read(ht + vhtOperation(1, 42, 43)).width, ChannelWidth::MHz80);
    EXPECT_EQ(read(ht + vhtOperation(2, 50, 0)).width, ChannelWidth::MHz160);
    EXPECT_EQ(read(ht + vhtOperation(3, 42, 155)).width, ChannelWidth::MHz80Plus80);
    EXPECT_EQ(read(ht + vhtOperation(255, 42, 0)).width, ChannelWidth::MHz40);
}

TEST(Elements, channelAndWidthByHeOperation) {
    EXPECT_EQ(read(heOperation(hasVht, {1, 42, 50})).width, ChannelWidth::MHz160);
    const auto six = read(heOperation(hasVht | hasCoHosted | hasSixGHz, {1, 42, 50, 9, 37, 2, 39, 0, 6}));
    EXPECT_EQ(six.channel, 37);
    EXPECT_EQ(six.width, ChannelWidth::MHz80);
    const auto width = [](std::uint8_t control, std::uint8_t segment0, std::uint8_t segment1) {
        return read(heOperation(hasSixGHz, {1, control, segment0, segment1, 6})).width;
    };
    EXPECT_EQ(width(0, 1, 0), ChannelWidth::MHz20);
    EXPECT_EQ(width(1, 3, 0), ChannelWidth::MHz40);
    EXPECT_EQ(width(3, 7, 15), ChannelWidth::MHz160);
    EXPECT_EQ(width(3, 7, 71), ChannelWidth::MHz80Plus80);
    EXPECT_EQ(read(heOperation(0, {1, 42, 50})).width, ChannelWidth::MHz20);
}

TEST(Elements, widthByEhtOperation) {
    const Bytes before = htOperation(36, 5) + vhtOperation(1, 42, 0);
    EXPECT_EQ(read(before + ehtOperation(1, 4)).width, ChannelWidth::MHz320);
    EXPECT_EQ(read(before + ehtOperation(1, 3)).width, ChannelWidth::MHz160);
    EXPECT_EQ(read(before + ehtOperation(1, 7)).width, ChannelWidth::MHz80);
    EXPECT_EQ(read(before + ehtOperation(0, 4)).width, ChannelWidth::MHz80);
}

TEST(Elements, countryIsTwoLettersOrNothing) {
    EXPECT_EQ(read(element(7, bytesOf("US ")) + element(7, bytesOf("DE "))).country, "US");
    EXPECT_EQ(read(element(7, {0x1B, '[', ' '})).country, "");
    EXPECT_EQ(read(element(7, bytesOf("us "))).country, "");
}

// The sanitizers see every read beyond the bytes.
TEST(Elements, anyBytesAreRead) {
    std::mt19937 random(1); // NOLINT(*-msc51-cpp): the same bytes in every run
    const std::vector<std::uint8_t> numbers = {0, 3, 7, 48, 61, 192, 221, 255};
    for (int round = 0; round < 20000; ++round) {
        Bytes elements;
        for (auto count = random() % 6; count > 0; --count) {
            Bytes data(random() % 30);
            for (auto& byte : data) {
                byte = static_cast<std::uint8_t>(random() % 4 == 0 ? random() : random() % 3);
            }
            if (!data.empty() && random() % 2 == 0) {
                data[0] = random() % 2 == 0 ? 36 : 106;
            }
            elements = elements + element(numbers[random() % numbers.size()], data);
        }
        elements.resize(elements.size() - std::min<std::size_t>(elements.size(), random() % 4));
        const auto beacon = read(elements);
        ASSERT_LE(beacon.ssid.size(), 32U);
    }
}

} // namespace
} // namespace vantrel::feed
