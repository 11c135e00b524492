#include "TestClient.h"

#include "support/EventLoop.h"

#include <array>
#include <cerrno>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>

namespace vantrel::testing {

void TestClient::receive() {
    std::array<std::uint8_t, 65536> bytes{};
    for (;;) {
        const ssize_t count = ::recv(_socket.get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
        if (count <= 0) {
            _ended = _ended || count == 0 || (errno != EAGAIN && errno != EWOULDBLOCK);
            return;
        }
        _bytes.insert(_bytes.end(), bytes.begin(), bytes.begin() + count);
    }
}

std::optional<Bytes> TestClient::record(std::chrono::milliseconds patience) {
    constexpr std::size_t lengthSize = 4;
    const auto whole = [this]() -> std::size_t {
        if (_bytes.size() < lengthSize) {
            return 0;
        }
        const std::size_t size = lengthSize + (std::size_t{_bytes[0]} << 24 | std::size_t{_bytes[1]} << 16 |
                                               std::size_t{_bytes[2]} << 8 | std::size_t{_bytes[3]});
        return _bytes.size() >= size ? size : 0;
    };
    const bool came = runUntil(
        [&] {
            if (whole() == 0) {
                receive();
            }
            return whole() > 0 || _ended;
        },
        patience);
    const std::size_t size = whole();
    if (!came || size == 0) {
        return std::nullopt;
    }
    const auto end = _bytes.begin() + static_cast<std::ptrdiff_t>(size);
    Bytes data(_bytes.begin() + lengthSize, end);
    _bytes.erase(_bytes.begin(), end);
    return data;
}

bool TestClient::sawTheEnd() {
    receive();
    return _ended;
}

std::size_t TestClient::left() {
    receive();
    return _bytes.size();
}

void TestClient::reset() {
    const linger hard{.l_onoff = 1, .l_linger = 0};
    ::setsockopt(_socket.get(), SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
    _socket.reset();
}

TcpPair makeTcpPair(int bufferSize) {
    const FileDescriptor listening(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* where = reinterpret_cast<sockaddr*>(&address);
    socklen_t length = sizeof address;
    TcpPair pair;
    pair.client = FileDescriptor(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (bufferSize > 0) { // before the connection, which settles the window
        ::setsockopt(pair.client.get(), SOL_SOCKET, SO_RCVBUF, &bufferSize, sizeof bufferSize);
        ::setsockopt(listening.get(), SOL_SOCKET, SO_SNDBUF, &bufferSize, sizeof bufferSize);
    }
    if (::bind(listening.get(), where, length) != 0 || ::listen(listening.get(), 1) != 0 ||
        ::getsockname(listening.get(), where, &length) != 0 || ::connect(pair.client.get(), where, length) != 0) {
        throw std::runtime_error("no TCP connection over the loopback interface");
    }
    pair.server = FileDescriptor(::accept4(listening.get(), nullptr, nullptr, SOCK_CLOEXEC));
    return pair;
}

} // namespace vantrel::testing
