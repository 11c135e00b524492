// The requests on their way to vantrel-radio, and the threads that wait for their answers.
//
// Requests may be made on any thread but the one that reads the answers; that one connects, answers and disconnects.
#pragma once

#include "protocol/PacketSocket.h"

#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>

namespace vantrel {

class RadioRequests {
public:
    struct Answer {
        QString result;
        std::uint64_t run = 0; // of the process: counts its starts
    };

    explicit RadioRequests(std::chrono::milliseconds answerTime);

    // Sends the request and waits for its answer. Errors name what failed in the process, else `what`. A monitor mode
    // whose beginning is no longer waited for is ended again.
    [[nodiscard]] Expected<Answer> ask(const QString& what, const protocol::Message& request);

    // The same, if the process still is that of the run; else nothing is sent, and all is well.
    [[nodiscard]] Expected<void> askInRun(std::uint64_t run, const QString& what, const protocol::Message& request);

    // From now on requests go there. Whoever connects reads it.
    void connect(std::shared_ptr<protocol::PacketSocket> socket);

    // The answer of that number; of one that nobody waits for any more, nothing.
    void answer(std::uint32_t number, const protocol::Done& done);

    // Every request that waits fails for this reason, as do those that come before the next connect().
    void disconnect(const QString& why);

private:
    struct Pending {
        std::uint32_t number = 0;
        std::uint64_t run = 0;
        std::shared_ptr<protocol::PacketSocket> socket;
    };
    [[nodiscard]] Pending enter(); // _mutex is held
    [[nodiscard]] Expected<Answer> exchange(const Pending& pending, const QString& what,
                                            const protocol::Message& request);
    [[nodiscard]] Expected<void> send(const Pending& pending, const protocol::Message& request);

    const std::chrono::milliseconds _answerTime;
    std::mutex _sendMutex; // one thread sends at a time; never taken while _mutex is held
    std::mutex _mutex;
    std::condition_variable _answered;
    std::shared_ptr<protocol::PacketSocket> _socket;                 // guarded by _mutex; empty while not connected
    QString _whyNot;                                                 // guarded by _mutex: why it is not
    std::uint64_t _run = 0;                                          // guarded by _mutex
    std::uint32_t _lastNumber = 0;                                   // guarded by _mutex
    std::map<std::uint32_t, std::optional<protocol::Done>> _awaited; // guarded by _mutex
};

} // namespace vantrel
