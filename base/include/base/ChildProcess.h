// One child process with pipes for what it prints.
//
// The child is the leader of a process group of its own, so that it can be ended together with what it has started. It
// inherits no descriptor but its three standard streams, no blocked, caught or ignored signal, and none of our ambient
// or inheritable capabilities. Its working directory is ours.
#pragma once

#include "base/Error.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <chrono>
#include <memory>
#include <optional>

namespace vantrel {

struct ChildCommand {
    enum class Errors { Inherited, Captured };

    QString program; // an absolute path
    QStringList arguments = {};
    std::optional<QStringList> environment = {}; // "NAME=value" each, and nothing else; ours when it is empty
    Errors errors = Errors::Inherited;           // where the child's standard error goes
    // How long the child may go on after it was asked to end, and how long its pipes are read on after it has ended
    // while something that it left behind holds them open.
    std::chrono::milliseconds grace{3000};
};

struct ChildResult {
    QByteArray output;
    QByteArray errors; // empty unless they were captured
    int status = 0;    // the exit status, or the number of the signal that ended the child; -1 when it is not known
    [[nodiscard]] bool succeeded() const { return status == 0; }
};

class ChildProcess {
public:
    // Any thread. Standard input is empty. An error when the program does not exist or may not be executed, or when
    // the system has no process or descriptor left.
    [[nodiscard]] static Expected<std::unique_ptr<ChildProcess>> start(const ChildCommand& command);
    // Kills a child that was not waited for, with its group. No thread may be inside the other operations.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // Any thread, once; blocks. Reads both pipes at the same time to their end and waits for the child. What the child
    // left running stays so, unless terminate() was called.
    [[nodiscard]] ChildResult waitUntilExit();

    // Any thread, any time; returns at once. Asks the child's group to end (SIGTERM), and has waitUntilExit() kill it
    // when it has not ended within the grace. Nothing when the child was already waited for.
    void terminate();

private:
    class Private;
    explicit ChildProcess(std::unique_ptr<Private> inner);
    const std::unique_ptr<Private> _inner;
};

} // namespace vantrel
