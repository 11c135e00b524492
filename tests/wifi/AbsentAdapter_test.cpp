#include "wifi/AbsentAdapter.h"

#include <gtest/gtest.h>

namespace vantrel {
namespace {

// Every change is refused with that reason, and nothing is listed that could be captured on.
void expectNothingWith(CWWiFiClient& client, const QString& reason) {
    CWInterface& adapter = client.interface();
    EXPECT_EQ(adapter.interfaceMode(), CWInterfaceMode::None);
    EXPECT_FALSE(adapter.isAssociated());
    EXPECT_TRUE(adapter.ssid().isEmpty());
    EXPECT_FALSE(adapter.wlanChannel());
    EXPECT_TRUE(adapter.supportedWLANChannels().empty());
    adapter.disassociate(); // from nothing
    const auto tuned = adapter.setWLANChannel({6, bandTwoDotFourGHz, width20MHz});
    EXPECT_EQ(tuned ? QString() : tuned.error().text(), QStringLiteral("setWLANChannel: ") + reason);
    const auto switched = adapter.setPower(true);
    EXPECT_EQ(switched ? QString() : switched.error().text(), QStringLiteral("setPower: ") + reason);
    const auto begun = adapter.beginMonitorMode();
    EXPECT_EQ(begun ? QString() : begun.error().text(), QStringLiteral("beginMonitorMode: ") + reason);
    client.setDelegate(nullptr);
    EXPECT_TRUE(client.startMonitoringEventWithType(CWEventType::PowerDidChange)) << "none will ever come";
}

TEST(AbsentAdapter, IsOffAndSaysWhyItRefuses) {
    const auto client = makeAbsentAdapterClient();
    EXPECT_TRUE(client->interface().interfaceName().isEmpty());
    EXPECT_FALSE(client->interface().powerOn());
    EXPECT_EQ(client->backendNote(), QStringLiteral("no Wi-Fi adapter"));
    expectNothingWith(*client, QStringLiteral("this machine has no Wi-Fi adapter that can be used"));
}

// So that the capture commands can be chosen, and tell the user what is missing.
TEST(AbsentAdapter, ThatIsOnlyForbiddenIsOnAndSaysWhoMay) {
    const auto client = makeForbiddenAdapterClient(QStringLiteral("wlan0"));
    EXPECT_EQ(client->interface().interfaceName(), QStringLiteral("wlan0"));
    EXPECT_TRUE(client->interface().powerOn());
    EXPECT_EQ(client->backendNote(), QStringLiteral("no permission to capture"));
    expectNothingWith(*client, QStringLiteral("only members of the group 'access_bpf' may drive the Wi-Fi adapter"));
}

} // namespace
} // namespace vantrel
