// The real system behind AdapterControl: nl80211, rtnetlink, rfkill, and NetworkManager where it runs.
//
// One thread. A machine without Wi-Fi has no interfaces until its driver is loaded; that is looked for at every call.
// Failures of reading are logged and answered as "nothing there".
#pragma once

#include "keeper/AdapterControl.h"

#include <memory>

namespace vantrel {

// Fails where the kernel has no rtnetlink to speak to.
[[nodiscard]] Expected<std::unique_ptr<AdapterControl>> makeKernelControl();

} // namespace vantrel
