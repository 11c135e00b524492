#include "app/ProgressDisplay.h"

#include "engine/Timers.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"
#include "simulated/SimulatedRadio.h"

#include <QLabel>
#include <QPushButton>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <limits>

namespace vantrel::testing {
namespace {

using namespace std::chrono_literals;

// A clock that stands still; no timers.
class StoppedClock final : public Timers {
public:
    [[nodiscard]] QDateTime now() const override { return time; }
    [[nodiscard]] std::unique_ptr<Handle> after(std::chrono::milliseconds, std::function<void()>) override {
        return nullptr;
    }
    [[nodiscard]] std::unique_ptr<Handle> every(std::chrono::milliseconds, std::function<void()>) override {
        return nullptr;
    }
    QDateTime time = QDateTime(QDate(2026, 3, 14), QTime(9, 26, 53));
};

class ProgressDisplayTest : public ::testing::Test {
protected:
    ProgressDisplayTest() {
        reading.progress.frames = 12;
        reading.progress.size = 1536;
        reading.progress.creationTime = timers.time;
        reading.progress.totalCaptureFiles = 1;
        reading.progress.maxCaptureFiles = 1;
    }
    void limit(int units, int value) {
        settings.setBool(keys::LimitCaptureFile, true);
        settings.setInteger(keys::LimitCaptureFileUnits, units);
        settings.setInteger(keys::LimitCaptureFileValue, value);
    }
    void open() {
        display.captureDidStart();
        display.startProgress();
    }
    void refresh() {
        clock += 100ms;
        display.updateProgress();
    }
    [[nodiscard]] QString message() const {
        return display.panel()->findChild<QLabel*>(QStringLiteral("messageLabel"))->text();
    }
    void press(const QString& button) const { display.panel()->findChild<QPushButton*>(button)->click(); }

    QTemporaryDir folder;
    SettingsStore settings{folder.filePath(QStringLiteral("settings.json"))};
    static std::unique_ptr<CWWiFiClient> simulated() {
        SimulatedOptions options;
        options.transport = SimulatedTransport::Stream;
        return makeSimulatedClient(options);
    }

