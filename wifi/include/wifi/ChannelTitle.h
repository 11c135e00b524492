// A channel as the user reads it: its number, and its width where that is known, as in "36 (80 MHz)".
#pragma once

#include "wifi/CWChannel.h"

#include <QString>

namespace vantrel {

// Any thread.
[[nodiscard]] QString channelTitle(const CWChannel& channel);

} // namespace vantrel
