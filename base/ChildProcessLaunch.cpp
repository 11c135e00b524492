#include "ChildProcessLaunch.h"

#include <QFile>
#include <QLoggingCategory>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <fcntl.h>
#include <linux/capability.h>
#include <linux/close_range.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace vantrel {

Q_LOGGING_CATEGORY(lcChild, "vantrel.child")

namespace {

// Everything that execve(2) needs, made before the fork: the child may allocate nothing.
class Words {
public:
    void append(const QByteArray& word) { _words.push_back(word); }
    // Valid until the next append().
    [[nodiscard]] char* const* get() {
        _pointers.clear();
        for (QByteArray& word : _words) {
            _pointers.push_back(word.data());
        }
        _pointers.push_back(nullptr);
        return _pointers.data();
    }

private:
    std::vector<QByteArray> _words;
    std::vector<char*> _pointers;
};

struct Plan {
    const char* program = nullptr;
    char* const* arguments = nullptr;
    char* const* environment = nullptr;
    int input = -1;
    int output = -1;
    int errors = -1;  // -1: ours
    int failure = -1; // where a Failure is written; closed by the execution of the program
};

struct Failure {
    const char* call = nullptr; // valid in both processes, which are copies of each other
    int error = 0;
};

struct Pipe {
    FileDescriptor reader;
    FileDescriptor writer;
};

// Above the standard streams, also when ours are closed: the child puts others in their place.
Expected<FileDescriptor> raised(FileDescriptor descriptor) {
    if (descriptor.get() > STDERR_FILENO) {
        return descriptor;
    }
    FileDescriptor higher(::fcntl(descriptor.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    if (!higher.isOpen()) {
        return errnoFailure(QStringLiteral("fcntl"));
    }
    return higher;
}

Expected<Pipe> makePipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return errnoFailure(QStringLiteral("pipe2"));
    }
    auto reader = raised(FileDescriptor(ends[0]));
    auto writer = raised(FileDescriptor(ends[1]));
    if (!reader || !writer) {
        return tl::unexpected(reader ? writer.error() : reader.error());
    }
    return Pipe{std::move(*reader), std::move(*writer)};
}

Expected<FileDescriptor> openNothing() {
    FileDescriptor nothing(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    if (!nothing.isOpen()) {
        return errnoFailure(QStringLiteral("open /dev/null"));
    }
    return raised(std::move(nothing));
}

// From here to becomeProgram(): in the child, between fork(2) and execve(2). Only async-signal-safe calls.

bool clearInheritedCapabilities() {
    if (::prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_CLEAR_ALL, 0, 0, 0) != 0) {
        return false;
    }
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> sets{};
    if (::syscall(SYS_capget, &header, sets.data()) != 0) {
        return false;
    }
    for (auto& set : sets) {
        set.inheritable = 0;
    }
    return ::syscall(SYS_capset, &header, sets.data()) == 0;
}

// The call that failed; it returns only then.
const char* becomeProgram(const Plan& plan) {
    if (::setpgid(0, 0) != 0) {
        return "setpgid";
    }
    if (::dup2(plan.input, STDIN_FILENO) < 0 || ::dup2(plan.output, STDOUT_FILENO) < 0 ||
        (plan.errors >= 0 && ::dup2(plan.errors, STDERR_FILENO) < 0)) {
        return "dup2";
    }
    // Not closed at once: the pipe of the failure is needed until the program runs.
    if (::close_range(STDERR_FILENO + 1, UINT_MAX, CLOSE_RANGE_CLOEXEC) != 0) {
        return "close_range";
    }
    if (!clearInheritedCapabilities()) {
        return "clearing the capabilities";
    }
    for (int signal = 1; signal < NSIG; ++signal) {
        ::signal(signal, SIG_DFL); // refused for a few, which cannot be caught either
    }
    sigset_t none;
    ::sigemptyset(&none);
    if (::sigprocmask(SIG_SETMASK, &none, nullptr) != 0) {
        return "sigprocmask";
    }
    ::execve(plan.program, plan.arguments, plan.environment);
    return "execve";
}

[[noreturn]] void runChild(const Plan& plan) {
    Failure failed;
    failed.call = becomeProgram(plan);
    failed.error = errno;
    static_cast<void>(!::write(plan.failure, &failed, sizeof failed)); // nobody is left to tell
    ::_exit(127);
}

// In the parent again.

// A handler of ours that ran in the child would speak through descriptors that are still shared.
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &_before);
    }
    ~SignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &_before, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t _before{};
};

