#include "BeaconBytes.h"
#include "feed/RecordReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vantrel::feed {
namespace {

using namespace testing;

std::vector<Bytes> readAll(RecordReader& reader) {
    std::vector<Bytes> records;
    while (const auto record = reader.next()) {
        records.emplace_back(record->begin(), record->end());
    }
    return records;
}

const Bytes threeRecords = Bytes{0, 0, 0, 3, 'a', 'b', 'c'} + Bytes{0, 0, 0, 0} + Bytes{0, 0, 0, 1, 'd'};

TEST(RecordReader, takesRecordsApartWhereverTheStreamIsCut) {
    for (std::size_t cut = 0; cut <= threeRecords.size(); ++cut) {
        RecordReader reader;
        const auto all = std::span<const std::uint8_t>(threeRecords);
        reader.append(all.first(cut));
        auto records = readAll(reader);
        reader.append(all.subspan(cut));
        for (const Bytes& record : readAll(reader)) {
            records.push_back(record);
        }
        EXPECT_THAT(records, ::testing::ElementsAre(Bytes{'a', 'b', 'c'}, Bytes{}, Bytes{'d'})) << "cut at " << cut;
        EXPECT_FALSE(reader.insideRecord());
    }
}

TEST(RecordReader, takesRecordsApartByteByByte) {
    RecordReader reader;
    std::vector<Bytes> records;
    for (const std::uint8_t byte : threeRecords) {
        reader.append({&byte, 1});
        for (const Bytes& record : readAll(reader)) {
            records.push_back(record);
        }
    }
    EXPECT_EQ(records.size(), 3U);
}

TEST(RecordReader, tellsThatARecordHasNotEnded) {
    RecordReader reader;
    EXPECT_FALSE(reader.insideRecord());
    reader.append(Bytes{0, 0});
    EXPECT_FALSE(reader.next());
    EXPECT_TRUE(reader.insideRecord());
    reader.append(Bytes{0, 2, 'a'});
    EXPECT_FALSE(reader.next());
    EXPECT_TRUE(reader.insideRecord());
    reader.append(Bytes{'b'});
    EXPECT_TRUE(reader.next());
    EXPECT_FALSE(reader.insideRecord());
}

TEST(RecordReader, readsTheLengthInNetworkOrder) {
    RecordReader reader;
    reader.append(Bytes{0, 0, 1, 0x2C} + Bytes(299, 'x'));
    EXPECT_FALSE(reader.next());
    reader.append(Bytes{'x'});
    const auto record = reader.next();
    ASSERT_TRUE(record);
    EXPECT_EQ(record->size(), 300U);
}

TEST(RecordReader, believesTheLongestFrameAndNoLonger) {
    RecordReader reader;
    reader.append(Bytes{0, 4, 0, 0} + Bytes(RecordReader::longestRecord, 'x')); // 262144
    const auto record = reader.next();
    ASSERT_TRUE(record);
    EXPECT_EQ(record->size(), RecordReader::longestRecord);
    EXPECT_FALSE(reader.refusedLength());
    reader.append(Bytes{0, 4, 0, 1});
    EXPECT_FALSE(reader.next());
    EXPECT_EQ(reader.refusedLength(), RecordReader::longestRecord + 1);
}

TEST(RecordReader, readsNothingBehindALengthThatNoFrameHas) {
    RecordReader reader;
    reader.append(Bytes{0, 0, 0, 1, 'a'} + Bytes{0xFF, 0xFF, 0xFF, 0xFF} + Bytes{0, 0, 0, 1, 'b'});
    EXPECT_THAT(readAll(reader), ::testing::ElementsAre(Bytes{'a'}));
    EXPECT_EQ(reader.refusedLength(), 0xFFFFFFFFU);
    reader.append(Bytes{0, 0, 0, 1, 'c'});
    EXPECT_FALSE(reader.next());
}

} // namespace
} // namespace vantrel::feed
