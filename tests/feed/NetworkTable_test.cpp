#include "feed/NetworkTable.h"

#include <QStringList>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vantrel::feed {
namespace {

using namespace std::chrono_literals;

constexpr std::chrono::steady_clock::time_point start{};

Beacon beaconOf(std::uint8_t last, std::string ssid = {}) {
    Beacon beacon;
    beacon.bssid = {2, 0, 0, 0, 0, last};
    beacon.ssid = std::move(ssid);
    return beacon;
}

std::vector<int> order(const NetworkTable& table, SortKey key) {
    std::vector<int> last;
    for (const Network* network : table.sorted(key)) {
        last.push_back(network->beacon.bssid[5]);
    }
    return last;
}

TEST(NetworkTable, keepsWhatWasHeardLast) {
    NetworkTable table;
    Beacon beacon = beaconOf(1, "Lab");
    beacon.signal = -40;
    table.update(beacon, start);
    beacon.signal = -70;
    table.update(beacon, start + 1s);
    ASSERT_EQ(table.size(), 1U);
    const Network* network = table.sorted(SortKey::Signal).front();
    EXPECT_EQ(network->beacon.signal, -70);
    EXPECT_EQ(network->lastSeen, start + 1s);
}

TEST(NetworkTable, aHiddenNameThatWasToldStays) {
    NetworkTable table;
    table.update(beaconOf(1), start);
    EXPECT_EQ(table.sorted(SortKey::Signal).front()->beacon.ssid, "");
    table.update(beaconOf(1, "Secret"), start);
    table.update(beaconOf(1), start);
    EXPECT_EQ(table.sorted(SortKey::Signal).front()->beacon.ssid, "Secret");
    table.update(beaconOf(1, "Other"), start);
    EXPECT_EQ(table.sorted(SortKey::Signal).front()->beacon.ssid, "Other");
}

TEST(NetworkTable, isSortedByEachKey) {
    NetworkTable table;
    const auto add = [&table](std::uint8_t last, std::string ssid, std::optional<int> signal, std::optional<int> noise,
                              std::optional<int> channel, ChannelWidth width, bool privacy) {
        Beacon beacon = beaconOf(last, std::move(ssid));
        beacon.signal = signal;
        beacon.noise = noise;
        beacon.channel = channel;
        beacon.width = width;
        beacon.security.privacy = privacy;
        table.update(beacon, start + std::chrono::seconds(last));
    };
    add(1, "b", -70, -90, 36, ChannelWidth::MHz160, true);
    add(2, "", {}, {}, {}, ChannelWidth::MHz20, false);
    add(3, "a", -40, -95, 1, ChannelWidth::MHz20, true);
    add(4, "c", -70, -80, 11, ChannelWidth::MHz40, false);
    using ::testing::ElementsAre;
    EXPECT_THAT(order(table, SortKey::Signal), ElementsAre(3, 1, 4, 2));
    EXPECT_THAT(order(table, SortKey::Noise), ElementsAre(4, 1, 3, 2));
    EXPECT_THAT(order(table, SortKey::Address), ElementsAre(1, 2, 3, 4));
    EXPECT_THAT(order(table, SortKey::Name), ElementsAre(3, 1, 4, 2));
    EXPECT_THAT(order(table, SortKey::Channel), ElementsAre(3, 4, 1, 2));
    EXPECT_THAT(order(table, SortKey::Width), ElementsAre(2, 3, 4, 1));
    EXPECT_THAT(order(table, SortKey::Protection), ElementsAre(2, 4, 1, 3));
    EXPECT_THAT(order(table, SortKey::Seen), ElementsAre(4, 3, 2, 1));
}

TEST(NetworkTable, everyKeyHasAName) {
    EXPECT_EQ(sortKeyNames().join(QLatin1Char(' ')),
              QStringLiteral("signal bssid ssid channel width noise security seen"));
    EXPECT_EQ(sortKeyNamed(QStringLiteral("seen")), SortKey::Seen);
    EXPECT_FALSE(sortKeyNamed(QStringLiteral("Signal")));
}

TEST(NetworkTable, aFloodOfNetworksDrivesOutTheOldest) {
    NetworkTable table;
    const auto numbered = [](std::size_t number) {
        Beacon beacon;
        beacon.bssid = {2, 0, 0, 0, static_cast<std::uint8_t>(number >> 8), static_cast<std::uint8_t>(number)};
        return beacon;
    };
    for (std::size_t number = 0; number < NetworkTable::mostNetworks; ++number) {
        table.update(numbered(number), start + std::chrono::milliseconds(number));
    }
    table.update(numbered(0), start + 1h);
    EXPECT_EQ(table.size(), NetworkTable::mostNetworks);
    table.update(numbered(NetworkTable::mostNetworks), start + 2h);
    EXPECT_LE(table.size(), NetworkTable::mostNetworks * 3 / 4 + 1);
    const auto bySeen = table.sorted(SortKey::Seen);
    EXPECT_EQ(bySeen[0]->beacon.bssid, numbered(NetworkTable::mostNetworks).bssid);
    EXPECT_EQ(bySeen[1]->beacon.bssid, numbered(0).bssid);
}

} // namespace
} // namespace vantrel::feed
