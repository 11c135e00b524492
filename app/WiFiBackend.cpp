#include "app/WiFiBackend.h"

#include "radio/RadioClient.h"
#include "simulated/SimulatedRadio.h"
#include "wifi/AbsentAdapter.h"

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QString>

namespace vantrel {

namespace {
Q_LOGGING_CATEGORY(lcApp, "vantrel.app")
}

Expected<WiFiBackend> chooseWiFiBackend() {
    if (qEnvironmentVariable("VANTREL_RADIO") != QLatin1StringView("simulated")) {
        return WiFiBackend{};
    }
    const auto transport = prepareSimulatedTransport();
    if (!transport) {
        return tl::unexpected(transport.error());
    }
    return WiFiBackend{*transport};
}

std::unique_ptr<CWWiFiClient> makeWiFiClient(const WiFiBackend& backend) {
    if (backend.simulated) {
        SimulatedOptions options;
        options.transport = *backend.simulated;
        return makeSimulatedClient(options);
    }
    RadioOptions options;
    options.program = QCoreApplication::applicationDirPath() + QStringLiteral("/vantrel-radio");
    auto client = makeRadioClient(options);
    if (!client) {
        qCWarning(lcApp, "the adapter cannot be used: %s", qUtf8Printable(client.error().text()));
        return makeAbsentAdapterClient();
    }
    return std::move(*client);
}

} // namespace vantrel
