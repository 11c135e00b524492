#include "RadioLink.h"

#include "Logging.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <poll.h>
#include <sys/eventfd.h>

namespace vantrel {

Q_LOGGING_CATEGORY(lcRadio, "vantrel.radio")

namespace {

using namespace std::chrono_literals;

// Between the end of the socket and that of the process, which gives the reason.
constexpr auto reasonTime = 1000ms;
constexpr auto noLimit = -1ms;
constexpr int mostLogged = 10; // unreadable packets of one run

QString processName() { return QStringLiteral("vantrel-radio"); }

tl::unexpected<Error> askedWithinAnnouncement(const QString& what) {
    return failure(what, QStringLiteral("the adapter cannot be changed within an announcement of its changes"));
}

} // namespace

Expected<std::shared_ptr<RadioLink>> RadioLink::start(const RadioOptions& options) {
    FileDescriptor stopEvent(::eventfd(0, EFD_CLOEXEC));
    if (!stopEvent.isOpen()) {
        return errnoFailure(QStringLiteral("eventfd"));
    }
    auto program = RadioProgram::withThisEnvironment(options.program, options.arguments);
    auto run = startProcess(program);
    if (!run) {
        return tl::unexpected(run.error());
    }
    const auto link = std::shared_ptr<RadioLink>(new RadioLink(options, std::move(program), std::move(stopEvent)));
    link->_requests.connect(run->socket);
    link->_thread =
        std::thread([self = link.get(), first = std::move(*run)]() mutable { self->readRuns(std::move(first)); });
    if (const auto announced = link->_start.await(options.startTime); !announced) {
        return tl::unexpected(announced.error());
    }
    return link;
}

RadioLink::RadioLink(const RadioOptions& options, RadioProgram program, FileDescriptor stopEvent)
    : _options(options),
      _program(std::move(program)),
      _stopEvent(std::move(stopEvent)),
      _requests(options.answerTime) {}

Expected<RadioRequests::Answer> RadioLink::ask(const QString& what, const protocol::Message& request) {
    return isReader() ? askedWithinAnnouncement(what) : _requests.ask(what, request);
}

Expected<void> RadioLink::askInRun(std::uint64_t run, const QString& what, const protocol::Message& request) {
    return isReader() ? askedWithinAnnouncement(what) : _requests.askInRun(run, what, request);
}

void RadioLink::close() {
    if (!_thread.joinable()) {
        return;
    }
    if (::eventfd_write(_stopEvent.get(), 1) != 0) { // cannot happen before the counter is full
        const Error error = Error::fromErrno(QStringLiteral("eventfd_write"));
        qCWarning(lcRadio, "eventfd_write failed: %s", qUtf8Printable(error.why));
    }
    _thread.join();
}

Expected<RadioLink::Run> RadioLink::startProcess(const RadioProgram& program) {
    auto ends = protocol::PacketSocket::makePair();
    if (!ends) {
        return tl::unexpected(ends.error());
    }
    return RadioProcess::start(program, ends->second.descriptor()).map([&ends](RadioProcess&& process) {
        return Run{std::move(process), std::make_shared<protocol::PacketSocket>(std::move(ends->first)), Clock::now()};
    });
}

void RadioLink::readRuns(Run run) {
    _reader = std::this_thread::get_id();
    while (listen(run) && reap(run)) {
        auto next = startAgain(Clock::now() - run.began);
        if (!next) {
            break;
        }
        run = std::move(*next);
    }
    closeRun(run);
    _reader = std::thread::id(); // the next thread may get the same
}

// Reads what the process says until it is gone; answers false when the link is closed.
bool RadioLink::listen(Run& run) {
    for (;;) {
        const auto ready = wait(run.socket->descriptor(), run.process.endDescriptor(), noLimit);
        if (ready.stop) {
            return false;
        }
        // What a dead process said last comes before its death.
        if (ready.packet ? !readPacket(run) : ready.processEnd) {
            return true;
        }
    }
}

// Answers false at the end of the socket.
bool RadioLink::readPacket(Run& run) {
    const auto packet = run.socket->receive();
    if (!packet) {
        refuse(run, packet.error());
        return true;
    }
    if (*packet) {
        take(run, **packet);
    }
    return packet->has_value();
}

void RadioLink::take(Run& run, const protocol::Packet& packet) {
    if (const auto* state = std::get_if<protocol::State>(&packet.message)) {
        _snapshot.setState(*state);
        _start.noteState();
    } else if (const auto* channels = std::get_if<protocol::Channels>(&packet.message)) {
        _snapshot.setChannels(*channels);
        _start.noteChannels();
    } else if (const auto* done = std::get_if<protocol::Done>(&packet.message)) {
        _requests.answer(packet.request, *done);
    } else {
        refuse(run, {processName(), QStringLiteral("a request, which only the application makes")});
    }
}

void RadioLink::refuse(Run& run, const Error& error) {
    _start.noteUnreadable(error);
    if (++run.unreadable <= mostLogged) {
        qCWarning(lcRadio, "a packet of vantrel-radio was refused: %s", qUtf8Printable(error.text()));
    }
}

// The process is gone, or will be: says so to whoever waits, and reaps it. Answers false when no other is to be
// started.
bool RadioLink::reap(Run& run) {
    run.socket->shutDown();
    bool stop = wait(-1, run.process.endDescriptor(), reasonTime).stop;
    auto end = run.process.end();
    const QString why = end ? QStringLiteral("vantrel-radio has ended (%1)").arg(end->text())
                            : QStringLiteral("vantrel-radio has closed its socket");
    qCWarning(lcRadio, "%s", qUtf8Printable(why));
    _snapshot.setAbsent();
    _requests.disconnect(why);
    while (!end && !stop) {
        stop = wait(-1, run.process.endDescriptor(), noLimit).stop;
        end = run.process.end();
    }
    return end && !stop && !_start.noteEnd({processName(), end->startFailure()});
}

// The link is closed, or the start has failed: the process gets its time to end, if it has not.
void RadioLink::closeRun(Run& run) {
    _requests.disconnect(QStringLiteral("the Wi-Fi service is closed"));
    run.socket->shutDown();
    const auto deadline = Clock::now() + _options.endTime;
    while (!run.process.end()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (left <= 0ms) {
            qCWarning(lcRadio, "vantrel-radio has not ended within %lld ms, and is left to put the adapter back",
                      static_cast<long long>(_options.endTime.count()));
            return;
        }
        static_cast<void>(wait(-1, run.process.endDescriptor(), left, false));
    }
}

// Nothing when the link is closed.
std::optional<RadioLink::Run> RadioLink::startAgain(Clock::duration lifetime) {
    for (;; lifetime = {}) {
        const auto deadline = Clock::now() + pauseAfter(lifetime);
        for (;;) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
            if (wait(-1, -1, std::max(left, 0ms)).stop) {
                return std::nullopt;
            }
            if (left <= 0ms) {
                break;
            }
        }
        if (auto run = startProcess(_program)) {
            qCInfo(lcRadio, "vantrel-radio is started again");
            _requests.connect(run->socket);
            return std::move(*run);
        } else {
            qCWarning(lcRadio, "%s", qUtf8Printable(run.error().text()));
            _requests.disconnect(run.error().text());
        }
    }
}

std::chrono::milliseconds RadioLink::pauseAfter(Clock::duration lifetime) {
    if (lifetime >= _options.youth) {
        _youngDeaths = 0;
    }
    const int former = _youngDeaths++;
    return former == 0 ? 0ms : _options.restartPause * std::min(1 << std::min(former - 1, 5), 30);
}

// Without a limit when it is negative; a descriptor of -1 is not waited for.
RadioLink::Ready RadioLink::wait(int socket, int process, std::chrono::milliseconds limit, bool heedStop) const {
    std::array<pollfd, 3> wanted{pollfd{.fd = heedStop ? _stopEvent.get() : -1, .events = POLLIN, .revents = 0},
                                 pollfd{.fd = socket, .events = POLLIN, .revents = 0},
                                 pollfd{.fd = process, .events = POLLIN, .revents = 0}};
    if (::poll(wanted.data(), wanted.size(), static_cast<int>(limit.count())) <= 0) {
        return {}; // in time, or interrupted: the caller looks at its deadline
    }
    return {.stop = wanted[0].revents != 0, .packet = wanted[1].revents != 0, .processEnd = wanted[2].revents != 0};
}

} // namespace vantrel
