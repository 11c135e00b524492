#include "RadioProcess.h"

#include "Logging.h"

#include <QFile>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vantrel {

namespace {

constexpr int itsDescriptor = 3;
// The exit statuses of vantrel-radio that say why there is no adapter.
constexpr int noWiFi = 3;
constexpr int notOwner = 4;

struct FileActionsDeleter {
    void operator()(posix_spawn_file_actions_t* actions) const {
        ::posix_spawn_file_actions_destroy(actions);
        delete actions;
    }
};
using FileActions = std::unique_ptr<posix_spawn_file_actions_t, FileActionsDeleter>;

struct AttributesDeleter {
    void operator()(posix_spawnattr_t* attributes) const {
        ::posix_spawnattr_destroy(attributes);
        delete attributes;
    }
};
using Attributes = std::unique_ptr<posix_spawnattr_t, AttributesDeleter>;

// These calls answer with the error's number; the first that fails counts.
class FirstError {
public:
    void note(int error) {
        if (_error == 0) {
            _error = error;
        }
    }
    [[nodiscard]] int number() const { return _error; }

private:
    int _error = 0;
};

// In this order: the end may stand at any number, that of the standard input included.
FileActions fileActions(int itsEnd, FirstError& error) {
    FileActions actions(new posix_spawn_file_actions_t);
    error.note(::posix_spawn_file_actions_init(actions.get()));
    error.note(::posix_spawn_file_actions_adddup2(actions.get(), itsEnd, itsDescriptor));
    error.note(::posix_spawn_file_actions_addopen(actions.get(), STDIN_FILENO, "/dev/null", O_RDONLY, 0));
    error.note(::posix_spawn_file_actions_addclosefrom_np(actions.get(), itsDescriptor + 1));
    return actions;
}

// What a thread of ours has blocked, or the program ignores, must not hold for the process.
Attributes attributes(FirstError& error) {
    Attributes made(new posix_spawnattr_t);
    error.note(::posix_spawnattr_init(made.get()));
    sigset_t signals;
    ::sigemptyset(&signals);
    error.note(::posix_spawnattr_setsigmask(made.get(), &signals));
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGPIPE, SIGCHLD}) {
        ::sigaddset(&signals, signal);
    }
    error.note(::posix_spawnattr_setsigdefault(made.get(), &signals));
    error.note(
        ::posix_spawnattr_setflags(made.get(), POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF));
    return made;
}

// The array that exec takes; it borrows the texts.
std::vector<char*> pointers(const std::vector<std::string>& texts) {
    std::vector<char*> array;
    array.reserve(texts.size() + 1);
    for (const auto& text : texts) {
        array.push_back(const_cast<char*>(text.c_str()));
    }
    array.push_back(nullptr);
    return array;
}

} // namespace

RadioProgram RadioProgram::withThisEnvironment(const QString& path, const QStringList& arguments) {
    RadioProgram program;
    program.path = QFile::encodeName(path).toStdString();
    for (const auto& argument : arguments) {
        program.arguments.push_back(QFile::encodeName(argument).toStdString());
    }
    for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
        program.environment.emplace_back(*variable);
    }
    return program;
}

QString ProcessEnd::text() const {
    if (WIFSIGNALED(_waitStatus)) {
        const int signal = WTERMSIG(_waitStatus);
        return QStringLiteral("signal %1, %2").arg(signal).arg(QString::fromLocal8Bit(::strsignal(signal)));
    }
    return QStringLiteral("exit status %1").arg(WEXITSTATUS(_waitStatus));
}

QString ProcessEnd::startFailure() const {
    const int status = WIFEXITED(_waitStatus) ? WEXITSTATUS(_waitStatus) : -1;
    if (status == noWiFi) {
        return QStringLiteral("this machine has no Wi-Fi the kernel can configure");
    }
    if (status == notOwner) {
        return QStringLiteral("another vantrel-radio drives the adapter");
    }
    return QStringLiteral("it ended at once (%1)").arg(text());
}

Expected<RadioProcess> RadioProcess::start(const RadioProgram& program, int itsEnd) {
    const auto call = QStringLiteral("posix_spawn(%1)").arg(QFile::decodeName(program.path.c_str()));
    FirstError error;
    const auto actions = fileActions(itsEnd, error);
    const auto attributesOfIt = attributes(error);
    auto words = program.arguments;
    words.insert(words.begin(), program.path);
    pid_t id = 0;
    if (error.number() == 0) {
        error.note(::posix_spawn(&id, program.path.c_str(), actions.get(), attributesOfIt.get(), pointers(words).data(),
                                 pointers(program.environment).data()));
    }
    if (error.number() != 0) {
        errno = error.number();
        return errnoFailure(call);
    }
    // The C library of Debian 12 declares pidfd_open() for C alone. The descriptor is closed by exec.
    FileDescriptor pidfd(static_cast<int>(::syscall(SYS_pidfd_open, id, 0U)));
    if (!pidfd.isOpen()) {
        return errnoFailure(QStringLiteral("pidfd_open")); // the end of its socket, which comes now, ends it
    }
    return RadioProcess(id, std::move(pidfd));
}

std::optional<ProcessEnd> RadioProcess::end() {
    if (_end) {
        return _end;
    }
    int status = 0;
    pid_t reaped = 0;
    do {
        reaped = ::waitpid(_id, &status, WNOHANG);
    } while (reaped < 0 && errno == EINTR);
    if (reaped < 0) {
        // Somebody else in this program reaped it, and its status is lost.
        const Error error = Error::fromErrno(QStringLiteral("waitpid"));
        qCWarning(lcRadio, "waitpid failed: %s", qUtf8Printable(error.why));
        status = 0;
    }
    if (reaped != 0) {
        _end = ProcessEnd(status);
    }
    return _end;
}

} // namespace vantrel
