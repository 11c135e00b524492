#include "ui/ProgressTexts.h"

#include <gtest/gtest.h>

namespace vantrel::ui {
namespace {

constexpr std::uint64_t gib = 1073741824;

TEST(ProgressTexts, SizesFrom1GiBAreNotSaid) { EXPECT_EQ(messageText(12, gib).toStdString(), "Frames: 12 ()"); }

TEST(ProgressTexts, TitleNamesTheChannel) {
    EXPECT_EQ(windowTitle(36, 80).toStdString(), "Capturing on Channel 36 (80 MHz)");
    EXPECT_EQ(windowTitle(6, -1).toStdString(), "Capturing on Channel 6 (-1 MHz)");
}

TEST(ProgressTexts, MessagesOfOneFileAndOfSeveral) {
    EXPECT_EQ(messageText(12, 1536).toStdString(), "Frames: 12 (1 KB)");
    EXPECT_EQ(messageText(3, 10, 12, 1048576).toStdString(), "File 3 out of 10, frames: 12 (1.00 MB)");
    EXPECT_EQ(messageText(5'000'000'000U, 0).toStdString(), "Frames: 5000000000 (0 bytes)");
}

TEST(ProgressTexts, DroppedFramesAreSaidInWords) {
    EXPECT_EQ(droppedFramesText(0).toStdString(), "");
    EXPECT_EQ(droppedFramesText(1).toStdString(), "1 frame lost: it came faster than this computer could take it.");
    EXPECT_EQ(droppedFramesText(2).toStdString(),
              "2 frames lost: they came faster than this computer could take them.");
    EXPECT_EQ(droppedFramesText(0, 1).toStdString(), "1 frame lost: there is no file to write it to.");
    EXPECT_EQ(droppedFramesText(2, 30).toStdString(),
              "2 frames lost: they came faster than this computer could take them.\n"
              "30 frames lost: there is no file to write them to.");
}

TEST(ProgressTexts, WithoutALimitTheProgressIsIndeterminate) {
    EXPECT_EQ(progressValue({.units = 3, .value = 2, .elapsed = 60}), -1);
}

TEST(ProgressTexts, ProgressOfEachKindOfLimit) {
    for (const int size : {0, 1}) {
        EXPECT_EQ(progressValue({.limitCaptureFile = true, .units = size, .size = 250, .maxCaptureFileSize = 1000}),
                  25);
    }
    EXPECT_EQ(progressValue({.limitCaptureFile = true, .units = 2, .value = 60, .elapsed = 15}), 25);
    EXPECT_EQ(progressValue({.limitCaptureFile = true, .units = 3, .value = 2, .elapsed = 60}), 50);
    EXPECT_EQ(progressValue({.limitCaptureFile = true, .units = 4, .frames = 3, .maxCaptureFileFrames = 4}), 75);
}

TEST(ProgressTexts, ProgressOvershoots) {
    EXPECT_EQ(progressValue({.limitCaptureFile = true, .units = 1, .size = 1500, .maxCaptureFileSize = 1000}), 150);
}

TEST(ProgressTexts, UnknownUnitsAndLimitsOfNothingAreIndeterminate) {
    for (const int units : {-1, 5, 99}) {
        EXPECT_EQ(progressValue({.limitCaptureFile = true,
                                 .units = units,
                                 .value = 1,
                                 .size = 1,
                                 .maxCaptureFileSize = 1,
                                 .elapsed = 1,
                                 .frames = 1,
                                 .maxCaptureFileFrames = 1}),
                  -1)
            << units;
    }
    for (const int units : {0, 1, 2, 3, 4}) {
        EXPECT_EQ(progressValue({.limitCaptureFile = true, .units = units, .size = 1, .elapsed = 1, .frames = 1}), -1)
            << units;
        EXPECT_EQ(progressValue({.limitCaptureFile = true, .units = units}), -1) << units;
    }
}

} // namespace
} // namespace vantrel::ui
