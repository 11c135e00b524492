#include "RadioRequests.h"

#include "Logging.h"

namespace vantrel {

namespace {

using namespace std::chrono_literals;

// After a send that failed: for the reading thread to notice why.
constexpr auto noticeTime = 2000ms;

} // namespace

RadioRequests::RadioRequests(std::chrono::milliseconds answerTime) : _answerTime(answerTime) {}

Expected<RadioRequests::Answer> RadioRequests::ask(const QString& what, const protocol::Message& request) {
    std::unique_lock lock(_mutex);
    if (!_socket) {
        return failure(what, _whyNot);
    }
    const Pending pending = enter();
    lock.unlock();
    return exchange(pending, what, request);
}

Expected<void> RadioRequests::askInRun(std::uint64_t run, const QString& what, const protocol::Message& request) {
    std::unique_lock lock(_mutex);
    if (!_socket || _run != run) {
        return {};
    }
    const Pending pending = enter();
    lock.unlock();
    return exchange(pending, what, request).map([](const Answer&) {});
}

void RadioRequests::connect(std::shared_ptr<protocol::PacketSocket> socket) {
    const std::lock_guard lock(_mutex);
    _socket = std::move(socket);
    ++_run;
}

void RadioRequests::answer(std::uint32_t number, const protocol::Done& done) {
    {
        const std::lock_guard lock(_mutex);
        const auto awaited = _awaited.find(number);
        if (awaited == _awaited.end() || awaited->second) {
            qCDebug(lcRadio, "an answer that nobody waits for: %u", number);
            return;
        }
        awaited->second = done;
    }
    _answered.notify_all();
}

void RadioRequests::disconnect(const QString& why) {
    {
        const std::lock_guard lock(_mutex);
        _socket.reset();
        _whyNot = why;
        for (auto& [number, done] : _awaited) {
            if (!done) {
                done = protocol::Done{.what = {}, .why = why, .result = {}};
            }
        }
    }
    _answered.notify_all();
}

RadioRequests::Pending RadioRequests::enter() {
    do {
        ++_lastNumber;
    } while (_lastNumber == 0 || _awaited.contains(_lastNumber)); // 0 is that of announcements
    _awaited.emplace(_lastNumber, std::nullopt);
    return {_lastNumber, _run, _socket};
}

Expected<RadioRequests::Answer> RadioRequests::exchange(const Pending& pending, const QString& what,
                                                        const protocol::Message& request) {
    const auto sent = send(pending, request);
    std::unique_lock lock(_mutex);
    _answered.wait_for(lock, sent ? _answerTime : noticeTime,
                       [this, &pending] { return _awaited.at(pending.number).has_value(); });
    const auto done = std::move(_awaited.extract(pending.number).mapped());
    lock.unlock();
    if (!done) {
        if (std::holds_alternative<protocol::BeginMonitor>(request)) {
            // It may still begin, and would be nobody's. The process does one thing after the other.
            static_cast<void>(send({0, pending.run, pending.socket}, protocol::EndMonitor{}));
        }
        return sent ? failure(what,
                              QStringLiteral("vantrel-radio has not answered within %1 ms").arg(_answerTime.count()))
                    : failure(what, sent.error().text());
    }
    if (!done->what.isEmpty() || !done->why.isEmpty()) {
        return failure(done->what.isEmpty() ? what : done->what, done->why);
    }
    return Answer{done->result, pending.run};
}

Expected<void> RadioRequests::send(const Pending& pending, const protocol::Message& request) {
    const std::lock_guard lock(_sendMutex);
    return pending.socket->send({pending.number, request});
}

} // namespace vantrel
