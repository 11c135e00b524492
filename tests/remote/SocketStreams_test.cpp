#include "SocketStreams.h"

#include "ConnectionFixture.h"
#include "base/MainQueue.h"

#include <fcntl.h>
#include <numeric>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace vantrel {
namespace {

using testing::runUntil;
using Data = std::vector<std::uint8_t>;

class Events final : public StreamDelegate {
public:
    void stream(Stream& aStream, StreamEvent handleEvent) override { seen.emplace_back(&aStream, handleEvent); }
    [[nodiscard]] std::ptrdiff_t count(const Stream& stream, StreamEvent event) const {
        return std::ranges::count(seen, std::pair<const Stream*, StreamEvent>(&stream, event));
    }
    std::vector<std::pair<const Stream*, StreamEvent>> seen;
};

class SocketStreams : public ::testing::Test {
protected:
    SocketStreams() {
        auto pair = testing::makeTcpPair(4096);
        peer = std::move(pair.client);
        descriptor = pair.server.get();
        auto made = makeStreamPair(std::move(pair.server));
        input = std::move(made->input);
        output = std::move(made->output);
        for (Stream* stream : {static_cast<Stream*>(input.get()), static_cast<Stream*>(output.get())}) {
            stream->setDelegate(&events);
            stream->scheduleIn(queue);
            stream->open();
        }
    }
    ~SocketStreams() override {
        input->close();
        output->close();
        queue.close();
    }

    // Writes until there is no space; answers how much went in.
    std::size_t fill() {
        std::size_t total = 0;
        const Data piece(1000, 7);
        while (output->hasSpaceAvailable()) {
            const ssize_t written = output->write(piece);
            if (written < 0) {
                break;
            }
            total += static_cast<std::size_t>(written);
        }
        return total;
    }
    std::size_t readAll() {
        Data bytes(1 << 20);
        const ssize_t count = ::recv(peer.get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
        return count > 0 ? static_cast<std::size_t>(count) : 0;
    }

    MainQueue queue;
    Events events;
    FileDescriptor peer;
    int descriptor = -1;
    std::unique_ptr<InputStream> input;
    std::unique_ptr<OutputStream> output;
};

bool isClosed(int descriptor) { return ::fcntl(descriptor, F_GETFD) < 0; }

TEST_F(SocketStreams, WhatIsWrittenArrivesOnceItIsFlushed) {
    const Data data = {1, 2, 3};
    EXPECT_EQ(output->write(data), 3);
    EXPECT_EQ(readAll(), 0U);
    EXPECT_TRUE(output->flush());
    EXPECT_TRUE(runUntil([&] { return readAll() == 3; }));
}

TEST_F(SocketStreams, ManyRecordsGoOutWithoutAFlush) {
    EXPECT_EQ(output->write(Data(16384)), 16384);
    EXPECT_TRUE(runUntil([&] { return readAll() > 0; }));
}

TEST_F(SocketStreams, WritingNeverWaitsAndSpaceIsAnnouncedOnce) {
    std::size_t written = fill();
    EXPECT_GT(written, 0U);
    EXPECT_FALSE(output->hasSpaceAvailable());
    EXPECT_EQ(events.count(*output, StreamEvent::HasSpaceAvailable), 0);
    std::size_t read = 0;
    ASSERT_TRUE(runUntil([&] {
        read += readAll();
        return events.count(*output, StreamEvent::HasSpaceAvailable) > 0;
    }));
    // As a delegate does.
    ASSERT_TRUE(runUntil([&] {
        read += readAll();
        return output->hasSpaceAvailable();
    }));
    EXPECT_TRUE(output->flush());
    EXPECT_TRUE(runUntil([&] {
        read += readAll();
        return read == written;
    }));
}

TEST_F(SocketStreams, ARecordFitsWheneverThereIsSpace) {
    constexpr std::size_t record = 4 + 2048;
    for (int round = 0; round < 200 && output->hasSpaceAvailable(); ++round) {
        EXPECT_EQ(writeBlock(*output, Data(record - 4)), static_cast<std::int64_t>(record));
    }
}

TEST_F(SocketStreams, ReadingAnswersBytesThenTheEnd) {
    ASSERT_EQ(::write(peer.get(), "abc", 3), 3);
    Data bytes(10);
    EXPECT_EQ(input->read(bytes), 3);
    peer.reset();
    EXPECT_EQ(input->read(bytes), 0);
    EXPECT_TRUE(runUntil([&] { return events.count(*input, StreamEvent::EndEncountered) == 1; }));
    EXPECT_EQ(events.seen.size(), 1U);
}

TEST_F(SocketStreams, APeerThatResetsIsAnError) {
    testing::TestClient(std::move(peer)).reset();
    Data bytes(10);
    EXPECT_LT(input->read(bytes), 0);
    EXPECT_TRUE(runUntil([&] { return events.count(*input, StreamEvent::ErrorOccurred) == 1; }));
    EXPECT_LT(writeFully(*output, Data(20000)), 0);
    EXPECT_FALSE(output->hasSpaceAvailable());
    EXPECT_FALSE(output->flush());
    EXPECT_TRUE(runUntil([&] { return events.count(*output, StreamEvent::ErrorOccurred) == 1; }));
}

TEST_F(SocketStreams, AReaderThatWaitsIsWokenByTheClosing) {
    std::atomic<ssize_t> result = 99;
    std::thread reader([&] {
        Data bytes(10);
        result = input->read(bytes);
    });
    input->close();
    reader.join();
    EXPECT_LE(result, 0);
}

TEST_F(SocketStreams, ClosingBothClosesTheSocketAndNothingIsAnnouncedAnyMore) {
    fill();
    input->close();
    EXPECT_FALSE(isClosed(descriptor));
    output->close();
    EXPECT_TRUE(isClosed(descriptor));
    EXPECT_LT(output->write(Data(1)), 0);
    EXPECT_FALSE(output->hasSpaceAvailable());
    Data bytes(1);
    EXPECT_EQ(input->read(bytes), 0);
    peer.reset();
    bool passed = false;
    queue.post([&] { passed = true; });
    EXPECT_TRUE(runUntil([&] { return passed; }));
    EXPECT_TRUE(events.seen.empty());
}

TEST(SocketStreamsMaking, ANonBlockingSocketIsMadeToWait) {
    auto pair = testing::makeTcpPair();
    const int descriptor = pair.server.get();
    ASSERT_EQ(::fcntl(descriptor, F_SETFL, O_NONBLOCK), 0);
    const auto made = makeStreamPair(std::move(pair.server));
    ASSERT_TRUE(made);
    EXPECT_EQ(::fcntl(descriptor, F_GETFL) & O_NONBLOCK, 0);
}

TEST(SocketStreamsMaking, WhatIsNoDescriptorHasNoStreams) {
    const auto made = makeStreamPair(FileDescriptor());
    ASSERT_FALSE(made);
    EXPECT_EQ(made.error().what, QStringLiteral("fcntl"));
}

} // namespace
} // namespace vantrel
