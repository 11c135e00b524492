// The tray's menu and the progress panel, wired to the rest of the application.
#include "AppFixture.h"
#include "services/LoginItems.h"
#include "settings/SettingsKeys.h"
#include "support/EventLoop.h"
#include "support/LogCapture.h"
#include "ui/MenuOutlets.h"

#include <QDesktopServices>
#include <QFile>
#include <QMenu>
#include <QPushButton>
#include <QUrl>

namespace vantrel::testing {
namespace {

namespace outlets = ui::outlets;

class Tray : public AppFixture {
protected:
    void startWith(bool associated = true) {
        SimulatedOptions options;
        options.transport = SimulatedTransport::Stream;
        options.startAssociated = associated;
        wifi = makeSimulatedClient(options);
        make();
        start();
        app->settings().setBool(keys::FirstTimeCapture, false);
        app->settings().setBool(keys::ShowDisconnectAlert, false);
    }

    [[nodiscard]] QAction& itemOf(QLatin1StringView outlet) { return *app->statusMenu()->item(outlet); }
    [[nodiscard]] QAction* choice(QLatin1StringView outlet, const QString& title) {
        for (QAction* item : itemOf(outlet).menu()->actions()) {
            if (item->text() == title) {
                return item;
            }
        }
        return nullptr;
    }
    [[nodiscard]] QString checkedIn(QLatin1StringView outlet) {
        QStringList checked;
        for (const QAction* item : itemOf(outlet).menu()->actions()) {
            if (item->isChecked()) {
                checked << item->text();
            }
        }
        return checked.join(u'|');
    }
    [[nodiscard]] CWInterface& airport() { return client->interface(); }
    [[nodiscard]] ui::VantrelProgressPanel* panel() { return app->progress()->panel(); }
    [[nodiscard]] bool waitForPanel() {
        return runUntil([this] { return panel() != nullptr; });
    }
    void press(const QString& button) { panel()->findChild<QPushButton*>(button)->click(); }
    [[nodiscard]] QString autostart() const { return path(QStringLiteral("config/autostart/vantrel.desktop")); }
};

const QString radiotapTitle = QStringLiteral("802.11 plus radiotap header");

TEST_F(Tray, MenuIsFilledAtTheLaunch) {
    startWith();
    EXPECT_EQ(checkedIn(outlets::channelSubmenuMenuItem), QStringLiteral("36"));
    EXPECT_EQ(checkedIn(outlets::channelWidthSubmenuMenuItem), QStringLiteral("80 MHz"));
    EXPECT_EQ(checkedIn(outlets::linkLayerHeaderSubmenuMenuItem), radiotapTitle);
    EXPECT_NE(choice(outlets::captureOther2Dot4GHzSubmenuItem, QStringLiteral("11")), nullptr);
    EXPECT_NE(choice(outlets::captureOther5GHzSubmenuItem, QStringLiteral("165")), nullptr);
}

TEST_F(Tray, ChannelItemTunesAndItsMarkFollows) {
    startWith(false);
    choice(outlets::channelSubmenuMenuItem, QStringLiteral("149"))->trigger();
    EXPECT_EQ(airport().channelNumber(), 149);
    EXPECT_EQ(checkedIn(outlets::channelSubmenuMenuItem), QStringLiteral("149"));
    EXPECT_EQ(itemOf(outlets::channelMenuItem).text(), QStringLiteral("Channel: 149 (5 GHz)"));
    choice(outlets::channelWidthSubmenuMenuItem, QStringLiteral("20 MHz"))->trigger();
    EXPECT_EQ(airport().channelWidth(), 20);
    EXPECT_EQ(checkedIn(outlets::channelWidthSubmenuMenuItem), QStringLiteral("20 MHz"));
    EXPECT_EQ(itemOf(outlets::channelWidthMenuItem).text(), QStringLiteral("Channel Width: 20 MHz"));
}

TEST_F(Tray, TuningFromANetworkLeavesIt) {
    startWith();
    choice(outlets::channelSubmenuMenuItem, QStringLiteral("6"))->trigger();
    EXPECT_FALSE(airport().isAssociated());
    EXPECT_EQ(airport().channelNumber(), 6);
    EXPECT_FALSE(itemOf(outlets::disassociateMenuItem).isVisible());
}

TEST_F(Tray, CaptureOnAnotherChannelListensThere) {
    startWith(false);
    choice(outlets::captureOther2Dot4GHzSubmenuItem, QStringLiteral("6"))->trigger();
    ASSERT_TRUE(runUntil([this] { return app->session().isCapturing(); }));
    EXPECT_EQ(airport().channelNumber(), 6);
    ASSERT_TRUE(waitForFrames(1));
    ASSERT_TRUE(waitForPanel());
    EXPECT_TRUE(panel()->windowTitle().startsWith(QStringLiteral("Capturing on Channel 6 (")));
    press(QStringLiteral("stopButton"));
    ASSERT_TRUE(waitIdle());
    EXPECT_EQ(airport().channelNumber(), 36) << "put back";
    EXPECT_EQ(savedFiles().size(), 1);
}

TEST_F(Tray, StopInThePanelKeepsTheCapture) {
    startWith();
    ASSERT_TRUE(startCapture());
    ASSERT_TRUE(waitForFrames());
    ASSERT_TRUE(waitForPanel());
    EXPECT_EQ(panel()->windowTitle(), QStringLiteral("Capturing on Channel 36 (80 MHz)"));
    press(QStringLiteral("stopButton"));
    ASSERT_TRUE(waitIdle());
    EXPECT_EQ(panel(), nullptr);
    EXPECT_EQ(savedFiles().size(), 1);
    EXPECT_TRUE(itemOf(outlets::quitMenuItem).isEnabled());
}

TEST_F(Tray, CancelInThePanelLeavesNoFile) {
    startWith();
    ASSERT_TRUE(startCapture());
    ASSERT_TRUE(waitForFrames());
    ASSERT_TRUE(waitForPanel());
    EXPECT_EQ(temporaryFiles().size(), 1);
    press(QStringLiteral("cancelButton"));
    ASSERT_TRUE(waitIdle());
    EXPECT_EQ(panel(), nullptr);
    EXPECT_TRUE(temporaryFiles().isEmpty());
    EXPECT_TRUE(alerts.isEmpty());
}

TEST_F(Tray, TuningStaysUsableDuringACapture) {
    startWith(false);
    ASSERT_TRUE(startCapture());
    EXPECT_TRUE(itemOf(outlets::channelSubmenuMenuItem).isEnabled());
    choice(outlets::channelSubmenuMenuItem, QStringLiteral("44"))->trigger();
    EXPECT_EQ(airport().channelNumber(), 44);
    EXPECT_FALSE(itemOf(outlets::captureOther5GHzSubmenuItem).isEnabled());
}

TEST_F(Tray, LinkLayerChoiceIsKeptAndTakesEffectAtTheNextCapture) {
    startWith();
    ASSERT_EQ(app->session().dataLinkType(), 127);
    choice(outlets::linkLayerHeaderSubmenuMenuItem, radiotapTitle)->trigger();
    EXPECT_TRUE(storedSettings().contains("LinkLayerHeader"));
    EXPECT_EQ(app->settings().integerForKey(keys::LinkLayerHeader), 127);
    EXPECT_EQ(checkedIn(outlets::linkLayerHeaderSubmenuMenuItem), radiotapTitle);
}

TEST_F(Tray, LinkLayerTypeThatIsNotOfferedFallsBackToRadiotap) {
    storeSettings(R"({"LinkLayerHeader": 1})");
    startWith();
    EXPECT_EQ(app->session().dataLinkType(), 127);
    EXPECT_EQ(checkedIn(outlets::linkLayerHeaderSubmenuMenuItem), radiotapTitle);
    EXPECT_EQ(app->settings().integerForKey(keys::LinkLayerHeader), 1) << "silently";
}

TEST_F(Tray, LinkLayerIsAskedAgainWhenTheAdapterWasOff) {
    SimulatedOptions options;
    options.transport = SimulatedTransport::Stream;
    wifi = makeSimulatedClient(options);
    ASSERT_TRUE(wifi->interface().setPower(false));
    make();
    start();
    EXPECT_FALSE(itemOf(outlets::linkLayerHeaderSubmenuMenuItem).isEnabled());
    EXPECT_EQ(app->session().dataLinkType(), 0);
    itemOf(outlets::turnOnOffMenuItem).trigger();
    EXPECT_TRUE(runUntil([this] { return app->session().dataLinkType() == 127; }));
    EXPECT_TRUE(itemOf(outlets::linkLayerHeaderSubmenuMenuItem).isEnabled());
    EXPECT_EQ(checkedIn(outlets::linkLayerHeaderSubmenuMenuItem), radiotapTitle);
}

TEST_F(Tray, LaunchAtLoginWritesAndRemovesTheEntry) {
    startWith();
    QAction& launch = itemOf(outlets::launchAtLoginMenuItem);
    EXPECT_FALSE(launch.isChecked());
    launch.trigger();
    EXPECT_TRUE(launch.isChecked());
    EXPECT_TRUE(QFile::exists(autostart()));
    launch.trigger();
    EXPECT_FALSE(launch.isChecked());
    EXPECT_FALSE(QFile::exists(autostart()));
}

TEST_F(Tray, LaunchAtLoginShowsAChangeFromOutsideAtOnce) {
    startWith();
    QAction& launch = itemOf(outlets::launchAtLoginMenuItem);
    ASSERT_TRUE(LoginItems(QCoreApplication::applicationFilePath()).setLaunchAtLogin(true));
    EXPECT_TRUE(runUntil([&] { return launch.isChecked(); }));
    ASSERT_TRUE(QFile::remove(autostart()));
    EXPECT_TRUE(runUntil([&] { return !launch.isChecked(); }));
}

TEST_F(Tray, LaunchAtLoginIsMarkedFromTheStart) {
    ASSERT_TRUE(LoginItems(QCoreApplication::applicationFilePath()).setLaunchAtLogin(true));
    startWith();
    EXPECT_TRUE(itemOf(outlets::launchAtLoginMenuItem).isChecked());
}

TEST_F(Tray, RefusedLaunchAtLoginIsToldAndTakenBack) {
    startWith();
    ASSERT_TRUE(QFile(path(QStringLiteral("config/autostart"))).open(QIODevice::WriteOnly)); // where a folder must be
    answerAlert(QStringLiteral("OK"));
    const LogCapture log;
    itemOf(outlets::launchAtLoginMenuItem).trigger();
    ASSERT_EQ(alerts.size(), 1);
    EXPECT_TRUE(alerts.first().startsWith(QStringLiteral("Launch at login could not be changed. | ")))
        << qPrintable(alerts.first());
    EXPECT_FALSE(itemOf(outlets::launchAtLoginMenuItem).isChecked());
}

// Takes the place of the desktop's handler of files.
class FileHandler : public QObject {
    Q_OBJECT
public:
    FileHandler() { QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "opened"); }
    ~FileHandler() override { QDesktopServices::unsetUrlHandler(QStringLiteral("file")); }

