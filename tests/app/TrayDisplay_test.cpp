#include "app/TrayDisplay.h"

#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"
#include "simulated/SimulatedRadio.h"
#include "ui/MenuOutlets.h"
#include "ui/StatusItem.h"
#include "ui/StatusMenu.h"
#include "wifi/AbsentAdapter.h"

#include <QAction>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace vantrel::testing {
namespace {

namespace outlets = ui::outlets;

class TrayDisplayTest : public ::testing::Test {
protected:
    void make(bool associated, std::optional<std::vector<CWChannel>> supported = {}) {
        SimulatedOptions options;
        options.transport = SimulatedTransport::Stream;
        options.startAssociated = associated;
        options.supportedChannels = std::move(supported);
        make(makeSimulatedClient(options));
    }
    void make(std::unique_ptr<CWWiFiClient> client) {
        wifi = std::move(client);
        display = std::make_unique<TrayDisplay>(
            TrayDisplay::Surroundings{.item = item, .menu = menu, .settings = settings, .wifi = *wifi});
    }
    void show(bool channel, bool width) {
        settings.setBool(keys::DisplayChannel, channel);
        settings.setBool(keys::DisplayChannelWidth, width);
        display->preferencesDidChange();
    }
    [[nodiscard]] QString toolTip() {
        display->updateStatusItem();
        return item.toolTip();
    }
    [[nodiscard]] const QAction& itemOf(QLatin1StringView outlet) { return *menu.item(outlet); }
    [[nodiscard]] QStringList checkedIn(QLatin1StringView outlet) {
        QStringList checked;
        for (const QAction* choice : itemOf(outlet).menu()->actions()) {
            if (choice->isChecked()) {
                checked << choice->text();
            }
        }
        return checked;
    }

