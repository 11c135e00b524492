#include "FrameBytes.h"
#include "frames/Radiotap.h"

#include <gtest/gtest.h>
#include <random>

namespace vantrel {
namespace {

constexpr int noMore = -2;
constexpr int invalid = -22;

struct Walk {
    int initResult = 0;
    int endResult = 0;
    struct Hit {
        int index;
        std::size_t offset;
        std::size_t size;
        friend bool operator==(const Hit&, const Hit&) = default;
        friend void PrintTo(const Hit& hit, std::ostream* out) {
            *out << "field " << hit.index << " at " << hit.offset << " of " << hit.size;
        }
    };
    std::vector<Hit> hits;
};

Walk walk(std::span<const std::uint8_t> bytes) {
    const ExactCopy copy(bytes);
    Walk result;
    RadiotapIterator iterator;
    result.initResult = iterator.init(copy.span());
    result.endResult = result.initResult;
    while (result.endResult == 0) {
        result.endResult = iterator.next();
        if (result.endResult == 0) {
            const auto arg = iterator.thisArg();
            result.hits.push_back(
                {iterator.thisArgIndex(), static_cast<std::size_t>(arg.data() - copy.span().data()), arg.size()});
        }
    }
    return result;
}

using Hits = std::vector<Walk::Hit>;

// Each field of the standard namespace behind a Flags byte, so that it would begin at byte 9 if nothing aligned it; the
// field in front of Flags and Flags itself begin at byte 12, behind a second present word. Numbers: radiotap.org.
struct FieldCase {
    int index;
    std::size_t offset;
    std::size_t size;
    friend void PrintTo(const FieldCase& field, std::ostream* out) { *out << "field " << field.index; }
};

class StandardField : public testing::TestWithParam<FieldCase> {
protected:
    static Bytes header(std::size_t missing) {
        const FieldCase field = GetParam();
        const Bytes data(field.offset + field.size - (field.index < 2 ? 12 : 8) - missing, 0xAB);
        if (field.index < 2) {
            return radiotapHeader({bit(field.index) | bit(31), 0}, data);
        }
        return radiotapHeader({bit(1) | bit(field.index)}, data);
    }
};

TEST_P(StandardField, isAlignedAndSizedByTheStandard) {
    const Walk found = walk(header(0));
    EXPECT_EQ(found.endResult, noMore);
    ASSERT_FALSE(found.hits.empty());
    EXPECT_EQ(found.hits.back(), (Walk::Hit{GetParam().index, GetParam().offset, GetParam().size}));
    EXPECT_EQ(found.hits.size(), GetParam().index < 2 ? 1U : 2U);
}

TEST_P(StandardField, doesNotFitIntoAHeaderOneByteTooShort) {
    Bytes bytes = header(1);
    bytes.push_back(0); // a captured byte behind the header is none of its own
    const Walk found = walk(bytes);
    EXPECT_EQ(found.endResult, invalid);
    EXPECT_EQ(found.hits.size(), GetParam().index < 2 ? 0U : 1U);
}

INSTANTIATE_TEST_SUITE_P(All, StandardField,
                         testing::Values(FieldCase{0, 16, 8}, FieldCase{1, 12, 1}, FieldCase{2, 9, 1},
                                         FieldCase{3, 10, 4}, FieldCase{4, 10, 2}, FieldCase{5, 9, 1},
                                         FieldCase{6, 9, 1}, FieldCase{7, 10, 2}, FieldCase{8, 10, 2},
                                         FieldCase{9, 10, 2}, FieldCase{10, 9, 1}, FieldCase{11, 9, 1},
                                         FieldCase{12, 9, 1}, FieldCase{13, 9, 1}, FieldCase{14, 10, 2},
                                         FieldCase{15, 10, 2}, FieldCase{16, 9, 1}, FieldCase{17, 9, 1},
                                         FieldCase{19, 9, 3}, FieldCase{20, 12, 8}, FieldCase{21, 10, 12},
                                         FieldCase{22, 16, 12}));

TEST(RadiotapInit, refusesFewerThanEightBytes) {
    const Bytes header = radiotapHeader({0}, {});
    for (std::size_t size = 0; size < 8; ++size) {
        EXPECT_EQ(walk(std::span(header).first(size)).initResult, invalid) << size;
    }
    EXPECT_EQ(walk(header).initResult, 0);
    EXPECT_EQ(walk(header).endResult, noMore);
}

TEST(RadiotapInit, refusesEveryVersionButZero) {
    Bytes header = radiotapHeader({bit(1)}, {0x10});
    header[0] = 1;
    EXPECT_EQ(walk(header).initResult, invalid);
    header[0] = 0x80;
    EXPECT_EQ(walk(header).initResult, invalid);
}

TEST(RadiotapInit, refusesALengthBeyondTheBytes) {
    Bytes header = radiotapHeader({bit(1)}, {0x10});
    header[2] = 10;
    EXPECT_EQ(walk(header).initResult, invalid);
    header[2] = 9;
    EXPECT_EQ(walk(header).initResult, 0);
    header[3] = 0x80;
    EXPECT_EQ(walk(header).initResult, invalid);
}

TEST(RadiotapInit, refusesPresentWordsBeyondTheLength) {
    for (const std::size_t words : {2U, 3U, 4U}) {
        Bytes header = {0, 0, 0, 0};
        for (std::size_t word = 1; word < words; ++word) {
            appendLe32(header, bit(31));
        }
        appendLe32(header, 0);
        for (std::size_t length = 8; length < header.size(); ++length) {
            header[2] = static_cast<std::uint8_t>(length);
            EXPECT_EQ(walk(header).initResult, invalid) << words << " words, length " << length;
        }
        header[2] = static_cast<std::uint8_t>(header.size());
        EXPECT_EQ(walk(header).initResult, 0) << words;
        EXPECT_EQ(walk(header).endResult, noMore) << words;
    }
}

TEST(RadiotapInit, leavesNoEntriesAfterARefusal) {
    RadiotapIterator iterator;
    EXPECT_EQ(iterator.next(), noMore);
    const Bytes good = radiotapHeader({bit(1)}, {0x10});
    ASSERT_EQ(iterator.init(good), 0);
    Bytes bad = good;
    bad[0] = 1;
    EXPECT_EQ(iterator.init(bad), invalid);
    EXPECT_EQ(iterator.next(), noMore);
}

TEST(RadiotapNext, givesTheFieldsInTheOrderOfTheirBits) {
    const Bytes header = radiotapHeader({bit(0) | bit(1) | bit(2) | bit(3) | bit(5) | bit(11) | bit(14)},
                                        {1, 2, 3, 4, 5, 6, 7, 8, 0x10, 12, 0x85, 0x09, 0x80, 0x04, 0xC4, 1, 0, 0});
    const Walk found = walk(header);
    EXPECT_EQ(found.hits, (Hits{{0, 8, 8}, {1, 16, 1}, {2, 17, 1}, {3, 18, 4}, {5, 22, 1}, {11, 23, 1}, {14, 24, 2}}));
    EXPECT_EQ(found.endResult, noMore);
}

TEST(RadiotapNext, answersTheSameAfterAFailure) {
    const Bytes header = radiotapHeader({bit(1) | bit(20)}, {0x10, 0, 0});
    RadiotapIterator iterator;
    ASSERT_EQ(iterator.init(header), 0);
    EXPECT_EQ(iterator.next(), 0);
    EXPECT_EQ(iterator.next(), invalid);
    EXPECT_EQ(iterator.next(), invalid);
    EXPECT_EQ(iterator.thisArgIndex(), 1);
}

TEST(RadiotapNext, findsNothingInAHeaderShorterThanItsFixedPart) {
    Bytes header = radiotapHeader({bit(1)}, {0x10});
    header[2] = 7;
    EXPECT_EQ(walk(header).initResult, 0);
    EXPECT_EQ(walk(header).endResult, invalid);
    Bytes namespaceOnly = radiotapHeader({bit(29)}, {});
    namespaceOnly[2] = 4;
    EXPECT_EQ(walk(namespaceOnly).endResult, invalid);
}

TEST(RadiotapNext, endsAtFieldsTheStandardDoesNotDefine) {
    for (int index = 23; index <= 28; ++index) {
        const Walk found = walk(radiotapHeader({bit(1) | bit(index)}, {0x10, 0, 0, 0, 0, 0, 0, 0}));
        EXPECT_EQ(found.endResult, noMore) << index;
        EXPECT_EQ(found.hits, (Hits{{1, 8, 1}})) << index;
    }
    // Before the end of the bitmap: what follows them cannot be found any more.
    const Walk found = walk(radiotapHeader({bit(1) | bit(23) | bit(29) | bit(31), bit(1)}, Bytes(20, 0)));
    EXPECT_EQ(found.hits, (Hits{{1, 12, 1}}));
    EXPECT_EQ(found.endResult, noMore);
}

TEST(RadiotapBitmap, numbersOnInAFurtherWordWithoutANamespace) {
    const Walk found = walk(radiotapHeader({bit(1) | bit(31), bit(1)}, {0x10, 0x40}));
    EXPECT_EQ(found.hits, (Hits{{1, 12, 1}})); // the second word's bit 1 is field 33
    EXPECT_EQ(found.endResult, noMore);
}

TEST(RadiotapBitmap, startsAgainBehindTheStandardNamespace) {
    const std::uint32_t chain = bit(29) | bit(31);
    const Walk found = walk(radiotapHeader({bit(1) | bit(5) | chain, bit(5) | bit(11) | chain, bit(5) | bit(11)},
                                           {0x10, 0xC4, 0xC5, 0, 0xC6, 1}));
    EXPECT_EQ(found.hits, (Hits{{1, 16, 1}, {5, 17, 1}, {5, 18, 1}, {11, 19, 1}, {5, 20, 1}, {11, 21, 1}}));
    EXPECT_EQ(found.endResult, noMore);
}

TEST(RadiotapBitmap, startsAgainOnlyInTheNextWord) {
    const Walk found = walk(radiotapHeader({bit(29) | bit(31), bit(1) | bit(31), bit(1)}, {0x10, 0x10}));
    EXPECT_EQ(found.hits, (Hits{{1, 16, 1}}));
    EXPECT_EQ(found.endResult, noMore);
}

TEST(RadiotapBitmap, alignsByTheHeadersStartWhereverThatLies) {
    const Bytes header = radiotapHeader({bit(1) | bit(3)}, {0x10, 0, 0x6C, 0x09, 0xA0, 0});
    for (std::size_t shift = 0; shift < 8; ++shift) {
        const Bytes shifted = Bytes(shift, 0xFF) + header;
        RadiotapIterator iterator;
        ASSERT_EQ(iterator.init(std::span(shifted).subspan(shift)), 0);
        ASSERT_EQ(iterator.next(), 0);
        ASSERT_EQ(iterator.next(), 0);
        EXPECT_EQ(iterator.thisArg().data(), shifted.data() + shift + 10);
    }
}

Bytes vendorDescription(unsigned skipLength) {
    Bytes bytes = {0x00, 0x11, 0x22, 0x07};
    appendLe16(bytes, skipLength);
    return bytes;
}

TEST(RadiotapVendor, isReportedWithItsDataAndItsFieldsArePassedOver) {
    const Bytes fields = Bytes{0x10, 0} + vendorDescription(3) + Bytes{0xA1, 0xA2, 0xA3} + Bytes{0x40};
    const Bytes header = radiotapHeader(
        {bit(1) | bit(30) | bit(31), bit(1) | bit(3) | bit(18) | bit(28) | bit(29) | bit(31), bit(1)}, fields);
    const Walk found = walk(header);
    EXPECT_EQ(found.hits, (Hits{{1, 16, 1}, {30, 18, 9}, {1, 27, 1}})); // aligned to two bytes
    EXPECT_EQ(found.endResult, noMore);
}

TEST(RadiotapVendor, passesOverEveryWordUntilTheNextNamespace) {
    const Bytes fields = vendorDescription(2) + Bytes{0xA1, 0xA2} + vendorDescription(0) + Bytes{0x10};
    const Walk found = walk(radiotapHeader(
        {bit(30) | bit(31), 0x1FFFFFFF | bit(31), bit(0) | bit(30) | bit(31), bit(22) | bit(29) | bit(31), bit(1)},
        fields));
    EXPECT_EQ(found.hits, (Hits{{30, 24, 8}, {30, 32, 6}, {1, 38, 1}}));
    EXPECT_EQ(found.endResult, noMore);
}

TEST(RadiotapVendor, passesOverSeveralWordsOfOneNamespaceAtOnce) {
    const Bytes fields = vendorDescription(2) + Bytes{0xA1, 0xA2} + Bytes{0x10};
    const Walk found = walk(radiotapHeader(
        {bit(30) | bit(31), bit(2) | bit(18) | bit(31), bit(1) | bit(28) | bit(29) | bit(31), bit(1)}, fields));
    EXPECT_EQ(found.hits, (Hits{{30, 20, 8}, {1, 28, 1}}));
    EXPECT_EQ(found.endResult, noMore);
}

TEST(RadiotapVendor, endsTheWalkWhereItDoesNotFit) {
    const Bytes description = vendorDescription(2) + Bytes{0xA1, 0xA2};
    for (std::size_t size = 0; size < description.size(); ++size) {
        const Bytes fields = Bytes(description.begin(), description.begin() + static_cast<std::ptrdiff_t>(size));
        const Walk found = walk(radiotapHeader({bit(30)}, fields));
        EXPECT_EQ(found.endResult, invalid) << size;
        EXPECT_TRUE(found.hits.empty()) << size;
    }
    EXPECT_EQ(walk(radiotapHeader({bit(30)}, description)).endResult, noMore);
    EXPECT_EQ(walk(radiotapHeader({bit(30)}, vendorDescription(0xFFFF) + Bytes(100, 0))).endResult, invalid);
}

TEST(RadiotapField18, givesUpTheRestOfTheNamespace) {
    const Walk found = walk(radiotapHeader({bit(1) | bit(18) | bit(19) | bit(25)}, Bytes(20, 0x10)));
    EXPECT_EQ(found.hits, (Hits{{1, 8, 1}}));
    EXPECT_EQ(found.endResult, noMore);
}

TEST(RadiotapField18, leavesNoRoomForLaterFields) {
    const Bytes data(40, 0x02);
    EXPECT_EQ(walk(radiotapHeader({bit(18) | bit(29) | bit(31), bit(1)}, data)).endResult, invalid);
    EXPECT_EQ(walk(radiotapHeader({bit(18) | bit(30)}, data)).endResult, invalid);
    EXPECT_EQ(walk(radiotapHeader({bit(18) | bit(31), bit(1)}, data)).endResult, noMore);
    // The namespace stays given up in the next word: its fields do not end the walk, its vendor finds no room.
    EXPECT_EQ(walk(radiotapHeader({bit(18) | bit(31), bit(1) | bit(30)}, data)).endResult, invalid);
}

TEST(RadiotapField18, neverJumpsBackToAnEarlierVendorsEnd) {
    const Bytes fields = vendorDescription(0) + Bytes{0x10, 0x40, 0x40, 0x40};
    const Walk found = walk(
        radiotapHeader({bit(30) | bit(31), bit(29) | bit(31), bit(1) | bit(18) | bit(29) | bit(31), bit(1)}, fields));
    EXPECT_EQ(found.hits, (Hits{{30, 20, 6}, {1, 26, 1}}));
    EXPECT_EQ(found.endResult, invalid);
}

// A header with everything in it, cut at every length: as captured bytes, and as what the length field claims.
TEST(RadiotapTruncated, staysInsideTheBytesAtEveryLength) {
    const std::uint32_t all = 0x7FFFFF & ~bit(18);
    const Bytes whole = radiotapHeader(
        {
            all | bit(30) | bit(31),
            all | bit(29) | bit(31),
            (all | bit(18)) & ~bit(17),
        },
        Bytes(90, 0) + vendorDescription(5) + Bytes(120, 0x11));
    std::size_t hitsBefore = 0;
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        Bytes bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        if (size < whole.size()) {
            EXPECT_EQ(walk(bytes).initResult, invalid) << size;
        }
        if (size < 4) {
            continue;
        }
        bytes[2] = static_cast<std::uint8_t>(size);
        bytes[3] = static_cast<std::uint8_t>(size >> 8);
        const Walk found = walk(bytes);
        EXPECT_GE(found.hits.size(), hitsBefore) << size;
        hitsBefore = found.hits.size();
        for (const Walk::Hit& hit : found.hits) {
            EXPECT_LE(hit.offset + hit.size, size);
        }
    }
    EXPECT_EQ(hitsBefore, 40U);
}

TEST(RadiotapRandom, neverLeavesTheHeaderNorGoesBack) {
    std::mt19937 random(20260101);
    for (int round = 0; round < 20000; ++round) {
        Bytes bytes(random() % 120);
        for (std::uint8_t& byte : bytes) {
            const auto bits = random();
            byte = static_cast<std::uint8_t>(bits & bits >> 8); // few bits set, so that walks go far
        }
        if (bytes.size() >= 4) {
            bytes[0] = 0;
            bytes[2] = static_cast<std::uint8_t>(random() % (bytes.size() + 2));
            bytes[3] = 0;
        }
        std::size_t end = 0;
        for (const Walk::Hit& hit : walk(bytes).hits) {
            EXPECT_GE(hit.offset, end);
            end = hit.offset + hit.size;
            EXPECT_LE(end, bytes[2]);
        }
    }
}

TEST(ReadRadiotapHeader, readsTheThreeFlags) {
    const auto read = [](std::uint8_t flags) { return readRadiotapHeader(radiotapHeader({bit(1)}, {flags})); };
    EXPECT_EQ(read(0x8F), (RadioHeader{9, false, false, false}));
    EXPECT_EQ(read(0x10), (RadioHeader{9, true, false, false}));
    EXPECT_EQ(read(0x20), (RadioHeader{9, false, true, false}));
    EXPECT_EQ(read(0x40), (RadioHeader{9, false, false, true}));
}

TEST(ReadRadiotapHeader, takesTheLastFlags) {
    const Bytes header = radiotapHeader({bit(1) | bit(29) | bit(31), bit(1)}, {0x70, 0x20});
    EXPECT_EQ(readRadiotapHeader(header), (RadioHeader{14, false, true, false}));
}

TEST(ReadRadiotapHeader, keepsFlagsInFrontOfAFieldThatDoesNotFit) {
    EXPECT_EQ(readRadiotapHeader(radiotapHeader({bit(1) | bit(22)}, {0x10})), (RadioHeader{9, true, false, false}));
    EXPECT_EQ(readRadiotapHeader(radiotapHeader({bit(0) | bit(1)}, {0x10})), (RadioHeader{9, false, false, false}));
}

TEST(ReadRadiotapHeader, knowsNoFlagsOfAHeaderItCannotWalk) {
    Bytes header = radiotapHeader({bit(1)}, {0x70});
    header[0] = 1;
    EXPECT_EQ(readRadiotapHeader(header), (RadioHeader{9, false, false, false}));
    header = radiotapHeader({bit(1) | bit(31)}, {0x70});
    EXPECT_EQ(readRadiotapHeader(header), (RadioHeader{9, false, false, false}));
}

TEST(ReadRadiotapHeader, isEmptyWhereTheHeaderDoesNotEndInside) {
    const Bytes header = radiotapHeader({bit(1)}, {0x70});
    for (std::size_t size = 0; size < header.size(); ++size) {
        EXPECT_FALSE(readRadiotapHeader(ExactCopy(std::span(header).first(size)).span())) << size;
    }
    const Bytes four = {0, 0, 4, 0};
    EXPECT_EQ(readRadiotapHeader(ExactCopy(four).span()), (RadioHeader{4, false, false, false}));
}

} // namespace
} // namespace vantrel
