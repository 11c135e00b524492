#include "backend/WiFiBackend.h"

#include "radio/RadioClient.h"
#include "simulated/SimulatedRadio.h"
#include "wifi/AbsentAdapter.h"

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QString>

namespace vantrel {

namespace {
Q_LOGGING_CATEGORY(lcBackend, "vantrel.backend")
}

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

Expected<std::unique_ptr<CWWiFiClient>> openWiFiClient(const WiFiBackend& backend) {
    if (backend.simulated) {
        SimulatedOptions options;
        options.transport = *backend.simulated;
        return makeSimulatedClient(options);
    }
    RadioOptions options;
    options.program = QCoreApplication::applicationDirPath() + QStringLiteral("/vantrel-radio");
    return makeRadioClient(options);
}

std::unique_ptr<CWWiFiClient> makeWiFiClient(const WiFiBackend& backend) {
    auto client = openWiFiClient(backend);
    if (!client) {
        qCWarning(lcBackend, "the adapter cannot be used: %s", qUtf8Printable(client.error().text()));
        return makeAbsentAdapterClient();
    }
    return std::move(*client);
}

} // namespace vantrel
