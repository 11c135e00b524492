// The two directions of a client's connection, and what happens on them.
//
// The main thread schedules, opens and closes a stream; its delegate hears of events there, through the queue the
// stream is scheduled in.
#pragma once

#include <cstdint>
#include <span>
#include <sys/types.h>

namespace vantrel {

class MainQueue;
class Stream;

enum class StreamEvent {
    OpenCompleted = 1,
    HasBytesAvailable = 2,
    HasSpaceAvailable = 4, // announced once after a time without space
    ErrorOccurred = 8,
    EndEncountered = 16
};

class StreamDelegate {
public:
    virtual ~StreamDelegate() = default;
    // Main thread.
    virtual void stream(Stream& aStream, StreamEvent handleEvent) = 0;
};

class Stream {
public:
    virtual ~Stream() = default;
    // Main thread; borrowed, nullptr for none. No event reaches a delegate that was replaced.
    virtual void setDelegate(StreamDelegate* delegate) = 0;
    // Main thread, before open(). The queue is borrowed, and must be closed before the stream is destroyed.
    virtual void scheduleIn(MainQueue& queue) = 0;
    virtual void open() = 0;
    // Closing both streams of a connection closes its descriptor.
    virtual void close() = 0;
};

class InputStream : public Stream {
public:
    // One thread. Waits until there are bytes; how many were read, 0 at the end, negative on failure. Returns at once
    // when another thread closes the stream.
    [[nodiscard]] virtual ssize_t read(std::span<std::uint8_t> bytes) = 0;
};

// One thread at a time calls the following; never waits.
class OutputStream : public Stream {
public:
    // When it answers true, a whole record can be written.
    [[nodiscard]] virtual bool hasSpaceAvailable() = 0;
    // How many bytes were taken, 0 when there is no space, negative on failure. What was taken may stand in a buffer
    // until more comes; flush() sends it as far as there is space.
    [[nodiscard]] virtual ssize_t write(std::span<const std::uint8_t> bytes) = 0;
    // False on failure.
    [[nodiscard]] virtual bool flush() = 0;
};

// Writes all of the bytes and answers how many they are, or the first negative result as it stands. A stream that takes
// nothing is tried again at once, so the caller has made sure that there is space.
[[nodiscard]] std::int64_t writeFully(OutputStream& stream, std::span<const std::uint8_t> bytes);

// Writes the number of bytes as four bytes, the highest first, and then the bytes. Answers how much that is together;
// or the first result that was not whole.
[[nodiscard]] std::int64_t writeBlock(OutputStream& stream, std::span<const std::uint8_t> bytes);

} // namespace vantrel
