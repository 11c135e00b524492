#include "backend/WiFiBackend.h"

#include "base/Capabilities.h"
#include "radio/RadioClient.h"
#include "simulated/SimulatedRadio.h"
#include "wifi/AbsentAdapter.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QLoggingCategory>
#include <QString>
#include <cerrno>
#include <linux/capability.h>
#include <unistd.h>

namespace vantrel {

namespace {
Q_LOGGING_CATEGORY(lcBackend, "vantrel.backend")

// The name of a Wi-Fi adapter that the kernel knows; empty when there is none.
QString anyAdapter() {
    const QDir interfaces(QStringLiteral("/sys/class/net"));
    for (const QString& name : interfaces.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (interfaces.exists(name + QStringLiteral("/phy80211"))) {
            return name;
        }
    }
    return {};
}

QString radioProgram() { return QCoreApplication::applicationDirPath() + QStringLiteral("/vantrel-radio"); }

bool isForbidden(const QString& program) {
    return ::access(QFile::encodeName(program).constData(), X_OK) != 0 && errno == EACCES;
}

// The machine as it is for a user who may not execute vantrel-radio.
std::unique_ptr<CWWiFiClient> makeClientWithoutPermission() {
    const QString name = anyAdapter();
    qCWarning(lcBackend, "the adapter may not be driven: this user, or this login, is not in the group 'access_bpf'");
    return name.isEmpty() ? makeAbsentAdapterClient() : makeForbiddenAdapterClient(name);
}
} // namespace

Expected<WiFiBackend> chooseWiFiBackend(const WiFiWish& wish) {
    if (!wish.simulated && qEnvironmentVariable("VANTREL_RADIO") != QLatin1StringView("simulated")) {
        return WiFiBackend{};
    }
    const auto transport = prepareSimulatedTransport(wish.ownNamespace);
    if (!transport) {
        return tl::unexpected(transport.error());
    }
    return WiFiBackend{*transport};
}

std::uint64_t capabilitiesOfCaptures(const WiFiBackend& backend) {
    const std::uint64_t opening = capabilityMask(CAP_NET_RAW);
    return backend.simulated ? opening | capabilityMask(CAP_NET_ADMIN) : opening;
}

Expected<std::unique_ptr<CWWiFiClient>> openWiFiClient(const WiFiBackend& backend) {
    if (backend.simulated) {
        SimulatedOptions options;
        options.transport = *backend.simulated;
        return makeSimulatedClient(options);
    }
    RadioOptions options;
    options.program = radioProgram();
    return makeRadioClient(options);
}

std::unique_ptr<CWWiFiClient> makeWiFiClient(const WiFiBackend& backend) {
    if (!backend.simulated && isForbidden(radioProgram())) {
        return makeClientWithoutPermission();
    }
    auto client = openWiFiClient(backend);
    if (!client) {
        qCWarning(lcBackend, "the adapter cannot be used: %s", qUtf8Printable(client.error().text()));
        return makeAbsentAdapterClient();
    }
    return std::move(*client);
}

} // namespace vantrel
