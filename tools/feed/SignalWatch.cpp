#include "feed/SignalWatch.h"

#include "base/Error.h"

#include <QLoggingCategory>
#include <QSocketNotifier>
#include <csignal>
#include <initializer_list>
#include <sys/signalfd.h>
#include <unistd.h>

namespace vantrel::feed {

namespace {

Q_LOGGING_CATEGORY(lcSignals, "vantrel.feed.signals")

sigset_t setOf(std::initializer_list<int> signals) {
    sigset_t set;
    ::sigemptyset(&set);
    for (const int signal : signals) {
        ::sigaddset(&set, signal);
    }
    return set;
}

sigset_t endSignals() { return setOf({SIGINT, SIGTERM, SIGHUP, SIGQUIT}); }
sigset_t terminalSignals() { return setOf({SIGTSTP, SIGCONT, SIGWINCH}); }

FileDescriptor openSignals(const sigset_t& set) {
    FileDescriptor descriptor(::signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC));
    if (!descriptor.isOpen()) {
        qCWarning(lcSignals, "signalfd() failed: %s", qUtf8Printable(Error::fromErrno(QStringLiteral("signalfd")).why));
        ::pthread_sigmask(SIG_UNBLOCK, &set, nullptr); // they keep their own meaning
    }
    return descriptor;
}

} // namespace

void SignalWatch::holdBack() {
    for (const sigset_t& set : {endSignals(), terminalSignals()}) {
        ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
    }
    std::signal(SIGPIPE, SIG_IGN);
}

SignalWatch::SignalWatch() : _end(openSignals(endSignals())), _terminal(openSignals(terminalSignals())) {
    if (_end.isOpen()) {
        auto* notifier = new QSocketNotifier(_end.get(), QSocketNotifier::Read, this);
        connect(notifier, &QSocketNotifier::activated, this, [this, notifier] {
            notifier->setEnabled(false); // it stays readable, for whoever is busy writing
            Q_EMIT endRequested();
        });
    }
    if (_terminal.isOpen()) {
        auto* notifier = new QSocketNotifier(_terminal.get(), QSocketNotifier::Read, this);
        connect(notifier, &QSocketNotifier::activated, this, &SignalWatch::readTerminal);
    }
}

void SignalWatch::readTerminal() {
    signalfd_siginfo info{};
    while (::read(_terminal.get(), &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
        switch (info.ssi_signo) {
        case SIGTSTP:
            Q_EMIT stopRequested();
            break;
        case SIGCONT:
            Q_EMIT continued();
            break;
        case SIGWINCH:
            Q_EMIT resized();
            break;
        default: // no other is in the set
            break;
        }
    }
}

void SignalWatch::stopProcess() {
    const sigset_t stop = setOf({SIGTSTP});
    std::raise(SIGTSTP);
    ::pthread_sigmask(SIG_UNBLOCK, &stop, nullptr); // here the process stops
    ::pthread_sigmask(SIG_BLOCK, &stop, nullptr);
}

} // namespace vantrel::feed
