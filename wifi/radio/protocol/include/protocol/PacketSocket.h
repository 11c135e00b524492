// One end of the socket pair between the application and vantrel-radio: whole packets in, whole packets out.
#pragma once

#include "base/FileDescriptor.h"
#include "protocol/Messages.h"

#include <optional>
#include <utility>

namespace vantrel::protocol {

// Each direction may be used by one thread at a time; closing wakes a reader.
class PacketSocket {
public:
    explicit PacketSocket(FileDescriptor descriptor) : _descriptor(std::move(descriptor)) {}

    // Two connected ends, closed by exec.
    [[nodiscard]] static Expected<std::pair<PacketSocket, PacketSocket>> makePair();

    [[nodiscard]] int descriptor() const { return _descriptor.get(); }

    // Waits while the other end does not read, at most five seconds. A vanished other end is an error, never a signal.
    [[nodiscard]] Expected<void> send(const Packet& packet);

    // Waits for the next packet. Nothing when the other end is gone, or the descriptor is no socket (which is logged);
    // an error for a packet that cannot be read, after which the next may be received.
    [[nodiscard]] Expected<std::optional<Packet>> receive();

    // Any thread. Ends both directions: a thread that waits in receive() gets "gone", one in send() an error. The
    // descriptor stays open until the object is destroyed.
    void shutDown();

private:
    FileDescriptor _descriptor;
};

} // namespace vantrel::protocol
