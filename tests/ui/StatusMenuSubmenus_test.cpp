#include "StatusMenuReading.h"

#include <gmock/gmock.h>

namespace vantrel::ui {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(StatusMenuSubmenus, ChannelsStandInTheirBands) {
    StatusMenu menu;
    menu.populateChannelSubmenuWithChannels(channels20MHz({165, 36, 13, 1, 2, 11, 40, 36, 1}));
    const QMenu& channels = submenu(menu, outlets::channelSubmenuMenuItem);
    EXPECT_THAT(visibleTitles(channels), ElementsAre("2.4 GHz", "1", "2", "11", "13", "-", "5 GHz", "36", "40", "165"));
    EXPECT_EQ(channels.actions().first()->data().toInt(), 1000);
    EXPECT_EQ(channels.actions().at(1)->data().toInt(), 1);
    EXPECT_EQ(channels.actions().last()->data().toInt(), 165);
}

TEST(StatusMenuSubmenus, ChannelsOf2Dot4GHzEndAt14) {
    StatusMenu menu;
    menu.populateChannelSubmenuWithChannels(channels20MHz({14, 15, 16}));
    EXPECT_THAT(visibleTitles(submenu(menu, outlets::channelSubmenuMenuItem)),
                ElementsAre("2.4 GHz", "14", "-", "5 GHz", "15", "16"));
}

TEST(StatusMenuSubmenus, BandWithoutChannelsHasNoHeading) {
    StatusMenu menu;
    const QMenu& channels = submenu(menu, outlets::channelSubmenuMenuItem);
    EXPECT_THAT(visibleTitles(channels), IsEmpty());
    menu.populateChannelSubmenuWithChannels(channels20MHz({1, 6}));
    EXPECT_THAT(visibleTitles(channels), ElementsAre("2.4 GHz", "1", "6"));
    menu.populateChannelSubmenuWithChannels(channels20MHz({36}));
    EXPECT_THAT(visibleTitles(channels), ElementsAre("5 GHz", "36")) << "and what stood there before is gone";
}

TEST(StatusMenuSubmenus, WidthsHaveTitlesForTheFourCodes) {
    StatusMenu menu;
    menu.populateChannelWidthSubmenuWithChannels({{36, 2, width160MHz},
                                                  {36, 2, width20MHz},
                                                  {40, 2, width20MHz},
                                                  {36, 2, width80MHz},
                                                  {1, 1, width40MHz},
                                                  {36, 2, 0}});
    const QMenu& widths = submenu(menu, outlets::channelWidthSubmenuMenuItem);
    EXPECT_THAT(visibleTitles(widths), ElementsAre("", "20 MHz", "40 MHz", "80 MHz", "160 MHz"));
    EXPECT_EQ(widths.actions().at(1)->data().toInt(), width20MHz);
    EXPECT_EQ(widths.actions().at(4)->data().toInt(), width160MHz);
}

TEST(StatusMenuSubmenus, CapturesOnOneChannelAreGroupedByWidth) {
    StatusMenu menu;
    std::vector<CWChannel> channels = channels20MHz({6, 1});
    for (const int width : {width80MHz, width20MHz, width40MHz}) {
        for (const int number : {40, 36}) {
            channels.push_back({number, bandFiveGHz, width});
        }
    }
    menu.populateCaptureOtherSubmenus(channels);
    EXPECT_THAT(visibleTitles(submenu(menu, outlets::captureOther2Dot4GHzSubmenuItem)),
                ElementsAre("20 MHz", "1", "6"));
    const QMenu& fiveGHz = submenu(menu, outlets::captureOther5GHzSubmenuItem);
    EXPECT_THAT(visibleTitles(fiveGHz),
                ElementsAre("20 MHz", "36", "40", "-", "40 MHz", "36", "40", "-", "80 MHz", "36", "40"));
    EXPECT_EQ(fiveGHz.actions().at(6)->data().value<CWChannel>(), (CWChannel{40, bandFiveGHz, width40MHz}));
    EXPECT_EQ(fiveGHz.actions().at(6)->toolTip(), QStringLiteral("40 (40 MHz)"));
    EXPECT_FALSE(fiveGHz.actions().at(0)->isEnabled());
}

TEST(StatusMenuSubmenus, CapturesOf160MHzAndOfUnknownWidth) {
    StatusMenu menu;
    menu.populateCaptureOtherSubmenus({{36, 2, width160MHz}, {44, 2, width20MHz}, {149, 2, 0}});
    EXPECT_THAT(visibleTitles(submenu(menu, outlets::captureOther5GHzSubmenuItem)),
                ElementsAre("20 MHz", "149", "44", "-", "160 MHz", "36"));
}

TEST(StatusMenuSubmenus, BandWithoutChannelsCannotBeCapturedOn) {
    StatusMenu menu;
    menu.updateStatusMenu(associated());
    menu.populateCaptureOtherSubmenus(channels20MHz({1}));
    menu.enableCaptures();
    EXPECT_TRUE(menu.item(outlets::captureOther2Dot4GHzSubmenuItem)->isEnabled());
    const QAction* fiveGHz = menu.item(outlets::captureOther5GHzSubmenuItem);
    EXPECT_FALSE(fiveGHz->isEnabled());
    EXPECT_EQ(fiveGHz->toolTip(), QStringLiteral("This adapter has no channels in this band."));
    menu.populateCaptureOtherSubmenus(channels20MHz({1, 36}));
    EXPECT_TRUE(fiveGHz->isEnabled());
}

TEST(StatusMenuSubmenus, LinkLayerHeadersAreListedWithOneChosen) {
    StatusMenu menu;
    menu.updateStatusMenu(associated());
    const QAction* item = menu.item(outlets::linkLayerHeaderSubmenuMenuItem);
    EXPECT_FALSE(item->isEnabled());
    menu.populateLinkLayerHeaderSubmenu(
        {{105, QStringLiteral("802.11")}, {127, QStringLiteral("This & that")}, {250, QString()}}, 127);
    EXPECT_TRUE(item->isEnabled());
    const QMenu& headers = submenu(menu, outlets::linkLayerHeaderSubmenuMenuItem);
    EXPECT_EQ(shownTitle(*headers.actions().at(0)), "802.11");
    EXPECT_EQ(shownTitle(*headers.actions().at(1)), "This && that");
    EXPECT_EQ(shownTitle(*headers.actions().at(2)), "DLT 250");
    EXPECT_THAT(checkedTitles(headers), ElementsAre("This && that"));
    menu.setLinkLayerHeader(105);
    EXPECT_THAT(checkedTitles(headers), ElementsAre("802.11"));
    menu.populateLinkLayerHeaderSubmenu({}, 105);
    EXPECT_FALSE(item->isEnabled());
    EXPECT_THAT(visibleTitles(headers), IsEmpty());
}

TEST(StatusMenuSubmenus, ChoosingALinkLayerHeaderMovesTheMark) {
    StatusMenu menu;
    menu.populateLinkLayerHeaderSubmenu({{105, QStringLiteral("A")}, {127, QStringLiteral("B")}}, 127);
    const QMenu& headers = submenu(menu, outlets::linkLayerHeaderSubmenuMenuItem);
    std::vector<int> asked;
    QObject::connect(&menu, &StatusMenu::linkLayerHeaderRequested, &menu, [&](int dlt) { asked.push_back(dlt); });
    itemOf(headers, "A").trigger();
    EXPECT_THAT(checkedTitles(headers), ElementsAre("A"));
    itemOf(headers, "A").trigger();
    EXPECT_THAT(checkedTitles(headers), ElementsAre("A"));
    EXPECT_THAT(asked, ElementsAre(105, 105));
}

TEST(StatusMenuSubmenus, MarksTellTheChannelAndWidthOfTheAdapter) {
    StatusMenu menu;
    menu.updateStatusMenu(associated());
    const std::vector<CWChannel> both{{1, 1, width20MHz}, {36, 2, width80MHz}};
    menu.populateChannelSubmenuWithChannels(both);
    menu.populateChannelWidthSubmenuWithChannels(both);
    const QMenu& channels = submenu(menu, outlets::channelSubmenuMenuItem);
    const QMenu& widths = submenu(menu, outlets::channelWidthSubmenuMenuItem);
    EXPECT_THAT(checkedTitles(channels), ElementsAre("36"));
    EXPECT_THAT(checkedTitles(widths), ElementsAre("80 MHz"));
    MenuState state = associated();
    state.channel = {1, 1, width20MHz};
    menu.updateStatusMenu(state);
    EXPECT_THAT(checkedTitles(channels), ElementsAre("1"));
    EXPECT_THAT(checkedTitles(widths), ElementsAre("20 MHz"));
    state.channel = {6, 1, width40MHz};
    menu.updateStatusMenu(state);
    EXPECT_THAT(checkedTitles(channels), IsEmpty());
    EXPECT_THAT(checkedTitles(widths), IsEmpty());
}

TEST(StatusMenuSubmenus, ChoosingAChannelLeavesTheMarkWhereTheAdapterIs) {
    StatusMenu menu;
    menu.populateChannelSubmenuWithChannels(channels20MHz({1, 36}));
    menu.updateStatusMenu(associated());
    const QMenu& channels = submenu(menu, outlets::channelSubmenuMenuItem);
    std::vector<std::pair<int, bool>> asked;
    QObject::connect(&menu, &StatusMenu::channelRequested, &menu,
                     [&](int number, bool alreadyChecked) { asked.emplace_back(number, alreadyChecked); });
    itemOf(channels, "1").trigger();
    EXPECT_THAT(checkedTitles(channels), ElementsAre("36"));
    itemOf(channels, "36").trigger();
    EXPECT_THAT(checkedTitles(channels), ElementsAre("36"));
    EXPECT_THAT(asked, ElementsAre(std::pair(1, false), std::pair(36, true)));
}

TEST(StatusMenuSubmenus, ChoosingAWidthLeavesTheMarkWhereTheAdapterIs) {
    StatusMenu menu;
    menu.populateChannelWidthSubmenuWithChannels({{36, 2, width20MHz}, {36, 2, width80MHz}});
    menu.updateStatusMenu(associated());
    const QMenu& widths = submenu(menu, outlets::channelWidthSubmenuMenuItem);
    std::vector<std::pair<int, bool>> asked;
    QObject::connect(&menu, &StatusMenu::channelWidthRequested, &menu,
                     [&](int width, bool alreadyChecked) { asked.emplace_back(width, alreadyChecked); });
    itemOf(widths, "20 MHz").trigger();
    itemOf(widths, "80 MHz").trigger();
    EXPECT_THAT(checkedTitles(widths), ElementsAre("80 MHz"));
    EXPECT_THAT(asked, ElementsAre(std::pair(width20MHz, false), std::pair(width80MHz, true)));
}

TEST(StatusMenuSubmenus, CaptureOnAListedChannelHandsItOver) {
    StatusMenu menu;
    const CWChannel wide{36, bandFiveGHz, width80MHz};
    menu.populateCaptureOtherSubmenus({wide, {36, bandFiveGHz, width20MHz}});
    std::vector<CWChannel> asked;
    QObject::connect(&menu, &StatusMenu::captureOtherRequested, &menu,
                     [&](const CWChannel& channel) { asked.push_back(channel); });
    submenu(menu, outlets::captureOther5GHzSubmenuItem).actions().last()->trigger();
    EXPECT_THAT(asked, ElementsAre(wide));
}

} // namespace
} // namespace vantrel::ui
