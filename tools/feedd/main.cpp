// vantrel-feedd: offers the loopback feed without a window. Documented in man/vantrel-feedd.8.
#include "FeedHost.h"
#include "HostOptions.h"
#include "backend/WiFiBackend.h"
#include "base/Capabilities.h"
#include "privileges/CapableThreads.h"

#include <QCoreApplication>
#include <QLoggingCategory>
#include <cstdio>

namespace {

using namespace vantrel;
using namespace vantrel::feedd;

Q_LOGGING_CATEGORY(lcFeedd, "vantrel.feedd")

int refuse(int status, const QString& sentence, const char* advice = "") {
    std::fprintf(stderr, "vantrel-feedd: %s\n%s", qUtf8Printable(sentence), advice);
    return status;
}

// Asked where the device will be opened: this thread holds nothing any more.
Expected<void> captureThreadMayCapture(const ThreadStarter& startCaptureThread) {
    Expected<void> permitted;
    startCaptureThread([&permitted] { permitted = mayCapture(); }).join();
    return permitted;
}

// Refuses what cannot serve, and says in the log what does.
int open(const WiFiBackend& backend, const ThreadStarter& startCaptureThread) {
    if (!backend.simulated) {
        if (const auto permitted = captureThreadMayCapture(startCaptureThread); !permitted) {
            return refuse(
                NoPermission,
                QStringLiteral("no permission to capture (%1): members of the group 'access_bpf' have it, from "
                               "the next login on; in a build folder root alone")
                    .arg(permitted.error().text()));
        }
    }
    const auto client = openWiFiClient(backend);
    if (!client) {
        return refuse(NoAdapter, QStringLiteral("the adapter cannot be used: %1").arg(client.error().text()));
    }
    CWInterface& airport = (*client)->interface();
    if (airport.interfaceName().isEmpty()) {
        return refuse(NoAdapter, QStringLiteral("this machine has no Wi-Fi adapter"));
    }
    if (backend.simulated) {
        qCInfo(lcFeedd, "the feed is that of the simulated radio");
    } else {
        qCInfo(lcFeedd, "the feed is that of the adapter %s", qUtf8Printable(airport.interfaceName()));
    }
    return serve(airport, startCaptureThread);
}

QStringList argumentsOf(int argc, char** argv) {
    QStringList arguments;
    for (int at = 1; at < argc; ++at) {
        arguments.append(QString::fromLocal8Bit(argv[at]));
    }
    return arguments;
}

} // namespace

int main(int argc, char** argv) {
    // Before any thread exists, so that it holds for all of them: no child of ours begins with a capability.
    if (const auto kept = keepCapabilitiesFromPrograms(); !kept) {
        return refuse(CannotServe, kept.error().text());
    }
    const auto options = readOptions(argumentsOf(argc, argv));
    if (!options) {
        return refuse(WrongUse, options.error(), "Try 'vantrel-feedd --help'.\n");
    }
    if (options->print) {
        const bool printed = std::fputs(qUtf8Printable(*options->print), stdout) >= 0 && std::fflush(stdout) == 0;
        return printed ? EndedAsAsked : CannotServe;
    }
    // Still before any thread. In a network of its own nobody would reach the port.
    const auto backend = chooseWiFiBackend({.simulated = options->simulated, .ownNamespace = OwnNamespace::Refused});
    if (!backend) {
        return refuse(NoAdapter, backend.error().text());
    }
    const auto capableThreads = CapableThreads::keep(capabilitiesOfCaptures(*backend));
    if (!capableThreads) {
        return refuse(CannotServe, capableThreads.error().text());
    }
    int one = 1;
    const QCoreApplication application(one, argv);
    return open(*backend, [threads = capableThreads->get()](std::function<void()> work) {
        return threads->start(std::move(work));
    });
}
