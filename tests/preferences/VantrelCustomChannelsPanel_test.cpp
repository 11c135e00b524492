#include "preferences/VantrelCustomChannelsPanel.h"

#include "PreferencesFixture.h"
#include "settings/SettingsKeys.h"

#include <QApplication>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QJsonArray>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <gmock/gmock.h>

namespace vantrel::preferences {
namespace {

using ::testing::ElementsAre;

std::vector<int> numbers(int from, int to, int step) {
    std::vector<int> all;
    for (int number = from; number <= to; number += step) {
        all.push_back(number);
    }
    return all;
}

class ChannelsPanel : public PreferencesFixture {
protected:
    ChannelsPanel() {
        for (const int number : numbers(1, 11, 1)) {
            channels.push_back({number, bandTwoDotFourGHz, width20MHz});
        }
        for (const int number : numbers(36, 48, 4)) {
            channels.push_back({number, bandFiveGHz, width20MHz});
            channels.push_back({number, bandFiveGHz, width40MHz});
        }
        channels.push_back({149, bandFiveGHz, width40MHz});
    }
    VantrelCustomChannelsPanel& make() {
        panel = std::make_unique<VantrelCustomChannelsPanel>(settings, channels);
        return *panel;
    }
    [[nodiscard]] QCheckBox& box(int number) const {
        for (QCheckBox* candidate : panel->findChildren<QCheckBox*>()) {
            if (candidate->property("tag").toInt() == number) {
                return *candidate;
            }
        }
        ADD_FAILURE() << "no box for " << number;
        std::abort();
    }
    [[nodiscard]] std::vector<int> tagsIn(const char* group) const {
        std::vector<int> tags;
        for (const QCheckBox* candidate : part<QGroupBox>(*panel, group).findChildren<QCheckBox*>()) {
            tags.push_back(candidate->property("tag").toInt());
        }
        return tags;
    }
    void confirm() { part<QDialogButtonBox>(*panel, "confirm").button(QDialogButtonBox::Ok)->click(); }
    [[nodiscard]] QString note(const char* name) const { return part<QLabel>(*panel, name).text(); }

