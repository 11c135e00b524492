#include "StatusMenuReading.h"

#include <gmock/gmock.h>
#include <set>

namespace vantrel::ui {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(StatusMenu, HoldsItsGroupsInOrder) {
    StatusMenu menu;
    menu.updateStatusMenu(associated());
    EXPECT_THAT(visibleTitles(*menu.menu()),
                ElementsAre("Status: Associated", "Channel: 36 (5 GHz)", "Channel Width: 80 MHz", "-", "Channel",
                            "Channel Width", "Link-Layer Header", "-", "Single Channel", "Capture on Current Channel",
                            "Capture on 2.4 GHz Channel", "Capture on 5 GHz Channel", "-", "Multiple Channels",
                            "Capture All 2.4 GHz Channels", "Capture All 5 GHz Channels", "Capture All Channels",
                            "Capture Custom Channels…", "-", "Upload Capture", "-", "Disconnect from Lab",
                            "Turn Wi-Fi Off", "-", "Preferences…", "Launch at Login", "-", "Help", "About Vantrel", "-",
                            "Quit"));
    EXPECT_THAT(visibleTitles(submenu(menu, outlets::uploadCaptureSubmenuMenuItem)),
                ElementsAre("To CloudShark…", "To Mojo Packets…", "-", "Configure Services…"));
    EXPECT_EQ(menu.menu()->objectName(), QStringLiteral("statusItemMenu"));
    EXPECT_EQ(menu.menu()->accessibleName(), QStringLiteral("Vantrel"));
}

TEST(StatusMenu, NoTwoItemsOfAMenuHaveTheSameKey) {
    StatusMenu menu;
    QList<QMenu*> menus = menu.menu()->findChildren<QMenu*>();
    menus.append(menu.menu());
    for (const QMenu* each : menus) {
        std::set<QChar> keys;
        for (const QAction* item : each->actions()) {
            const auto mark = item->text().indexOf(u'&');
            if (mark >= 0) {
                const QChar key = item->text().at(mark + 1).toLower();
                EXPECT_TRUE(keys.insert(key).second) << shownTitle(*item);
            }
        }
    }
}

TEST(StatusMenu, LinesAndHeadingsCannotBeChosen) {
    StatusMenu menu;
    menu.updateStatusMenu(associated());
    menu.enableCaptures();
    for (const auto outlet : {outlets::statusMenuItem, outlets::channelMenuItem, outlets::channelWidthMenuItem,
                              outlets::singleChannelCaptureMenuItem, outlets::multipleChannelCaptureMenuItem}) {
        EXPECT_FALSE(menu.item(outlet)->isEnabled()) << outlet.data();
    }
}

TEST(StatusMenu, WithoutPowerOnlyStatusPowerAndTheApplicationStay) {
    StatusMenu menu;
    MenuState state = associated();
    menu.updateStatusMenu(state);
    state.powerOn = false;
    menu.updateStatusMenu(state);
    EXPECT_THAT(visibleTitles(*menu.menu()), ElementsAre("Status: Off", "Turn Wi-Fi On", "-", "Preferences…",
                                                         "Launch at Login", "-", "Help", "About Vantrel", "-", "Quit"));
    for (const auto outlet : {outlets::sepMenuItem1, outlets::sepMenuItem2, outlets::sepMenuItem3,
                              outlets::sepMenuItem4, outlets::sepMenuItem5}) {
        EXPECT_TRUE(menu.item(outlet)->isSeparator());
        EXPECT_FALSE(menu.item(outlet)->isVisible()) << outlet.data();
    }
    EXPECT_EQ(shownTitle(*menu.item(outlets::channelMenuItem)), "Channel: 36 (5 GHz)")
        << "kept up to date all the same";
    state.powerOn = true;
    menu.updateStatusMenu(state);
    EXPECT_TRUE(menu.item(outlets::sepMenuItem5)->isVisible());
    EXPECT_TRUE(menu.item(outlets::captureMenuItem)->isVisible());
}

TEST(StatusMenu, NotAssociatedHidesTheDisconnectItem) {
    StatusMenu menu;
    MenuState state = associated();
    state.associated = false;
    state.channel = {6, bandTwoDotFourGHz, width20MHz};
    state.channelWidthMHz = -1;
    menu.updateStatusMenu(state);
    EXPECT_EQ(shownTitle(*menu.item(outlets::statusMenuItem)), "Status: Not associated");
    EXPECT_EQ(shownTitle(*menu.item(outlets::turnOnOffMenuItem)), "Turn Wi-Fi Off");
    EXPECT_EQ(shownTitle(*menu.item(outlets::channelMenuItem)), "Channel: 6 (2.4 GHz)");
    EXPECT_EQ(shownTitle(*menu.item(outlets::channelWidthMenuItem)), "Channel Width: -1 MHz");
    EXPECT_FALSE(menu.item(outlets::disassociateMenuItem)->isVisible());
}

// Over D-Bus "_" marks the key and the first "&" becomes such a mark; in a window "&" marks it.
TEST(StatusMenu, NetworkNamesAreShownLiterallyInBothKindsOfMenu) {
    const std::vector<std::tuple<const char*, const char*, const char*>> names{
        {"Lab", "Disconnect from Lab", "Disconnect from Lab"},
        {"guest_5G", "Disconnect from guest__5G", "Disconnect from guest_5G"},
        {"A&B & C_D", "&Disconnect from A&B & C__D", "Disconnect from A&&B && C_D"},
        {"%1 %2", "Disconnect from %1 %2", "Disconnect from %1 %2"}};
    StatusMenu menu;
    const QAction& item = *menu.item(outlets::disassociateMenuItem);
    for (const auto& [name, overDBus, inWindow] : names) {
        menu.updateStatusMenu(associated(QString::fromUtf8(name)));
        EXPECT_EQ(shownTitle(item), overDBus);
        menu.menu()->popup({});
        EXPECT_EQ(shownTitle(item), inWindow);
        menu.updateStatusMenu(associated(QString::fromUtf8(name)));
        EXPECT_EQ(shownTitle(item), inWindow) << "refreshed while it is open";
        menu.menu()->hide();
        EXPECT_EQ(shownTitle(item), overDBus);
    }
}

TEST(StatusMenu, CapturesAndQuitGoTogether) {
    StatusMenu menu;
    menu.updateStatusMenu(associated());
    menu.populateCaptureOtherSubmenus(channels20MHz({1, 36}));
    const std::vector<QLatin1StringView> captures{outlets::captureMenuItem,
                                                  outlets::captureOther2Dot4GHzSubmenuItem,
                                                  outlets::captureOther5GHzSubmenuItem,
                                                  outlets::captureAllMenuItem,
                                                  outlets::captureAll2Dot4GHzMenuItem,
                                                  outlets::captureAll5GHzMenuItem,
                                                  outlets::captureCustomMenuItem,
                                                  outlets::quitMenuItem};
    menu.disableCaptures();
    for (const auto outlet : captures) {
        EXPECT_FALSE(menu.item(outlet)->isEnabled()) << outlet.data();
    }
    EXPECT_TRUE(menu.item(outlets::channelSubmenuMenuItem)->isEnabled()) << "tuning stays usable";
    EXPECT_TRUE(menu.item(outlets::channelWidthSubmenuMenuItem)->isEnabled());
    EXPECT_TRUE(menu.item(outlets::preferencesMenuItem)->isEnabled());
    menu.enableCaptures();
    for (const auto outlet : captures) {
        EXPECT_TRUE(menu.item(outlet)->isEnabled()) << outlet.data();
    }
}

TEST(StatusMenu, UploadsAreEnabledForConfiguredServices) {
    StatusMenu menu;
    menu.updateStatusMenu(associated());
    const QAction* cloudShark = menu.item(outlets::uploadToCloudSharkMenuItem);
    const QAction* mojoPackets = menu.item(outlets::uploadToMojoPacketsMenuItem);
    EXPECT_FALSE(cloudShark->isEnabled());
    EXPECT_FALSE(mojoPackets->isEnabled());
    menu.validate(true, false);
    EXPECT_TRUE(cloudShark->isEnabled());
    EXPECT_FALSE(mojoPackets->isEnabled());
    menu.validate(false, true);
    EXPECT_FALSE(cloudShark->isEnabled());
    EXPECT_TRUE(mojoPackets->isEnabled());
    EXPECT_TRUE(menu.item(outlets::configureServicesMenuItem)->isEnabled());
}

TEST(StatusMenu, SubmenusWithoutChannelsStayDisabledAndSayWhy) {
    StatusMenu menu;
    menu.updateStatusMenu(associated());
    const std::vector<CWChannel> channels{{6, bandTwoDotFourGHz, width20MHz}};
    const QAction* submenu = menu.item(outlets::captureOther2Dot4GHzSubmenuItem);
    menu.populateCaptureOtherSubmenus({});
    menu.enableCaptures();
    EXPECT_FALSE(submenu->isEnabled());
    EXPECT_EQ(submenu->toolTip(), QStringLiteral("This adapter has no channels in this band."));
    menu.populateCaptureOtherSubmenus(channels);
    EXPECT_TRUE(submenu->isEnabled());
    EXPECT_NE(submenu->toolTip(), QStringLiteral("This adapter has no channels in this band."));

    menu.disableCaptures();
    menu.populateCaptureOtherSubmenus({});
    menu.populateCaptureOtherSubmenus(channels);
    EXPECT_FALSE(submenu->isEnabled()) << "captures are disabled still";
}

TEST(StatusMenu, LaunchAtLoginAnnouncesTheNewMark) {
    StatusMenu menu;
    const QAction& item = *menu.item(outlets::launchAtLoginMenuItem);
    std::vector<bool> asked;
    QObject::connect(&menu, &StatusMenu::launchAtLoginRequested, &menu, [&](bool launch) { asked.push_back(launch); });
    menu.setLaunchAtLogin(true);
    EXPECT_TRUE(item.isChecked());
    EXPECT_THAT(asked, IsEmpty());
    menu.item(outlets::launchAtLoginMenuItem)->trigger();
    EXPECT_FALSE(item.isChecked());
    menu.item(outlets::launchAtLoginMenuItem)->trigger();
    EXPECT_TRUE(item.isChecked());
    EXPECT_THAT(asked, ElementsAre(false, true));
}

TEST(StatusMenu, EachCommandSendsItsOwnSignal) {
    StatusMenu menu;
    menu.validate(true, true);
    menu.updateStatusMenu(associated());
    QStringList sent;
    const auto note = [&](auto signal, QLatin1StringView outlet) {
        QObject::connect(&menu, signal, &menu, [&sent, outlet] { sent.append(outlet); });
    };
    using namespace outlets;
    note(&StatusMenu::captureRequested, captureMenuItem);
    note(&StatusMenu::captureAll2Dot4GHzRequested, captureAll2Dot4GHzMenuItem);
    note(&StatusMenu::captureAll5GHzRequested, captureAll5GHzMenuItem);
    note(&StatusMenu::captureAllRequested, captureAllMenuItem);
    note(&StatusMenu::captureCustomRequested, captureCustomMenuItem);
    note(&StatusMenu::uploadToCloudSharkRequested, uploadToCloudSharkMenuItem);
    note(&StatusMenu::uploadToMojoPacketsRequested, uploadToMojoPacketsMenuItem);
    note(&StatusMenu::configureServicesRequested, configureServicesMenuItem);
    note(&StatusMenu::disassociateRequested, disassociateMenuItem);
    note(&StatusMenu::turnOnOffRequested, turnOnOffMenuItem);
    note(&StatusMenu::preferencesRequested, preferencesMenuItem);
    note(&StatusMenu::helpRequested, helpMenuItem);
    note(&StatusMenu::aboutRequested, aboutMenuItem);
    note(&StatusMenu::quitRequested, quitMenuItem);
    const QList<QLatin1StringView> all{captureMenuItem,
                                       captureAll2Dot4GHzMenuItem,
                                       captureAll5GHzMenuItem,
                                       captureAllMenuItem,
                                       captureCustomMenuItem,
                                       uploadToCloudSharkMenuItem,
                                       uploadToMojoPacketsMenuItem,
                                       configureServicesMenuItem,
                                       disassociateMenuItem,
                                       turnOnOffMenuItem,
                                       preferencesMenuItem,
                                       helpMenuItem,
                                       aboutMenuItem,
                                       quitMenuItem};
    QStringList expected;
    for (const QLatin1StringView outlet : all) {
        menu.item(outlet)->trigger();
        expected.append(outlet);
    }
    EXPECT_EQ(sent, expected);
}

TEST(StatusMenu, TellsWhenItIsAboutToShow) {
    StatusMenu menu;
    int shown = 0;
    QObject::connect(&menu, &StatusMenu::aboutToShow, &menu, [&] { ++shown; });
    menu.menu()->popup({});
    menu.menu()->hide();
    EXPECT_EQ(shown, 1);
}

} // namespace
} // namespace vantrel::ui
