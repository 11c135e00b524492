#include "NetworkManager.h"

#include "Logging.h"
#include "keeper/NetworkManagerAnswers.h"

#include <QDBusConnectionInterface>
#include <QDBusVariant>
#include <QVariant>

namespace vantrel {

namespace {

constexpr int timeout = 3000; // milliseconds

const QString service = QStringLiteral("org.freedesktop.NetworkManager");
const QString root = QStringLiteral("/org/freedesktop/NetworkManager");
const QString deviceInterface = QStringLiteral("org.freedesktop.NetworkManager.Device");
const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");
const QString unknownDevice = QStringLiteral("org.freedesktop.NetworkManager.UnknownDevice"); // the error's name
const QString managedProperty = QStringLiteral("Managed");

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
    return devicePathOf(reply->arguments());
}

Expected<bool> NetworkManager::isManaged(const QString& interfaceName) const {
    if (!isRunning()) {
        return false;
    }
    const auto path = devicePath(interfaceName);
    if (!path) {
        if (path.error().why.startsWith(unknownDevice)) {
            return false;
        }
        return tl::unexpected(path.error());
    }
    auto message = QDBusMessage::createMethodCall(service, *path, propertiesInterface, QStringLiteral("Get"));
    message << deviceInterface << managedProperty;
    const auto reply = call(message);
    if (!reply) {
        return tl::unexpected(reply.error());
    }
    return managedOf(reply->arguments());
}

Expected<void> NetworkManager::setManaged(const QString& interfaceName, bool managed) const {
    if (!isRunning()) {
        return {};
    }
    const auto path = devicePath(interfaceName);
    if (!path) {
        return tl::unexpected(path.error());
    }
    auto message = QDBusMessage::createMethodCall(service, *path, propertiesInterface, QStringLiteral("Set"));
    message << deviceInterface << managedProperty << QVariant::fromValue(QDBusVariant(managed));
    if (const auto reply = call(message); !reply) {
        return failure(QStringLiteral("NetworkManager's Device.Managed"), reply.error().why);
    }
    return {};
}

} // namespace vantrel
