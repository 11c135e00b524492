#include "services/SingleInstance.h"

#include "RuntimeFolder.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QLocalSocket>
#include <QLoggingCategory>
#include <QThread>
#include <QTimer>
#include <chrono>
#include <fcntl.h>
#include <sys/file.h>

namespace vantrel {

namespace {

Q_LOGGING_CATEGORY(lcInstance, "vantrel.instance")

using namespace std::chrono_literals;

constexpr qsizetype largestMessage = 4096; // bytes, its newline included
constexpr auto claimTime = 5s;             // for all attempts together
constexpr auto answerTime = 2000ms;        // for one step of either side
constexpr auto retryPause = 20ms;          // while the first instance has the lock but does not listen yet

// The lock, or a closed descriptor while another process holds it.
Expected<FileDescriptor> tryLock(const QString& path) {
    FileDescriptor file(::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!file.isOpen()) {
        return errnoFailure(QStringLiteral("open(%1)").arg(path));
    }
    if (::flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK) {
            return FileDescriptor();
        }
        return errnoFailure(QStringLiteral("flock(%1)").arg(path));
    }
    return file;
}

// A message is the token and a newline; a token that no starter would make is left out.
QByteArray messageFor(const QString& token) {
    auto message = token.toUtf8();
    if (message.contains('\n') || message.size() >= largestMessage) {
        message.clear();
    }
    return message + '\n';
}

// Whether the first instance has the message. One that is busy has it in its socket and acts on it later.
bool askForward(const QString& socketPath, const QByteArray& message) {
    constexpr auto wait = static_cast<int>(answerTime.count());
    QLocalSocket socket;
    socket.connectToServer(socketPath);
    if (!socket.waitForConnected(wait)) {
        return false;
    }
    socket.write(message);
    while (socket.bytesToWrite() > 0) {
        if (!socket.waitForBytesWritten(wait)) {
            return false;
        }
    }
    return socket.waitForReadyRead(wait) || socket.error() == QLocalSocket::SocketTimeoutError;
}

} // namespace

SingleInstance::SingleInstance(FileDescriptor lock) : _lock(std::move(lock)) {
    connect(&_server, &QLocalServer::newConnection, this, [this] {
        while (auto* peer = _server.nextPendingConnection()) {
            accept(peer);
        }
    });
}

Expected<std::unique_ptr<SingleInstance>> SingleInstance::claim(const QString& token) {
    const auto folder = runtimeFolder();
    if (!folder) {
        return tl::unexpected(folder.error());
    }
    const auto socketPath = *folder + QStringLiteral("/instance.socket");
    const auto message = messageFor(token);
    // The other instance may be about to listen or about to end, so both ways are tried in turn.
    for (const QDeadlineTimer deadline(claimTime); !deadline.hasExpired(); QThread::msleep(retryPause.count())) {
        auto lock = tryLock(*folder + QStringLiteral("/instance.lock"));
        if (!lock) {
            return tl::unexpected(lock.error());
        }
        if (lock->isOpen()) {
            auto first = std::unique_ptr<SingleInstance>(new SingleInstance(std::move(*lock)));
            if (const auto listening = first->listen(socketPath); !listening) {
                return tl::unexpected(listening.error());
            }
            return first;
        }
        if (askForward(socketPath, message)) {
            return std::unique_ptr<SingleInstance>();
        }
    }
    return failure(QStringLiteral("connect(%1)").arg(socketPath),
                   QStringLiteral("another instance runs, but does not answer"));
}

QString SingleInstance::activationTokenOfThisStart() {
    const auto token = qEnvironmentVariable("XDG_ACTIVATION_TOKEN");
    return token.isEmpty() ? qEnvironmentVariable("DESKTOP_STARTUP_ID") : token;
}

Expected<void> SingleInstance::listen(const QString& socketPath) {
    QLocalServer::removeServer(socketPath); // left by an instance that was killed: we hold the lock
    _server.setSocketOptions(QLocalServer::UserAccessOption);
    if (!_server.listen(socketPath)) {
        return failure(QStringLiteral("listen(%1)").arg(socketPath), _server.errorString());
    }
    return {};
}

void SingleInstance::accept(QLocalSocket* peer) {
    peer->setReadBufferSize(largestMessage);
    connect(peer, &QLocalSocket::disconnected, peer, &QObject::deleteLater);
    connect(peer, &QLocalSocket::readyRead, this, [this, peer] { receive(peer); });
    QTimer::singleShot(answerTime, peer, [peer] { peer->abort(); });
    receive(peer); // what came before the connections above
}

void SingleInstance::receive(QLocalSocket* peer) {
    if (!peer->canReadLine()) {
        if (peer->bytesAvailable() >= largestMessage) {
            qCWarning(lcInstance, "a message longer than %d bytes was refused", static_cast<int>(largestMessage));
            peer->abort();
        }
        return;
    }
    const auto token = QString::fromUtf8(peer->readLine().chopped(1));
    disconnect(peer, &QLocalSocket::readyRead, this, nullptr); // one message each
    peer->write("\n");
    peer->disconnectFromServer();
    Q_EMIT activationRequested(token);
}

} // namespace vantrel
