// The Wi-Fi service of a machine without an adapter: off, without channels, and refusing every change by saying so.
#pragma once

#include "wifi/CWWiFiClient.h"

namespace vantrel {

[[nodiscard]] std::unique_ptr<CWWiFiClient> makeAbsentAdapterClient();

} // namespace vantrel
