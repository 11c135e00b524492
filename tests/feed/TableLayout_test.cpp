#include "feed/TableLayout.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vantrel::feed {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr std::chrono::steady_clock::time_point now{100h};

Network networkOf(std::uint8_t last, std::string ssid, int signal) {
    Network network;
    network.beacon.bssid = {2, 0, 0, 0, 0, last};
    network.beacon.ssid = std::move(ssid);
    network.beacon.channel = 36;
    network.beacon.width = ChannelWidth::MHz80;
    network.beacon.signal = signal;
    network.beacon.noise = -95;
    network.beacon.security.wpa2Personal = true;
    network.lastSeen = now - 3s;
    return network;
}

class TableLayout : public ::testing::Test {
protected:
    std::vector<std::string> lines(TableStyle style) const {
        std::vector<const Network*> pointers;
        for (const Network& network : networks) {
            pointers.push_back(&network);
        }
        return tableLines(pointers, style, now);
    }

    std::vector<Network> networks = {networkOf(1, "Lab", -40), networkOf(2, "Café", -70), networkOf(3, "", -80)};
};

TEST_F(TableLayout, showsEveryColumn) {
    EXPECT_THAT(lines({106}), ElementsAre("BSSID              SSID                               CH  WIDTH  SIGNAL  "
                                          "NOISE  SECURITY              SEEN",
                                          "02:00:00:00:00:01  Lab                                36     80     -40    "
                                          "-95  WPA2                    3s",
                                          "02:00:00:00:00:02  Café                               36     80     -70    "
                                          "-95  WPA2                    3s",
                                          "02:00:00:00:00:03  (hidden)                           36     80     -80    "
                                          "-95  WPA2                    3s"));
}

TEST_F(TableLayout, aDashForWhatIsNotKnown) {
    networks.resize(1);
    networks[0].beacon.channel.reset();
    networks[0].beacon.signal.reset();
    networks[0].beacon.noise.reset();
    EXPECT_EQ(
        lines({106})[1],
        "02:00:00:00:00:01  Lab                                 -     80       -      -  WPA2                    3s");
}

TEST_F(TableLayout, noLineIsLongerThanTheTerminalIsWide) {
    networks[0].beacon.ssid = "咖啡咖啡咖啡咖啡咖啡";
    networks[1].beacon.ssid = "\x1b[2J\xff\xfe\xfd\xfc";
    networks[2].beacon.security.wpa2Enterprise = networks[2].beacon.security.owe = true;
    networks[2].beacon.security.wpaPersonal = networks[2].beacon.security.other = true;
    for (int columns = 1; columns <= 130; ++columns) {
        for (const bool colour : {false, true}) {
            for (std::string line : lines({columns, 0, colour})) {
                for (auto escape = line.find('\x1b'); escape != std::string::npos; escape = line.find('\x1b')) {
                    ASSERT_TRUE(colour);
                    line.erase(escape, line.find('m', escape) - escape + 1);
                }
                ASSERT_LE(displayWidth(line), columns) << line;
            }
        }
    }
}

TEST_F(TableLayout, leavesOutWhatMattersLeast) {
    const auto header = [this](int columns) { return lines({columns})[0]; };
    EXPECT_EQ(header(80), "BSSID              SSID          CH  WIDTH  SIGNAL  NOISE  SECURITY         SEEN");
    EXPECT_THAT(header(77), HasSubstr("NOISE"));
    EXPECT_THAT(header(76), Not(HasSubstr("NOISE")));
    EXPECT_EQ(header(60), "BSSID              SSID          CH  SIGNAL  SECURITY");
    EXPECT_EQ(header(50), "BSSID              SSID                     SIGNAL");
    EXPECT_EQ(header(30), "SSID                    SIGNAL");
}

TEST_F(TableLayout, tellsHowManyNetworksDoNotFit) {
    EXPECT_EQ(lines({106, 4}).size(), 4U);
    const auto cut = lines({106, 3});
    ASSERT_EQ(cut.size(), 3U);
    EXPECT_THAT(cut[1], HasSubstr("Lab"));
    EXPECT_EQ(cut[2], "and 2 more");
    EXPECT_THAT(lines({106, 2}), ElementsAre(::testing::_, "and 3 more"));
    EXPECT_EQ(lines({106, 1}).size(), 1U);
    networks.clear();
    EXPECT_EQ(lines({106, 3}).size(), 1U);
}

TEST_F(TableLayout, coloursTheSignalByItsStrength) {
    const auto coloured = lines({106, 0, true});
    EXPECT_THAT(coloured[0], HasSubstr("\x1b[1mBSSID"));
    EXPECT_THAT(coloured[1], HasSubstr("\x1b[32m   -40\x1b[0m"));
    EXPECT_THAT(coloured[2], HasSubstr("\x1b[33m   -70\x1b[0m"));
    EXPECT_THAT(coloured[3], HasSubstr("\x1b[31m   -80\x1b[0m"));
    networks[0].lastSeen = now - 16s;
    EXPECT_THAT(lines({106, 0, true})[1], ::testing::StartsWith("\x1b[2m02:00"));
    EXPECT_THAT(lines({106, 0, true})[1], Not(HasSubstr("\x1b[32m")));
    for (const std::string& line : lines({106, 0, false})) {
        EXPECT_THAT(line, Not(HasSubstr("\x1b")));
    }
}

TEST_F(TableLayout, namesCannotDriveTheTerminal) {
    networks[0].beacon.ssid = "\x1b[31mred";
    EXPECT_THAT(lines({106})[1], HasSubstr("  \\x1b[31mred  "));
}

TEST(AgeText, inTheLargestUnit) {
    for (const auto& [age, text] : {std::pair<std::chrono::steady_clock::duration, const char*>{0ms, "now"},
                                    {999ms, "now"},
                                    {1s, "1s"},
                                    {59s, "59s"},
                                    {60s, "1m"},
                                    {59min, "59m"},
                                    {60min, "1h"},
                                    {23h, "23h"},
                                    {24h, "1d"},
                                    {24h * 5000, "999d"}}) {
        EXPECT_EQ(ageText(age), text);
    }
}

} // namespace
} // namespace vantrel::feed
