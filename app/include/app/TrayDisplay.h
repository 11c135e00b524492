// What the tray shows of the adapter, of captures and of uploads: the item's title and picture, and the state of the
// menu. Both refreshes read the adapter and the settings anew, so they may be asked for whenever something has changed.
//
// Main thread.
#pragma once

namespace vantrel {

class CWWiFiClient;
class SettingsStore;

namespace ui {
class StatusItem;
class StatusMenu;
} // namespace ui

class TrayDisplay {
public:
    // All of it is borrowed and outlives this object.
    struct Surroundings {
        ui::StatusItem& item;
        ui::StatusMenu& menu;
        const SettingsStore& settings;
        CWWiFiClient& wifi;
    };

    explicit TrayDisplay(const Surroundings& surroundings) : _around(surroundings) {}

    // Once, at the launch: the submenus of channels and widths, from what the adapter supports then.
    void populateSubmenus();

    void updateStatusItem();
    void updateStatusMenu();
    void preferencesDidChange() { updateStatusItem(); }

    // In percent; -1 while no upload runs.
    void setUploadProgress(int percent);

    // A capture has ended, or has started.
    void enableCaptures();
    void disableCaptures();

private:
    const Surroundings _around;
    int _uploadProgress = -1;
};

} // namespace vantrel
