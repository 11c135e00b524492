#include "FrameBytes.h"
#include "frames/Slicing.h"

#include <gtest/gtest.h>
#include <zlib.h>

namespace vantrel {
namespace {

constexpr int radiotapDlt = 127;
constexpr int ppiDlt = 192;
constexpr int plainDlt = 105;
constexpr std::uint8_t fcsAtEnd = 0x10;
constexpr std::uint8_t dataPadding = 0x20;
constexpr std::uint8_t badFcs = 0x40;
constexpr int dataType = 2;

Bytes filled(std::size_t size, std::uint8_t first) {
    Bytes bytes(size);
    for (std::uint8_t& byte : bytes) {
        byte = first++;
    }
    return bytes;
}

Bytes header80211(int type, int subtype, bool fourAddress, std::size_t length) {
    Bytes header = filled(length, 0x30);
    header[0] = static_cast<std::uint8_t>(subtype << 4 | type << 2);
    header[1] = fourAddress ? 0x43 : 0x41; // To DS, or both; Protected
    return header;
}

// The frame check sequence of header and body; padding between them takes no part in it.
Bytes fcs(const Bytes& header, const Bytes& body) {
    const Bytes both = header + body;
    Bytes bytes;
    appendLe32(bytes, static_cast<std::uint32_t>(crc32(0, both.data(), static_cast<uInt>(both.size()))));
    return bytes;
}

Bytes withFlags(std::uint8_t flags) { return radiotapHeader({bit(1)}, {flags}); }
constexpr std::uint32_t radiotapLength = 9;

Bytes withPpiFlags(std::uint8_t flags) {
    Bytes header = {0, 0, 32, 0, 105, 0, 0, 0, 2, 0, 20, 0};
    return header + Bytes(8, 0) + Bytes{flags} + Bytes(11, 0);
}

std::uint32_t slice(const Bytes& captured, int dataLinkType = radiotapDlt) {
    return slicedLength(ExactCopy(captured).span(), dataLinkType);
}

struct Shape {
    int subtype;
    bool fourAddress;
    std::size_t headerLength;
    friend void PrintTo(const Shape& shape, std::ostream* out) {
        *out << "subtype " << shape.subtype << (shape.fourAddress ? ", four addresses" : "");
    }
};

class DataFrame : public testing::TestWithParam<Shape> {
protected:
    Bytes header() const {
        return header80211(dataType, GetParam().subtype, GetParam().fourAddress, GetParam().headerLength);
    }
    std::size_t paddingLength() const { return GetParam().headerLength % 4; }
    std::uint32_t sliced() const { return radiotapLength + static_cast<std::uint32_t>(GetParam().headerLength); }
};

TEST_P(DataFrame, withoutFcsIsCutFromTheFirstPayloadByteOn) {
    EXPECT_EQ(slice(withFlags(0) + header()), sliced()); // nothing to cut: H + HL is the captured length
    EXPECT_EQ(slice(withFlags(0) + header() + Bytes(1, 0)), sliced());
    EXPECT_EQ(slice(withFlags(dataPadding) + header() + Bytes(1, 0)), sliced());
    EXPECT_EQ(slice(withFlags(0) + header() + Bytes(1500, 0)), sliced());
}

TEST_P(DataFrame, withARightFcsIsCut) {
    for (const std::size_t size : {1U, 2U, 3U, 100U, 1500U}) {
        const Bytes body = filled(size, 7);
        EXPECT_EQ(slice(withFlags(fcsAtEnd) + header() + body + fcs(header(), body)), sliced()) << size;
        EXPECT_EQ(slice(withPpiFlags(1) + header() + body + fcs(header(), body), ppiDlt), sliced() + 32 - 9) << size;
    }
}

TEST_P(DataFrame, withPaddingIsCutWhenTheFcsLeavesThePaddingOut) {
    const Bytes padding(paddingLength(), 0xEE);
    for (const std::size_t size : {1U, 4U, 100U}) {
        const Bytes body = filled(size, 7);
        const Bytes flags = withFlags(fcsAtEnd | dataPadding);
        EXPECT_EQ(slice(flags + header() + padding + body + fcs(header(), body)), sliced()) << size;
        if (!padding.empty()) {
            const Bytes over = flags + header() + padding + body + fcs(header(), padding + body);
            EXPECT_EQ(slice(over), over.size()) << size;
            const Bytes unannounced = withFlags(fcsAtEnd) + header() + padding + body + fcs(header(), body);
            EXPECT_EQ(slice(unannounced), unannounced.size()) << size;
        }
    }
}

// Padding and a sequence, with less between them than the padding takes: nothing is left to verify.
TEST_P(DataFrame, withPaddingNeedsRoomForIt) {
    for (std::size_t size = 0; size < 4; ++size) {
        const Bytes between(size, 0xEE);
        const Bytes body(between.size() > paddingLength() ? between.size() - paddingLength() : 0, 0xEE);
        const Bytes frame = withFlags(fcsAtEnd | dataPadding) + header() + between + fcs(header(), body);
        const bool verifiable = size >= 1 && size >= paddingLength();
        EXPECT_EQ(slice(frame), verifiable ? sliced() : frame.size()) << size;
    }
}

TEST_P(DataFrame, withAWrongFcsStaysWhole) {
    const Bytes body = filled(50, 7);
    const Bytes right = withFlags(fcsAtEnd) + header() + body + fcs(header(), body);
    for (std::size_t position = radiotapLength + 2; position < right.size(); ++position) {
        Bytes wrong = right;
        wrong[position] ^= 0x10;
        ASSERT_EQ(slice(wrong), wrong.size()) << position;
    }
}

TEST_P(DataFrame, markedBadStaysWhole) {
    const Bytes body = filled(50, 7);
    const Bytes frame = header() + body + fcs(header(), body);
    for (const std::uint8_t flags : {badFcs, std::uint8_t(badFcs | fcsAtEnd)}) {
        EXPECT_EQ(slice(withFlags(flags) + frame), radiotapLength + frame.size());
    }
    EXPECT_EQ(slice(withPpiFlags(2) + frame, ppiDlt), 32 + frame.size());
    EXPECT_EQ(slice(withPpiFlags(3) + frame, ppiDlt), 32 + frame.size());
}

TEST_P(DataFrame, withPpiBit4IsTreatedLikeAnyOther) {
    const Bytes body = filled(50, 7);
    const Bytes frame = header() + body + fcs(header(), body);
    EXPECT_EQ(slice(withPpiFlags(4) + frame, ppiDlt), 32 + GetParam().headerLength);
    EXPECT_EQ(slice(withPpiFlags(5) + frame, ppiDlt), 32 + GetParam().headerLength);
}

TEST_P(DataFrame, withoutPayloadInFrontOfTheFcsStaysWhole) {
    const Bytes frame = withFlags(fcsAtEnd) + header() + fcs(header(), {});
    EXPECT_EQ(slice(frame), frame.size());
}

TEST_P(DataFrame, withoutRadioHeaderStaysWhole) {
    const Bytes frame = header() + Bytes(100, 0);
    for (const int dataLinkType : {plainDlt, 1, 119, 163, 0, -1}) {
        EXPECT_EQ(slice(frame, dataLinkType), frame.size()) << dataLinkType;
        EXPECT_EQ(slice(withFlags(0) + frame, dataLinkType), radiotapLength + frame.size()) << dataLinkType;
    }
}

TEST_P(DataFrame, behindARadiotapHeaderOfAnotherVersionCountsAsWithoutFcs) {
    Bytes frame = withFlags(fcsAtEnd | badFcs) + header() + Bytes(1, 0);
    frame[0] = 1;
    EXPECT_EQ(slice(frame), sliced());
}

TEST_P(DataFrame, isNeverSlicedShorterThanItsHeaderNorLongerThanCaptured) {
    const Bytes whole = withFlags(0) + header() + filled(10, 7);
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        const Bytes captured(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_EQ(slice(captured), std::min<std::size_t>(size, sliced())) << size;
        EXPECT_LE(slice(captured, ppiDlt), size);
    }
}

INSTANTIATE_TEST_SUITE_P(All, DataFrame,
                         testing::Values(Shape{0, false, 24}, Shape{1, false, 24}, Shape{2, false, 24},
                                         Shape{3, false, 24}, Shape{0, true, 30}, Shape{1, true, 30},
                                         Shape{2, true, 30}, Shape{3, true, 30}, Shape{8, false, 26},
                                         Shape{9, false, 26}, Shape{10, false, 26}, Shape{11, false, 26},
                                         Shape{8, true, 32}, Shape{9, true, 32}, Shape{10, true, 32},
                                         Shape{11, true, 32}));

TEST(Slicing, cutsAPaddedQosFrameBehindItsHeader) {
    const Bytes header = header80211(dataType, 8, false, 26);
    const Bytes body = filled(64, 1);
    const Bytes frame = withFlags(0x30) + header + Bytes{0xDE, 0xAD} + body + fcs(header, body);
    EXPECT_EQ(slice(frame), radiotapLength + 26);
}

TEST(Slicing, leavesFramesWithoutPayloadWhole) {
    for (const int subtype : {4, 5, 6, 7, 12, 13, 14, 15}) {
        for (const bool fourAddress : {false, true}) {
            const Bytes header = header80211(dataType, subtype, fourAddress, 32);
            const Bytes body = filled(20, 1);
            EXPECT_EQ(slice(withFlags(0) + header + body), radiotapLength + 52);
            EXPECT_EQ(slice(withFlags(fcsAtEnd) + header + body + fcs(header, body)), radiotapLength + 56);
        }
    }
}

TEST(Slicing, leavesManagementControlAndExtensionFramesWhole) {
    for (const int type : {0, 1, 3}) {
        for (int subtype = 0; subtype < 16; ++subtype) {
            const Bytes header = header80211(type, subtype, false, 24);
            const Bytes body = filled(20, 1);
            EXPECT_EQ(slice(withFlags(0) + header + body), radiotapLength + 44);
            EXPECT_EQ(slice(withFlags(fcsAtEnd) + header + body + fcs(header, body)), radiotapLength + 48);
        }
    }
}

TEST(Slicing, takesOnlyBothDsBitsForFourAddresses) {
    for (int ds = 0; ds < 4; ++ds) {
        Bytes header = header80211(dataType, 0, false, 30);
        header[1] = static_cast<std::uint8_t>(ds);
        EXPECT_EQ(slice(withFlags(0) + header + Bytes(10, 0)), radiotapLength + (ds == 3 ? 30U : 24U)) << ds;
    }
}

TEST(Slicing, leavesUnreadableFramesWhole) {
    EXPECT_EQ(slice({}), 0U);
    EXPECT_EQ(slice({}, ppiDlt), 0U);
    Bytes frame = withFlags(0) + header80211(dataType, 0, false, 24) + Bytes(10, 0);
    frame[2] = static_cast<std::uint8_t>(frame.size() + 1);
    EXPECT_EQ(slice(frame), frame.size());
    frame[2] = static_cast<std::uint8_t>(frame.size()); // the header takes everything
    EXPECT_EQ(slice(frame), frame.size());
    frame = withPpiFlags(0) + header80211(dataType, 0, false, 24) + Bytes(10, 0);
    frame[3] = 0x80;
    EXPECT_EQ(slice(frame, ppiDlt), frame.size());
}

} // namespace
} // namespace vantrel
