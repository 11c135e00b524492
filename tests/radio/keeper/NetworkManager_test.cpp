// A real bus of the test's own as the system's, and on it what a NetworkManager offers of one device.
#include "NetworkManager.h"

#include "support/EventLoop.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QProcess>
#include <QTemporaryDir>
#include <future>
#include <gtest/gtest.h>

namespace vantrel {
namespace {

using testing::runUntil;

constexpr int patience = 20000; // ms, for a machine under load

const QString service = QStringLiteral("org.freedesktop.NetworkManager");
const QString root = QStringLiteral("/org/freedesktop/NetworkManager");
const QString device = QStringLiteral("/org/freedesktop/NetworkManager/Devices/2");

// Knows wlan0 alone. Main thread.
class FakeNetworkManager final : public QDBusVirtualObject {
public:
    bool isManaged = true;
    bool refuses = false;

    QString introspect(const QString& /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) override {
        bus.send(answer(message));
        return true;
    }

private:
    QDBusMessage answer(const QDBusMessage& message) {
        const QVariantList words = message.arguments();
        if (message.path() == root && message.interface() == service &&
            message.member() == QLatin1StringView("GetDeviceByIpIface")) {
            return words.value(0) == QLatin1StringView("wlan0")
                       ? message.createReply(QVariant::fromValue(QDBusObjectPath(device)))
                       : message.createErrorReply(QStringLiteral("org.freedesktop.NetworkManager.UnknownDevice"),
                                                  QStringLiteral("No device found"));
        }
        const bool isProperty = message.path() == device &&
                                message.interface() == QLatin1StringView("org.freedesktop.DBus.Properties") &&
                                words.value(0) == QLatin1StringView("org.freedesktop.NetworkManager.Device") &&
                                words.value(1) == QLatin1StringView("Managed");
        if (isProperty && message.member() == QLatin1StringView("Get")) {
            return message.createReply(QVariant::fromValue(QDBusVariant(isManaged)));
        }
        if (isProperty && message.member() == QLatin1StringView("Set") && !refuses) {
            isManaged = words.value(2).value<QDBusVariant>().variant().toBool();
            return message.createReply();
        }
        return message.createErrorReply(QDBusError::AccessDenied, QStringLiteral("not today"));
    }
};

class NetworkManagerTest : public ::testing::Test {
protected:
    // One bus for all: a program keeps the system's, once it has been asked for it.
    static void SetUpTestSuite() {
        folder = std::make_unique<QTemporaryDir>();
        daemon = std::make_unique<QProcess>();
        const QString address = QStringLiteral("unix:path=") + folder->filePath(QStringLiteral("bus"));
        daemon->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        daemon->start(QStringLiteral("dbus-daemon"),
                      {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--print-address"),
                       QStringLiteral("--address=") + address});
        ASSERT_TRUE(daemon->waitForReadyRead(patience)) << daemon->errorString().toStdString();
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", address.toUtf8());
        auto bus = QDBusConnection::connectToBus(address, service);
        ASSERT_TRUE(bus.registerService(service)) << qPrintable(bus.lastError().message());
    }
    static void TearDownTestSuite() {
        QDBusConnection::disconnectFromBus(service);
        daemon->terminate();
        EXPECT_TRUE(daemon->waitForFinished(patience));
        daemon.reset();
        folder.reset();
    }

    void SetUp() override {
        ASSERT_TRUE(QDBusConnection(service).registerVirtualObject(root, &_manager, QDBusConnection::SubPath));
    }
    void TearDown() override { QDBusConnection(service).unregisterObject(root, QDBusConnection::UnregisterTree); }

    // Asks on a thread of its own, since it waits for the answer, which comes from this one.
    template <typename Question>
    static auto asked(Question question) {
        auto answer = std::async(std::launch::async, [question] { return question(NetworkManager()); });
        EXPECT_TRUE(
            runUntil([&answer] { return answer.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
        return answer.get();
    }
    static Expected<bool> isManaged(const QString& name = QStringLiteral("wlan0")) {
        return asked([name](const NetworkManager& manager) { return manager.isManaged(name); });
    }
    static Expected<void> setManaged(bool managed) {
        return asked(
            [managed](const NetworkManager& manager) { return manager.setManaged(QStringLiteral("wlan0"), managed); });
    }

    static inline std::unique_ptr<QTemporaryDir> folder;
    static inline std::unique_ptr<QProcess> daemon;
    FakeNetworkManager _manager;
};

TEST_F(NetworkManagerTest, LetsGoOfADeviceAndTakesItBack) {
    EXPECT_TRUE(isManaged().value());
    EXPECT_TRUE(setManaged(false));
    EXPECT_FALSE(_manager.isManaged);
    EXPECT_FALSE(isManaged().value());
    EXPECT_TRUE(setManaged(true));
    EXPECT_TRUE(_manager.isManaged);
}

TEST_F(NetworkManagerTest, ADeviceThatItDoesNotKnowIsNotManaged) {
    EXPECT_FALSE(isManaged(QStringLiteral("wlan1")).value());
}

TEST_F(NetworkManagerTest, ARefusalIsAnError) {
    _manager.refuses = true;
    const auto set = setManaged(false);
    ASSERT_FALSE(set);
    EXPECT_EQ(set.error().text(),
              QStringLiteral("NetworkManager's Device.Managed: org.freedesktop.DBus.Error.AccessDenied: not today"));
    EXPECT_TRUE(_manager.isManaged);
}

TEST_F(NetworkManagerTest, WhereItDoesNotRunNothingIsManagedAndNothingToBeDone) {
    auto bus = QDBusConnection(service);
    ASSERT_TRUE(bus.unregisterService(service));
    EXPECT_FALSE(isManaged().value());
    EXPECT_TRUE(setManaged(false));
    EXPECT_TRUE(_manager.isManaged);
    EXPECT_TRUE(bus.registerService(service));
}

} // namespace
} // namespace vantrel
