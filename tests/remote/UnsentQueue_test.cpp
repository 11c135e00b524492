#include "UnsentQueue.h"

#include "ConnectionFixture.h"

#include <gmock/gmock.h>
#include <malloc.h>
#include <random>

namespace vantrel {
namespace {

using ::testing::ElementsAre;

// The sequence number tells the records of one network apart.
VantrelPacket record(int network, int sequence) {
    return VantrelPacket::initWithData(testing::beacon(network, -50, static_cast<std::uint16_t>(sequence)));
}

using Mark = std::pair<std::string, int>;

Mark markOf(const VantrelPacket& packet) {
    const auto& data = packet.data();
    const std::size_t frame = data[2];
    return {std::string(packet.bssid()), (data[frame + 22] | data[frame + 23] << 8) >> 4};
}

Mark mark(int network, int sequence) { return {testing::bssidOf(network), sequence}; }

std::vector<Mark> drained(UnsentQueue& queue) {
    std::vector<Mark> marks;
    while (!queue.isEmpty()) {
        marks.push_back(markOf(queue.dequeue()));
    }
    return marks;
}

// A bound that holds that many records of this kind.
std::size_t roomFor(std::size_t count) {
    UnsentQueue one;
    one.enqueue(record(1, 1));
    return count * one.memory() + one.memory() / 2;
}

TEST(UnsentQueue, IsFirstInFirstOut) {
    UnsentQueue queue;
    queue.enqueue(record(1, 1));
    queue.enqueue(record(2, 1));
    queue.enqueue(record(1, 2));
    EXPECT_EQ(queue.count(), 3U);
    EXPECT_EQ(markOf(queue.dequeue()), mark(1, 1));
    queue.enqueue(record(3, 1));
    EXPECT_THAT(drained(queue), ElementsAre(mark(2, 1), mark(1, 2), mark(3, 1)));
    EXPECT_EQ(queue.dropped(), 0U);
    EXPECT_EQ(queue.memory(), 0U);
}

TEST(UnsentQueueDeathTest, HasNothingToGiveWhenItIsEmpty) {
    UnsentQueue queue;
    EXPECT_DEATH(static_cast<void>(queue.dequeue()), "Assertion failure in -\\[NSMutableArray dequeue\\]");
}

TEST(UnsentQueue, KeepsEveryRecordWithinItsBound) {
    UnsentQueue queue(roomFor(6));
    for (int sweep = 1; sweep <= 3; ++sweep) {
        queue.enqueue(record(1, sweep));
        queue.enqueue(record(2, sweep));
    }
    EXPECT_EQ(queue.dropped(), 0U);
    EXPECT_THAT(drained(queue), ElementsAre(mark(1, 1), mark(2, 1), mark(1, 2), mark(2, 2), mark(1, 3), mark(2, 3)));
}

TEST(UnsentQueue, LetsGoFirstWhatWasSupersededFirst) {
    UnsentQueue queue(roomFor(4));
    queue.enqueue(record(1, 1));
    queue.enqueue(record(2, 1));
    queue.enqueue(record(2, 2)); // supersedes before network 1 does
    queue.enqueue(record(1, 2));
    queue.enqueue(record(3, 1));
    EXPECT_EQ(queue.dropped(), 1U);
    EXPECT_THAT(drained(queue), ElementsAre(mark(1, 1), mark(2, 2), mark(1, 2), mark(3, 1)));
}

TEST(UnsentQueue, KeepsTheOnlyRecordOfANetworkAsLongAsAnythingIsSuperseded) {
    UnsentQueue queue(roomFor(4));
    queue.enqueue(record(9, 1)); // heard once
    for (int sweep = 1; sweep <= 50; ++sweep) {
        queue.enqueue(record(1, sweep));
    }
    EXPECT_EQ(queue.count(), 4U);
    EXPECT_THAT(drained(queue), ElementsAre(mark(9, 1), mark(1, 48), mark(1, 49), mark(1, 50)));
}

TEST(UnsentQueue, OfNetworksHeardOnceLetsTheOldestGo) {
    UnsentQueue queue(roomFor(3));
    for (int network = 1; network <= 10; ++network) {
        queue.enqueue(record(network, 1));
    }
    EXPECT_THAT(drained(queue), ElementsAre(mark(8, 1), mark(9, 1), mark(10, 1)));
    queue.enqueue(record(1, 2)); // nothing of those that are gone is remembered
    EXPECT_THAT(drained(queue), ElementsAre(mark(1, 2)));
}

TEST(UnsentQueue, HoldsTheLatestRecordHoweverSmallTheBound) {
    UnsentQueue queue(1);
    queue.enqueue(record(1, 1));
    queue.enqueue(record(2, 1));
    EXPECT_THAT(drained(queue), ElementsAre(mark(2, 1)));
}

TEST(UnsentQueue, ClearedItIsAsNew) {
    UnsentQueue queue;
    queue.enqueue(record(1, 1));
    queue.enqueue(record(1, 2));
    queue.clear();
    EXPECT_TRUE(queue.isEmpty());
    EXPECT_EQ(queue.memory(), 0U);
    queue.enqueue(record(1, 3));
    EXPECT_THAT(drained(queue), ElementsAre(mark(1, 3)));
}

// Against the rule in its plain words, over a list.
class PlainQueue {
public:
    explicit PlainQueue(std::size_t room) : _room(room) {}
    void enqueue(const Mark& added) {
        for (auto& entry : _entries) {
            if (entry.mark.first == added.first && entry.superseded == 0) {
                entry.superseded = ++_clock;
            }
        }
        _entries.push_back({added, 0});
        if (_entries.size() > _room) {
            auto first = _entries.begin();
            for (auto entry = _entries.begin(); entry != _entries.end(); ++entry) {
                if (entry->superseded > 0 && (first->superseded == 0 || entry->superseded < first->superseded)) {
                    first = entry;
                }
            }
            _entries.erase(first);
        }
    }
    std::optional<Mark> dequeue() {
        if (_entries.empty()) {
            return std::nullopt;
        }
        const Mark oldest = _entries.front().mark;
        _entries.erase(_entries.begin());
        return oldest;
    }

private:
    struct Entry {
        Mark mark;
        int superseded;
    };
    std::vector<Entry> _entries;
    const std::size_t _room;
    int _clock = 0;
};

TEST(UnsentQueue, FollowsItsRuleOnAnyCourseOfThings) {
    std::mt19937 random(7);
    UnsentQueue queue(roomFor(12));
    PlainQueue plain(12);
    for (int step = 0; step < 5000; ++step) {
        if (random() % 3 != 0) {
            const int network = static_cast<int>(random() % 8 * (random() % 4 == 0 ? 100 : 1)) + 1;
            const int sequence = step % 4096;
            queue.enqueue(record(network, sequence));
            plain.enqueue(mark(network, sequence));
        } else {
            const auto expected = plain.dequeue();
            ASSERT_EQ(queue.isEmpty(), !expected);
            if (expected) {
                ASSERT_EQ(markOf(queue.dequeue()), *expected) << "step " << step;
            }
        }
    }
    EXPECT_GT(queue.dropped(), 100U);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST(UnsentQueue, CountsTheMemoryItReallyTakes) {
    const auto before = ::mallinfo2().uordblks;
    UnsentQueue queue;
    for (int number = 0; number < 5000; ++number) {
        queue.enqueue(record(number % 2500, number % 4096));
    }
    const auto taken = ::mallinfo2().uordblks - before;
    EXPECT_EQ(queue.dropped(), 0U);
    EXPECT_GT(static_cast<double>(queue.memory()), 0.8 * static_cast<double>(taken));
    EXPECT_LT(static_cast<double>(queue.memory()), 1.3 * static_cast<double>(taken));
}
#endif

TEST(UnsentQueue, StopsGrowingForAClientThatNeverReads) {
    UnsentQueue queue;
    for (int sweep = 0; sweep < 1000; ++sweep) {
        for (int network = 0; network < 50; ++network) {
            queue.enqueue(record(network, sweep % 4096));
        }
        ASSERT_LE(queue.memory(), UnsentQueue::longQueue);
    }
    EXPECT_GT(queue.dropped(), 0U);
    EXPECT_GT(queue.count(), 10000U);
    EXPECT_EQ(markOf(queue.packets().back()), mark(49, 999));
}

} // namespace
} // namespace vantrel
