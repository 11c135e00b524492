#include "simulated/SimulatedTransport.h"

#include "Logging.h"
#include "base/FileDescriptor.h"
#include "simulated/TapDevice.h"

#include <QByteArray>
#include <cerrno>
#include <fcntl.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vantrel {

namespace {

constexpr auto transportVariable = "VANTREL_RADIO_TRANSPORT";

Expected<void> tryTap() {
    auto device = TapDevice::create();
    if (!device) {
        return tl::unexpected(device.error().error);
    }
    return {};
}

Expected<void> writeProcFile(const char* path, const QByteArray& text) {
    const FileDescriptor file(::open(path, O_WRONLY | O_CLOEXEC));
    if (!file.isOpen()) {
        return errnoFailure(QStringLiteral("open ") + QString::fromLatin1(path));
    }
    if (::write(file.get(), text.constData(), static_cast<std::size_t>(text.size())) != text.size()) {
        return errnoFailure(QStringLiteral("write ") + QString::fromLatin1(path));
    }
    return {};
}

QByteArray identityMap(unsigned id) {
    const QByteArray number = QByteArray::number(id);
    return number + ' ' + number + " 1\n";
}

// user_namespaces(7): the ids must be read before they are unmapped, and setgroups denied before the group map.
Expected<void> enterNamespace() {
    const QByteArray userMap = identityMap(::geteuid());
    const QByteArray groupMap = identityMap(::getegid());
    if (::unshare(CLONE_NEWUSER | CLONE_NEWNET) < 0) {
        return errnoFailure(QStringLiteral("unshare"));
    }
    if (auto written = writeProcFile("/proc/self/setgroups", "deny"); !written) {
        return written;
    }
    if (auto written = writeProcFile("/proc/self/uid_map", userMap); !written) {
        return written;
    }
    return writeProcFile("/proc/self/gid_map", groupMap);
}

// Runs the attempt where it does no harm; the error's text comes back through a pipe, an empty one meaning success.
Expected<void> tryNamespaceInChild() {
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC) < 0) {
        return errnoFailure(QStringLiteral("pipe2"));
    }
    const FileDescriptor reading(ends[0]);
    FileDescriptor writing(ends[1]);
    const pid_t child = ::fork();
    if (child < 0) {
        return errnoFailure(QStringLiteral("fork"));
    }
    if (child == 0) {
        const auto tried = enterNamespace().and_then(tryTap);
        const QByteArray why = tried ? QByteArray() : tried.error().text().toUtf8();
        const bool told = ::write(writing.get(), why.constData(), static_cast<std::size_t>(why.size())) == why.size();
        ::_exit(tried && told ? 0 : 1);
    }
    writing.reset();
    char why[256];
    const ssize_t size = ::read(reading.get(), why, sizeof why);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) {
        return {};
    }
    return failure(QStringLiteral("a network namespace of its own"),
                   size > 0 ? QString::fromUtf8(why, size) : QStringLiteral("the attempt ended unexpectedly"));
}

Expected<void> useNamespace() { return tryNamespaceInChild().and_then(enterNamespace); }

SimulatedTransport announced(SimulatedTransport transport) {
    switch (transport) {
    case SimulatedTransport::Tap:
        qCInfo(lcSimulated, "simulated radio: frames come through a TAP device");
        break;
    case SimulatedTransport::Namespace:
        qCInfo(lcSimulated, "simulated radio: frames come through a TAP device in a network namespace of this process, "
                            "which has no other network");
        break;
    case SimulatedTransport::Stream:
        qCInfo(lcSimulated, "simulated radio: frames come as a pcap stream");
        break;
    }
    return transport;
}

Expected<void> refuseNamespace() {
    return failure(QStringLiteral("a network namespace of its own"),
                   QStringLiteral("it would hide the program from its clients"));
}

Expected<SimulatedTransport> forced(const QByteArray& wanted, OwnNamespace ownNamespace) {
    const QString what = QStringLiteral("VANTREL_RADIO_TRANSPORT=") + QString::fromLocal8Bit(wanted);
    Expected<void> had;
    auto transport = SimulatedTransport::Stream;
    if (wanted == "tap") {
        transport = SimulatedTransport::Tap;
        had = tryTap();
    } else if (wanted == "namespace") {
        transport = SimulatedTransport::Namespace;
        had = ownNamespace == OwnNamespace::Permitted ? useNamespace() : refuseNamespace();
    } else if (wanted != "stream") {
        return failure(what, QStringLiteral("it must be tap, namespace or stream"));
    }
    if (!had) {
        return failure(what, QStringLiteral("cannot be had here (%1)").arg(had.error().text()));
    }
    return announced(transport);
}

} // namespace

Expected<SimulatedTransport> prepareSimulatedTransport(OwnNamespace ownNamespace) {
    const QByteArray wanted = qgetenv(transportVariable);
    if (!wanted.isEmpty()) {
        return forced(wanted, ownNamespace);
    }
    const auto tap = TapDevice::create();
    if (tap) {
        return announced(SimulatedTransport::Tap);
    }
    const int number = tap.error().number;
    if (number == EPERM || number == EACCES || number == ENOENT) {
        const auto entered = ownNamespace == OwnNamespace::Permitted ? useNamespace() : refuseNamespace();
        if (entered) {
            return announced(SimulatedTransport::Namespace);
        }
        qCInfo(lcSimulated, "no TAP device: %s", qUtf8Printable(entered.error().text()));
    } else {
        qCWarning(lcSimulated, "no TAP device: %s", qUtf8Printable(tap.error().error.text()));
    }
    return announced(SimulatedTransport::Stream);
}

} // namespace vantrel
