// Captures from the item's commands to the file, over whatever this machine permits.
#include "AppFixture.h"
#include "settings/SettingsKeys.h"
#include "simulated/TapDevice.h"
#include "support/EventLoop.h"
#include "support/LogCapture.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <gmock/gmock.h>

namespace vantrel::testing {
namespace {

const QString capture = QStringLiteral("Capture on Current Channel");
const QString quit = QStringLiteral("Quit");

// From the moment of a capture's start, more than it takes until its progress is shown.
constexpr std::chrono::milliseconds afterPanelDelay{350};

class Captures : public AppFixture {
protected:
    void startWith(const SimulatedOptions& options) {
        wifi = makeSimulatedClient(options);
        make();
        start();
        app->settings().setBool(keys::FirstTimeCapture, false); // its notice has tests of its own
    }

    // With so many frames a second on top of the usual traffic.
    void startOnStream(unsigned load = 0) {
        SimulatedOptions options;
        options.transport = SimulatedTransport::Stream;
        options.loadFramesPerSecond = load;
        startWith(options);
    }

    // On a channel where nobody sends.
    void startInSilence() {
        SimulatedOptions options;
        options.transport = SimulatedTransport::Stream;
        options.startAssociated = false;
        startWith(options);
        ASSERT_TRUE(client->interface().setWLANChannel({165, bandFiveGHz, width20MHz}));
    }

