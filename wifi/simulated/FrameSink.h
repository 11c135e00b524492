// Where one monitor's frames go: a network device or a byte stream.
//
// Used by one thread at a time (the player's). Delivering never waits; what cannot be delivered is lost and counted.
#pragma once

#include "base/FileDescriptor.h"
#include "simulated/FrameBuilder.h"
#include "simulated/TapDevice.h"

namespace vantrel {

class FrameSink {
public:
    virtual ~FrameSink() = default;
    virtual void deliver(std::span<const std::uint8_t> packet) = 0;
};

class TapSink final : public FrameSink {
public:
    explicit TapSink(TapDevice device) : _device(std::move(device)) {}
    void deliver(std::span<const std::uint8_t> packet) override;

private:
    TapDevice _device;
    bool _failing = false; // the last frame was refused; said once
};

// A pcap byte stream (microseconds, link type 127, at most 2048 bytes a frame). The reader may be slow or gone.
class StreamSink final : public FrameSink {
public:
    // The sending end of a connected local stream socket.
    explicit StreamSink(FileDescriptor socket);
    ~StreamSink() override;
    void deliver(std::span<const std::uint8_t> packet) override;

private:
    [[nodiscard]] std::size_t send(std::span<const std::uint8_t> bytes);

    FileDescriptor _socket;  // closed once the reader is gone
    Bytes _remainder;        // of a record that was sent in part
    std::uint64_t _lost = 0; // frames that a slow reader missed
};

} // namespace vantrel
