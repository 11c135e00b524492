// A client's end of a real TCP connection over the loopback interface.
#pragma once

#include "base/FileDescriptor.h"
#include "simulated/FrameBuilder.h"

#include <chrono>
#include <optional>

namespace vantrel::testing {

// The other end of the connection.
class TestClient {
public:
    explicit TestClient(FileDescriptor socket) : _socket(std::move(socket)) {}

    [[nodiscard]] int socket() const { return _socket.get(); }
    // The next record, while the event loop runs; nothing when the connection ended, or none came in time.
    [[nodiscard]] std::optional<Bytes> record(std::chrono::milliseconds patience = std::chrono::seconds(10));
    // Whether the connection was closed from the other side.
    [[nodiscard]] bool sawTheEnd();
    // Bytes that have arrived and are no whole record yet.
    [[nodiscard]] std::size_t left();
    void close() { _socket.reset(); }
    void reset(); // as a client that is killed with data on its way

private:
    void receive();
    FileDescriptor _socket;
    Bytes _bytes;
    bool _ended = false;
};

// A TCP connection over the loopback interface, with buffers of that many bytes; 0 for the system's.
struct TcpPair {
    FileDescriptor server;
    FileDescriptor client;
};
[[nodiscard]] TcpPair makeTcpPair(int bufferSize = 0);

} // namespace vantrel::testing
