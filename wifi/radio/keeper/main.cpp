// vantrel-radio: the one process that changes the adapter. The application starts it, with its end of a socket pair at
// descriptor 3, and ends it by closing the other.
#include "OwnerLock.h"
#include "base/TerminationSignals.h"
#include "keeper/KernelControl.h"
#include "keeper/RequestServer.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <cstdio>
#include <fcntl.h>
#include <sys/socket.h>

namespace {

using namespace vantrel;

constexpr int socketDescriptor = 3;

enum ExitStatus { PutBack = 0, NotPutBack = 1, WrongUse = 2, NoControl = 3, NotOwner = 4 };

bool hasSocket() {
    int type = 0;
    socklen_t size = sizeof type;
    return ::getsockopt(socketDescriptor, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type == SOCK_SEQPACKET &&
           ::fcntl(socketDescriptor, F_SETFD, FD_CLOEXEC) == 0;
}

int refuse(ExitStatus status, const QString& why) {
    std::fprintf(stderr, "vantrel-radio: %s\n", qUtf8Printable(why));
    return status;
}

} // namespace

int main(int argc, char** argv) {
    if (!hasSocket()) {
        return refuse(WrongUse, QStringLiteral("Vantrel starts this program; by itself it does nothing"));
    }
    protocol::PacketSocket socket{FileDescriptor(socketDescriptor)};
    const QCoreApplication application(argc, argv);
    const QString recordPath = DebtRecord::defaultPath();
    const auto owner = becomeOwner(QFileInfo(recordPath).path() + QStringLiteral("/radio.lock"));
    if (!owner) {
        return refuse(NotOwner, owner.error().text());
    }
    const auto control = makeKernelControl();
    if (!control) {
        return refuse(NoControl, control.error().text());
    }
    // Before the first change, so that none of these can tear one.
    TerminationSignals signals;
    AdapterKeeper keeper(**control, DebtRecord(recordPath), qEnvironmentVariable("VANTREL_INTERFACE"));
    RequestServer server(keeper, std::move(socket));
    QObject::connect(&signals, &TerminationSignals::terminationRequested, &application, &QCoreApplication::quit);
    QObject::connect(&server, &RequestServer::clientGone, &application, &QCoreApplication::quit);
    server.watchKernel();
    QCoreApplication::exec();
    return keeper.restore() ? PutBack : NotPutBack;
}