    QTemporaryDir folder;
    SettingsStore settings{folder.filePath(QStringLiteral("settings.json"))};
    ui::StatusMenu menu;
    ui::StatusItem item{*menu.menu()};
    std::unique_ptr<CWWiFiClient> wifi;
    std::unique_ptr<TrayDisplay> display;
};

TEST_F(TrayDisplayTest, TitleFollowsAdapterAndSettings) {
    make(false);
    ASSERT_TRUE(wifi->interface().setWLANChannel({6, bandTwoDotFourGHz, width20MHz}));
    EXPECT_EQ(toolTip(), QStringLiteral("Vantrel (simulated)"));
    show(true, false);
    EXPECT_EQ(item.toolTip(), QStringLiteral("Vantrel: 6 (simulated)"));
    show(false, true);
    EXPECT_EQ(item.toolTip(), QStringLiteral("Vantrel: 20 MHz (simulated)"));
    show(true, true);
    EXPECT_EQ(item.toolTip(), QStringLiteral("Vantrel: 6 (20 MHz) (simulated)"));
    ASSERT_TRUE(wifi->interface().setWLANChannel({100, bandFiveGHz, width160MHz}));
    EXPECT_EQ(toolTip(), QStringLiteral("Vantrel: 100 (160 MHz) (simulated)"));
    ASSERT_TRUE(wifi->interface().setPower(false));
    EXPECT_EQ(toolTip(), QStringLiteral("Vantrel: Off (simulated)"));
    show(false, false);
    EXPECT_EQ(item.toolTip(), QStringLiteral("Vantrel (simulated)"));
}

TEST_F(TrayDisplayTest, WithoutAChannelTheWidthIsUnknown) {
    make(false, std::vector<CWChannel>{});
    show(true, true);
    EXPECT_EQ(item.toolTip(), QStringLiteral("Vantrel: 0 (-1 MHz) (simulated)"));
}

TEST_F(TrayDisplayTest, UploadReplacesTheTitleWhateverTheSettings) {
    make(true);
    display->setUploadProgress(37);
    EXPECT_EQ(item.toolTip(), QStringLiteral("Vantrel: 37% (simulated)"));
    show(true, true);
    EXPECT_EQ(item.toolTip(), QStringLiteral("Vantrel: 37% (simulated)"));
    for (const int percent : {0, 100, -1}) {
        display->setUploadProgress(percent);
        EXPECT_EQ(item.toolTip(), QStringLiteral("Vantrel: 36 (80 MHz) (simulated)")) << percent;
    }
}

TEST_F(TrayDisplayTest, MenuTellsTheAdapter) {
    make(true);
    display->populateSubmenus();
    display->updateStatusMenu();
    EXPECT_EQ(itemOf(outlets::statusMenuItem).text(), QStringLiteral("Status: Associated"));
    EXPECT_EQ(itemOf(outlets::channelMenuItem).text(), QStringLiteral("Channel: 36 (5 GHz)"));
    EXPECT_EQ(itemOf(outlets::channelWidthMenuItem).text(), QStringLiteral("Channel Width: 80 MHz"));
    EXPECT_EQ(itemOf(outlets::disassociateMenuItem).text(), QStringLiteral("Disconnect from Vantrel Lab"));
    EXPECT_EQ(checkedIn(outlets::channelSubmenuMenuItem).join(u' '), QStringLiteral("36"));
    EXPECT_EQ(checkedIn(outlets::channelWidthSubmenuMenuItem).join(u' '), QStringLiteral("80 MHz"));
    EXPECT_EQ(itemOf(outlets::turnOnOffMenuItem).text(), QStringLiteral("Turn Wi-Fi Off"));

    wifi->interface().disassociate();
    display->updateStatusMenu();
    EXPECT_EQ(itemOf(outlets::statusMenuItem).text(), QStringLiteral("Status: Not associated"));
    EXPECT_FALSE(itemOf(outlets::disassociateMenuItem).isVisible());

    ASSERT_TRUE(wifi->interface().setPower(false));
    display->updateStatusMenu();
    EXPECT_EQ(itemOf(outlets::statusMenuItem).text(), QStringLiteral("Status: Off"));
    EXPECT_EQ(itemOf(outlets::turnOnOffMenuItem).text(), QStringLiteral("Turn Wi-Fi On"));
    for (const auto outlet : {outlets::captureMenuItem, outlets::captureAllMenuItem, outlets::channelSubmenuMenuItem,
                              outlets::linkLayerHeaderSubmenuMenuItem, outlets::captureOther5GHzSubmenuItem}) {
        EXPECT_FALSE(itemOf(outlet).isVisible()) << outlet.data();
    }
}

TEST_F(TrayDisplayTest, CaptureShowsInItemAndMenu) {
    make(true);
    display->disableCaptures();
    EXPECT_FALSE(itemOf(outlets::captureMenuItem).isEnabled());
    EXPECT_FALSE(itemOf(outlets::quitMenuItem).isEnabled());
    EXPECT_EQ(toolTip(), QStringLiteral("Vantrel: capturing (simulated)"));
    display->enableCaptures();
    EXPECT_TRUE(itemOf(outlets::captureMenuItem).isEnabled());
    EXPECT_TRUE(itemOf(outlets::quitMenuItem).isEnabled());
    EXPECT_EQ(toolTip(), QStringLiteral("Vantrel (simulated)"));
}

TEST_F(TrayDisplayTest, UploadCommandsNeedTheirService) {
    make(true);
    display->updateStatusMenu();
    const auto& cloudShark = itemOf(outlets::uploadToCloudSharkMenuItem);
    const auto& mojoPackets = itemOf(outlets::uploadToMojoPacketsMenuItem);
    EXPECT_FALSE(cloudShark.isEnabled() || mojoPackets.isEnabled());
    settings.setString(keys::CloudSharkApplianceURL, QStringLiteral("https://appliance.example"));
    settings.setString(keys::CloudSharkApplianceAPIToken, QStringLiteral("token"));
    settings.setString(keys::MojoPacketsEmail, QStringLiteral("somebody@example.org"));
    display->updateStatusMenu();
    EXPECT_TRUE(cloudShark.isEnabled());
    EXPECT_FALSE(mojoPackets.isEnabled()) << "its key is missing";
    settings.setString(keys::MojoPacketsAPIKey, QStringLiteral("key"));
    display->updateStatusMenu();
    EXPECT_TRUE(mojoPackets.isEnabled());
}

TEST_F(TrayDisplayTest, WithoutAnAdapterItIsOffAndSaysWhy) {
    make(makeAbsentAdapterClient());
    display->populateSubmenus();
    show(true, false);
    EXPECT_EQ(item.toolTip(), QStringLiteral("Vantrel: Off (no Wi-Fi adapter)"));
    display->updateStatusMenu();
    EXPECT_EQ(itemOf(outlets::statusMenuItem).text(), QStringLiteral("Status: Off"));
}

} // namespace
} // namespace vantrel::testing