    std::unique_ptr<VantrelCustomChannelsPanel> panel;
};

TEST_F(ChannelsPanel, OneBoxPerChannelGroupedByBand) {
    make();
    EXPECT_EQ(panel->windowTitle(), QStringLiteral("Choose Channels"));
    EXPECT_EQ(tagsIn("band2"), numbers(1, 14, 1));
    EXPECT_EQ(tagsIn("unii1"), numbers(36, 48, 4));
    EXPECT_EQ(tagsIn("unii2"), numbers(52, 64, 4));
    EXPECT_EQ(tagsIn("unii2e"), numbers(100, 144, 4));
    EXPECT_EQ(tagsIn("unii3"), numbers(149, 165, 4));
    EXPECT_TRUE(part<QGroupBox>(*panel, "others").isHidden());
    for (const QCheckBox* candidate : panel->findChildren<QCheckBox*>()) {
        const int number = candidate->property("tag").toInt();
        EXPECT_EQ(candidate->text(), QString::number(number));
        EXPECT_EQ(candidate->accessibleName(), QStringLiteral("Channel %1").arg(number));
    }
    EXPECT_EQ(panel->findChildren<QCheckBox*>().size(), 14 + 4 + 4 + 12 + 5);
}

TEST_F(ChannelsPanel, BoxesFollowTheStoredList) {
    settings.setIntegerArray(keys::CustomChannelList, {6, 40, 52});
    make();
    for (const QCheckBox* candidate : panel->findChildren<QCheckBox*>()) {
        const int number = candidate->property("tag").toInt();
        EXPECT_EQ(candidate->isChecked(), number == 6 || number == 40 || number == 52) << number;
    }
}

TEST_F(ChannelsPanel, WhatTheAdapterLacksIsDisabledAndSaysWhy) {
    make();
    EXPECT_TRUE(box(11).isEnabled());
    EXPECT_FALSE(box(12).isEnabled());
    EXPECT_EQ(box(12).toolTip(), QStringLiteral("This adapter does not have channel 12."));
    EXPECT_EQ(box(12).accessibleDescription(), box(12).toolTip());
    EXPECT_FALSE(box(149).isEnabled()) << "a custom capture hops at 20 MHz alone";
    EXPECT_EQ(box(149).toolTip(), QStringLiteral("This adapter has channel 149 only at more than 20 MHz."));
    EXPECT_FALSE(part<QLabel>(*panel, "lackNote").isHidden());
    channels.clear();
    make();
    EXPECT_EQ(note("lackNote"), QStringLiteral("There is no adapter, so no channel can be chosen."));
}

TEST_F(ChannelsPanel, ConfirmingWritesTheTagsAsNumbers) {
    make();
    box(11).click();
    box(1).click();
    box(40).click();
    box(1).click();
    box(6).click();
    EXPECT_TRUE(stored().isEmpty()) << "not before it is confirmed";
    confirm();
    EXPECT_EQ(stored(keys::CustomChannelList), QJsonValue(QJsonArray({6, 11, 40})));
    EXPECT_THAT(panel->customChannels(), ElementsAre(6, 11, 40));
    EXPECT_EQ(panel->result(), 1);
}

TEST_F(ChannelsPanel, DisabledBoxesAreNotWrittenThoughChecked) {
    settings.setIntegerArray(keys::CustomChannelList, {6, 13});
    make();
    EXPECT_TRUE(box(13).isChecked());
    confirm();
    EXPECT_THAT(panel->customChannels(), ElementsAre(6));
}

TEST_F(ChannelsPanel, ABoxWithoutATagIsNotWritten) {
    make();
    auto* untagged = new QCheckBox(panel.get());
    untagged->setChecked(true);
    box(6).click();
    confirm();
    EXPECT_THAT(panel->customChannels(), ElementsAre(6));
}

TEST_F(ChannelsPanel, CancellingWritesNothing) {
    settings.setIntegerArray(keys::CustomChannelList, {6, 11});
    make();
    box(1).click();
    part<QDialogButtonBox>(*panel, "confirm").button(QDialogButtonBox::Cancel)->click();
    EXPECT_EQ(stored(keys::CustomChannelList), QJsonValue(QJsonArray({6, 11})));
    EXPECT_EQ(panel->result(), 0);
}

TEST_F(ChannelsPanel, SelectAllAndNone) {
    make();
    part<QPushButton>(*panel, "selectAll").click();
    EXPECT_TRUE(box(1).isChecked());
    EXPECT_TRUE(box(48).isChecked());
    EXPECT_FALSE(box(12).isChecked()) << "it cannot be chosen";
    EXPECT_EQ(note("countNote"), QStringLiteral("15 channels are chosen."));
    part<QPushButton>(*panel, "selectNone").click();
    EXPECT_FALSE(box(1).isChecked());
    confirm();
    EXPECT_EQ(stored(keys::CustomChannelList), QJsonValue(QJsonArray()));
}

TEST_F(ChannelsPanel, TellsThatFewerThanTwoRecordNothing) {
    const QString tooFew = QStringLiteral("Choose at least two: a capture that cannot hop records nothing.");
    make();
    EXPECT_EQ(note("countNote"), tooFew);
    box(1).click();
    EXPECT_EQ(note("countNote"), tooFew);
    box(6).click();
    EXPECT_EQ(note("countNote"), QStringLiteral("2 channels are chosen."));
}

TEST_F(ChannelsPanel, ChannelsBeyondTheUsualHaveABoxOfTheirOwn) {
    channels.push_back({184, bandFiveGHz, width20MHz});
    channels.push_back({169, bandFiveGHz, width20MHz});
    channels.push_back({169, bandFiveGHz, width40MHz});
    make();
    EXPECT_FALSE(part<QGroupBox>(*panel, "others").isHidden());
    EXPECT_THAT(tagsIn("others"), ElementsAre(169, 184));
    box(184).click();
    confirm();
    EXPECT_THAT(panel->customChannels(), ElementsAre(184));
}

TEST_F(ChannelsPanel, WaitsForTheUser) {
    make();
    QTimer::singleShot(0, panel.get(), [this] {
        EXPECT_EQ(QApplication::activeModalWidget(), panel.get());
        confirm();
    });
    EXPECT_TRUE(panel->runModal());
    make();
    QTimer::singleShot(0, panel.get(), [this] { panel->reject(); });
    EXPECT_FALSE(panel->runModal());
}

} // namespace
} // namespace vantrel::preferences
