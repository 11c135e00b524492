#include "protocol/PacketSocket.h"

#include <QLoggingCategory>
#include <array>
#include <cerrno>
#include <chrono>
#include <poll.h>
#include <sys/socket.h>

namespace vantrel::protocol {

namespace {

Q_LOGGING_CATEGORY(lcProtocol, "vantrel.protocol")

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds sendTime(5);

// Waits until the socket takes bytes or is gone; answers false when the deadline has passed.
Expected<bool> waitForRoom(int descriptor, Clock::time_point deadline) {
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) {
            return false;
        }
        pollfd wanted{.fd = descriptor, .events = POLLOUT, .revents = 0};
        const int ready = ::poll(&wanted, 1, static_cast<int>(left.count()));
        if (ready > 0) {
            return true;
        }
        if (ready < 0 && errno != EINTR) {
            return errnoFailure(QStringLiteral("poll"));
        }
    }
}

// A packet of no bytes reads like the end of the socket, which alone leaves it hung up.
bool isHungUp(int descriptor) {
    pollfd wanted{.fd = descriptor, .events = POLLRDHUP, .revents = 0};
    return ::poll(&wanted, 1, 0) != 0;
}

} // namespace

Expected<std::pair<PacketSocket, PacketSocket>> PacketSocket::makePair() {
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        return errnoFailure(QStringLiteral("socketpair"));
    }
    return std::pair(PacketSocket(FileDescriptor(ends[0])), PacketSocket(FileDescriptor(ends[1])));
}

Expected<void> PacketSocket::send(const Packet& packet) {
    const auto bytes = encode(packet);
    const auto deadline = Clock::now() + sendTime;
    for (;;) {
        if (::send(descriptor(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT) >= 0) {
            return {};
        }
        if (errno == EINTR) {
            continue;
        }
        if (errno != EAGAIN && errno != EWOULDBLOCK) {
            return errnoFailure(QStringLiteral("send"));
        }
        const auto room = waitForRoom(descriptor(), deadline);
        if (!room) {
            return tl::unexpected(room.error());
        }
        if (!*room) {
            return failure(QStringLiteral("send"), QStringLiteral("the other end does not read"));
        }
    }
}

Expected<std::optional<Packet>> PacketSocket::receive() {
    std::array<std::uint8_t, longestPacket> buffer; // NOLINT: what is read of it is what recv() has written
    ssize_t size = 0;
    do {
        // The flag makes the answer the size that the packet really had.
        size = ::recv(descriptor(), buffer.data(), buffer.size(), MSG_TRUNC);
        // The other end closed with packets of ours unread: its own are still to come.
    } while (size < 0 && (errno == EINTR || errno == ECONNRESET));
    if (size < 0) {
        const Error error = Error::fromErrno(QStringLiteral("recv"));
        qCWarning(lcProtocol, "recv failed: %s", qUtf8Printable(error.why));
        return std::nullopt; // no later attempt can do better
    }
    const auto received = static_cast<std::size_t>(size);
    if (received > buffer.size()) {
        return failure(QStringLiteral("recv"),
                       QStringLiteral("a packet of %1 bytes, at most %2 are allowed").arg(received).arg(buffer.size()));
    }
    if (received == 0 && isHungUp(descriptor())) {
        return std::nullopt;
    }
    return decode(std::span(buffer).first(received)).map([](Packet&& packet) {
        return std::make_optional(std::move(packet));
    });
}

void PacketSocket::shutDown() {
    if (::shutdown(descriptor(), SHUT_RDWR) != 0 && errno != ENOTCONN) {
        const Error error = Error::fromErrno(QStringLiteral("shutdown"));
        qCWarning(lcProtocol, "shutdown failed: %s", qUtf8Printable(error.why));
    }
}

} // namespace vantrel::protocol
