// vantrel-feedd: offers the loopback feed without a window. Documented in man/vantrel-feedd.8.
#include "FeedHost.h"
#include "HostOptions.h"
#include "backend/WiFiBackend.h"

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

// Refuses what cannot serve, and says in the log what does.
int open(const WiFiBackend& backend) {
    if (!backend.simulated) {
        if (const auto permitted = mayCapture(); !permitted) {
            return refuse(NoPermission, QStringLiteral("no permission to capture (%1): start it as root, or give it "
                                                       "CAP_NET_RAW and vantrel-radio CAP_NET_ADMIN")
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
    return serve(airport);
}

} // namespace

int main(int argc, char** argv) {
    QStringList arguments;
    for (int at = 1; at < argc; ++at) {
        arguments.append(QString::fromLocal8Bit(argv[at]));
    }
    const auto options = readOptions(arguments);
    if (!options) {
        return refuse(WrongUse, options.error(), "Try 'vantrel-feedd --help'.\n");
    }
    if (options->print) {
        const bool printed = std::fputs(qUtf8Printable(*options->print), stdout) >= 0 && std::fflush(stdout) == 0;
        return printed ? EndedAsAsked : CannotServe;
    }
    // Before any thread exists. In a network of its own nobody would reach the port.
    const auto backend = chooseWiFiBackend({.simulated = options->simulated, .ownNamespace = OwnNamespace::Refused});
    if (!backend) {
        return refuse(NoAdapter, backend.error().text());
    }
    int one = 1;
    const QCoreApplication application(one, argv);
    return open(*backend);
}
