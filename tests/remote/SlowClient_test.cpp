// A client that does not read what it is sent, or not yet.
#include "ConnectionFixture.h"

#include <set>

namespace vantrel::testing {
namespace {

class SlowClient : public ConnectionFixture {
protected:
    ~SlowClient() override { connection.reset(); }

    static constexpr int networks = 100;

    // One sweep with a beacon of each network; the number tells the sweeps apart.
    void sweepOf(std::uint16_t number) {
        static_cast<void>(clock.dwell(2 * number - 1U));
        for (int network = 0; network < networks; ++network) {
            hear(beacon(network, -50, number));
        }
        ASSERT_TRUE(runUntil([&] { return connection->packets().size() == networks; }));
        endSweep(2 * number - 1U);
    }
    static std::uint16_t numberOf(const Bytes& record) {
        const std::size_t frame = record[2];
        return static_cast<std::uint16_t>((record[frame + 22] | record[frame + 23] << 8) >> 4);
    }
};

TEST_F(SlowClient, GetsEveryRecordInOrderWhenItReadsAgain) {
    constexpr std::uint16_t sweeps = 8;
    open(4096);
    for (std::uint16_t number = 1; number <= sweeps; ++number) {
        sweepOf(number);
    }
    EXPECT_GT(connection->packetQueue().size(), 100U);
    for (std::uint16_t number = 1; number <= sweeps; ++number) {
        std::set<Bytes> sent;
        std::set<Bytes> expected;
        for (int network = 0; network < networks; ++network) {
            const auto record = client->record();
            ASSERT_TRUE(record) << "sweep " << number << ", record " << network;
            EXPECT_EQ(numberOf(*record), number);
            sent.insert(*record);
            expected.insert(beacon(network, -50, number));
        }
        EXPECT_EQ(sent, expected);
    }
    EXPECT_TRUE(connection->packetQueue().empty());
    EXPECT_EQ(client->left(), 0U);
}

TEST_F(SlowClient, ThatReadsWhileTheMainThreadIsBusyGetsNothingOutOfOrder) {
    open(4096);
    std::uint16_t number = 1;
    for (; number <= 3; ++number) {
        sweepOf(number);
    }
    const auto waiting = connection->packetQueue().size();
    ASSERT_GT(waiting, 100U);
    // From here on no event is looked at, so that the sweep's records find both space and records that wait.
    static_cast<void>(clock.dwell(2 * number - 1U));
    for (int network = 0; network < networks; ++network) {
        hear(beacon(network, -50, number));
    }
    while (connection->packets().size() < networks) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    std::atomic<bool> swept = false;
    std::thread reading([&] {
        while (!swept) {
            static_cast<void>(client->left());
        }
    });
    endSweep(2 * number - 1U);
    swept = true;
    reading.join();
    EXPECT_EQ(connection->packetQueue().size(), waiting + networks);
    std::vector<std::uint16_t> order;
    while (order.size() < std::size_t{4} * networks) {
        const auto record = client->record();
        ASSERT_TRUE(record);
        order.push_back(numberOf(*record));
    }
    EXPECT_TRUE(std::ranges::is_sorted(order));
}

TEST_F(SlowClient, ThatLeavesEndsTheCaptureAndTheQueueIsEmptied) {
    open(4096);
    for (std::uint16_t number = 1; number <= 4; ++number) {
        sweepOf(number);
    }
    ASSERT_FALSE(connection->packetQueue().empty());
    client->close();
    ASSERT_TRUE(captureEnds());
    EXPECT_EQ(closings, 1);
    EXPECT_TRUE(connection->packetQueue().empty());
}

TEST_F(SlowClient, ThatResetsTheConnectionWhileRecordsWaitEndsTheCapture) {
    open(4096);
    for (std::uint16_t number = 1; number <= 3; ++number) {
        sweepOf(number);
    }
    client->reset();
    ASSERT_TRUE(captureEnds());
    EXPECT_EQ(closings, 1);
}

} // namespace
} // namespace vantrel::testing
