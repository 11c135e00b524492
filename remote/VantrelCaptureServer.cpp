#include "remote/VantrelCaptureServer.h"

#include "Assertion.h"
#include "CaptureTurn.h"
#include "RemoteTexts.h"
#include "SocketStreams.h"
#include "remote/CaptureControls.h"
#include "remote/VantrelCaptureConnection.h"
#include "wifi/HopLoop.h"

#include <QSocketNotifier>
#include <algorithm>
#include <cerrno>
#include <netinet/in.h>
#include <sys/socket.h>
#include <utility>

namespace vantrel {

namespace {

using namespace std::chrono_literals;

constexpr char sourceFile[] = "VantrelCaptureServer";
constexpr int waitingClients = 256;
constexpr auto descriptorPause = 500ms;

sockaddr_in loopbackAddress() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = 0; // the system's choice
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

// Whether it is the machine that cannot take the client now, and not the client that has gone.
bool isShortage(int error) { return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM; }

} // namespace

VantrelCaptureServer::VantrelCaptureServer(Surroundings surroundings)
    : _around(std::move(surroundings)),
      _turn(std::make_unique<CaptureTurn>()),
      _clock(makeSteadyClock()) {
    _acceptAgain.setSingleShot(true);
    _acceptAgain.setInterval(descriptorPause);
    connect(&_acceptAgain, &QTimer::timeout, this, [this] { _clients->setEnabled(true); });
}

VantrelCaptureServer::~VantrelCaptureServer() {
    stop();
    waitUntilCapturesEnded();
}

bool VantrelCaptureServer::start() {
    assertThat(!_serverSock.isOpen(), "_serverSock == NULL", {"-[VantrelCaptureServer start]", sourceFile});
    if (!listenOnLoopback()) {
        stop();
        return false;
    }
    readPort();
    watchSocket();
    assertThat(_port > 0 && _port < 65536, "self.port > 0 && self.port < 65536",
               {"-[VantrelCaptureServer start]", sourceFile});
    setNetService(_around.makeNetService({.domain = texts::serviceDomain,
                                          .type = texts::serviceType,
                                          .name = QString(),
                                          .port = static_cast<std::uint16_t>(_port)}));
    _netService->publish();
    return true;
}

bool VantrelCaptureServer::listenOnLoopback() {
    _serverSock = FileDescriptor(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!_serverSock.isOpen()) {
        return false;
    }
    const std::int32_t on = 1;
    ::setsockopt(_serverSock.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    const sockaddr_in address = loopbackAddress();
    return ::bind(_serverSock.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
           ::listen(_serverSock.get(), waitingClients) == 0;
}

void VantrelCaptureServer::readPort() {
    sockaddr_in address{};
    socklen_t length = sizeof address;
    ::getsockname(_serverSock.get(), reinterpret_cast<sockaddr*>(&address), &length);
    assertThat(length == sizeof address, "[addr length] == sizeof(struct sockaddr_in)",
               {"-[VantrelCaptureServer start]", sourceFile});
    setPort(ntohs(address.sin_port));
}

void VantrelCaptureServer::watchSocket() {
    _clients = std::make_unique<QSocketNotifier>(_serverSock.get(), QSocketNotifier::Read);
    connect(_clients.get(), &QSocketNotifier::activated, this, [this] { clientWaits(); });
}

void VantrelCaptureServer::stop() {
    if (_netService) {
        _netService->stop();
        _netService.reset();
    }
    const Connections open = _connections;
    for (const auto& connection : open) {
        connection->close();
    }
    _acceptAgain.stop();
    _clients.reset();
    _serverSock.reset();
}

// One at a time, so that a crowd of clients does not hold up whatever else the main thread has to do.
void VantrelCaptureServer::clientWaits() {
    const int descriptor = ::accept4(_serverSock.get(), nullptr, nullptr, SOCK_CLOEXEC);
    if (descriptor >= 0) {
        VantrelCaptureServerAcceptCallBack(_serverSock.get(), descriptor, *this);
    } else if (isShortage(errno)) {
        const Error error = Error::fromErrno(QStringLiteral("accept4"));
        qCWarning(lcRemote, "accept4 failed: %s", qUtf8Printable(error.why));
        _clients->setEnabled(false); // the client still waits, and would be announced again and again
        _acceptAgain.start();
    }
}

// NOLINTNEXTLINE(readability-identifier-naming)
void VantrelCaptureServerAcceptCallBack(int socket, int descriptor, VantrelCaptureServer& server) {
    assertThat(socket == server._serverSock.get(), "socket == server->_serverSock",
               {"VantrelCaptureServerAcceptCallBack", sourceFile});
    server.acceptConnection(descriptor);
}

void VantrelCaptureServer::acceptConnection(int descriptor) {
    FileDescriptor client(descriptor);
    if (!_connections.empty() || _around.controls.isCapturing()) {
        return;
    }
    auto streams = makeStreamPair(std::move(client));
    if (!streams) {
        qCWarning(lcRemote, "%s failed: %s", qUtf8Printable(streams.error().what), qUtf8Printable(streams.error().why));
        return;
    }
    const std::shared_ptr<VantrelCaptureConnection> connection =
        VantrelCaptureConnection::initWithInputStream(std::move(streams->input), std::move(streams->output),
                                                      {.airport = _around.airport,
                                                       .controls = _around.controls,
                                                       .turn = *_turn,
                                                       .clock = *_clock,
                                                       .startCaptureThread = _around.startCaptureThread});
    _connections.insert(connection);
    connection->open();
    connect(connection.get(), &VantrelCaptureConnection::VantrelCaptureConnectionDidCloseNotification, this,
            &VantrelCaptureServer::vantrelCaptureConnectionDidCloseNotification);
    // Later, since a connection does not outlive its own signal otherwise.
    connect(connection.get(), &VantrelCaptureConnection::captureDidEnd, this, &VantrelCaptureServer::removeEnded,
            Qt::QueuedConnection);
}

void VantrelCaptureServer::vantrelCaptureConnectionDidCloseNotification(QObject* object) {
    auto* connection = qobject_cast<VantrelCaptureConnection*>(object);
    assertThat(connection != nullptr, "[connection isKindOfClass:[VantrelCaptureConnection class]]",
               {"-[VantrelCaptureServer vantrelCaptureConnectionDidCloseNotification:]", sourceFile});
    disconnect(connection, &VantrelCaptureConnection::VantrelCaptureConnectionDidCloseNotification, this, nullptr);
    const auto found = std::ranges::find(_connections, connection, &Connections::value_type::get);
    if (found != _connections.end()) {
        _ending.insert(_connections.extract(found));
        QMetaObject::invokeMethod(this, &VantrelCaptureServer::removeEnded, Qt::QueuedConnection);
    }
}

void VantrelCaptureServer::removeEnded() {
    std::erase_if(_ending, [](const auto& connection) { return connection->isCaptureOver(); });
}

// Destroying a connection waits for its capture.
void VantrelCaptureServer::waitUntilCapturesEnded() { _ending.clear(); }

} // namespace vantrel
