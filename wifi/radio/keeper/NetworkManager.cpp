#include "NetworkManager.h"

#include "Logging.h"

#include <QDBusConnectionInterface>
#include <QDBusObjectPath>
#include <QDBusVariant>

namespace vantrel {

namespace {

constexpr int timeout = 3000; // milliseconds

const QString service = QStringLiteral("org.freedesktop.NetworkManager");
const QString root = QStringLiteral("/org/freedesktop/NetworkManager");
const QString deviceInterface = QStringLiteral("org.freedesktop.NetworkManager.Device");
const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

} // namespace

NetworkManager::NetworkManager() : _bus(QDBusConnection::systemBus()) {
    if (!_bus.isConnected()) {
        qCInfo(lcKeeper, "no system bus, so no NetworkManager: %s", qUtf8Printable(_bus.lastError().message()));
    }
}

bool NetworkManager::isRunning() const {
    return _bus.isConnected() && _bus.interface()->isServiceRegistered(service).value();
}

Expected<QDBusMessage> NetworkManager::call(const QDBusMessage& message) const {
    QDBusMessage reply = _bus.call(message, QDBus::Block, timeout);
    if (reply.type() == QDBusMessage::ErrorMessage) {
        return failure(message.interface() + QLatin1Char('.') + message.member(),
                       reply.errorName() + QStringLiteral(": ") + reply.errorMessage());
    }
    return reply;
}

Expected<QString> NetworkManager::devicePath(const QString& interfaceName) const {
    auto message = QDBusMessage::createMethodCall(service, root, service, QStringLiteral("GetDeviceByIpIface"));
    message << interfaceName;
    const auto reply = call(message);
    if (!reply) {
        return tl::unexpected(reply.error());
    }
    const QString path = reply->arguments().value(0).value<QDBusObjectPath>().path();
    if (path.isEmpty()) {
        return failure(QStringLiteral("GetDeviceByIpIface"), QStringLiteral("the answer is no object path"));
    }
    return path;
}

Expected<QVariant> NetworkManager::property(const QString& path, const QString& name) const {
    auto message = QDBusMessage::createMethodCall(service, path, propertiesInterface, QStringLiteral("Get"));
    message << deviceInterface << name;
    const auto reply = call(message);
    if (!reply) {
        return tl::unexpected(reply.error());
    }
    return reply->arguments().value(0).value<QDBusVariant>().variant();
}

std::optional<ManagedDevice> NetworkManager::device(const QString& interfaceName) const {
    if (!isRunning()) {
        return {};
    }
    const auto path = devicePath(interfaceName);
    if (!path) {
        qCInfo(lcKeeper, "%s", qUtf8Printable(path.error().text()));
        return {};
    }
    ManagedDevice device;
    const auto managed = property(*path, QStringLiteral("Managed"));
    const auto autoconnect = property(*path, QStringLiteral("Autoconnect"));
    for (const auto* answer : {&managed, &autoconnect}) {
        if (!*answer) {
            qCWarning(lcKeeper, "%s", qUtf8Printable(answer->error().text()));
            return {};
        }
    }
    device.managed = managed->toBool();
    device.autoconnect = autoconnect->toBool();
    return device;
}

Expected<void> NetworkManager::setProperty(const QString& interfaceName, const QString& name, bool value) const {
    if (!isRunning()) {
        return {};
    }
    const auto path = devicePath(interfaceName);
    if (!path) {
        return tl::unexpected(path.error());
    }
    auto message = QDBusMessage::createMethodCall(service, *path, propertiesInterface, QStringLiteral("Set"));
    message << deviceInterface << name << QVariant::fromValue(QDBusVariant(value));
    if (const auto reply = call(message); !reply) {
        return failure(QStringLiteral("NetworkManager's Device.") + name, reply.error().why);
    }
    return {};
}

Expected<void> NetworkManager::setManaged(const QString& interfaceName, bool managed) const {
    return setProperty(interfaceName, QStringLiteral("Managed"), managed);
}

Expected<void> NetworkManager::setAutoconnect(const QString& interfaceName, bool autoconnect) const {
    return setProperty(interfaceName, QStringLiteral("Autoconnect"), autoconnect);
}

Expected<void> NetworkManager::disconnect(const QString& interfaceName) const {
    if (!isRunning()) {
        return {};
    }
    const auto path = devicePath(interfaceName);
    if (!path) {
        return tl::unexpected(path.error());
    }
    const auto reply =
        call(QDBusMessage::createMethodCall(service, *path, deviceInterface, QStringLiteral("Disconnect")));
    if (!reply) {
        return tl::unexpected(reply.error());
    }
    return {};
}

} // namespace vantrel
