#include "BeaconBytes.h"
#include "feed/Formats.h"
#include "feed/Sweeps.h"

#include <cstring>
#include <gtest/gtest.h>

namespace vantrel::feed {
namespace {

using namespace testing;
using namespace std::chrono_literals;
using namespace std::string_literals;

constexpr WallTime someTime{1700000000s + 12345us};

TEST(JsonLine, holdsWhatIsKnown) {
    Beacon beacon;
    beacon.bssid = {0, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E};
    beacon.ssid = "Caf\xe9\x1b\"";
    beacon.channel = 36;
    beacon.width = ChannelWidth::MHz80Plus80;
    beacon.frequency = 5180;
    beacon.signal = -60;
    beacon.noise = -95;
    beacon.security.wpa2Personal = beacon.security.wpa3Personal = true;
    beacon.country = "DE";
    EXPECT_EQ(jsonLine(beacon, someTime, 7),
              "{\"time\":\"2023-11-14T22:13:20.012345Z\",\"sweep\":7,\"frame\":\"beacon\","
              "\"bssid\":\"00:1a:2b:3c:4d:5e\",\"ssid\":\"Caf\xef\xbf\xbd\\u001b\\\"\",\"ssid_hex\":\"436166e91b22\","
              "\"channel\":36,\"width\":\"80+80\",\"frequency\":5180,\"signal\":-60,\"noise\":-95,"
              "\"security\":\"WPA2/WPA3\",\"country\":\"DE\"}\n");
}

TEST(JsonLine, holdsNullForWhatIsNot) {
    Beacon beacon;
    beacon.probeResponse = true;
    EXPECT_EQ(jsonLine(beacon, someTime, 1),
              "{\"time\":\"2023-11-14T22:13:20.012345Z\",\"sweep\":1,\"frame\":\"probe response\","
              "\"bssid\":\"00:00:00:00:00:00\",\"ssid\":\"\",\"ssid_hex\":\"\",\"channel\":null,\"width\":\"20\","
              "\"frequency\":null,\"signal\":null,\"noise\":null,\"security\":\"Open\",\"country\":null}\n");
}

std::vector<std::uint32_t> words(const std::string& bytes) {
    std::vector<std::uint32_t> words(bytes.size() / 4);
    std::memcpy(words.data(), bytes.data(), words.size() * 4);
    return words;
}

TEST(Pcap, headerOfDataLinkType127) {
    const auto header = words(pcapHeader());
    ASSERT_EQ(header.size(), 6U);
    EXPECT_EQ(header[0], 0xA1B2C3D4U);
    EXPECT_EQ(header[4], 262144U);
    EXPECT_EQ(header[5], 127U);
}

TEST(Pcap, framesByteForByte) {
    const std::string frame = pcapFrame(bytesOf("\x00\xff\n"s), someTime);
    ASSERT_EQ(frame.size(), 19U);
    EXPECT_EQ(words(frame.substr(0, 16)), (std::vector<std::uint32_t>{1700000000, 12345, 3, 3}));
    EXPECT_EQ(frame.substr(16), "\x00\xff\n"s);
}

Bssid numbered(std::size_t number) {
    return {2, 0, 0, 0, static_cast<std::uint8_t>(number >> 8), static_cast<std::uint8_t>(number)};
}

TEST(Sweeps, theNextBeginsWithANetworkThatComesAgain) {
    Sweeps sweeps;
    EXPECT_FALSE(sweeps.beginsNext(numbered(1)));
    sweeps.add(numbered(1));
    EXPECT_FALSE(sweeps.beginsNext(numbered(2)));
    sweeps.add(numbered(2));
    EXPECT_TRUE(sweeps.beginsNext(numbered(1)));
    EXPECT_TRUE(sweeps.end());
    EXPECT_EQ(sweeps.ended(), 1U);
    EXPECT_FALSE(sweeps.beginsNext(numbered(1)));
}

TEST(Sweeps, withoutARecordThereWasNone) {
    Sweeps sweeps;
    EXPECT_FALSE(sweeps.end());
    EXPECT_EQ(sweeps.ended(), 0U);
}

TEST(Sweeps, neverGrowWithoutBound) {
    Sweeps sweeps;
    for (std::size_t number = 0; number < Sweeps::mostNetworks; ++number) {
        ASSERT_FALSE(sweeps.beginsNext(numbered(number)));
        sweeps.add(numbered(number));
    }
    EXPECT_TRUE(sweeps.beginsNext(numbered(Sweeps::mostNetworks)));
}

} // namespace
} // namespace vantrel::feed
