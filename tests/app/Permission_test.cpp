// Who may capture, and what the application says to others.
#include "AppFixture.h"
#include "settings/SettingsKeys.h"
#include "wifi/AbsentAdapter.h"

#include <gmock/gmock.h>

namespace vantrel::testing {
namespace {

const QString captureCommand = QStringLiteral("Capture on Current Channel");

class Permission : public AppFixture {};

TEST_F(Permission, AnAdapterThatMayNotBeDrivenCanBeAskedForACaptureAndTheAlertTellsWhatIsMissing) {
    storeSettings(R"({"FirstTimeCapture": 0})");
    wifi = makeForbiddenAdapterClient(QStringLiteral("vantrel-none"));
    make();
    start();
    EXPECT_TRUE(isEnabled(captureCommand));
    answerAlert(QStringLiteral("OK"));
    command(captureCommand)->trigger();
    ASSERT_TRUE(waitIdle());
    EXPECT_EQ(alerts, QStringList(QStringLiteral(
                          "You don't have permission to capture on this device. | Go to System Preferences > Users & "
                          "Groups and make sure you are a member of the group 'access_bpf'. You will need to log out "
                          "and then log back in after making any changes.")));
    EXPECT_TRUE(isEnabled(captureCommand));
}

TEST_F(Permission, AnAdapterThatMayNotBeDrivenSaysWhyItRefuses) {
    const auto forbidden = makeForbiddenAdapterClient(QStringLiteral("wlan0"));
    EXPECT_EQ(forbidden->interface().interfaceName(), QStringLiteral("wlan0"));
    EXPECT_TRUE(forbidden->interface().powerOn());
    EXPECT_EQ(forbidden->backendNote(), QStringLiteral("no permission to capture"));
    const auto refused = forbidden->interface().beginMonitorMode(MonitorUse::Capture);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().text(),
              QStringLiteral("beginMonitorMode: only members of the group 'access_bpf' may drive the Wi-Fi adapter"));
}

TEST_F(Permission, OnlyTheThreadsThatRunLibpcapAreStartedAsSuch) {
    storeSettings(R"({"FirstTimeCapture": 0})");
    make();
    start();
    EXPECT_EQ(captureThreads, 1) << "the question for the link-layer types";
    ASSERT_TRUE(startCapture());
    EXPECT_EQ(captureThreads, 2);
    ASSERT_TRUE(waitForFrames());
    app->session().userDidStop();
    ASSERT_TRUE(waitIdle());
    EXPECT_EQ(captureThreads, 2);
}

} // namespace
} // namespace vantrel::testing