    std::unique_ptr<CWWiFiClient> wifi = simulated();
    StoppedClock timers;
    std::chrono::steady_clock::time_point clock{1h};
    ProgressDisplay::Reading reading;
    int reads = 0;
    int stops = 0;
    int cancels = 0;
    ProgressDisplay display{{.settings = settings,
                             .airport = wifi->interface(),
                             .timers = timers,
                             .read =
                                 [this] {
                                     ++reads;
                                     return reading;
                                 },
                             .stop = [this] { ++stops; },
                             .cancel = [this] { ++cancels; },
                             .clock = [this] { return clock; }}};
};

TEST_F(ProgressDisplayTest, OpensFilled) {
    open();
    ASSERT_NE(display.panel(), nullptr);
    EXPECT_TRUE(display.panel()->isVisible());
    EXPECT_EQ(display.panel()->windowTitle(), QStringLiteral("Capturing on Channel 36 (80 MHz)"));
    EXPECT_EQ(message(), QStringLiteral("Frames: 12 (1 KB)"));
    EXPECT_EQ(display.panel()->progress(), -1);
    EXPECT_EQ(reads, 1);
}

TEST_F(ProgressDisplayTest, TwoFrames50MillisecondsApartCauseOneRefresh) {
    open();
    clock += 100ms;
    display.updateProgress();
    clock += 50ms;
    display.updateProgress();
    EXPECT_EQ(reads, 2) << "the opening and the first frame";
    clock += 50ms;
    display.updateProgress();
    EXPECT_EQ(reads, 3);
}

TEST_F(ProgressDisplayTest, FirstRefreshOfACaptureIsNeverThrottled) {
    open();
    display.closeProgress();
    display.captureDidEnd();
    open(); // at the same instant
    EXPECT_EQ(reads, 2);
    EXPECT_EQ(message(), QStringLiteral("Frames: 12 (1 KB)"));
}

TEST_F(ProgressDisplayTest, WithoutAPanelNothingIsRead) {
    display.updateProgress();
    display.captureDidStart();
    display.updateProgress();
    EXPECT_EQ(reads, 0);
}

TEST_F(ProgressDisplayTest, CaptureThatIsOverOpensNoPanel) {
    display.captureDidStart();
    display.captureDidEnd();
    display.startProgress();
    EXPECT_EQ(display.panel(), nullptr);
}

TEST_F(ProgressDisplayTest, SeveralFilesAreCounted) {
    reading.isMultipleFileCapture = true;
    reading.progress.totalCaptureFiles = 3;
    reading.progress.maxCaptureFiles = 10;
    open();
    EXPECT_EQ(message(), QStringLiteral("File 3 out of 10, frames: 12 (1 KB)"));
}

TEST_F(ProgressDisplayTest, FileOf1GiBHasNoSize) {
    reading.progress.size = 1073741824;
    open();
    EXPECT_EQ(message(), QStringLiteral("Frames: 12 ()"));
}

TEST_F(ProgressDisplayTest, SizeLimitCountsBytes) {
    limit(0, 3);
    reading.progress.limits.maxFileSize = 3072;
    open();
    EXPECT_EQ(display.panel()->progress(), 50);
    reading.progress.size = 6144; // not clamped
    refresh();
    EXPECT_EQ(display.panel()->progress(), 200);
}

TEST_F(ProgressDisplayTest, TimeLimitCountsFromTheFilesCreation) {
    limit(3, 2);
    reading.progress.creationTime = timers.time.addSecs(-60);
    open();
    EXPECT_EQ(display.panel()->progress(), 50) << "one of two minutes";
    limit(2, 240);
    refresh();
    EXPECT_EQ(display.panel()->progress(), 25) << "60 of 240 seconds";
    reading.progress.creationTime = {};
    refresh();
    EXPECT_EQ(display.panel()->progress(), 0) << "no file yet";
}

TEST_F(ProgressDisplayTest, FrameLimitCountsFrames) {
    limit(4, 48);
    reading.progress.limits.maxFileFrames = 48;
    open();
    EXPECT_EQ(display.panel()->progress(), 25);
}

TEST_F(ProgressDisplayTest, LimitsOfNothingAndUnknownUnitsShowNoEnd) {
    open();
    for (const int units : {0, 1, 2, 3, 4, 5, -1}) {
        limit(units, 0);
        refresh();
        EXPECT_EQ(display.panel()->progress(), -1) << units;
    }
    limit(0, 4096);
    reading.progress.limits.maxFileSize = std::numeric_limits<std::int32_t>::min(); // wrapped around
    refresh();
    EXPECT_EQ(display.panel()->progress(), -1);
}

TEST_F(ProgressDisplayTest, DroppedFramesAreTold) {
    reading.progress.framesDroppedByKernel = 7;
    open();
    EXPECT_TRUE(display.panel()->findChild<QLabel*>(QStringLiteral("droppedFramesLabel"))->isVisible());
}

TEST_F(ProgressDisplayTest, TitleFollowsTheHops) {
    wifi->interface().disassociate();
    open();
    ASSERT_TRUE(wifi->interface().setWLANChannel({6, bandTwoDotFourGHz, width20MHz}));
    refresh();
    EXPECT_EQ(display.panel()->windowTitle(), QStringLiteral("Capturing on Channel 6 (20 MHz)"));
}

TEST_F(ProgressDisplayTest, ButtonsArePassedOn) {
    open();
    press(QStringLiteral("stopButton"));
    EXPECT_EQ(std::pair(stops, cancels), std::pair(1, 0));
    press(QStringLiteral("cancelButton"));
    EXPECT_EQ(std::pair(stops, cancels), std::pair(1, 1));
    EXPECT_NE(display.panel(), nullptr) << "until the capture ends";
    display.closeProgress();
    EXPECT_EQ(display.panel(), nullptr);
}

} // namespace
} // namespace vantrel::testing
