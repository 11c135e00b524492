// The way over the channels, by the clock.
#include "ConnectionFixture.h"

namespace vantrel::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

class Hopping : public ConnectionFixture {
protected:
    ~Hopping() override { connection.reset(); }

    void hearDuring(std::size_t dwell, const Bytes& frame) {
        static_cast<void>(clock.dwell(dwell));
        hear(frame);
    }
    // Ends a dwell once the frame of a network that was heard last has been filed.
    void endDwellAfter(int network) {
        ASSERT_TRUE(runUntil([&] { return connection->packets().contains(bssidOf(network)); }));
        clock.endDwell();
    }
    static Bytes damagedBeacon() {
        Bytes frame = beacon(3, -50);
        frame.back() ^= 1;
        return frame;
    }
    static Bytes dataFrame() {
        return received({}, qosDataFrame({.bssid = {2, 0, 0, 0, 0, 1}, .station = {2, 0, 0, 0, 0, 2}}, 1, 100));
    }
    static Bytes probeRequest() { return received({}, probeRequestFrame({2, 0, 0, 0, 0, 2}, {6, 1, 1}, 1)); }
};

TEST_F(Hopping, ListensLongWhereItHeardSomethingAndShortWhereItDidNot) {
    open();
    EXPECT_EQ(clock.dwell(1), 120ms);
    hear(beacon(1, -50));
    endDwellAfter(1);
    EXPECT_EQ(clock.dwell(2), 120ms);
    clock.endDwell();
    EXPECT_EQ(clock.dwell(3), 120ms); // channel 1 again
    clock.endDwell();
    EXPECT_EQ(clock.dwell(4), 40ms); // channel 6 was silent
    hear(beacon(2, -50));
    endDwellAfter(2);
    EXPECT_EQ(clock.dwell(5), 40ms); // now channel 1 was
    clock.endDwell();
    EXPECT_EQ(clock.dwell(6), 120ms);
    auto calls = journal.calls();
    std::erase(calls, "disable"); // comes from the main thread, at its own time
    EXPECT_THAT(calls, ElementsAre("channel 1", "channel 6", "channel 1", "channel 6", "channel 1", "channel 6"));
}

TEST_F(Hopping, ADamagedBeaconCountsForTheDwellAndIsNotSent) {
    open();
    hearDuring(1, damagedBeacon());
    hear(beacon(1, -50)); // filed behind it
    endDwellAfter(1);
    static_cast<void>(clock.dwell(2));
    clock.endDwell();
    EXPECT_EQ(client->record(), beacon(1, -50));
    EXPECT_EQ(clock.dwell(3), 120ms);
    hear(damagedBeacon());
    // Nothing tells when a frame that is dropped has been looked at; a later one of another sweep does.
    static_cast<void>(runUntil([] { return false; }, 50ms));
    clock.endDwell();
    static_cast<void>(clock.dwell(4));
    clock.endDwell();
    EXPECT_EQ(clock.dwell(5), 120ms);
    EXPECT_EQ(client->left(), 0U);
}

TEST_F(Hopping, OtherKindsOfFramesDoNotCount) {
    open();
    hearDuring(1, dataFrame());
    hear(probeRequest());
    static_cast<void>(runUntil([] { return false; }, 50ms));
    clock.endDwell();
    static_cast<void>(clock.dwell(2));
    clock.endDwell();
    EXPECT_EQ(clock.dwell(3), 40ms);
}

TEST_F(Hopping, WithThePowerOffNothingIsTunedAndTheLoopGoesOn) {
    open();
    static_cast<void>(clock.dwell(1));
    airport.power = false;
    clock.endDwell();
    EXPECT_EQ(clock.dwell(2), 120ms);
    clock.endDwell();
    for (std::size_t number = 3; number <= 12; ++number) {
        EXPECT_EQ(clock.dwell(number), 40ms);
        clock.endDwell();
    }
    EXPECT_EQ(journal.count("channel 1"), 1);
    EXPECT_EQ(journal.count("channel 6"), 0);
    EXPECT_FALSE(connection->isCaptureOver());
    connection->close();
    EXPECT_TRUE(captureEnds());
}

TEST_F(Hopping, ARefusedChannelIsLoggedAndItsDwellSpent) {
    const LogCapture log;
    airport.refusedChannel = 1;
    open();
    EXPECT_EQ(clock.dwell(1), 120ms);
    clock.endDwell();
    static_cast<void>(clock.dwell(2));
    clock.endDwell();
    EXPECT_EQ(clock.dwell(3), 40ms);
    EXPECT_THAT(log.warnings(), ElementsAre(QStringLiteral("setWLANChannel failed: test: refused"),
                                            QStringLiteral("setWLANChannel failed: test: refused")));
    EXPECT_EQ(journal.count("channel 6"), 1);
}

TEST_F(Hopping, TheEndIsNoticedInTheMidstOfADwell) {
    open();
    static_cast<void>(clock.dwell(1));
    connection->close();
    EXPECT_TRUE(captureEnds());
    EXPECT_EQ(journal.count("channel 6"), 0);
}

TEST_F(Hopping, WithoutAChannelToTuneItListensWhereItIs) {
    airport.supported = {{36, bandFiveGHz, width80MHz}};
    open();
    EXPECT_EQ(clock.dwell(1), 120ms);
    hear(beacon(1, -50));
    endDwellAfter(1);
    EXPECT_EQ(client->record(), beacon(1, -50));
    EXPECT_EQ(clock.dwell(2), 120ms);
    EXPECT_EQ(journal.count("channel 36"), 0);
}

} // namespace
} // namespace vantrel::testing
