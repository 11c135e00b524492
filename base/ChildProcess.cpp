#include "base/ChildProcess.h"

#include "ChildProcessLaunch.h"

#include <QLoggingCategory>
#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdint>
#include <mutex>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace vantrel {

namespace {

using Clock = std::chrono::steady_clock;

void logFailure(const char* call) {
    const Error error = Error::fromErrno(QString::fromLatin1(call));
    qCWarning(lcChild, "%s() failed: %s", call, qUtf8Printable(error.why));
}

// Takes what stands in the pipe; closes it at its end.
void readSome(FileDescriptor& pipe, QByteArray& into) {
    std::array<char, 65536> bytes; // NOLINT(cppcoreguidelines-pro-type-member-init): filled by the read
    const ssize_t got = ::read(pipe.get(), bytes.data(), bytes.size());
    if (got > 0) {
        into.append(bytes.data(), got);
    } else if (got == 0) {
        pipe.reset();
    } else if (errno != EINTR && errno != EAGAIN) {
        logFailure("read");
        pipe.reset();
    }
}

// For poll(2): up to the moment, not less; -1 for ever.
int milliseconds(const std::optional<Clock::time_point>& until) {
    if (!until) {
        return -1;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*until - Clock::now());
    return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, INT_MAX));
}

} // namespace

// The child is reaped last, so that until then its number, and that of its group, belong to nobody else.
class ChildProcess::Private {
public:
    explicit Private(std::chrono::milliseconds grace) : _grace(grace) {}
    ~Private();
    Private(const Private&) = delete;
    Private& operator=(const Private&) = delete;

    [[nodiscard]] Expected<void> start(const ChildCommand& command);
    [[nodiscard]] ChildResult waitUntilExit();
    void terminate();

private:
    [[nodiscard]] bool isOver() const;
    [[nodiscard]] std::optional<Clock::time_point> deadline() const;
    [[nodiscard]] bool waitForSomething(ChildResult& result);
    [[nodiscard]] bool goesOnAfter(Clock::time_point passed);
    void noteTermination();
    void signalGroup(int signal) const;
    int end();

    const std::chrono::milliseconds _grace;
    LaunchedChild _child;
    FileDescriptor _ending; // readable when the child has ended
    FileDescriptor _wake;   // readable when terminate() was called

    // Of the thread in waitUntilExit().
    std::optional<Clock::time_point> _endedAt;
    std::optional<Clock::time_point> _terminatedAt;
    bool _isKilled = false;

    std::mutex _mutex;
    bool _isReaped = true;                                // guarded by _mutex; true also while there is no child
    std::optional<Clock::time_point> _terminationAskedAt; // guarded by _mutex
};

Expected<void> ChildProcess::Private::start(const ChildCommand& command) {
    auto launched = launch(command);
    if (!launched) {
        return tl::unexpected(launched.error());
    }
    _child = std::move(*launched);
    _isReaped = false;
    _ending = FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, _child.process, 0)));
    if (!_ending.isOpen()) {
        return errnoFailure(QStringLiteral("pidfd_open"));
    }
    _wake = FileDescriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!_wake.isOpen()) {
        return errnoFailure(QStringLiteral("eventfd"));
    }
    return {};
}

ChildProcess::Private::~Private() {
    if (!_isReaped) {
        signalGroup(SIGKILL);
        end();
    }
}

void ChildProcess::Private::signalGroup(int signal) const {
    if (::kill(-_child.process, signal) != 0) {
        logFailure("kill");
    }
}

// For a child that has ended or was killed. What it left behind goes with it when it was asked to end.
int ChildProcess::Private::end() {
    const std::lock_guard lock(_mutex);
    if (_terminationAskedAt) {
        signalGroup(SIGKILL);
    }
    _isReaped = true;
    return reap(_child.process);
}

void ChildProcess::Private::terminate() {
    const std::lock_guard lock(_mutex);
    if (_isReaped) {
        return;
    }
    if (!_terminationAskedAt) {
        _terminationAskedAt = Clock::now();
    }
    signalGroup(SIGTERM);
    const std::uint64_t once = 1;
    if (::write(_wake.get(), &once, sizeof once) < 0) {
        logFailure("write");
    }
}

void ChildProcess::Private::noteTermination() {
    std::uint64_t count = 0;
    static_cast<void>(!::read(_wake.get(), &count, sizeof count)); // only to make it unreadable again
    const std::lock_guard lock(_mutex);
    _terminatedAt = _terminationAskedAt;
}

bool ChildProcess::Private::isOver() const {
    return _endedAt && (_isKilled || (!_child.output.isOpen() && !_child.errors.isOpen()));
}

// When patience with the child, or with those who hold its pipes, ends; none while it may run as long as it likes.
std::optional<Clock::time_point> ChildProcess::Private::deadline() const {
    if (_isKilled) {
        return std::nullopt;
    }
    if (_endedAt && _terminatedAt) {
        return std::min(*_endedAt, *_terminatedAt) + _grace;
    }
    if (const auto since = _endedAt ? _endedAt : _terminatedAt) {
        return *since + _grace;
    }
    return std::nullopt;
}

// False when there is nothing more to wait for.
bool ChildProcess::Private::goesOnAfter(Clock::time_point passed) {
    if (Clock::now() < passed) {
        return true;
    }
    if (_endedAt) {
        return false;
    }
    _isKilled = true;
    signalGroup(SIGKILL);
    return true;
}

bool ChildProcess::Private::waitForSomething(ChildResult& result) {
    const auto until = deadline();
    // A closed descriptor is -1, which poll(2) passes over.
    std::array<pollfd, 4> ends{pollfd{_child.output.get(), POLLIN, 0}, pollfd{_child.errors.get(), POLLIN, 0},
                               pollfd{_endedAt ? -1 : _ending.get(), POLLIN, 0}, pollfd{_wake.get(), POLLIN, 0}};
    const int ready = ::poll(ends.data(), ends.size(), milliseconds(until));
    if (ready < 0 && errno != EINTR) {
        logFailure("poll");
        signalGroup(SIGKILL); // it cannot be watched any longer
        return false;
    }
    if (ready > 0) {
        if (ends[0].revents != 0) {
            readSome(_child.output, result.output);
        }
        if (ends[1].revents != 0) {
            readSome(_child.errors, result.errors);
        }
        if (ends[2].revents != 0) {
            _endedAt = Clock::now();
        }
        if (ends[3].revents != 0) {
            noteTermination();
        }
    }
    return !until || goesOnAfter(*until);
}

ChildResult ChildProcess::Private::waitUntilExit() {
    ChildResult result;
    while (!isOver() && waitForSomething(result)) {
    }
    _child.output.reset();
    _child.errors.reset();
    result.status = end();
    return result;
}

ChildProcess::ChildProcess(std::unique_ptr<Private> inner) : _inner(std::move(inner)) {}

ChildProcess::~ChildProcess() = default;

Expected<std::unique_ptr<ChildProcess>> ChildProcess::start(const ChildCommand& command) {
    auto inner = std::make_unique<Private>(command.grace);
    if (const auto started = inner->start(command); !started) {
        return tl::unexpected(started.error());
    }
    return std::unique_ptr<ChildProcess>(new ChildProcess(std::move(inner)));
}

ChildResult ChildProcess::waitUntilExit() { return _inner->waitUntilExit(); }

void ChildProcess::terminate() { _inner->terminate(); }

} // namespace vantrel
