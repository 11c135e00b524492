#include "engine/CaptureTotals.h"

#include <gtest/gtest.h>

namespace vantrel {
namespace {

TEST(CaptureTotals, NothingFinishedIsZero) {
    const CaptureTotals totals;
    EXPECT_EQ(totals.totalFrames(1), 0U);
    EXPECT_EQ(totals.totalBytes(5), 0U);
}

TEST(CaptureTotals, ASingleFileCaptureCountsItsLastFileOnly) {
    CaptureTotals totals;
    totals.push(10, 1000);
    totals.push(20, 2000);
    for (const std::int64_t maxFiles : {1, 0, -3}) {
        EXPECT_EQ(totals.totalFrames(maxFiles), 20U);
        EXPECT_EQ(totals.totalBytes(maxFiles), 2000U);
    }
}

TEST(CaptureTotals, RotationCountsTheFilesStillKept) {
    CaptureTotals totals;
    for (const std::uint64_t frames : {1U, 20U, 300U, 4000U}) {
        totals.push(frames, frames * 10);
    }
    EXPECT_EQ(totals.totalFrames(2), 4300U);
    EXPECT_EQ(totals.totalFrames(3), 4320U);
    EXPECT_EQ(totals.totalBytes(3), 43200U);
    EXPECT_EQ(totals.totalFrames(100), 4321U);
    totals.clear();
    EXPECT_EQ(totals.totalFrames(100), 0U);
}

} // namespace
} // namespace vantrel
