// Carries out what the user chooses in the tray's menu.
//
// Main thread.
#pragma once

#include "ui/AboutPanel.h"

#include <QObject>
#include <memory>

namespace vantrel {

class Association;
class CaptureCommands;
class CustomChannelsPanel;
class LinkLayerMenu;
class LoginItems;
class TrayDisplay;
class UserDialogs;

namespace ui {
class StatusMenu;
}

// The window where the user changes the settings. Main thread; each operation brings it to the front.
class PreferencesOpener {
public:
    virtual ~PreferencesOpener() = default;
    virtual void showPreferences() = 0;
    // At the upload services.
    virtual void showServices() = 0;
};

// Sends a capture of the user's choice to a service. Main thread; each operation returns at once.
class CaptureUploads {
public:
    virtual ~CaptureUploads() = default;
    virtual void uploadToCloudShark() = 0;
    virtual void uploadToMojoPackets() = 0;
};

class TrayCommands final : public QObject {
    Q_OBJECT
public:
    // All of it is borrowed and outlives this object.
    struct Surroundings {
        ui::StatusMenu& menu;
        TrayDisplay& display;
        CaptureCommands& captures;
        Association& association;
        LinkLayerMenu& linkLayer;
        LoginItems& loginItems;
        UserDialogs& dialogs;
        CaptureUploads& uploads;
        CustomChannelsPanel& customChannels;
        PreferencesOpener& preferences;
        QString version; // for the about panel
    };

    explicit TrayCommands(Surroundings surroundings);
    ~TrayCommands() override;

Q_SIGNALS:
    void quitRequested();

private:
    void connectTuning();
    void connectCaptures();
    void connectWindows();
    void connectUploads();
    void connectApplication();
    void onChannel(int channelNumber, bool alreadyChecked);
    void onChannelWidth(int widthCode, bool alreadyChecked);
    void onLaunchAtLogin(bool launch);
    void onHelp();
    void onAbout();

    const Surroundings _around;
    std::unique_ptr<ui::AboutPanel> _about; // from its first use
};

} // namespace vantrel
