#include "feed/FeedClient.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <sys/socket.h>

namespace vantrel::feed {

namespace {

constexpr std::size_t chunk = 65536;
constexpr int mostChunks = 16; // at once, before the event loop has its turn

sockaddr_in loopbackAddress(quint16 port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

} // namespace

// Not by QTcpSocket: it connects once more, unasked, when the other side resets the connection early.
void FeedClient::connectTo(quint16 port) {
    _port = port;
    _socket = FileDescriptor(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const sockaddr_in address = loopbackAddress(port);
    const bool begun = _socket.isOpen() &&
                       (::connect(_socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ||
                        errno == EINPROGRESS);
    if (!begun) {
        const int error = errno;
        QMetaObject::invokeMethod(
            this, [this, error] { failed(error); }, Qt::QueuedConnection);
        return;
    }
    watch(QSocketNotifier::Write, &FeedClient::connectEnded);
}

void FeedClient::watch(QSocketNotifier::Type what, void (FeedClient::*handle)()) {
    _notifier = std::make_unique<QSocketNotifier>(_socket.get(), what);
    connect(_notifier.get(), &QSocketNotifier::activated, this, handle);
}

void FeedClient::connectEnded() {
    int error = 0;
    socklen_t size = sizeof error;
    if (::getsockopt(_socket.get(), SOL_SOCKET, SO_ERROR, &error, &size) != 0) {
        error = errno;
    }
    if (error != 0) {
        failed(error);
        return;
    }
    dropNotifier();
    watch(QSocketNotifier::Read, &FeedClient::read);
    Q_EMIT connected();
}

void FeedClient::close() {
    _ended = true;
    dropNotifier();
    _socket.reset();
}

void FeedClient::dropNotifier() {
    if (_notifier) {
        _notifier->setEnabled(false);
        _notifier.release()->deleteLater(); // it may be the one that calls
    }
}

void FeedClient::read() {
    std::array<std::uint8_t, chunk> bytes; // NOLINT(*-member-init): read into before it is looked at
    for (int chunks = 0; chunks < mostChunks && !_ended; ++chunks) {
        const ssize_t count = ::recv(_socket.get(), bytes.data(), bytes.size(), 0);
        if (count > 0) {
            take({bytes.data(), static_cast<std::size_t>(count)});
        } else if (count == 0) {
            streamEnded();
        } else if (errno == EAGAIN) {
            break;
        } else if (errno != EINTR) {
            failed(errno);
        }
    }
    if (!_ended) {
        Q_EMIT caughtUp();
    }
}

void FeedClient::take(std::span<const std::uint8_t> bytes) {
    _served = true;
    _reader.append(bytes);
    while (!_ended) {
        const auto record = _reader.next();
        if (!record) {
            break;
        }
        Q_EMIT recordCame(*record);
    }
    if (const auto refused = _reader.refusedLength()) {
        end(End::NoFeed, QStringLiteral("what listens on port %1 does not speak the feed's protocol: it announced a "
                                        "record of %2 bytes")
                             .arg(_port)
                             .arg(*refused));
    }
}

void FeedClient::streamEnded() {
    if (!_served) {
        end(End::ClosedUnserved, QStringLiteral("the service closed the connection without sending anything: it serves "
                                                "another client, or Vantrel captures itself"));
    } else if (_reader.insideRecord()) {
        end(End::ClosedInsideRecord, QStringLiteral("the service ended the connection in the middle of a record"));
    } else {
        end(End::Closed, QStringLiteral("the service ended the connection"));
    }
}

void FeedClient::failed(int error) {
    if (error == ECONNREFUSED) {
        end(End::Refused, QStringLiteral("nobody listens on port %1").arg(_port));
    } else if (error == ECONNRESET) {
        streamEnded();
    } else {
        end(End::Failed, QStringLiteral("the connection failed: %1").arg(QString::fromLocal8Bit(std::strerror(error))));
    }
}

void FeedClient::end(End how, const QString& text) {
    if (!_ended) {
        close();
        Q_EMIT ended(how, text);
    }
}

} // namespace vantrel::feed
