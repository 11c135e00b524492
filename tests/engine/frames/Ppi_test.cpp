#include "FrameBytes.h"
#include "frames/Ppi.h"

#include <gtest/gtest.h>

namespace vantrel {
namespace {

Bytes field(unsigned type, const Bytes& data) {
    Bytes bytes;
    appendLe16(bytes, type);
    appendLe16(bytes, static_cast<unsigned>(data.size()));
    return bytes + data;
}

// 802.11-Common: TSF timer, flags, rate, channel and its flags, FHSS, signal and noise. Everything but the flags is
// set, so that flags read from a wrong place show.
Bytes commonField(unsigned flags, std::size_t dataLength = 20) {
    Bytes data(8, 0xFF);
    appendLe16(data, flags);
    data.resize(dataLength, 0xFF);
    return field(2, data);
}

Bytes ppiHeader(const Bytes& fields) {
    Bytes header = {0, 0};
    appendLe16(header, static_cast<unsigned>(8 + fields.size()));
    appendLe32(header, 105);
    return header + fields;
}

std::optional<RadioHeader> read(const Bytes& captured) { return readPpiHeader(ExactCopy(captured).span()); }

RadioHeader flagsOf(std::size_t length, bool fcsAtEnd, bool badFcs) { return {length, fcsAtEnd, false, badFcs}; }

const Bytes frame(40, 0x08);

TEST(PpiHeader, readsTheFlagsOfTheCommonField) {
    EXPECT_EQ(read(ppiHeader(commonField(0x0000)) + frame), flagsOf(32, false, false));
    EXPECT_EQ(read(ppiHeader(commonField(0x0001)) + frame), flagsOf(32, true, false));
    EXPECT_EQ(read(ppiHeader(commonField(0x0002)) + frame), flagsOf(32, false, true));
    EXPECT_EQ(read(ppiHeader(commonField(0x0003)) + frame), flagsOf(32, true, true));
    EXPECT_EQ(read(ppiHeader(commonField(0x0004)) + frame), flagsOf(32, false, false));
    EXPECT_EQ(read(ppiHeader(commonField(0xFFFC)) + frame), flagsOf(32, false, false));
}

TEST(PpiHeader, passesOverOtherFields) {
    const Bytes other = field(3, Bytes(12, 0xFF));
    EXPECT_EQ(read(ppiHeader(other + commonField(1) + other) + frame), flagsOf(64, true, false));
    EXPECT_EQ(read(ppiHeader(field(5, {}) + field(0x0102, Bytes(20, 0xFF)) + commonField(1)) + frame),
              flagsOf(60, true, false));
    EXPECT_EQ(read(ppiHeader(field(4, {1, 2, 3}) + commonField(1)) + frame), flagsOf(39, true, false)); // unaligned
    EXPECT_EQ(read(ppiHeader(field(3, Bytes(12, 0xFF))) + frame), flagsOf(24, false, false));
    EXPECT_EQ(read(ppiHeader({}) + frame), flagsOf(8, false, false));
}

TEST(PpiHeader, passesOverCommonFieldsOfAnotherLength) {
    EXPECT_EQ(read(ppiHeader(commonField(3, 19)) + frame), flagsOf(31, false, false));
    EXPECT_EQ(read(ppiHeader(commonField(3, 21)) + frame), flagsOf(33, false, false));
    EXPECT_EQ(read(ppiHeader(commonField(3, 24) + commonField(1)) + frame), flagsOf(60, true, false));
    EXPECT_EQ(read(ppiHeader(commonField(3, 276)) + frame), flagsOf(288, false, false)); // 276 = 0x114, 20 = 0x14
}

TEST(PpiHeader, takesTheFirstWholeCommonField) {
    EXPECT_EQ(read(ppiHeader(commonField(1) + commonField(2)) + frame), flagsOf(56, true, false));
    EXPECT_EQ(read(ppiHeader(commonField(0) + commonField(3)) + frame), flagsOf(56, false, false));
}

TEST(PpiHeader, wantsTwentyFourCapturedBytesFromTheCommonFieldsData) {
    EXPECT_EQ(read(ppiHeader(commonField(1)) + Bytes(3, 0)), flagsOf(32, false, false));
    EXPECT_EQ(read(ppiHeader(commonField(1)) + Bytes(4, 0)), flagsOf(32, true, false));
    EXPECT_EQ(read(ppiHeader(commonField(1) + field(3, {}))), flagsOf(36, true, false));
}

// Its data may begin at the header's very end, and so be the frame's, but not behind it.
TEST(PpiHeader, walksWhileAFieldsDataStartsNotBeyondTheHeader) {
    Bytes captured = ppiHeader(commonField(1)) + frame;
    captured[2] = 12;
    EXPECT_EQ(read(captured), flagsOf(12, true, false));
    captured[2] = 11;
    EXPECT_EQ(read(captured), flagsOf(11, false, false));
    captured = ppiHeader(field(3, Bytes(12, 0xFF)) + commonField(1)) + frame;
    captured[2] = 28;
    EXPECT_EQ(read(captured), flagsOf(28, true, false));
    captured[2] = 27;
    EXPECT_EQ(read(captured), flagsOf(27, false, false));
}

TEST(PpiHeader, isEmptyWhereTheHeaderDoesNotEndInside) {
    const Bytes header = ppiHeader(commonField(1));
    for (std::size_t size = 0; size < header.size(); ++size) {
        EXPECT_FALSE(readPpiHeader(ExactCopy(std::span(header).first(size)).span())) << size;
    }
    EXPECT_TRUE(read(header));
}

TEST(PpiHeader, takesTheLengthForSigned) {
    Bytes captured = ppiHeader(commonField(1)) + Bytes(0x10000, 0);
    captured[2] = 0xFF;
    captured[3] = 0x7F;
    EXPECT_EQ(read(captured), flagsOf(0x7FFF, true, false));
    captured[2] = 0x00;
    captured[3] = 0x80;
    EXPECT_FALSE(read(captured));
    captured[2] = captured[3] = 0xFF;
    EXPECT_FALSE(read(captured));
}

// Whatever a field claims, and wherever the capture ends.
TEST(PpiHeader, staysInsideTheBytesAtEveryLength) {
    const Bytes whole = ppiHeader(field(3, Bytes(5, 0)) + field(4, {}) + commonField(1)) + frame;
    for (std::size_t size = 4; size <= whole.size(); ++size) {
        for (std::size_t length = 0; length <= size; ++length) {
            Bytes bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
            bytes[2] = static_cast<std::uint8_t>(length);
            const bool commonIsReached = length >= 25 && size >= 25 + 24;
            EXPECT_EQ(read(bytes), flagsOf(length, commonIsReached, false)) << size << " captured, length " << length;
        }
    }
    Bytes huge = ppiHeader(field(3, {})) + frame;
    huge[10] = huge[11] = 0xFF;
    EXPECT_EQ(read(huge), flagsOf(12, false, false));
}

} // namespace
} // namespace vantrel
