// Starts a program in a process of its own; what becomes of the process is ChildProcess's.
#pragma once

#include "base/ChildProcess.h"
#include "base/FileDescriptor.h"

#include <QLoggingCategory>
#include <sys/types.h>

namespace vantrel {

Q_DECLARE_LOGGING_CATEGORY(lcChild)

struct LaunchedChild {
    pid_t process = 0;     // also the number of its group; not waited for yet
    FileDescriptor output; // where its standard output is read
    FileDescriptor errors; // where its standard error is read; closed unless it is captured
};

// Any thread. Returns once the program runs: an error when it cannot be executed.
[[nodiscard]] Expected<LaunchedChild> launch(const ChildCommand& command);

// Waits for a process that has ended or is about to; the exit status or the signal's number, -1 when there is none.
int reap(pid_t process);

} // namespace vantrel