Expected<pid_t> forkChild(const Plan& plan) {
    const SignalsBlocked blocked;
    const pid_t process = ::fork();
    if (process == 0) {
        runChild(plan);
    }
    if (process < 0) {
        return errnoFailure(QStringLiteral("fork"));
    }
    return process;
}

// Waits until the program runs or could not be executed.
Expected<void> programStarted(int failurePipe, const QString& program) {
    Failure failed;
    ssize_t got = 0;
    do {
        got = ::read(failurePipe, &failed, sizeof failed);
    } while (got < 0 && errno == EINTR);
    if (got != static_cast<ssize_t>(sizeof failed)) {
        return {}; // closed by the execution, or by the child's end, which is told as any other end
    }
    errno = failed.error;
    return errnoFailure(QString::fromLatin1(failed.call) + QLatin1Char(' ') + program);
}

// Ignored, as some launchers leave it to us, SIGCHLD would have the kernel throw exit statuses away.
void keepExitStatuses() {
    struct sigaction action {};
    if (::sigaction(SIGCHLD, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) {
        ::signal(SIGCHLD, SIG_DFL);
    }
}

} // namespace

Expected<LaunchedChild> launch(const ChildCommand& command) {
    keepExitStatuses();
    const bool captures = command.errors == ChildCommand::Errors::Captured;
    auto input = openNothing();
    auto output = makePipe();
    auto errors = captures ? makePipe() : Expected<Pipe>();
    auto failing = makePipe();
    for (const Error* error : {input ? nullptr : &input.error(), output ? nullptr : &output.error(),
                               errors ? nullptr : &errors.error(), failing ? nullptr : &failing.error()}) {
        if (error != nullptr) {
            return tl::unexpected(*error);
        }
    }
    const QByteArray program = QFile::encodeName(command.program);
    Words arguments;
    arguments.append(program);
    for (const QString& argument : command.arguments) {
        arguments.append(QFile::encodeName(argument));
    }
    Words environment;
    for (const QString& variable : command.environment.value_or(QStringList())) {
        environment.append(variable.toLocal8Bit());
    }
    const auto process = forkChild({.program = program.constData(),
                                    .arguments = arguments.get(),
                                    .environment = command.environment ? environment.get() : environ,
                                    .input = input->get(),
                                    .output = output->writer.get(),
                                    .errors = captures ? errors->writer.get() : -1,
                                    .failure = failing->writer.get()});
    if (!process) {
        return tl::unexpected(process.error());
    }
    failing->writer.reset();
    if (const auto started = programStarted(failing->reader.get(), command.program); !started) {
        reap(*process);
        return tl::unexpected(started.error());
    }
    return LaunchedChild{.process = *process, .output = std::move(output->reader), .errors = std::move(errors->reader)};
}

int reap(pid_t process) {
    siginfo_t ended{};
    int answer = 0;
    do {
        answer = ::waitid(P_PID, static_cast<id_t>(process), &ended, WEXITED);
    } while (answer != 0 && errno == EINTR);
    if (answer != 0) {
        const Error error = Error::fromErrno(QStringLiteral("waitid"));
        qCWarning(lcChild, "waitid() failed: %s", qUtf8Printable(error.why));
        return -1;
    }
    return ended.si_status;
}

} // namespace vantrel
