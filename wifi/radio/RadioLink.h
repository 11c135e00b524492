// The life of vantrel-radio as the application sees it: started, listened to, and started again when it dies.
//
// One thread reads what every run of the process says, reaps it and starts the next; it begins with the object and is
// joined by close(). Everything else may be called on any thread.
#pragma once

#include "RadioProcess.h"
#include "RadioRequests.h"
#include "RadioSnapshot.h"
#include "RadioStart.h"
#include "radio/RadioClient.h"

#include <atomic>
#include <thread>

namespace vantrel {

class RadioLink {
public:
    // Starts the process and waits for its first announcement, as makeRadioClient() says.
    [[nodiscard]] static Expected<std::shared_ptr<RadioLink>> start(const RadioOptions& options);
    ~RadioLink() { close(); }
    RadioLink(const RadioLink&) = delete;
    RadioLink& operator=(const RadioLink&) = delete;

    [[nodiscard]] RadioSnapshot& snapshot() { return _snapshot; }

    // As RadioRequests has them; an error on the reading thread, which alone could hear the answer.
    [[nodiscard]] Expected<RadioRequests::Answer> ask(const QString& what, const protocol::Message& request);
    [[nodiscard]] Expected<void> askInRun(std::uint64_t run, const QString& what, const protocol::Message& request);

    // One thread. Fails what waits, closes the socket and waits for the process, at most `endTime`.
    void close();

private:
    using Clock = std::chrono::steady_clock;

    struct Run {
        RadioProcess process;
        std::shared_ptr<protocol::PacketSocket> socket;
        Clock::time_point began;
        int unreadable = 0; // packets so far
    };
    struct Ready {
        bool stop = false;
        bool packet = false;
        bool processEnd = false;
    };

    RadioLink(const RadioOptions& options, RadioProgram program, FileDescriptor stopEvent);
    [[nodiscard]] static Expected<Run> startProcess(const RadioProgram& program);
    [[nodiscard]] bool isReader() const { return _reader == std::this_thread::get_id(); }

    // The reading thread's.
    void readRuns(Run run);
    [[nodiscard]] bool listen(Run& run);
    [[nodiscard]] bool readPacket(Run& run);
    void take(Run& run, const protocol::Packet& packet);
    void refuse(Run& run, const Error& error);
    [[nodiscard]] bool reap(Run& run);
    void closeRun(Run& run);
    [[nodiscard]] std::optional<Run> startAgain(Clock::duration lifetime);
    [[nodiscard]] std::chrono::milliseconds pauseAfter(Clock::duration lifetime);
    [[nodiscard]] Ready wait(int socket, int process, std::chrono::milliseconds limit, bool heedStop = true) const;

    const RadioOptions _options;
    const RadioProgram _program;
    const FileDescriptor _stopEvent; // an eventfd: readable once close() was called
    RadioSnapshot _snapshot;
    RadioRequests _requests;
    RadioStart _start;
    std::atomic<std::thread::id> _reader;
    int _youngDeaths = 0; // the reading thread's: in a row
    std::thread _thread;  // last: runs on the members above
};

} // namespace vantrel
