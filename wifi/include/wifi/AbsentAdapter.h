// The Wi-Fi services of a machine whose adapter cannot be used: both are without channels and refuse every change by
// saying why.
#pragma once

#include "wifi/CWWiFiClient.h"

namespace vantrel {

// There is no adapter: off, and without a name.
[[nodiscard]] std::unique_ptr<CWWiFiClient> makeAbsentAdapterClient();

// There is one, which this user may not drive. It counts as on, so that captures can be asked for, and the device
// itself tells libpcap that they are not permitted.
[[nodiscard]] std::unique_ptr<CWWiFiClient> makeForbiddenAdapterClient(const QString& interfaceName);

} // namespace vantrel
