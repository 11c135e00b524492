#include "wifi/HopStatistics.h"

#include <gtest/gtest.h>

namespace vantrel {
namespace {

using namespace std::chrono_literals;

HopStatistics listenedFor(std::initializer_list<std::chrono::nanoseconds> times) {
    HopStatistics statistics{.dwell = 250ms};
    for (const auto time : times) {
        statistics.latest.push_back({.listened = time});
    }
    return statistics;
}

TEST(HopStatistics, MedianErrorIsTheMiddleOne) {
    EXPECT_EQ(listenedFor({}).medianDwellError(), 0ns);
    EXPECT_EQ(listenedFor({251ms}).medianDwellError(), 1ms);
    EXPECT_EQ(listenedFor({900ms, 250ms, 252ms}).medianDwellError(), 2ms);
    EXPECT_EQ(listenedFor({249ms, 249ms, 250ms}).medianDwellError(), -1ms);
}

} // namespace
} // namespace vantrel
