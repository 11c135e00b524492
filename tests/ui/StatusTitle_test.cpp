#include "ui/StatusTitle.h"

#include <gtest/gtest.h>

namespace vantrel::ui {
namespace {

TitleState onChannel36() {
    return {.powerOn = true,
            .channelNumber = 36,
            .channelWidthMHz = 80,
            .displayChannel = true,
            .displayChannelWidth = true};
}

TEST(StatusTitle, ChannelAndWidthAsTheDisplaySettingsSay) {
    TitleState state = onChannel36();
    EXPECT_EQ(statusTitle(state).toStdString(), "36 (80 MHz)");
    state.displayChannelWidth = false;
    EXPECT_EQ(statusTitle(state).toStdString(), "36");
    state.displayChannel = false;
    EXPECT_EQ(statusTitle(state).toStdString(), "");
    state.displayChannelWidth = true;
    EXPECT_EQ(statusTitle(state).toStdString(), "80 MHz");
}

TEST(StatusTitle, UnknownWidthIsShownAsItIs) {
    TitleState state = onChannel36();
    state.channelWidthMHz = -1;
    EXPECT_EQ(statusTitle(state).toStdString(), "36 (-1 MHz)");
}

TEST(StatusTitle, UploadReplacesTheTitleWhateverTheDisplaySettings) {
    TitleState state = onChannel36();
    state.uploadProgress = 37;
    EXPECT_EQ(statusTitle(state).toStdString(), "37%");
    state.displayChannel = state.displayChannelWidth = false;
    EXPECT_EQ(statusTitle(state).toStdString(), "37%");
}

TEST(StatusTitle, UploadShowsFrom1To99Percent) {
    TitleState state = onChannel36();
    for (const int hidden : {-1, 0, 100, 101}) {
        state.uploadProgress = hidden;
        EXPECT_EQ(statusTitle(state).toStdString(), "36 (80 MHz)") << hidden;
    }
    state.uploadProgress = 1;
    EXPECT_EQ(statusTitle(state).toStdString(), "1%");
    state.uploadProgress = 99;
    EXPECT_EQ(statusTitle(state).toStdString(), "99%");
}

TEST(StatusTitle, WithoutPowerItIsOffWhenAnythingIsDisplayed) {
    TitleState state = onChannel36();
    state.powerOn = false;
    state.uploadProgress = 37;
    EXPECT_EQ(statusTitle(state).toStdString(), "Off");
    state.displayChannel = false;
    EXPECT_EQ(statusTitle(state).toStdString(), "Off");
    state.displayChannelWidth = false;
    EXPECT_EQ(statusTitle(state).toStdString(), "");
    state.displayChannel = true;
    EXPECT_EQ(statusTitle(state).toStdString(), "Off");
}

TitleMarks marks(const char* large, const char* small) {
    return {.large = QString::fromUtf8(large), .small = QString::fromUtf8(small)};
}

TEST(StatusTitle, MarksAreTheTitleInAFewLetters) {
    TitleState state = onChannel36();
    EXPECT_EQ(titleMarks(state), marks("36", "80"));
    state.uploadProgress = 37;
    EXPECT_EQ(titleMarks(state), marks("37%", ""));
    state.uploadProgress = -1;
    state.displayChannelWidth = false;
    EXPECT_EQ(titleMarks(state), marks("36", ""));
    state.displayChannel = false;
    EXPECT_EQ(titleMarks(state), marks("", ""));
    state.displayChannelWidth = true;
    EXPECT_EQ(titleMarks(state), marks("80", "MHz"));
    state.powerOn = false;
    EXPECT_EQ(titleMarks(state), marks("Off", ""));
}

} // namespace
} // namespace vantrel::ui
