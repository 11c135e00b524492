// Hopping captures, the adapter's network and its power, from the item's commands.
#include "AppFixture.h"
#include "frames/Radiotap.h"
#include "settings/SettingsKeys.h"
#include "support/EventLoop.h"
#include "support/LogCapture.h"

#include <gmock/gmock.h>
#include <set>

namespace vantrel::testing {
namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::Lt;

const QString capture = QStringLiteral("Capture on Current Channel");
const QString captureAll = QStringLiteral("Capture All Channels");
const QString disconnectFromHome = QStringLiteral("Disconnect from Vantrel Lab");
const QString disconnectAlert = QStringLiteral(
    "This operation cannot be done while connected to a network. | Do you want to disconnect from Vantrel "
    "Lab? Vantrel will attempt to reconnect after the capture is done.");
const QString notice = QStringLiteral(
    "Capture files are automatically saved to your desktop. | You can set a different default location by "
    "choosing Preferences from the app's menu.");

// MHz of the channels that the frames were heard on (radiotap.org, "Channel": frequency first, little endian).
std::set<int> frequencies(const ReadCapture& read) {
    constexpr int channelField = 3;
    std::set<int> found;
    for (const QByteArray& packet : read.packets) {
        RadiotapIterator fields;
        if (fields.init({reinterpret_cast<const std::uint8_t*>(packet.constData()),
                         static_cast<std::size_t>(packet.size())}) != 0) {
            continue;
        }
        while (fields.next() == 0) {
            if (fields.thisArgIndex() == channelField) {
                found.insert(fields.thisArg()[0] | fields.thisArg()[1] << 8);
            }
        }
    }
    return found;
}

class WiFiCommands : public AppFixture {
protected:
    void startWith(SimulatedOptions options) {
        options.transport = SimulatedTransport::Stream;
        wifi = makeSimulatedClient(options);
        make();
        start();
        app->settings().setBool(keys::FirstTimeCapture, false);
        app->settings().setInteger(keys::DwellTime, 120); // more than an interval between beacons
    }
    void SetUp() override {
        SimulatedOptions options;
        options.rejoinDelay = std::chrono::milliseconds(200);
        startWith(options);
    }

