#include "app/TrayCommands.h"

#include "app/HelpDocument.h"
#include "app/LinkLayerMenu.h"
#include "app/TrayDisplay.h"
#include "base/Translated.h"
#include "engine/CaptureSurroundings.h"
#include "services/LoginItems.h"
#include "ui/MenuOutlets.h"
#include "ui/StatusMenu.h"
#include "wifi/Association.h"
#include "wifi/CaptureCommands.h"

#include <QDesktopServices>
#include <QLoggingCategory>
#include <QUrl>

namespace vantrel {

namespace {
Q_LOGGING_CATEGORY(lcMenu, "vantrel.menu")

constexpr char noLaunchAtLogin[] = QT_TRANSLATE_NOOP("vantrel", "Launch at login could not be changed.");
constexpr char noHelp[] = QT_TRANSLATE_NOOP("vantrel", "The help could not be opened.");
constexpr char noHelpInfo[] = QT_TRANSLATE_NOOP("vantrel", "No application opens it. The document is %1");
} // namespace

TrayCommands::TrayCommands(Surroundings surroundings) : _around(std::move(surroundings)) {
    connect(&_around.menu, &ui::StatusMenu::aboutToShow, this, [this] {
        _around.display.updateStatusItem();
        _around.display.updateStatusMenu();
    });
    connectTuning();
    connectCaptures();
    connectWindows();
    connectUploads();
    connectApplication();
}

TrayCommands::~TrayCommands() = default;

void TrayCommands::connectTuning() {
    using Menu = ui::StatusMenu;
    connect(&_around.menu, &Menu::channelRequested, this, &TrayCommands::onChannel);
    connect(&_around.menu, &Menu::channelWidthRequested, this, &TrayCommands::onChannelWidth);
    connect(&_around.menu, &Menu::linkLayerHeaderRequested, this,
            [this](int dlt) { _around.linkLayer.onLinkLayerHeader(dlt); });
    connect(&_around.menu, &Menu::disassociateRequested, this, [this] { _around.association.onDisassociate(); });
    connect(&_around.menu, &Menu::turnOnOffRequested, this, [this] { _around.association.onTurnOnOff(); });
}

void TrayCommands::connectCaptures() {
    using Menu = ui::StatusMenu;
    CaptureCommands& captures = _around.captures;
    connect(&_around.menu, &Menu::captureRequested, this, [&captures] { captures.onCapture(); });
    connect(&_around.menu, &Menu::captureOtherRequested, this,
            [&captures](const CWChannel& channel) { captures.onCaptureOther(channel); });
    connect(&_around.menu, &Menu::captureAll2Dot4GHzRequested, this, [&captures] { captures.onCaptureAll2Dot4GHz(); });
    connect(&_around.menu, &Menu::captureAll5GHzRequested, this, [&captures] { captures.onCaptureAll5GHz(); });
    connect(&_around.menu, &Menu::captureAllRequested, this, [&captures] { captures.onCaptureAll(); });
    connect(&_around.menu, &Menu::captureCustomRequested, this,
            [&captures, &panel = _around.customChannels] { captures.onCaptureCustom(panel); });
}

void TrayCommands::connectWindows() {
    using Menu = ui::StatusMenu;
    connect(&_around.menu, &Menu::preferencesRequested, this, [this] { _around.preferences.showPreferences(); });
    connect(&_around.menu, &Menu::configureServicesRequested, this, [this] { _around.preferences.showServices(); });
}

void TrayCommands::connectUploads() {
    using Menu = ui::StatusMenu;
    connect(&_around.menu, &Menu::uploadToCloudSharkRequested, this, [this] { _around.uploads.uploadToCloudShark(); });
    connect(&_around.menu, &Menu::uploadToMojoPacketsRequested, this,
            [this] { _around.uploads.uploadToMojoPackets(); });
}

void TrayCommands::connectApplication() {
    using Menu = ui::StatusMenu;
    _around.menu.setLaunchAtLogin(_around.loginItems.launchAtLogin());
    connect(&_around.loginItems, &LoginItems::launchAtLoginChanged, &_around.menu, &Menu::setLaunchAtLogin);
    connect(&_around.menu, &Menu::launchAtLoginRequested, this, &TrayCommands::onLaunchAtLogin);
    connect(&_around.menu, &Menu::helpRequested, this, &TrayCommands::onHelp);
    connect(&_around.menu, &Menu::aboutRequested, this, &TrayCommands::onAbout);
    connect(&_around.menu, &Menu::quitRequested, this, &TrayCommands::quitRequested);
}

// An adapter in monitor mode announces no tuning of its own, so the marks are moved here.
void TrayCommands::onChannel(int channelNumber, bool alreadyChecked) {
    _around.captures.onChannel(channelNumber, alreadyChecked);
    _around.display.updateStatusMenu();
}

void TrayCommands::onChannelWidth(int widthCode, bool alreadyChecked) {
    _around.captures.onChannelWidth(widthCode, alreadyChecked);
    _around.display.updateStatusMenu();
}

void TrayCommands::onLaunchAtLogin(bool launch) {
    const auto changed = _around.loginItems.setLaunchAtLogin(launch);
    _around.menu.setLaunchAtLogin(_around.loginItems.launchAtLogin());
    if (!changed) {
        qCWarning(lcMenu, "setLaunchAtLogin failed: %s", qUtf8Printable(changed.error().text()));
        _around.dialogs.showCriticalAlertWithInfo(translated(noLaunchAtLogin), changed.error().text());
    }
}

void TrayCommands::onHelp() {
    const auto document = unpackHelpDocument();
    if (!document) {
        qCWarning(lcMenu, "unpackHelpDocument failed: %s", qUtf8Printable(document.error().text()));
        _around.dialogs.showCriticalAlertWithInfo(translated(noHelp), document.error().text());
    } else if (!QDesktopServices::openUrl(QUrl::fromLocalFile(*document))) {
        qCWarning(lcMenu, "openUrl failed: %s", qUtf8Printable(*document));
        _around.dialogs.showCriticalAlertWithInfo(translated(noHelp), translated(noHelpInfo).arg(*document));
    }
}

void TrayCommands::onAbout() {
    if (!_about) {
        _about = std::make_unique<ui::AboutPanel>(_around.version);
    }
    _about->orderFront();
}

} // namespace vantrel
