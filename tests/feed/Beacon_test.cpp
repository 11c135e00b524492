#include "BeaconBytes.h"
#include "feed/Beacon.h"

#include <gtest/gtest.h>

namespace vantrel::feed {
namespace {

using namespace testing;

std::optional<Beacon> read(const Bytes& bytes) { return readBeacon(Exact(bytes).span()); }

TEST(Beacon, readsWhatTheUsualAccessPointTells) {
    const Bytes elements = element(0, bytesOf("Cafe")) + element(1, {0x82, 0x84}) + element(3, {11}) +
                           element(7, {'D', 'E', ' ', 1, 13, 20}) + element(48, rsn({2})) + htOperation(11, 0x00);
    const auto beacon = read(record(elements, radiotap(2462, -60, -95), 0x0411));
    ASSERT_TRUE(beacon);
    EXPECT_EQ(bssidText(beacon->bssid), "00:1a:2b:3c:4d:5e");
    EXPECT_EQ(beacon->ssid, "Cafe");
    EXPECT_EQ(beacon->channel, 11);
    EXPECT_EQ(beacon->width, ChannelWidth::MHz20);
    EXPECT_EQ(beacon->frequency, 2462);
    EXPECT_EQ(beacon->signal, -60);
    EXPECT_EQ(beacon->noise, -95);
    EXPECT_EQ(securityText(beacon->security), "WPA2");
    EXPECT_EQ(beacon->country, "DE");
    EXPECT_FALSE(beacon->probeResponse);
}

TEST(Beacon, isReadWithoutSignalNoiseOrChannel) {
    const auto beacon = read(record({}));
    ASSERT_TRUE(beacon);
    EXPECT_FALSE(beacon->signal);
    EXPECT_FALSE(beacon->noise);
    EXPECT_FALSE(beacon->frequency);
    EXPECT_FALSE(beacon->channel);
    EXPECT_EQ(beacon->ssid, "");
    EXPECT_EQ(beacon->country, "");
    EXPECT_EQ(securityText(beacon->security), "Open");
}

TEST(Beacon, takesTheLastOfSeveralAntennas) {
    const Bytes chain = {0, 0, 14, 0, 0x20, 0, 0, 0xA0, 0x20, 0, 0, 0, 0xC4, 0xCE}; // -60, then -50
    const auto beacon = read(record({}, chain));
    ASSERT_TRUE(beacon);
    EXPECT_EQ(beacon->signal, -50);
}

TEST(Beacon, onlyBeaconsAndProbeResponsesOfVersionZero) {
    for (int kind = 0; kind < 256; ++kind) {
        const auto beacon = read(withCheckSequence(bareRadiotap, beaconFront(static_cast<std::uint8_t>(kind))));
        EXPECT_EQ(beacon.has_value(), kind == 0x80 || kind == 0x50) << kind;
        EXPECT_TRUE(!beacon || beacon->probeResponse == (kind == 0x50));
    }
}

TEST(Beacon, nothingWhereTheCheckSequenceIsWrong) {
    for (int bit = 0; bit < 32; ++bit) {
        EXPECT_FALSE(read(withCheckSequence(bareRadiotap, beaconFront(), 1U << bit)));
    }
}

TEST(Beacon, nothingOfWhatIsCutAnywhere) {
    const Bytes whole = record(element(0, bytesOf("Cafe")), radiotap(2412, -60, -95));
    ASSERT_TRUE(read(whole));
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_FALSE(read(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)))) << size;
    }
}

TEST(Beacon, nothingOfAFrameTooShortForItsFixedFields) {
    const Bytes front = beaconFront();
    for (std::size_t size = 0; size < front.size(); ++size) {
        const Bytes frame(front.begin(), front.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_FALSE(read(withCheckSequence(bareRadiotap, frame))) << size;
    }
    EXPECT_TRUE(read(withCheckSequence(bareRadiotap, front)));
}

TEST(Beacon, nothingBehindARadiotapHeaderThatCannotBeWalked) {
    const Bytes shortHeader = {0, 0, 8, 0, 0x20, 0, 0, 0}; // a signal, and no room for it
    EXPECT_FALSE(read(record({}, shortHeader)));
    EXPECT_FALSE(read(record({}, {1, 0, 8, 0, 0, 0, 0, 0})));
    EXPECT_FALSE(read(record({}, {0, 0, 0xFF, 0xFF, 0, 0, 0, 0})));
}

TEST(Beacon, readsBehindAnHtControlField) {
    Bytes frame = beaconFront();
    frame[1] = 0x80;
    frame[33] = 200; // of the beacon interval; taken for the length of an element, it would run over
    frame.insert(frame.begin() + 24, 4, 0);
    const auto beacon = read(withCheckSequence(bareRadiotap, frame + element(0, bytesOf("Lab"))));
    ASSERT_TRUE(beacon);
    EXPECT_EQ(beacon->ssid, "Lab");
    Bytes cut = beaconFront(); // whole, but for an HT control field
    cut[1] = 0x80;
    EXPECT_FALSE(read(withCheckSequence(bareRadiotap, cut)));
}

TEST(Beacon, channelNumbersOfFrequencies) {
    for (const auto& [frequency, channel] : {std::pair{2412, 1},
                                             {2472, 13},
                                             {2484, 14},
                                             {5180, 36},
                                             {5825, 165},
                                             {5885, 177},
                                             {5935, 2},
                                             {5955, 1},
                                             {7115, 233}}) {
        EXPECT_EQ(channelAt(frequency), channel) << frequency;
    }
    for (const int frequency : {0, 2407, 2413, 2477, 5000, 5181, 5950, 7120, 65535}) {
        EXPECT_FALSE(channelAt(frequency)) << frequency;
    }
}

TEST(Beacon, whereNoElementTellsTheChannelItIsWhereTheFrameWasHeard) {
    EXPECT_EQ(read(record({}, radiotap(5180, -60, -95)))->channel, 36);
    EXPECT_EQ(read(record(element(3, {7}), radiotap(2437, -60, -95)))->channel, 7);
}

} // namespace
} // namespace vantrel::feed
