#include "remote/Streams.h"

#include "remote/VantrelPacket.h"

#include <gtest/gtest.h>
#include <numeric>
#include <vector>

namespace vantrel {
namespace {

using Data = std::vector<std::uint8_t>;

// Takes as many bytes of each write as it is told; then, whatever it is given.
class Scripted final : public OutputStream {
public:
    explicit Scripted(std::vector<ssize_t> results = {}) : _results(std::move(results)) {}

    void setDelegate(StreamDelegate* /*delegate*/) override {}
    void scheduleIn(MainQueue& /*queue*/) override {}
    void open() override {}
    void close() override {}
    bool hasSpaceAvailable() override { return true; }
    bool flush() override { return true; }
    ssize_t write(std::span<const std::uint8_t> bytes) override {
        ++writes;
        ssize_t result = static_cast<ssize_t>(bytes.size());
        if (_next < _results.size()) {
            result = std::min(result, _results[_next++]);
        }
        if (result > 0) {
            written.insert(written.end(), bytes.begin(), bytes.begin() + result);
        }
        return result;
    }

    Data written;
    int writes = 0;

private:
    std::vector<ssize_t> _results;
    std::size_t _next = 0;
};

Data counting(std::size_t size) {
    Data data(size);
    std::iota(data.begin(), data.end(), std::uint8_t{0});
    return data;
}

TEST(WriteFully, WritesNothingWithoutAskingTheStream) {
    Scripted stream;
    EXPECT_EQ(writeFully(stream, {}), 0);
    EXPECT_EQ(stream.writes, 0);
}

TEST(WriteFully, GoesOnWithTheRest) {
    Scripted stream({10, 1, 5});
    EXPECT_EQ(writeFully(stream, counting(100)), 100);
    EXPECT_EQ(stream.written, counting(100));
    EXPECT_EQ(stream.writes, 4);
}

TEST(WriteFully, TriesAgainAtOnceWhenNothingWasTaken) {
    Scripted stream({0, 0, 0, 7, 0});
    EXPECT_EQ(writeFully(stream, counting(9)), 9);
    EXPECT_EQ(stream.written, counting(9));
    EXPECT_EQ(stream.writes, 6);
}

TEST(WriteFully, AnswersTheFirstNegativeResultAsItStands) {
    Scripted stream({3, -7});
    EXPECT_EQ(writeFully(stream, counting(9)), -7);
    EXPECT_EQ(stream.writes, 2);
}

TEST(WriteBlock, PutsTheLengthInFrontHighestByteFirst) {
    Scripted stream;
    EXPECT_EQ(writeBlock(stream, counting(300)), 304);
    Data expected = {0x00, 0x00, 0x01, 0x2C};
    const Data data = counting(300);
    expected.insert(expected.end(), data.begin(), data.end());
    EXPECT_EQ(stream.written, expected);
}

TEST(WriteBlock, OfNothingIsItsLength) {
    Scripted stream;
    EXPECT_EQ(writeBlock(stream, {}), 4);
    EXPECT_EQ(stream.written, (Data{0, 0, 0, 0}));
}

TEST(WriteBlock, UsesAllFourBytesOfTheLength) {
    Scripted stream;
    const Data data(0x01020304);
    EXPECT_EQ(writeBlock(stream, data), 0x01020308);
    EXPECT_EQ(Data(stream.written.begin(), stream.written.begin() + 4), (Data{1, 2, 3, 4}));
}

TEST(WriteBlock, WritesNoDataAfterALengthThatFailed) {
    Scripted stream({2, -3});
    EXPECT_EQ(writeBlock(stream, counting(9)), -3);
    EXPECT_EQ(stream.written.size(), 2U);
}

TEST(WriteBlock, AnswersWhatTheDataAnswered) {
    Scripted stream({4, 5, -1});
    EXPECT_EQ(writeBlock(stream, counting(9)), -1);
}

TEST(VantrelPacketRecord, IsTheLengthAndTheData) {
    Scripted stream;
    const Data data = counting(77);
    EXPECT_TRUE(VantrelPacket::initWithData(data).writeToStream(stream));
    EXPECT_EQ(stream.written.size(), 81U);
    EXPECT_EQ(stream.written[3], 77);
    EXPECT_TRUE(std::equal(data.begin(), data.end(), stream.written.begin() + 4));
}

TEST(VantrelPacketRecord, FailsWithEitherWrite) {
    Scripted atLength({-1});
    EXPECT_FALSE(VantrelPacket::initWithData(counting(9)).writeToStream(atLength));
    Scripted atData({4, -1});
    EXPECT_FALSE(VantrelPacket::initWithData(counting(9)).writeToStream(atData));
}

} // namespace
} // namespace vantrel
