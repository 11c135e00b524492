#include "feed/Output.h"

#include <array>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vantrel::feed {

namespace {

constexpr std::size_t many = 65536;
constexpr int aMoment = 200; // ms

// A second opening of what the descriptor leads to, which alone does not block; none where it cannot be opened, or
// where a second opening would be another file position.
FileDescriptor openedAnew(int descriptor) {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0 || !(S_ISFIFO(status.st_mode) || ::isatty(descriptor) == 1)) {
        return {};
    }
    const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
    return FileDescriptor(::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
}

} // namespace

Output::Output(int descriptor, int interrupt)
    : _descriptor(descriptor),
      _interrupt(interrupt),
      _isTerminal(::isatty(descriptor) == 1),
      _own(openedAnew(descriptor)) {}

void Output::write(std::string_view bytes) {
    if (_state != State::Open) {
        return;
    }
    _kept += bytes;
    if (_kept.size() >= many) {
        flush();
    }
}

Output::State Output::flush() {
    if (_state == State::Open) {
        drain(-1, true);
    }
    return _state;
}

void Output::writeAtEnd(std::string_view bytes) {
    if (_state == State::Interrupted) {
        _state = State::Open;
    }
    if (_state == State::Open) {
        _kept += bytes;
        drain(aMoment, false);
    }
}

int Output::target() const { return _own.isOpen() ? _own.get() : _descriptor; }

// Leaves the state as it is when the reader takes more.
void Output::waitForReader(int milliseconds, bool interruptible) {
    std::array<pollfd, 2> polled = {pollfd{target(), POLLOUT, 0}, pollfd{interruptible ? _interrupt : -1, POLLIN, 0}};
    const int ready = ::poll(polled.data(), polled.size(), milliseconds);
    if (ready < 0 && errno == EINTR) {
        return;
    }
    if (ready <= 0 || polled[0].revents == 0) { // no time left, or asked to end
        _state = State::Interrupted;
    }
}

void Output::drain(int milliseconds, bool interruptible) {
    std::string_view rest = _kept;
    while (!rest.empty() && _state == State::Open) {
        const ssize_t written = ::write(target(), rest.data(), rest.size());
        if (written >= 0) {
            rest.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EAGAIN) {
            waitForReader(milliseconds, interruptible);
        } else if (errno == EPIPE || (errno == EIO && _isTerminal)) { // or the terminal was hung up
            _state = State::ReaderGone;
        } else if (errno != EINTR) {
            _error = Error::fromErrno(QStringLiteral("write"));
            _state = State::Failed;
        }
    }
    // What an interruption left goes: half a line of a table is of no use behind what puts the terminal back.
    _kept.clear();
}

} // namespace vantrel::feed
