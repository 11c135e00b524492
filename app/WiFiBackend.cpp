#include "app/WiFiBackend.h"

#include "simulated/SimulatedRadio.h"
#include "wifi/AbsentAdapter.h"

#include <QString>

namespace vantrel {

Expected<std::unique_ptr<CWWiFiClient>> chooseWiFiBackend() {
    if (qEnvironmentVariable("VANTREL_RADIO") != QLatin1StringView("simulated")) {
        return makeAbsentAdapterClient();
    }
    const auto transport = prepareSimulatedTransport();
    if (!transport) {
        return tl::unexpected(transport.error());
    }
    SimulatedOptions options;
    options.transport = *transport;
    return makeSimulatedClient(options);
}

} // namespace vantrel
