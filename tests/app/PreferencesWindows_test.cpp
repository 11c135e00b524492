// The preferences and the panel of custom channels, reached from the menu of the whole application.
#include "AppFixture.h"
#include "preferences/MASPreferencesWindowController.h"
#include "preferences/PreferencesViewController.h"
#include "preferences/VantrelCustomChannelsPanel.h"
#include "settings/SettingsKeys.h"
#include "support/EventLoop.h"
#include "ui/MenuOutlets.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QUrl>

namespace vantrel::testing {
namespace {

using preferences::MASPreferencesWindowController;
using preferences::VantrelCustomChannelsPanel;

class Preferences : public AppFixture {
protected:
    Preferences() {
        SimulatedOptions options;
        options.transport = SimulatedTransport::Stream;
        options.startAssociated = false;
        wifi = makeSimulatedClient(options);
        make();
        start();
        app->settings().setBool(keys::FirstTimeCapture, false);
    }
    [[nodiscard]] static MASPreferencesWindowController* window() {
        for (QWidget* candidate : QApplication::topLevelWidgets()) {
            if (auto* found = qobject_cast<MASPreferencesWindowController*>(candidate); found != nullptr) {
                return found;
            }
        }
        return nullptr;
    }
    [[nodiscard]] QAction& itemOf(QLatin1StringView outlet) { return *app->statusMenu()->item(outlet); }
    void open() { itemOf(ui::outlets::preferencesMenuItem).trigger(); }
    template <typename Widget>
    [[nodiscard]] static Widget& part(const char* name) {
        return *window()->findChild<Widget*>(QString::fromLatin1(name));
    }
    // Ticks these boxes in the next panel and leaves it.
    void answerPanel(const std::vector<int>& channels, QDialogButtonBox::StandardButton button) {
        QTimer::singleShot(5, app.get(), [this, channels, button] {
            auto* panel = qobject_cast<VantrelCustomChannelsPanel*>(QApplication::activeModalWidget());
            if (panel == nullptr) {
                answerPanel(channels, button);
                return;
            }
            for (const int channel : channels) {
                panel->findChild<QCheckBox*>(QStringLiteral("channel%1").arg(channel))->click();
            }
            panel->findChild<QDialogButtonBox*>()->button(button)->click();
        });
    }
};

TEST_F(Preferences, OpensTheWindowWithThreePanes) {
    open();
    ASSERT_NE(window(), nullptr);
    EXPECT_TRUE(window()->isVisible());
    EXPECT_EQ(window()->windowTitle(), QStringLiteral("Vantrel Preferences"));
    EXPECT_EQ(window()->selectedViewController()->identifier(), QStringLiteral("General"));
    for (const char* pane : {"Advanced", "Services", "General"}) {
        EXPECT_TRUE(window()->selectControllerWithIdentifier(QString::fromLatin1(pane))) << pane;
    }
    auto* before = window();
    window()->close();
    open();
    EXPECT_EQ(window(), before) << "one for the whole run";
    EXPECT_TRUE(window()->isVisible());
}

TEST_F(Preferences, ConfigureServicesSelectsTheirPane) {
    itemOf(ui::outlets::configureServicesMenuItem).trigger();
    ASSERT_NE(window(), nullptr);
    EXPECT_EQ(window()->selectedViewController()->identifier(), QStringLiteral("Services"));
    window()->selectControllerWithIdentifier(QStringLiteral("General"));
    itemOf(ui::outlets::configureServicesMenuItem).trigger();
    EXPECT_EQ(window()->selectedViewController()->identifier(), QStringLiteral("Services"));
}

TEST_F(Preferences, TheTrayShowsAChangeAtOnce) {
    EXPECT_EQ(app->statusItem()->toolTip(), QStringLiteral("Vantrel (simulated)"));
    open();
    part<QCheckBox>("displayChannel").click();
    EXPECT_EQ(app->statusItem()->toolTip(), QStringLiteral("Vantrel: 36 (simulated)"));
    part<QCheckBox>("displayChannel").click();
    EXPECT_EQ(app->statusItem()->toolTip(), QStringLiteral("Vantrel (simulated)"));
}

TEST_F(Preferences, AnUploadCanBeChosenOnceItsServiceIsSetUp) {
    itemOf(ui::outlets::configureServicesMenuItem).trigger();
    EXPECT_FALSE(itemOf(ui::outlets::uploadToCloudSharkMenuItem).isEnabled());
    part<QLineEdit>("cloudSharkApplianceAPIToken").setText(QStringLiteral("t"));
    EXPECT_TRUE(window()->selectedViewController()->commitEditing());
    EXPECT_TRUE(itemOf(ui::outlets::uploadToCloudSharkMenuItem).isEnabled()) << "at once, without any other event";
    EXPECT_FALSE(itemOf(ui::outlets::uploadToMojoPacketsMenuItem).isEnabled());
}

TEST_F(Preferences, AVanishedFolderIsRepairedTwice) {
    app->settings().setString(keys::CaptureFilesLocation, path(QStringLiteral("gone")));
    open();
    const QString desktop = path(QStringLiteral("home/Desktop"));
    EXPECT_EQ(app->settings().stringForKey(keys::CaptureFilesLocation), QUrl::fromLocalFile(desktop).toString())
        << "by the pane, as a file URL";
    ASSERT_TRUE(startCapture());
    EXPECT_EQ(app->settings().stringForKey(keys::CaptureFilesLocation), desktop) << "by the capture, as a path";
    app->session().userDidCancel();
    ASSERT_TRUE(waitIdle());
}

TEST_F(Preferences, CustomChannelsAreHopped) {
    answerPanel({1, 6}, QDialogButtonBox::Ok);
    itemOf(ui::outlets::captureCustomMenuItem).trigger();
    ASSERT_TRUE(runUntil([this] { return app->session().isCapturing(); }));
    EXPECT_TRUE(storedSettings().contains("\"CustomChannelList\""));
    EXPECT_EQ(app->settings().integerArrayForKey(keys::CustomChannelList), (std::vector<std::int64_t>{1, 6}));
    for (const long channel : {6L, 1L}) {
        EXPECT_TRUE(runUntil([&] { return client->interface().channelNumber() == channel; })) << channel;
    }
    app->session().userDidCancel();
    ASSERT_TRUE(waitIdle());
}

TEST_F(Preferences, ACancelledPanelStartsNothing) {
    answerPanel({1, 6}, QDialogButtonBox::Cancel);
    itemOf(ui::outlets::captureCustomMenuItem).trigger();
    EXPECT_EQ(app->session().state(), CaptureSession::State::Idle);
    EXPECT_TRUE(app->settings().integerArrayForKey(keys::CustomChannelList).empty());
}

} // namespace
} // namespace vantrel::testing
