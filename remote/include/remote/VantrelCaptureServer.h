// Listens for clients of the loopback feed, on a port of 127.0.0.1 that the system chooses, and announces that port.
//
// One client is served at a time, and none while the user's own capture runs; any other sees its connection closed.
// Whoever offers the feed makes one server, starts it, and stops it before the event loop ends. Main thread.
#pragma once

#include "base/FileDescriptor.h"
#include "base/ThreadStarter.h"
#include "remote/NetService.h"

#include <QObject>
#include <QTimer>
#include <memory>
#include <set>

class QSocketNotifier;

namespace vantrel {

class CaptureControls;
class CaptureTurn;
class CWInterface;
class HopClock;
class VantrelCaptureConnection;

class VantrelCaptureServer final : public QObject {
    Q_OBJECT

public:
    using Connections = std::set<std::shared_ptr<VantrelCaptureConnection>>;

    // All of it is borrowed and outlives the server.
    struct Surroundings {
        CWInterface& airport; // of the default adapter
        CaptureControls& controls;
        NetServiceMaker makeNetService = makeAvahiService;
        ThreadStarter startCaptureThread = startOrdinaryThread; // of the threads that run libpcap
    };

    explicit VantrelCaptureServer(Surroundings surroundings);
    // Stops, and waits until the adapter is back where its captures found it.
    ~VantrelCaptureServer() override;

    // Listens and announces itself; false, and stopped, when there is no socket to be had. Not while started, which
    // stops the program.
    [[nodiscard]] bool start();
    // Withdraws the announcement, closes the connections and stops to listen; nothing happens when it is stopped. The
    // captures end by themselves.
    void stop();
    // Waits until the captures of closed connections have ended, with the adapter back; at the most as long as the
    // adapter takes for that.
    void waitUntilCapturesEnded();

    // Takes the connected socket of a client: serves it, or closes it at once.
    void acceptConnection(int descriptor);
    // The object is a connection; anything else stops the program.
    void vantrelCaptureConnectionDidCloseNotification(QObject* object);

    // The port that is or was last listened on; 0 before the first start.
    [[nodiscard]] unsigned port() const { return _port; }
    void setPort(unsigned port) { _port = port; }
    // Empty when stopped.
    [[nodiscard]] NetService* netService() const { return _netService.get(); }
    void setNetService(std::unique_ptr<NetService> service) { _netService = std::move(service); }
    // The open ones: none or one.
    [[nodiscard]] const Connections& connections() const { return _connections; }

private:
    // NOLINTNEXTLINE(readability-identifier-naming)
    friend void VantrelCaptureServerAcceptCallBack(int socket, int descriptor, VantrelCaptureServer& server);
    [[nodiscard]] bool listenOnLoopback();
    void readPort();
    void watchSocket();
    void clientWaits();
    void removeEnded();

    const Surroundings _around;
    const std::unique_ptr<CaptureTurn> _turn;
    const std::unique_ptr<HopClock> _clock;
    FileDescriptor _serverSock; // open exactly while started
    std::unique_ptr<QSocketNotifier> _clients;
    QTimer _acceptAgain; // after the system had no descriptor to spare
    unsigned _port = 0;
    std::unique_ptr<NetService> _netService;
    Connections _connections;
    Connections _ending; // closed, their captures not yet over
};

// Called for each client that was accepted on the socket, which is the server's own; any other stops the program.
// NOLINTNEXTLINE(readability-identifier-naming)
void VantrelCaptureServerAcceptCallBack(int socket, int descriptor, VantrelCaptureServer& server);

} // namespace vantrel
