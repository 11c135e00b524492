#include "simulated/FrameBuilder.h"

#include "Capture.h"

#include <gmock/gmock.h>

namespace vantrel {
namespace {

using testing::Fields;

constexpr MacAddress accessPoint = {0x02, 0x5a, 0x17, 1, 0, 1};
constexpr MacAddress station = {0x02, 0xc1, 0x3e, 1, 1, 2};

TEST(FrameBuilder, TheRadioHeaderHoldsItsFieldsAligned) {
    Reception reception;
    reception.tsft = 0x0102030405060708ULL;
    reception.frequency = 2412;
    reception.rate = 2;
    reception.signal = -50;
    reception.noise = -94;
    reception.antenna = 1;
    const Bytes packet = received(reception, ackFrame(station));
    const Bytes expected = {0x00, 0x00, 25,   0x00, 0x6f, 0x08, 0x00, 0x00,    // version, length, present
                            8,    7,    6,    5,    4,    3,    2,    1,       // TSFT
                            0x10, 2,    0x6c, 0x09, 0xa0, 0x00, 0xce, 0xa2, 1, // flags, rate, channel, signal, noise
                            0xd4, 0x00, 0x00, 0x00, 0x02, 0xc1, 0x3e, 1,    1, 2};
    ASSERT_EQ(packet.size(), expected.size() + 4);
    EXPECT_EQ(Bytes(packet.begin(), packet.end() - 4), expected);
}

TEST(FrameBuilder, TheVhtFieldStandsAtAnEvenOffset) {
    Reception reception;
    reception.frequency = 5180;
    reception.vht = VhtRate{7, 2, width80MHz};
    const Bytes packet = received(reception, ackFrame(station));
    EXPECT_EQ(packet[2], 38);
    const Bytes field(packet.begin() + 26, packet.begin() + 38);
    EXPECT_EQ(field, (Bytes{0x45, 0x00, 0x00, 4, 0x72, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(FrameBuilder, TheCheckSequenceIsWrongExactlyWhenFlagged) {
    for (const bool bad : {false, true}) {
        Reception reception;
        reception.badFcs = bad;
        const Fields fields(received(reception, rtsFrame(accessPoint, station, 100)));
        EXPECT_EQ(fields.badFcs, bad);
        EXPECT_EQ(fields.fcsRight, !bad);
    }
}

TEST(FrameBuilder, DataFramesHaveTheDirectionsAddresses) {
    const DataHeader up{accessPoint, station, true, false, 0x123, 44};
    const Bytes toNetwork = qosDataFrame(up, 1, 100);
    EXPECT_EQ(toNetwork.size(), 26U + 8 + 100 + 8);
    EXPECT_EQ(toNetwork[0], 0x88);
    EXPECT_EQ(toNetwork[1], 0x41);
    EXPECT_EQ(toNetwork[22], 0x30); // sequence number 0x123 above the fragment number
    EXPECT_EQ(toNetwork[23], 0x12);
    DataHeader down = up;
    down.toDistribution = false;
    const Bytes fromNetwork = qosDataFrame(down, 1, 100);
    EXPECT_EQ(fromNetwork[1], 0x42);
    EXPECT_TRUE(std::equal(station.begin(), station.end(), fromNetwork.begin() + 4));
    EXPECT_TRUE(std::equal(accessPoint.begin(), accessPoint.end(), fromNetwork.begin() + 10));
    EXPECT_EQ(nullDataFrame(up, true).size(), 24U);
    EXPECT_EQ(nullDataFrame(up, true)[1], 0x11);
}

} // namespace
} // namespace vantrel
