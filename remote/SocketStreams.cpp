#include "SocketStreams.h"

#include "base/MainQueue.h"

#include <QSocketNotifier>
#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <mutex>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <vector>

namespace vantrel {

namespace {

// Records go out together: at a few hundred bytes each, a call for every one would cost more than all the rest.
constexpr std::size_t sendAt = std::size_t{16} * 1024;
// A record may begin whenever less than that is waiting, and must then fit whole.
constexpr std::size_t outputCapacity = std::size_t{64} * 1024;

using SharedSocket = std::shared_ptr<const FileDescriptor>;

// Who hears of a stream's events. The queue may be asked from any thread; delegate and delivery belong to the main one.
class Announcer {
public:
    explicit Announcer(Stream& stream) : _stream(stream) {}

    void setDelegate(StreamDelegate* delegate) { _delegate = delegate; }
    void setQueue(MainQueue* queue) {
        const std::lock_guard lock(_mutex);
        _queue = queue;
    }
    void post(MainQueue::Task task) {
        const std::lock_guard lock(_mutex);
        if (_queue != nullptr) {
            _queue->post(std::move(task));
        }
    }
    void announce(StreamEvent event) {
        post([this, event] { deliver(event); });
    }
    void deliver(StreamEvent event) {
        if (_delegate != nullptr) {
            _delegate->stream(_stream, event);
        }
    }

private:
    Stream& _stream;                     // borrowed: this is a member of it
    StreamDelegate* _delegate = nullptr; // main thread; borrowed
    std::mutex _mutex;
    MainQueue* _queue = nullptr; // guarded by _mutex; borrowed
};

class SocketInputStream final : public InputStream {
public:
    explicit SocketInputStream(SharedSocket socket) : _socket(std::move(socket)) {}

    void setDelegate(StreamDelegate* delegate) override { _announcer.setDelegate(delegate); }
    void scheduleIn(MainQueue& queue) override { _announcer.setQueue(&queue); }
    void open() override {}

    void close() override {
        if (_socket) {
            _announcer.setQueue(nullptr);
            ::shutdown(_socket->get(), SHUT_RDWR); // ends a read under way
            const std::lock_guard lock(_reading);
            _socket.reset();
        }
    }

    ssize_t read(std::span<std::uint8_t> bytes) override {
        const std::lock_guard lock(_reading);
        if (!_socket) {
            return 0;
        }
        ssize_t count = 0;
        do {
            count = ::recv(_socket->get(), bytes.data(), bytes.size(), 0);
        } while (count < 0 && errno == EINTR);
        if (count <= 0) {
            _announcer.announce(count == 0 ? StreamEvent::EndEncountered : StreamEvent::ErrorOccurred);
        }
        return count;
    }

private:
    Announcer _announcer{*this};
    std::mutex _reading;  // held by the thread that reads
    SharedSocket _socket; // replaced by the main thread, under _reading
};

class SocketOutputStream final : public OutputStream {
public:
    explicit SocketOutputStream(SharedSocket socket) : _socket(std::move(socket)) {}

    void setDelegate(StreamDelegate* delegate) override { _announcer.setDelegate(delegate); }
    void scheduleIn(MainQueue& queue) override { _announcer.setQueue(&queue); }

    void open() override {
        _notifier = std::make_unique<QSocketNotifier>(_socket->get(), QSocketNotifier::Write);
        _notifier->setEnabled(false);
        QObject::connect(_notifier.get(), &QSocketNotifier::activated, _notifier.get(), [this] {
            _notifier->setEnabled(false);
            _announcer.deliver(StreamEvent::HasSpaceAvailable);
        });
    }

    void close() override {
        _announcer.setQueue(nullptr);
        _notifier.reset();
        _socket.reset();
        _waiting.clear();
    }

    bool hasSpaceAvailable() override {
        if (_isFull) {
            send();
        }
        return isUsable() && !_isFull;
    }

    ssize_t write(std::span<const std::uint8_t> bytes) override {
        if (!isUsable()) {
            return -1;
        }
        const std::size_t taken = std::min(bytes.size(), outputCapacity - _waiting.size());
        _waiting.insert(_waiting.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(taken));
        if (_waiting.size() >= sendAt && !_isFull) {
            send();
        }
        return isUsable() ? static_cast<ssize_t>(taken) : -1;
    }

    bool flush() override {
        if (isUsable() && !_isFull) {
            send();
        }
        return isUsable();
    }

private:
    [[nodiscard]] bool isUsable() const { return _socket && !_hasFailed; }

    // As much of what is waiting as the socket takes.
    void send() {
        std::size_t sent = 0;
        _isFull = false;
        while (isUsable() && !_isFull && sent < _waiting.size()) {
            const ssize_t result =
                ::send(_socket->get(), _waiting.data() + sent, _waiting.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
            if (result >= 0) {
                sent += static_cast<std::size_t>(result);
            } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
                awaitSpace();
            } else if (errno != EINTR) {
                _hasFailed = true;
                _announcer.announce(StreamEvent::ErrorOccurred);
            }
        }
        _waiting.erase(_waiting.begin(), _waiting.begin() + static_cast<std::ptrdiff_t>(sent));
    }

    void awaitSpace() {
        _isFull = true;
        _announcer.post([this] {
            if (_notifier) {
                _notifier->setEnabled(true);
            }
        });
    }

    Announcer _announcer{*this};
    SharedSocket _socket;
    std::vector<std::uint8_t> _waiting;         // taken, but not yet by the socket
    bool _isFull = false;                       // the socket took no more; the notifier is on, or about to be
    bool _hasFailed = false;                    // for good
    std::unique_ptr<QSocketNotifier> _notifier; // main thread
};

Expected<void> prepare(int socket) {
    const int flags = ::fcntl(socket, F_GETFL);
    if (flags < 0 || ::fcntl(socket, F_SETFL, flags & ~O_NONBLOCK) < 0) {
        return errnoFailure(QStringLiteral("fcntl"));
    }
    // Not for sockets of other families, which have no such delay.
    const int on = 1;
    ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return {};
}

} // namespace

Expected<StreamPair> makeStreamPair(FileDescriptor socket) {
    if (auto prepared = prepare(socket.get()); !prepared) {
        return tl::unexpected(prepared.error());
    }
    const auto shared = std::make_shared<const FileDescriptor>(std::move(socket));
    return StreamPair{std::make_unique<SocketInputStream>(shared), std::make_unique<SocketOutputStream>(shared)};
}

} // namespace vantrel
