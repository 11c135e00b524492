// Shows what the program offers, with sample states: menu, submenus, progress panel, tray icons and preferences.
//
//     gallery [--dark] --pictures FOLDER    writes a picture of each into the folder
//     gallery [--dark]                      puts them on the screen and into the tray, until Quit
#include "Glyph.h"
#include "TrayColour.h"
#include "preferences/MASPreferencesWindowController.h"
#include "preferences/VantrelAdvancedPrefsViewController.h"
#include "preferences/VantrelCustomChannelsPanel.h"
#include "preferences/VantrelGeneralPrefsViewController.h"
#include "preferences/VantrelServicesPrefsViewController.h"
#include "settings/Defaults.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"
#include "ui/DeliveryPanels.h"
#include "ui/MenuOutlets.h"
#include "ui/NotificationWindow.h"
#include "ui/ProgressTexts.h"
#include "ui/StatusMenu.h"
#include "ui/VantrelProgressPanel.h"
#include "ui/VantrelScriptPanel.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QMessageBox>
#include <QPainter>
#include <QPixmap>
#include <QPlainTextEdit>
#include <QSystemTrayIcon>
#include <QTemporaryDir>
#include <QTimer>
#include <cstdio>
#include <vector>

namespace {

using namespace vantrel;
using namespace vantrel::ui;

std::vector<CWChannel> sampleChannels() {
    std::vector<CWChannel> channels;
    for (int number = 1; number <= 13; ++number) {
        channels.push_back({number, bandTwoDotFourGHz, width20MHz});
    }
    for (const int first : {36, 52, 100, 116, 132, 149}) {
        for (int number = first; number < first + 16; number += 4) {
            for (const int width : {width20MHz, width40MHz, width80MHz}) {
                channels.push_back({number, bandFiveGHz, width});
            }
        }
    }
    channels.push_back({165, bandFiveGHz, width20MHz});
    return channels;
}

void fill(StatusMenu& menu) {
    const auto channels = sampleChannels();
    menu.populateChannelSubmenuWithChannels(channels);
    menu.populateChannelWidthSubmenuWithChannels(channels);
    menu.populateCaptureOtherSubmenus(channels);
    menu.populateLinkLayerHeaderSubmenu({{127, QStringLiteral("802.11 plus radiotap header")},
                                         {105, QStringLiteral("802.11")},
                                         {192, QStringLiteral("Per-Packet Information header")}},
                                        127);
    menu.validate(true, false);
    menu.updateStatusMenu({.powerOn = true,
                           .associated = true,
                           .ssid = QStringLiteral("Dan & Eve's_Net"),
                           .channel = {36, bandFiveGHz, width80MHz},
                           .channelWidthMHz = 80});
}

void fill(VantrelProgressPanel& panel, bool limited, std::uint64_t dropped) {
    panel.setWindowTitle(windowTitle(36, 80));
    panel.setMessage(limited ? messageText(3, 10, 123'456, 78'900'000) : messageText(1'234, 567'890));
    panel.setProgress(limited ? 62 : -1);
    panel.setDroppedFrames(dropped);
}

std::unique_ptr<VantrelProgressPanel> newPanel() {
    return VantrelProgressPanel::initWithWindowNibName(QStringLiteral("VantrelProgressPanel"), {});
}

// Every title on both kinds of tray, at the sizes of a tray and enlarged.
QPixmap iconSheet() {
    const std::vector<TitleState> titles{
        {.powerOn = true, .channelNumber = 36},
        {.powerOn = true, .channelNumber = 6, .displayChannel = true},
        {.powerOn = true, .channelNumber = 149, .displayChannel = true},
        {.powerOn = true,
         .channelNumber = 6,
         .channelWidthMHz = 20,
         .displayChannel = true,
         .displayChannelWidth = true},
        {.powerOn = true,
         .channelNumber = 48,
         .channelWidthMHz = 40,
         .displayChannel = true,
         .displayChannelWidth = true},
        {.powerOn = true,
         .channelNumber = 157,
         .channelWidthMHz = 80,
         .displayChannel = true,
         .displayChannelWidth = true},
        {.powerOn = true,
         .channelNumber = 112,
         .channelWidthMHz = 160,
         .displayChannel = true,
         .displayChannelWidth = true},
        {.powerOn = true, .channelNumber = 36, .displayChannel = true, .displayChannelWidth = true},
        {.powerOn = true, .channelWidthMHz = 40, .displayChannelWidth = true},
        {.powerOn = true, .channelWidthMHz = 160, .displayChannelWidth = true},
        {.powerOn = false, .displayChannel = true},
        {.powerOn = true, .uploadProgress = 37},
        {.powerOn = true, .uploadProgress = 5}};
    const std::vector<std::pair<QColor, QColor>> trays{{QColor(0xee, 0xee, 0xee), QColor(0x2e, 0x34, 0x36)},
                                                       {QColor(0x28, 0x2c, 0x30), QColor(0xee, 0xee, 0xec)}};
    constexpr int cell = 54;
    constexpr int enlarged = 132;
    QPixmap sheet(static_cast<int>(titles.size()) * (enlarged + 12), 4 * (cell * 2 + enlarged));
    sheet.fill(Qt::gray);
    QPainter painter(&sheet);
    int y = 0;
    for (const auto& [ground, colour] : trays) {
        for (const GlyphState state : {GlyphState::Idle, GlyphState::Capturing}) {
            painter.fillRect(0, y, sheet.width(), 2 * cell + enlarged, ground);
            int x = 6;
            for (const TitleState& title : titles) {
                const QIcon icon = statusIcon(state, titleMarks(title), colour);
                painter.drawPixmap(x, y + 4, icon.pixmap(QSize(22, 22), 1.0));
                painter.drawPixmap(x + 30, y + 4, icon.pixmap(QSize(24, 24), 1.0));
                painter.drawPixmap(x, y + cell - 14, icon.pixmap(QSize(44, 44), 1.0));
                painter.drawPixmap(x + 60, y + cell - 14, icon.pixmap(QSize(48, 48), 1.0));
                painter.drawPixmap(x, y + 2 * cell - 8, icon.pixmap(QSize(22, 22), 1.0).scaled(enlarged, enlarged));
                x += enlarged + 12;
            }
            y += 2 * cell + enlarged;
        }
    }
    return sheet;
}

class Pictures {
public:
    explicit Pictures(const QString& folder) : _folder(folder) { _folder.mkpath(QStringLiteral(".")); }

    void save(const QPixmap& picture, const QString& name) {
        if (!picture.save(_folder.filePath(name + QStringLiteral(".png")))) {
            std::fprintf(stderr, "cannot save %s\n", qPrintable(name));
        }
    }

    // Menus and windows take their size when they are shown.
    void save(QWidget& window, const QString& name) {
        window.show();
        QApplication::processEvents();
        save(window.grab(), name);
        window.hide();
    }

private:
    QDir _folder;
};

const QString sampleCapture = QStringLiteral("/home/user/Desktop/vantrel_2024-05-06_07.08.09.AM.pcap");
const UserNotification sampleNotification{.title = QStringLiteral("Capture successfully uploaded to CloudShark"),
                                          .subtitle = QStringLiteral("vantrel_2024-05-06_07.08.09.AM.pcap"),
                                          .informativeText = QStringLiteral("123456 frames (78.90 MB)"),
                                          .userInfo = {},
                                          .otherButtonTitle = QStringLiteral("Dismiss")};

// Scripts that run until they are stopped, and settings with them.
class Sample {
public:
    Sample() {
        QDir(_folder.path()).mkpath(deep);
        for (const QString& name : {QStringLiteral("count frames.py"), deep + QStringLiteral("retries.py")}) {
            QFile file(_folder.filePath(name));
            if (file.open(QIODevice::WriteOnly)) {
                file.write("import time; time.sleep(600)");
                scripts << file.fileName();
            }
        }
        settings.setStringArray(keys::ScriptList, scripts);
    }

private:
    inline static const QString deep =
        QStringLiteral("a folder with a long name/that holds another folder/for scripts/");
    QTemporaryDir _folder;

public:
    QStringList scripts;
    SettingsStore settings{_folder.filePath(QStringLiteral("settings.json"))};
};

void writeScriptPanel(Pictures& pictures) {
    Sample sample;
    const auto panel = VantrelScriptPanel::initWithWindowNibName(QStringLiteral("VantrelScriptPanel"), sampleCapture,
                                                                 sample.settings, QStringLiteral("/usr/bin/python3"));
    sample.settings.setString(keys::LastUsedScript, sample.scripts.last());
    panel->showPanelWithTitle(QStringLiteral("Launch script for ") + sampleCapture);
    panel->outputTextView()->setPlainText(
        QStringLiteral("beacon      1024\nprobe-req     37\nprobe-resp   112\nauth           4\n"));
    pictures.save(*panel, QStringLiteral("script-panel"));
    panel->show();
    panel->onRun();
    QApplication::processEvents();
    pictures.save(panel->grab(), QStringLiteral("script-panel-running"));
    panel->onStop();
    panel->didTerminateWithError(*panel->analyzer(),
                                 QStringLiteral("Traceback (most recent call last):\n"
                                                "  File \"/home/user/count frames.py\", line 3, in <module>\n"
                                                "    import frames\n"
                                                "ModuleNotFoundError: No module named 'frames'\n"));
    for (QMessageBox* alert : panel->findChildren<QMessageBox*>()) {
        pictures.save(*alert, QStringLiteral("script-failed"));
    }
    pictures.save(*panel, QStringLiteral("script-panel-failed"));
    sample.settings.setStringArray(keys::ScriptList, {});
    panel->populatePopUpButton();
    panel->outputTextView()->clear();
    pictures.save(*panel, QStringLiteral("script-panel-empty"));
    panel->didTerminateWithOutput(*panel->analyzer(), {});
    pictures.save(*panel->findChildren<QMessageBox*>().last(), QStringLiteral("script-no-output"));
}

// Takes a picture of each window that has come, and closes it.
void takeWindows(Pictures& pictures, const QString& name) {
    QApplication::processEvents();
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (window->isVisible() && qobject_cast<QDialog*>(window) != nullptr) {
            pictures.save(window->grab(), name);
            window->close();
        }
    }
}

void writeDeliveryPanels(Pictures& pictures) {
    askForSavePath(QStringLiteral("vantrel_2024-05-06_07.08.09.AM.pcap"), [](const QString& /*path*/) {});
    takeWindows(pictures, QStringLiteral("save-panel"));
    askForCaptureToUpload(true, [](const UploadDialogs::FileToUpload& /*file*/) {});
    takeWindows(pictures, QStringLiteral("upload-panel-tags"));
    for (const bool offers : {false, true}) {
        QTimer::singleShot(0, qApp, [&] {
            takeWindows(pictures, offers ? QStringLiteral("upload-failed-save-as") : QStringLiteral("upload-failed"));
        });
        static_cast<void>(askAboutFailedUpload(QStringLiteral("Failed to upload capture to CloudShark."),
                                               QStringLiteral("The connection timed out."), offers));
    }
    NotificationWindow::present(sampleNotification, [] {});
    takeWindows(pictures, QStringLiteral("notification"));
}

void writePreferences(Pictures& pictures) {
    using namespace vantrel::preferences;
    const QTemporaryDir folder;
    SettingsStore settings(folder.filePath(QStringLiteral("settings.json")));
    settings.registerDefaults(registeredDefaults({}, folder.path()));
    const PreferencesSurroundings around{.settings = settings,
                                         .desktopFolder = folder.path(),
                                         .pcapApplications = [] { return std::vector<CaptureApplication>{}; },
                                         .applicationAt = [](const QString&) { return std::nullopt; },
                                         .supportedChannels = sampleChannels,
                                         .openUrl = [](const QString&) {},
                                         .openFolder = [](const QString&) {}};
    MASPreferencesWindowController::ViewControllers panes;
    panes.push_back(std::make_unique<VantrelGeneralPrefsViewController>(around));
    panes.push_back(std::make_unique<VantrelAdvancedPrefsViewController>(around));
    panes.push_back(std::make_unique<VantrelServicesPrefsViewController>(around));
    const auto window = MASPreferencesWindowController::initWithViewControllers(
        std::move(panes), QStringLiteral("Vantrel Preferences"), settings);
    for (const char* pane : {"General", "Advanced", "Services"}) {
        window->showWindow();
        window->selectControllerWithIdentifier(QString::fromLatin1(pane));
        pictures.save(*window, QStringLiteral("preferences-") + QString::fromLatin1(pane));
    }
    VantrelCustomChannelsPanel panel(settings, sampleChannels());
    pictures.save(panel, QStringLiteral("custom-channels"));
}

void writePictures(const QString& folder) {
    Pictures pictures(folder);
    pictures.save(iconSheet(), QStringLiteral("icons"));
    StatusMenu menu;
    fill(menu);
    pictures.save(*menu.menu(), QStringLiteral("menu"));
    menu.disableCaptures();
    menu.setLaunchAtLogin(true);
    pictures.save(*menu.menu(), QStringLiteral("menu-capturing"));
    for (QMenu* submenu : menu.menu()->findChildren<QMenu*>()) {
        pictures.save(*submenu, submenu->objectName());
    }
    menu.updateStatusMenu({});
    pictures.save(*menu.menu(), QStringLiteral("menu-off"));
    const auto panel = newPanel();
    fill(*panel, true, 0);
    pictures.save(*panel, QStringLiteral("panel"));
    fill(*panel, true, 1'234);
    pictures.save(*panel, QStringLiteral("panel-dropped"));
    fill(*panel, false, 0);
    pictures.save(*panel, QStringLiteral("panel-unlimited"));
    writeScriptPanel(pictures);
    writeDeliveryPanels(pictures);
    writePreferences(pictures);
}

int showOnScreen() {
    StatusMenu menu;
    fill(menu);
    TrayColour colour;
    QSystemTrayIcon item;
    const auto draw = [&] {
        item.setIcon(statusIcon(GlyphState::Idle, {.large = QStringLiteral("36"), .small = QStringLiteral("80")},
                                colour.colour()));
    };
    QObject::connect(&colour, &TrayColour::changed, &item, draw);
    draw();
    item.setContextMenu(menu.menu());
    item.show();
    const auto panel = newPanel();
    fill(*panel, true, 1'234);
    panel->center();
    panel->makeKeyAndOrderFront();
    QObject::connect(&menu, &StatusMenu::channelRequested, &menu, [](int number, bool alreadyChecked) {
        std::printf("channel %d %s\n", number, alreadyChecked ? "checked" : "unchecked");
        std::fflush(stdout);
    });
    QObject::connect(&menu, &StatusMenu::captureRequested, &menu, [&] { menu.menu()->popup({20, 40}); });
    QObject::connect(&menu, &StatusMenu::turnOnOffRequested, &menu, [&] { menu.updateStatusMenu({}); });
    QObject::connect(&menu, &StatusMenu::quitRequested, qApp, &QApplication::quit);
    return QApplication::exec();
}

QPalette darkPalette() {
    QPalette palette(QColor(0x35, 0x38, 0x3c), QColor(0x28, 0x2a, 0x2e));
    palette.setColor(QPalette::Base, QColor(0x20, 0x22, 0x25));
    return palette;
}

} // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    const QStringList arguments = QApplication::arguments();
    if (arguments.contains(QStringLiteral("--dark"))) {
        QApplication::setPalette(darkPalette());
    }
    const auto option = arguments.indexOf(QStringLiteral("--pictures"));
    if (option > 0 && option + 1 < arguments.size()) {
        writePictures(arguments[option + 1]);
        return 0;
    }
    return showOnScreen();
}
