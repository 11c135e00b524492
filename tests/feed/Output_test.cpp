#include "feed/Output.h"

#include "base/FileDescriptor.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace vantrel::feed {
namespace {

struct Pipe {
    Pipe() {
        std::array<int, 2> ends{};
        EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
        reader = FileDescriptor(ends[0]);
        writer = FileDescriptor(ends[1]);
    }
    FileDescriptor reader;
    FileDescriptor writer;
};

TEST(Output, handsOnWhatWasWrittenWhenFlushed) {
    const Pipe pipe;
    Output output(pipe.writer.get(), -1);
    output.write("one ");
    output.write("two");
    EXPECT_EQ(output.flush(), Output::State::Open);
    std::array<char, 16> read{};
    EXPECT_EQ(::read(pipe.reader.get(), read.data(), read.size()), 7);
    EXPECT_STREQ(read.data(), "one two");
}

TEST(Output, leavesThePipeOfTheShellBlocking) {
    const Pipe pipe;
    const Output output(pipe.writer.get(), -1);
    EXPECT_EQ(::fcntl(pipe.writer.get(), F_GETFL) & O_NONBLOCK, 0);
}

TEST(Output, seesThatTheReaderHasGone) {
    std::signal(SIGPIPE, SIG_IGN);
    Pipe pipe;
    Output output(pipe.writer.get(), -1);
    pipe.reader.reset();
    output.write("x");
    EXPECT_EQ(output.flush(), Output::State::ReaderGone);
    output.write("y");
    EXPECT_EQ(output.flush(), Output::State::ReaderGone);
    EXPECT_FALSE(output.error());
}

TEST(Output, aRequestToEndInterruptsTheWaitForASlowReader) {
    const Pipe pipe;
    const Pipe request;
    ASSERT_EQ(::write(request.writer.get(), "x", 1), 1);
    Output output(pipe.writer.get(), request.reader.get());
    output.write(std::string(1 << 20, 'x')); // far more than a pipe holds
    EXPECT_EQ(output.state(), Output::State::Interrupted);
    output.write("dropped");
    EXPECT_EQ(output.flush(), Output::State::Interrupted);
}

TEST(Output, theLastBytesAreTriedThoughInterrupted) {
    const Pipe pipe;
    const Pipe request;
    ASSERT_EQ(::write(request.writer.get(), "x", 1), 1);
    Output output(pipe.writer.get(), request.reader.get());
    output.write(std::string(1 << 20, 'x'));
    ASSERT_EQ(output.state(), Output::State::Interrupted);
    std::string room(1 << 16, ' ');
    ASSERT_GT(::read(pipe.reader.get(), room.data(), room.size()), 0);
    output.writeAtEnd("end");
    EXPECT_EQ(output.state(), Output::State::Open);
    ::fcntl(pipe.reader.get(), F_SETFL, O_NONBLOCK);
    std::string rest;
    for (ssize_t count = 0; (count = ::read(pipe.reader.get(), room.data(), room.size())) > 0;) {
        rest.append(room, 0, static_cast<std::size_t>(count));
    }
    EXPECT_TRUE(rest.ends_with("end"));
}

TEST(Output, aFullDiskIsAnError) {
    const FileDescriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    Output output(full.get(), -1);
    output.write("x");
    EXPECT_EQ(output.flush(), Output::State::Failed);
    ASSERT_TRUE(output.error());
    EXPECT_EQ(output.error()->text(), QStringLiteral("write: No space left on device"));
}

} // namespace
} // namespace vantrel::feed