    [[nodiscard]] CWInterface& airport() { return client->interface(); }
    [[nodiscard]] bool startsHopping(const QString& title) {
        command(title)->trigger();
        return runUntil([this] { return app->session().isCapturing(); }) && waitForFrames(1);
    }
    [[nodiscard]] bool waitForChannel(int number) {
        return runUntil([&] { return airport().channelNumber() == number; });
    }
    [[nodiscard]] bool waitForNetwork() {
        return runUntil([this] { return airport().isAssociated(); });
    }
    // Whether the menu shows this command, as soon as it does.
    [[nodiscard]] bool waitForCommand(const QString& title) {
        return runUntil([&] { return isShown(title); });
    }
    [[nodiscard]] bool isShown(const QString& title) {
        const QAction* action = command(title);
        return action != nullptr && action->isVisible();
    }
    [[nodiscard]] std::set<int> captured() const {
        const QStringList files = temporaryFiles() + savedFiles();
        return files.size() == 1 ? frequencies(readCapture(files.first())) : std::set<int>();
    }
};

TEST_F(WiFiCommands, CaptureAllHopsAndComesBackToItsNetwork) {
    answerAlert(QStringLiteral("Disconnect"));
    ASSERT_TRUE(startsHopping(captureAll));
    EXPECT_EQ(alerts.join(u'/'), disconnectAlert);
    EXPECT_FALSE(airport().isAssociated());
    for (const QString& title : {capture, captureAll, QStringLiteral("Capture All 2.4 GHz Channels"),
                                 QStringLiteral("Capture All 5 GHz Channels"), QStringLiteral("Quit")}) {
        EXPECT_FALSE(isEnabled(title)) << qPrintable(title);
    }
    EXPECT_TRUE(waitForChannel(6));
    EXPECT_TRUE(waitForChannel(149));
    EXPECT_TRUE(waitForChannel(1));
    app->session().userDidStop();
    ASSERT_TRUE(waitIdle());
    EXPECT_TRUE(isEnabled(captureAll));
    EXPECT_THAT(captured(), IsSupersetOf({2412, 2437, 2462, 5180, 5745}));
    ASSERT_TRUE(waitForNetwork()) << "the adapter rejoins";
    EXPECT_EQ(airport().channelNumber(), 36);
}

TEST_F(WiFiCommands, CaptureAllOfOneBandStaysInIt) {
    app->settings().setBool(keys::ShowDisconnectAlert, false);
    ASSERT_TRUE(startsHopping(QStringLiteral("Capture All 2.4 GHz Channels")));
    EXPECT_TRUE(waitForChannel(11));
    EXPECT_TRUE(waitForChannel(1)) << "the dwell on the last channel is over";
    app->session().userDidStop();
    ASSERT_TRUE(waitIdle());
    EXPECT_TRUE(alerts.isEmpty());
    EXPECT_THAT(captured(), Contains(2462));
    EXPECT_THAT(captured(), Each(Lt(2485)));
}

TEST_F(WiFiCommands, StopInALongDwellIsQuickAndTheAdapterIsBack) {
    app->settings().setBool(keys::ShowDisconnectAlert, false);
    app->settings().setInteger(keys::DwellTime, 60000);
    ASSERT_TRUE(startsHopping(captureAll));
    app->session().userDidStop();
    ASSERT_TRUE(waitIdle()) << "within the limit of the wait, which is less than the dwell";
    EXPECT_TRUE(waitForNetwork());
}

TEST_F(WiFiCommands, DeclinedDisconnectionStartsNothing) {
    answerAlert(QStringLiteral("No"));
    command(captureAll)->trigger();
    EXPECT_EQ(alerts.join(u'/'), disconnectAlert);
    EXPECT_EQ(app->session().state(), CaptureSession::State::Idle);
    EXPECT_TRUE(airport().isAssociated());
    EXPECT_TRUE(isEnabled(captureAll));
    EXPECT_TRUE(temporaryFiles().isEmpty());
}

TEST_F(WiFiCommands, TickedBoxEndsTheQuestionsEvenWithANo) {
    answerAlert(QStringLiteral("No"), true);
    command(captureAll)->trigger();
    EXPECT_EQ(app->session().state(), CaptureSession::State::Idle);
    EXPECT_TRUE(storedSettings().contains("ShowDisconnectAlert"));
    ASSERT_TRUE(startsHopping(captureAll)) << "unasked";
    EXPECT_EQ(alerts.size(), 1);
}

TEST_F(WiFiCommands, FirstCaptureIsToldWhereFilesGoOnce) {
    app->settings().removeObjectForKey(keys::FirstTimeCapture);
    answerAlert(QStringLiteral("Cancel"));
    command(capture)->trigger();
    EXPECT_EQ(alerts.join(u'/'), notice);
    EXPECT_EQ(app->session().state(), CaptureSession::State::Idle);
    ASSERT_TRUE(startCapture()) << "the second time it starts at once";
    EXPECT_EQ(alerts.size(), 1);
    EXPECT_TRUE(airport().isAssociated()) << "the current channel is captured inside the network";
}

TEST_F(WiFiCommands, AlwaysDisconnectedCaptureStaysOnItsChannelAndRejoins) {
    app->settings().setBool(keys::AlwaysDisconnect, true);
    ASSERT_TRUE(startCapture());
    EXPECT_FALSE(airport().isAssociated());
    EXPECT_EQ(airport().channelNumber(), 36);
    ASSERT_TRUE(waitForFrames(1));
    app->session().userDidStop();
    ASSERT_TRUE(waitIdle());
    EXPECT_TRUE(waitForNetwork());
}

TEST_F(WiFiCommands, CommandDuringAQuestionDoesNothing) {
    QTimer::singleShot(0, app.get(), [this] {
        command(captureAll)->trigger(); // the tray's menu stays usable
        answerAlert(QStringLiteral("No"));
    });
    command(captureAll)->trigger();
    EXPECT_EQ(alerts.size(), 1);
    EXPECT_EQ(app->session().state(), CaptureSession::State::Idle);
}

TEST_F(WiFiCommands, PowerCommandSwitchesAndTheItemFollows) {
    app->settings().setBool(keys::DisplayChannel, true);
    app->settings().setBool(keys::DisplayChannelWidth, true);
    const QString off = QStringLiteral("Turn Wi-Fi Off");
    const QString on = QStringLiteral("Turn Wi-Fi On");
    ASSERT_TRUE(isShown(disconnectFromHome));
    command(off)->trigger();
    ASSERT_TRUE(waitForCommand(on));
    EXPECT_FALSE(airport().powerOn());
    EXPECT_FALSE(isShown(disconnectFromHome));
    EXPECT_EQ(app->statusItem()->toolTip(), QStringLiteral("Vantrel: Off (simulated)"));
    command(on)->trigger();
    EXPECT_TRUE(waitForCommand(off));
    EXPECT_TRUE(airport().powerOn());
    EXPECT_TRUE(waitForCommand(disconnectFromHome)) << "it rejoins";
    EXPECT_EQ(app->statusItem()->toolTip(), QStringLiteral("Vantrel: 36 (80 MHz) (simulated)"));
}

TEST_F(WiFiCommands, DisconnectCommandLeavesTheNetworkForGood) {
    command(disconnectFromHome)->trigger();
    EXPECT_TRUE(runUntil([this] { return !isShown(disconnectFromHome); }));
    EXPECT_FALSE(airport().isAssociated());
    ASSERT_TRUE(startsHopping(captureAll)) << "unasked";
    app->session().userDidStop();
    ASSERT_TRUE(waitIdle());
    EXPECT_TRUE(airport().powerOn());
    EXPECT_FALSE(airport().isAssociated()) << "nothing is reconnected that the user has disconnected";
    EXPECT_EQ(airport().channelNumber(), 36) << "but the channel is put back";
}

TEST_F(WiFiCommands, TerminationWhileHoppingPutsTheAdapterBack) {
    app->settings().setBool(keys::ShowDisconnectAlert, false);
    ASSERT_TRUE(startsHopping(captureAll));
    app->applicationWillTerminate();
    EXPECT_EQ(app->session().state(), CaptureSession::State::Idle);
    EXPECT_TRUE(waitForNetwork());
}

TEST_F(WiFiCommands, ApplicationThatGoesWithoutAWordStopsHopping) {
    app->settings().setInteger(keys::DwellTime, 60000);
    app->settings().setBool(keys::ShowDisconnectAlert, false);
    ASSERT_TRUE(startsHopping(captureAll));
    app.reset(); // joins the hop thread
    EXPECT_EQ(temporaryFiles().size(), 1);
}

class OneChannel : public WiFiCommands {
protected:
    void SetUp() override {
        SimulatedOptions options;
        options.startAssociated = false;
        options.supportedChannels = std::vector<CWChannel>{{6, bandTwoDotFourGHz, width20MHz}};
        startWith(options);
    }
};

TEST_F(OneChannel, HoppingOverFewerThanTwoChannelsRecordsNothing) {
    command(captureAll)->trigger();
    ASSERT_TRUE(runUntil([this] { return app->session().isCapturing(); }));
    bool framesHadTime = false;
    QTimer::singleShot(500, app.get(), [&] { framesHadTime = true; });
    ASSERT_TRUE(runUntil([&] { return framesHadTime; }));
    answerAlert(QStringLiteral("OK"));
    app->session().userDidStop();
    ASSERT_TRUE(waitIdle());
    EXPECT_THAT(alerts.join(u'/').toStdString(), ::testing::StartsWith("No frames were captured."));
    EXPECT_THAT(captured(), IsEmpty());
}

} // namespace
} // namespace vantrel::testing
