#include "base/TerminationSignals.h"

#include "base/Error.h"

#include <QLoggingCategory>
#include <QSocketNotifier>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace vantrel {

namespace {

Q_LOGGING_CATEGORY(lcSignals, "vantrel.signals")

constexpr std::array handled{SIGTERM, SIGINT, SIGHUP};
volatile std::sig_atomic_t wakeUpDescriptor = -1;

void wake(int /*signal*/) {
    const int before = errno;
    const char byte = 0;
    static_cast<void>(!::write(wakeUpDescriptor, &byte, 1)); // a full pipe wakes the reader as well
    errno = before;
}

} // namespace

TerminationSignals::TerminationSignals() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        const Error error = Error::fromErrno(QStringLiteral("pipe2"));
        qCWarning(lcSignals, "pipe2() failed: %s", qUtf8Printable(error.why));
        return; // the signals keep their own meaning
    }
    _reader = FileDescriptor(ends[0]);
    _writer = FileDescriptor(ends[1]);
    wakeUpDescriptor = _writer.get();
    auto* notifier = new QSocketNotifier(_reader.get(), QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this] {
        std::array<char, 16> bytes{};
        static_cast<void>(!::read(_reader.get(), bytes.data(), bytes.size()));
        Q_EMIT terminationRequested();
    });
    struct sigaction action {};
    action.sa_handler = wake;
    action.sa_flags = SA_RESTART;
    for (const int signal : handled) {
        if (::sigaction(signal, &action, nullptr) != 0) {
            const Error error = Error::fromErrno(QStringLiteral("sigaction"));
            qCWarning(lcSignals, "sigaction() failed for signal %d: %s", signal, qUtf8Printable(error.why));
        }
    }
}

TerminationSignals::~TerminationSignals() {
    for (const int signal : handled) {
        std::signal(signal, SIG_DFL);
    }
    wakeUpDescriptor = -1;
}

} // namespace vantrel
