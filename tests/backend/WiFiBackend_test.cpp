#include "backend/WiFiBackend.h"

#include "base/Capabilities.h"
#include "support/LogCapture.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <gtest/gtest.h>
#include <linux/capability.h>

namespace vantrel {
namespace {

using testing::LogCapture;

class WiFiBackendTest : public ::testing::Test {
protected:
    WiFiBackendTest() {
        qunsetenv("VANTREL_RADIO");
        qunsetenv("VANTREL_RADIO_TRANSPORT");
    }
    [[nodiscard]] static QString adapterOfThisMachine() {
        const QDir interfaces(QStringLiteral("/sys/class/net"));
        for (const QString& name : interfaces.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            if (interfaces.exists(name + QStringLiteral("/phy80211"))) {
                return name;
            }
        }
        return {};
    }
};

TEST_F(WiFiBackendTest, TheSimulatedRadioIsNeverChosenByItself) {
    const auto backend = chooseWiFiBackend();
    ASSERT_TRUE(backend);
    EXPECT_FALSE(backend->simulated);
    qputenv("VANTREL_RADIO", "real");
    EXPECT_FALSE(chooseWiFiBackend()->simulated);
}

TEST_F(WiFiBackendTest, TheEnvironmentOrTheProgramMayAskForIt) {
    qputenv("VANTREL_RADIO_TRANSPORT", "stream");
    EXPECT_EQ(chooseWiFiBackend({.simulated = true})->simulated, SimulatedTransport::Stream);
    qputenv("VANTREL_RADIO", "simulated");
    const auto backend = chooseWiFiBackend();
    EXPECT_EQ(backend->simulated, SimulatedTransport::Stream);
    const auto client = makeWiFiClient(*backend);
    EXPECT_EQ(client->interface().interfaceName(), QStringLiteral("wlansim0"));
    EXPECT_EQ(client->backendNote(), QStringLiteral("simulated"));
}

TEST_F(WiFiBackendTest, ATransportThatCannotBeHadIsSaid) {
    qputenv("VANTREL_RADIO", "simulated");
    qputenv("VANTREL_RADIO_TRANSPORT", "pigeon");
    EXPECT_EQ(chooseWiFiBackend().error().text(),
              QStringLiteral("VANTREL_RADIO_TRANSPORT=pigeon: it must be tap, namespace or stream"));
    qputenv("VANTREL_RADIO_TRANSPORT", "namespace");
    EXPECT_EQ(chooseWiFiBackend({.ownNamespace = OwnNamespace::Refused}).error().text(),
              QStringLiteral("VANTREL_RADIO_TRANSPORT=namespace: cannot be had here (a network namespace of its own: "
                             "it would hide the program from its clients)"));
}

TEST_F(WiFiBackendTest, OnlyTheSimulatedRadioMakesDevicesItself) {
    const std::uint64_t opening = capabilityMask(CAP_NET_RAW);
    EXPECT_EQ(capabilitiesOfCaptures({}), opening);
    EXPECT_EQ(capabilitiesOfCaptures({SimulatedTransport::Tap}), opening | capabilityMask(CAP_NET_ADMIN));
}

// Both in one test: they need the folder of this program, where vantrel-radio is looked for.
TEST_F(WiFiBackendTest, AProgramGoesOnWhereVantrelRadioCannotServe) {
    const QString radio = QCoreApplication::applicationDirPath() + QStringLiteral("/vantrel-radio");
    const QString why = QStringLiteral("posix_spawn(%1): No such file or directory").arg(radio);
    const auto opened = openWiFiClient({});
    ASSERT_FALSE(opened);
    EXPECT_EQ(opened.error().text(), why);
    {
        const LogCapture log;
        EXPECT_EQ(makeWiFiClient({})->backendNote(), QStringLiteral("no Wi-Fi adapter"));
        EXPECT_EQ(log.warnings(), QStringList(QStringLiteral("the adapter cannot be used: ") + why));
    }

    QFile file(radio); // that nobody may execute
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    const LogCapture log;
    const auto client = makeWiFiClient({});
    ASSERT_TRUE(file.remove());
    const QString adapter = adapterOfThisMachine();
    EXPECT_EQ(client->interface().interfaceName(), adapter);
    EXPECT_EQ(client->backendNote(),
              adapter.isEmpty() ? QStringLiteral("no Wi-Fi adapter") : QStringLiteral("no permission to capture"));
    EXPECT_EQ(log.warnings(), QStringList(QStringLiteral("the adapter may not be driven: this user, or this login, is "
                                                         "not in the group 'access_bpf'")));
}

} // namespace
} // namespace vantrel
