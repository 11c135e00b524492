// One run of vantrel-radio: started, watched for its end, and reaped; never killed, since it may be putting the adapter
// back.
//
// One thread at a time. No handler of SIGCHLD is involved, so that the rest of the program may have its own children.
#pragma once

#include "base/Error.h"
#include "base/FileDescriptor.h"

#include <QStringList>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace vantrel {

// What to run; taken once, since the environment may be read in the thread that starts the process again.
struct RadioProgram {
    std::string path;
    std::vector<std::string> arguments; // without the program's own name
    std::vector<std::string> environment;

    [[nodiscard]] static RadioProgram withThisEnvironment(const QString& path, const QStringList& arguments);
};

// How a process ended: as waitpid() tells it.
class ProcessEnd {
public:
    explicit ProcessEnd(int waitStatus) : _waitStatus(waitStatus) {}

    // "exit status 5" or "signal 9, Killed"
    [[nodiscard]] QString text() const;
    // Why there is no adapter when the process ended before it said anything.
    [[nodiscard]] QString startFailure() const;

private:
    int _waitStatus;
};

class RadioProcess {
public:
    // The process leads a session of its own, so that the terminal's Ctrl+C is not meant for it; it has the descriptor
    // `itsEnd` as its 3, our standard output and error, no input, and nothing else of ours. Fails as posix_spawn()
    // fails.
    [[nodiscard]] static Expected<RadioProcess> start(const RadioProgram& program, int itsEnd);

    // Readable once the process has ended.
    [[nodiscard]] int endDescriptor() const { return _pidfd.get(); }

    // Reaps it; nothing while it still runs.
    [[nodiscard]] std::optional<ProcessEnd> end();

private:
    RadioProcess(pid_t id, FileDescriptor pidfd) : _id(id), _pidfd(std::move(pidfd)) {}

    pid_t _id;
    FileDescriptor _pidfd;
    std::optional<ProcessEnd> _end; // once it was reaped
};

} // namespace vantrel
