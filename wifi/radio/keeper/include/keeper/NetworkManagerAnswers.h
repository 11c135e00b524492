// What NetworkManager's answers say, by the arguments of the message (org.freedesktop.NetworkManager).
//
// Pure; any thread. An answer of another signature than the documented one is an error.
#pragma once

#include "base/Error.h"

#include <QString>
#include <QVariantList>

namespace vantrel {

// Of GetDeviceByIpIface: the device's object path.
[[nodiscard]] Expected<QString> devicePathOf(const QVariantList& answer);
// Of Properties.Get for Device.Managed.
[[nodiscard]] Expected<bool> managedOf(const QVariantList& answer);

} // namespace vantrel
