#include "wifi/NetworkSetupTool.h"

#include "WiFiTexts.h"

#include <QFile>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace vantrel {

namespace {

// Where the child's standard streams lead.
class Silence {
public:
    Silence() {
        ::posix_spawn_file_actions_init(&_actions);
        ::posix_spawn_file_actions_addopen(&_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        ::posix_spawn_file_actions_addopen(&_actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        ::posix_spawn_file_actions_adddup2(&_actions, STDOUT_FILENO, STDERR_FILENO);
    }
    ~Silence() { ::posix_spawn_file_actions_destroy(&_actions); }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;
    [[nodiscard]] const posix_spawn_file_actions_t* get() const { return &_actions; }

private:
    posix_spawn_file_actions_t _actions{};
};

bool endedWell(pid_t child) {
    int status = 0;
    pid_t reaped = 0;
    do {
        reaped = ::waitpid(child, &status, 0);
    } while (reaped < 0 && errno == EINTR);
    return reaped == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace

NetworkSetupTool::NetworkSetupTool(QString path) : _path(std::move(path)) {}

QString NetworkSetupTool::systemPath() {
    return QFile::decodeName(QByteArray::fromBase64(texts::networkSetupTool, QByteArray::Base64Encoding));
}

bool NetworkSetupTool::powerDown(const QString& interfaceName) const {
    return run(interfaceName, QStringLiteral("off"));
}

bool NetworkSetupTool::powerUp(const QString& interfaceName) const { return run(interfaceName, QStringLiteral("on")); }

// By posix_spawn, because the calling thread may have no event loop.
bool NetworkSetupTool::run(const QString& interfaceName, const QString& power) const {
    if (!QFile::exists(_path)) {
        return false;
    }
    QByteArray tool = QFile::encodeName(_path);
    QByteArray option = QString(texts::setAirportPower).toLocal8Bit();
    QByteArray name = interfaceName.toLocal8Bit();
    QByteArray wanted = power.toLocal8Bit();
    const std::array<char*, 5> arguments{tool.data(), option.data(), name.data(), wanted.data(), nullptr};
    const Silence silence;
    pid_t child = 0;
    if (::posix_spawn(&child, tool.constData(), silence.get(), nullptr, arguments.data(), environ) != 0) {
        return false;
    }
    return endedWell(child);
}

} // namespace vantrel