    void expectOneWholeFile() {
        EXPECT_TRUE(temporaryFiles().isEmpty());
        const QStringList files = savedFiles();
        ASSERT_EQ(files.size(), 1) << qPrintable(files.join(u'\n'));
        const ReadCapture read = readCapture(files.first());
        EXPECT_TRUE(read.isWhole);
        EXPECT_EQ(read.dataLinkType, 127);
        EXPECT_GT(read.packets.size(), 0U);
        EXPECT_EQ(read.packets.size(), app->session().totalFrames());
        EXPECT_EQ(static_cast<std::uint64_t>(QFileInfo(files.first()).size()), app->session().totalBytes());
    }
};

class CapturesOver : public Captures, public ::testing::WithParamInterface<SimulatedTransport> {
protected:
    void SetUp() override {
        if (GetParam() == SimulatedTransport::Tap && !TapDevice::create()) {
            GTEST_SKIP() << "no TAP devices here";
        }
        SimulatedOptions options;
        options.transport = GetParam();
        startWith(options);
    }
};

TEST_P(CapturesOver, FramesReachAFileInTheFolder) {
    ASSERT_TRUE(startCapture());
    ASSERT_TRUE(waitForFrames());
    app->session().userDidStop();
    ASSERT_TRUE(waitIdle());
    expectOneWholeFile();
    const QRegularExpression name(
        QStringLiteral("^vantrel_\\d{4}-\\d\\d-\\d\\d_\\d\\d\\.\\d\\d\\.\\d\\d\\.[AP]M\\.pcap$"));
    EXPECT_TRUE(name.match(QFileInfo(savedFiles().first()).fileName()).hasMatch());
    EXPECT_TRUE(alerts.isEmpty());
}

TEST_P(CapturesOver, ItemShowsTheCapture) {
    EXPECT_TRUE(isEnabled(capture) && isEnabled(quit));
    ASSERT_TRUE(startCapture());
    EXPECT_TRUE(!isEnabled(capture) && !isEnabled(quit));
    EXPECT_EQ(app->statusItem()->toolTip(), QStringLiteral("Vantrel: capturing (simulated)"));
    ASSERT_TRUE(waitForFrames());
    app->session().userDidStop();
    ASSERT_TRUE(waitIdle());
    EXPECT_TRUE(isEnabled(capture) && isEnabled(quit));
    EXPECT_EQ(app->statusItem()->toolTip(), QStringLiteral("Vantrel (simulated)"));
}

TEST_P(CapturesOver, TerminationEndsTheCaptureInOrder) {
    ASSERT_TRUE(startCapture());
    ASSERT_TRUE(waitForFrames());
    app->settings().setInteger(keys::DwellTime, 321);
    app->applicationWillTerminate();
    EXPECT_EQ(app->session().state(), CaptureSession::State::Idle);
    EXPECT_FALSE(app->session().isCapturing());
    EXPECT_TRUE(storedSettings().contains("DwellTime"));
    expectOneWholeFile();
}

TEST_P(CapturesOver, ApplicationThatGoesWithoutAWordLeavesAWholeFile) {
    ASSERT_TRUE(startCapture());
    ASSERT_TRUE(waitForFrames());
    app.reset();
    ASSERT_EQ(temporaryFiles().size(), 1);
    EXPECT_TRUE(readCapture(temporaryFiles().first()).isWhole);
}

INSTANTIATE_TEST_SUITE_P(Transports, CapturesOver,
                         ::testing::Values(SimulatedTransport::Tap, SimulatedTransport::Stream),
                         [](const auto& instance) {
                             return instance.param == SimulatedTransport::Tap ? "Tap" : "Stream";
                         });

TEST_F(Captures, EachHasAFileOfItsOwn) {
    startOnStream();
    for (int round = 1; round <= 2; ++round) {
        ASSERT_TRUE(startCapture());
        ASSERT_TRUE(waitForFrames(1));
        app->session().userDidStop();
        ASSERT_TRUE(waitIdle());
        EXPECT_EQ(savedFiles().size(), round);
    }
}

TEST_F(Captures, FilesOfAMultipleFileCaptureAreGatheredInItsFolder) {
    storeSettings(R"({"MaxCaptureFiles": 2, "LimitCaptureFile": 1, "LimitCaptureFileValue": 10,
                      "LimitCaptureFileUnits": 4, "RotateCaptureFiles": 0})");
    startOnStream(500);
    ASSERT_TRUE(startCapture());
    ASSERT_TRUE(waitIdle()); // ends by itself
    EXPECT_TRUE(temporaryFiles().isEmpty());
    QDir folder(path(QStringLiteral("home/Desktop")));
    const QStringList captures = folder.entryList({QStringLiteral("vantrel_*")}, QDir::Dirs);
    ASSERT_EQ(captures.size(), 1);
    ASSERT_TRUE(folder.cd(captures.first()));
    EXPECT_EQ(folder.entryList(QDir::Files).join(u' '),
              QStringLiteral("%1.001.pcap %1.002.pcap").arg(captures.first()));
    for (const QString& name : folder.entryList(QDir::Files)) {
        EXPECT_EQ(readCapture(folder.filePath(name)).packets.size(), 10U) << qPrintable(name);
    }
    EXPECT_EQ(app->session().totalFrames(), 20U);
}

TEST_F(Captures, OneThatIsOverBeforeItsProgressIsShownLeavesNoTrace) {
    startOnStream(2000);
    ASSERT_TRUE(startCapture());
    bool delayIsOver = false;
    QTimer::singleShot(afterPanelDelay, app.get(), [&] { delayIsOver = true; });
    ASSERT_TRUE(waitForFrames(1));
    app->session().userDidStop();
    ASSERT_TRUE(waitIdle());
    ASSERT_TRUE(runUntil([&] { return delayIsOver; }));
    EXPECT_EQ(app->progress()->panel(), nullptr);
}

TEST_F(Captures, OneWithoutFramesSaysSoAndLeavesNoFile) {
    startInSilence();
    ASSERT_TRUE(startCapture());
    answerAlert(QStringLiteral("OK"));
    app->session().userDidStop();
    ASSERT_TRUE(waitIdle());
    EXPECT_EQ(alerts.join(u'/'),
              QStringLiteral("No frames were captured. | Make sure you set the correct Link-Layer Header type before "
                             "starting a capture."));
    EXPECT_TRUE(temporaryFiles().isEmpty());
    EXPECT_TRUE(isEnabled(capture));
}

TEST_F(Captures, TerminationAsksNothing) {
    startInSilence();
    ASSERT_TRUE(startCapture());
    answerAlert(QStringLiteral("OK")); // lest a failure hangs
    const LogCapture log;
    app->applicationWillTerminate();
    EXPECT_TRUE(alerts.isEmpty());
    EXPECT_EQ(log.warnings().filter(QStringLiteral("No frames were captured.")).size(), 1);
    EXPECT_TRUE(temporaryFiles().isEmpty());
}

TEST_F(Captures, TerminationAwaitsOneThatJustOpens) {
    startInSilence();
    command(capture)->trigger();
    app->applicationWillTerminate();
    EXPECT_EQ(app->session().state(), CaptureSession::State::Idle);
    EXPECT_TRUE(temporaryFiles().isEmpty());
}

TEST_F(Captures, DeviceThatCannotBeOpenedIsExplainedAndTheNextAttemptMaySucceed) {
    startOnStream();
    ASSERT_TRUE(client->interface().setPower(false));
    answerAlert(QStringLiteral("OK"));
    const LogCapture log;
    command(capture)->trigger();
    ASSERT_TRUE(waitIdle());
    EXPECT_EQ(alerts.join(u'/'),
              QStringLiteral("You don't have permission to capture on this device. | Go to System Preferences > Users "
                             "& Groups and make sure you are a member of the group 'access_bpf'. You will need to log "
                             "out and then log back in after making any changes."));
    EXPECT_EQ(log.warnings().filter(QStringLiteral("pcap_activate() failed: ")).size(), 1);
    EXPECT_TRUE(isEnabled(quit));
    EXPECT_TRUE(temporaryFiles().isEmpty());

    ASSERT_TRUE(client->interface().setPower(true));
    ASSERT_TRUE(runUntil([this] { return isEnabled(capture); }));
    ASSERT_TRUE(startCapture());
    ASSERT_TRUE(waitForFrames(1));
}

} // namespace
} // namespace vantrel::testing
