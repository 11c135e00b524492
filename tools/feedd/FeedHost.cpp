#include "FeedHost.h"

#include "HostOptions.h"
#include "base/FileDescriptor.h"
#include "base/TerminationSignals.h"
#include "remote/CaptureControls.h"
#include "remote/VantrelCaptureServer.h"

#include <QCoreApplication>
#include <QLoggingCategory>
#include <cstdio>
#include <sys/socket.h>

namespace vantrel::feedd {

namespace {

Q_LOGGING_CATEGORY(lcFeedd, "vantrel.feedd")

// There is no menu here, and no capture of the user's own.
class NoMenu final : public CaptureControls {
public:
    void disableCaptures() override {}
    void enableCaptures() override {}
    [[nodiscard]] bool isCapturing() const override { return false; }
};

// Before anything else can change errno.
int fail(const char* what) {
    const Error error = Error::fromErrno(QString());
    std::fprintf(stderr, "vantrel-feedd: %s: %s\n", what, qUtf8Printable(error.why));
    return CannotServe;
}

bool print(unsigned port) { return std::printf("port %u\n", port) > 0 && std::fflush(stdout) == 0; }

} // namespace

// A packet socket for no protocol receives nothing, and needs the very capability that libpcap needs (packet(7)).
Expected<void> mayCapture() {
    const FileDescriptor socket(::socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0));
    if (!socket.isOpen()) {
        return errnoFailure(QStringLiteral("packet socket"));
    }
    return {};
}

int serve(CWInterface& airport, const ThreadStarter& startCaptureThread) {
    // Before the port is known: whoever has read it may end us.
    const TerminationSignals signals;
    NoMenu menu;
    VantrelCaptureServer server({.airport = airport, .controls = menu, .startCaptureThread = startCaptureThread});
    if (!server.start()) {
        return fail("cannot listen on 127.0.0.1");
    }
    if (!print(server.port())) {
        return fail("cannot print the port");
    }
    QObject::connect(&signals, &TerminationSignals::terminationRequested, &server, [&server] {
        qCInfo(lcFeedd, "asked to end");
        server.stop();
        QCoreApplication::quit();
    });
    const int status = QCoreApplication::exec();
    server.stop();
    server.waitUntilCapturesEnded();
    qCInfo(lcFeedd, "ended; the adapter is back");
    return status;
}

} // namespace vantrel::feedd
