// What is asked of NetworkManager about one device, over the system bus (org.freedesktop.NetworkManager and its
// Device interface).
//
// One thread; each call waits at most three seconds. Errors carry the D-Bus error's name and text.
#pragma once

#include "keeper/AdapterControl.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QVariant>

namespace vantrel {

class NetworkManager {
public:
    NetworkManager();

    // Nothing where no NetworkManager runs, or where it does not know the device.
    [[nodiscard]] std::optional<ManagedDevice> device(const QString& interfaceName) const;
    // What is asked of a NetworkManager that is not there is done.
    [[nodiscard]] Expected<void> setManaged(const QString& interfaceName, bool managed) const;
    [[nodiscard]] Expected<void> setAutoconnect(const QString& interfaceName, bool autoconnect) const;
    [[nodiscard]] Expected<void> disconnect(const QString& interfaceName) const;

private:
    [[nodiscard]] bool isRunning() const;
    [[nodiscard]] Expected<QDBusMessage> call(const QDBusMessage& message) const;
    [[nodiscard]] Expected<QString> devicePath(const QString& interfaceName) const;
    [[nodiscard]] Expected<QVariant> property(const QString& path, const QString& name) const;
    [[nodiscard]] Expected<void> setProperty(const QString& interfaceName, const QString& name, bool value) const;

    QDBusConnection _bus;
};

} // namespace vantrel