    QStringList files;

public Q_SLOTS:
    void opened(const QUrl& url) { files << url.toLocalFile(); }
};

TEST_F(Tray, HelpOpensTheDocument) {
    startWith();
    const FileHandler handler;
    itemOf(outlets::helpMenuItem).trigger();
    EXPECT_EQ(handler.files.join(u'|'), path(QStringLiteral("cache/vantrel/help/Help.html")));
}

TEST_F(Tray, HelpThatCannotBeOpenedIsTold) {
    startWith();
    ASSERT_TRUE(QFile(path(QStringLiteral("cache/vantrel"))).open(QIODevice::WriteOnly)); // where a folder must be
    answerAlert(QStringLiteral("OK"));
    const LogCapture log;
    itemOf(outlets::helpMenuItem).trigger();
    ASSERT_EQ(alerts.size(), 1);
    EXPECT_TRUE(alerts.first().startsWith(QStringLiteral("The help could not be opened. | ")));
}

TEST_F(Tray, HelpThatNoApplicationOpensIsToldWithItsPlace) {
    startWith(); // the platform of the tests opens nothing
    answerAlert(QStringLiteral("OK"));
    const LogCapture log;
    itemOf(outlets::helpMenuItem).trigger();
    ASSERT_EQ(alerts.size(), 1);
    EXPECT_EQ(alerts.first(),
              QStringLiteral("The help could not be opened. | No application opens it. The document is ") +
                  path(QStringLiteral("cache/vantrel/help/Help.html")));
}

TEST_F(Tray, AboutOpensOnePanel) {
    startWith();
    const auto panels = [] {
        int count = 0;
        for (const QWidget* window : QApplication::topLevelWidgets()) {
            count += window->inherits("vantrel::ui::AboutPanel") && window->isVisible() ? 1 : 0;
        }
        return count;
    };
    EXPECT_EQ(panels(), 0);
    itemOf(outlets::aboutMenuItem).trigger();
    itemOf(outlets::aboutMenuItem).trigger();
    EXPECT_EQ(panels(), 1);
}

TEST_F(Tray, OpeningTheMenuRefreshesItemAndMenu) {
    startWith();
    app->settings().setBool(keys::DisplayChannel, true);
    itemOf(outlets::statusMenuItem).setText(QStringLiteral("old"));
    app->statusItem()->popUpMenu();
    EXPECT_EQ(itemOf(outlets::statusMenuItem).text(), QStringLiteral("Status: Associated"));
    EXPECT_EQ(app->statusItem()->toolTip(), QStringLiteral("Vantrel: 36 (simulated)"));
    app->statusMenu()->menu()->hide();
}

} // namespace
} // namespace vantrel::testing

#include "Tray_test.moc"
