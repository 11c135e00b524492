// What is asked of NetworkManager about one device, over the system bus (org.freedesktop.NetworkManager and its
// Device interface).
//
// One thread; each call waits at most three seconds. Errors carry the D-Bus error's name and text.
#pragma once

#include "base/Error.h"

#include <QDBusConnection>
#include <QDBusMessage>

namespace vantrel {

class NetworkManager {
public:
    NetworkManager();

    // Not where no NetworkManager runs, or where it does not know the device.
    [[nodiscard]] Expected<bool> isManaged(const QString& interfaceName) const;
    // What is asked of a NetworkManager that is not there is done.
    [[nodiscard]] Expected<void> setManaged(const QString& interfaceName, bool managed) const;

private:
    [[nodiscard]] bool isRunning() const;
    [[nodiscard]] Expected<QDBusMessage> call(const QDBusMessage& message) const;
    [[nodiscard]] Expected<QString> devicePath(const QString& interfaceName) const;

    QDBusConnection _bus;
};

} // namespace vantrel
