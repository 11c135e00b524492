#include "base/SizeText.h"

#include <gtest/gtest.h>
#include <limits>

namespace vantrel {
namespace {

constexpr std::uint64_t gib = 1073741824;

TEST(SizeText, ChangesItsUnitAt1024) {
    EXPECT_EQ(sizeText(0).toStdString(), "0 bytes");
    EXPECT_EQ(sizeText(1023).toStdString(), "1023 bytes");
    EXPECT_EQ(sizeText(1024).toStdString(), "1 KB");
    EXPECT_EQ(sizeText(1536).toStdString(), "1 KB");
    EXPECT_EQ(sizeText(1048575).toStdString(), "1023 KB");
    EXPECT_EQ(sizeText(1048576).toStdString(), "1.00 MB");
    EXPECT_EQ(sizeText(78'900'000).toStdString(), "75.24 MB");
    EXPECT_EQ(sizeText(gib - 1).toStdString(), "1024.00 MB");
}

TEST(SizeText, SaysNothingFrom1GiBOn) {
    EXPECT_EQ(sizeText(gib).toStdString(), "");
    EXPECT_EQ(sizeText(std::numeric_limits<std::uint64_t>::max()).toStdString(), "");
}

} // namespace
} // namespace vantrel
