// The start-up and the end of the application, and its answers to the desktop.
#include "app/AppDelegate.h"

#include "AppFixture.h"
#include "services/PcapApplications.h"
#include "settings/Defaults.h"
#include "settings/SettingsKeys.h"
#include "support/EventLoop.h"
#include "support/LogCapture.h"
#include "wifi/AbsentAdapter.h"

#include <QFile>
#include <functional>
#include <gmock/gmock.h>
#include <thread>

namespace vantrel::testing {
namespace {

using AppDelegateTest = AppFixture;

QString namesOf(std::span<const AppDelegate::Step> stage) {
    QStringList names;
    for (const auto& step : stage) {
        names << QString::fromLatin1(step.name);
    }
    return names.join(u' ');
}

TEST_F(AppDelegateTest, StepsOfTheStartUpStandInTheirOrder) {
    EXPECT_EQ(namesOf(AppDelegate::firstStage()),
              QStringLiteral("rememberSharedInstance makePacketQueue takeDesktopFolder findPcapApplication "
                             "registerDefaultValues repairAfterCaptureActions observeLoginItems monitorWiFiEvents "
                             "showBetaNotice sendTrackingReport"));
    EXPECT_EQ(namesOf(AppDelegate::secondStage()),
              QStringLiteral("createStatusItem takeDefaultInterface populateStatusMenu takeNotifications "
                             "dropVanishedApplication offerLeftovers"));
}

TEST_F(AppDelegateTest, SharedInstanceIsThereFromTheFirstStepUntilTheEnd) {
    make();
    EXPECT_EQ(AppDelegate::sharedInstance(), nullptr);
    (app.get()->*AppDelegate::firstStage().front().run)();
    EXPECT_EQ(AppDelegate::sharedInstance(), app.get());
    app.reset();
    EXPECT_EQ(AppDelegate::sharedInstance(), nullptr);
}

TEST_F(AppDelegateTest, DefaultsAreRegisteredAndNotStored) {
    make();
    app->applicationWillFinishLaunching();
    const QVariantMap expected = registeredDefaults(defaultPcapApplication(), path(QStringLiteral("home/Desktop")));
    EXPECT_GT(expected.size(), 20);
    for (auto entry = expected.begin(); entry != expected.end(); ++entry) {
        EXPECT_EQ(app->settings().objectForKey(QLatin1StringView(entry.key().toLatin1())), entry.value())
            << qPrintable(entry.key());
    }
    EXPECT_EQ(app->settings().stringForKey(keys::CaptureFilesLocation), path(QStringLiteral("home/Desktop")));
    EXPECT_EQ(app->settings().boolForKey(keys::DoNothing), defaultPcapApplication().isEmpty());
    EXPECT_TRUE(storedSettings().isEmpty());
}

TEST_F(AppDelegateTest, StoreWithoutAnAfterCaptureActionIsRepaired) {
    storeSettings(R"({"OpenInApplication": 0, "DoNothing": 0, "RunScript": 0})");
    make();
    app->applicationWillFinishLaunching();
    EXPECT_TRUE(app->settings().boolForKey(keys::DoNothing));
    EXPECT_THAT(storedSettings().toStdString(), ::testing::ContainsRegex("\"DoNothing\": *1"));
    EXPECT_THAT(storedSettings().toStdString(), ::testing::ContainsRegex("\"RunScript\": *0"));
}

TEST_F(AppDelegateTest, ChosenAfterCaptureActionStays) {
    const QByteArray stored = R"({"OpenInApplication": 0, "DoNothing": 0, "RunScript": 1})";
    storeSettings(stored);
    make();
    start();
    EXPECT_FALSE(app->settings().boolForKey(keys::DoNothing));
    EXPECT_EQ(storedSettings(), stored);
}

TEST_F(AppDelegateTest, VanishedApplicationIsDroppedInTheSecondStage) {
    storeSettings(R"({"OpenInApplicationPath": "/nonexistent/viewer.desktop", "DwellTime": 300})");
    make();
    app->applicationWillFinishLaunching();
    EXPECT_EQ(app->settings().stringForKey(keys::OpenInApplicationPath), QStringLiteral("/nonexistent/viewer.desktop"));
    app->applicationDidFinishLaunching();
    EXPECT_EQ(app->settings().stringForKey(keys::OpenInApplicationPath), defaultPcapApplication());
    EXPECT_FALSE(storedSettings().contains("OpenInApplicationPath"));
    EXPECT_TRUE(storedSettings().contains("DwellTime"));
}

TEST_F(AppDelegateTest, ApplicationThatExistsStays) {
    const QString viewer = path(QStringLiteral("viewer.desktop"));
    ASSERT_TRUE(QFile(viewer).open(QIODevice::WriteOnly));
    storeSettings("{\"OpenInApplicationPath\": \"" + viewer.toUtf8() + "\"}");
    make();
    start();
    EXPECT_EQ(app->settings().stringForKey(keys::OpenInApplicationPath), viewer);
}

TEST_F(AppDelegateTest, WiFiEventsAreMonitoredInTheirOrder) {
    make();
    start();
    EXPECT_EQ(events.join(u' '), QStringLiteral("delegate monitor 3 monitor 1 monitor 7 monitor 2"));
    app.reset();
    EXPECT_EQ(events.last(), QStringLiteral("no delegate"));
}

TEST_F(AppDelegateTest, RefusedMonitoringIsLoggedAndTheStartGoesOn) {
    make();
    client->refusesMonitoring = true;
    const LogCapture log;
    start();
    const QStringList refusals = log.warnings().filter(QStringLiteral("startMonitoringEventWithType failed: "));
    ASSERT_EQ(refusals.size(), 4);
    EXPECT_EQ(refusals.first(), QStringLiteral("startMonitoringEventWithType failed: monitor 3: refused"));
    EXPECT_TRUE(isEnabled(QStringLiteral("Capture on Current Channel")));
}

TEST_F(AppDelegateTest, EveryWiFiEventRefreshesTheItemFromAnyThread) {
    make();
    start();
    const QString name = QStringLiteral("wlansim0");
    const auto refreshedBy = [this](const QString& note, const std::function<void()>& event) {
        client->note = note;
        std::thread(event).join();
        return runUntil([&] { return app->statusItem()->toolTip() == QStringLiteral("Vantrel (%1)").arg(note); });
    };
    CWEventDelegate& delegate = *client->delegate;
    EXPECT_TRUE(refreshedBy(QStringLiteral("a"), [&] { delegate.bssidDidChangeForWiFiInterfaceWithName(name); }));
    EXPECT_TRUE(refreshedBy(QStringLiteral("b"), [&] { delegate.powerStateDidChangeForWiFiInterfaceWithName(name); }));
    EXPECT_TRUE(refreshedBy(QStringLiteral("c"), [&] { delegate.modeDidChangeForWiFiInterfaceWithName(name); }));
    EXPECT_TRUE(refreshedBy(QStringLiteral("d"), [&] { delegate.ssidDidChangeForWiFiInterfaceWithName(name); }));
}

class BetaVersion : public AppFixture, public ::testing::WithParamInterface<const char*> {};

TEST_P(BetaVersion, ShowsTheNotice) {
    make(QString::fromLatin1(GetParam()));
    int quits = 0;
    QObject::connect(app.get(), &AppDelegate::quitRequested, app.get(), [&] { ++quits; });
    answerAlert(QStringLiteral("Accept"));
    start();
    EXPECT_EQ(alerts.join(u'/'), QStringLiteral("This is a beta version of Vantrel. | This copy is provided \"AS IS\" "
                                                "without warranty of any kind, for testing purposes only."));
    EXPECT_EQ(quits, 0);
    EXPECT_EQ(trackingReports, 1);
}

TEST_P(BetaVersion, QuitInTheNoticeAsksToQuit) {
    make(QString::fromLatin1(GetParam()));
    int quits = 0;
    QObject::connect(app.get(), &AppDelegate::quitRequested, app.get(), [&] { ++quits; });
    answerAlert(QStringLiteral("Quit"));
    start();
    EXPECT_EQ(alerts.size(), 1);
    EXPECT_EQ(quits, 1);
}

INSTANTIATE_TEST_SUITE_P(Versions, BetaVersion, ::testing::Values("2.1b3", "2.1B3"),
                         [](const auto& instance) { return instance.param[3] == 'b' ? "Small" : "Capital"; });

TEST_F(AppDelegateTest, ReleaseShowsNoNotice) {
    make(QStringLiteral("2.1"));
    answerAlert(QStringLiteral("Accept"));
    start();
    EXPECT_TRUE(alerts.isEmpty());
}

TEST_F(AppDelegateTest, TrackingReportIsSentOnce) {
    make();
    app->applicationWillFinishLaunching();
    EXPECT_EQ(trackingReports, 1);
    app->applicationDidFinishLaunching();
    EXPECT_EQ(trackingReports, 1);
}

TEST_F(AppDelegateTest, SimulatedRadioIsNamedAndOffersRadiotap) {
    storeSettings(R"({"DisplayChannel": 1, "DisplayChannelWidth": 1})");
    make();
    start();
    EXPECT_EQ(app->session().dataLinkType(), 127);
    EXPECT_EQ(app->statusItem()->toolTip(), QStringLiteral("Vantrel: 36 (80 MHz) (simulated)"));
    EXPECT_TRUE(isEnabled(QStringLiteral("Capture on Current Channel")));
}

TEST_F(AppDelegateTest, WithoutAnAdapterTheLinkLayerTypeStaysUnsetAndThatIsLogged) {
    storeSettings(R"({"DisplayChannel": 1})");
    wifi = makeAbsentAdapterClient();
    make();
    const LogCapture log;
    start();
    EXPECT_EQ(app->session().dataLinkType(), 0);
    EXPECT_EQ(log.warnings().filter(QStringLiteral("pcap_open_activate() failed for device ")).size(), 1)
        << qPrintable(log.warnings().join(u'\n'));
    EXPECT_EQ(app->statusItem()->toolTip(), QStringLiteral("Vantrel: Off (no Wi-Fi adapter)"));
}

TEST_F(AppDelegateTest, ReopeningShowsTheMenuAndIsAlwaysAllowed) {
    make();
    EXPECT_TRUE(app->applicationShouldHandleReopen(false)) << "before there is an item, too";
    start();
    for (const bool hasVisibleWindows : {false, true}) {
        EXPECT_TRUE(app->applicationShouldHandleReopen(hasVisibleWindows));
        EXPECT_TRUE(app->statusMenu()->menu()->isVisible());
        app->statusMenu()->menu()->hide();
    }
}

TEST_F(AppDelegateTest, QuitInTheMenuAsksToQuit) {
    make();
    start();
    int quits = 0;
    QObject::connect(app.get(), &AppDelegate::quitRequested, app.get(), [&] { ++quits; });
    command(QStringLiteral("Quit"))->trigger();
    EXPECT_EQ(quits, 1);
}

TEST_F(AppDelegateTest, TerminationWritesSettingsThatTheDiskRefusedBefore) {
    make();
    start();
    // A file in the place of the folder, which also the superuser cannot write into.
    const QString folder = path(QStringLiteral("config/vantrel"));
    ASSERT_TRUE(QFile(folder).open(QIODevice::WriteOnly));
    app->settings().setInteger(keys::DwellTime, 321);
    ASSERT_TRUE(QFile::remove(folder));
    EXPECT_TRUE(storedSettings().isEmpty());
    app->applicationWillTerminate();
    EXPECT_THAT(storedSettings().toStdString(), ::testing::ContainsRegex("\"DwellTime\": *321"));
}

TEST_F(AppDelegateTest, TerminationIsPossibleBeforeTheStartIsComplete) {
    make();
    app->applicationWillTerminate();
    app->applicationWillFinishLaunching();
    app->applicationWillTerminate();
}

} // namespace
} // namespace vantrel::testing
