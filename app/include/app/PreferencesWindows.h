// The preferences window and the panel of custom channels, as the menu's commands ask for them.
//
// Main thread.
#pragma once

#include "app/TrayCommands.h"
#include "wifi/WiFiSurroundings.h"

#include <QObject>
#include <memory>

namespace vantrel {

class CWInterface;
class FileOpener;
class SettingsStore;

namespace preferences {
class MASPreferencesWindowController;
struct PreferencesSurroundings;
} // namespace preferences

class PreferencesWindows final : public QObject, public PreferencesOpener, public CustomChannelsPanel {
public:
    // All of it is borrowed and outlives this object.
    struct Surroundings {
        SettingsStore& settings;
        CWInterface& airport;
        TrayDisplay& display;
        FileOpener& opener;
        QString desktopFolder;
    };

    explicit PreferencesWindows(Surroundings surroundings);
    ~PreferencesWindows() override;

    void showPreferences() override;
    void showServices() override;
    // The panel waits in an event loop of its own.
    [[nodiscard]] std::optional<std::vector<int>> chooseChannels() override;

    // Empty until the first use.
    [[nodiscard]] preferences::MASPreferencesWindowController* window() { return _window.get(); }

private:
    [[nodiscard]] preferences::PreferencesSurroundings paneSurroundings();

    const Surroundings _around;
    std::unique_ptr<preferences::MASPreferencesWindowController> _window;
};

} // namespace vantrel
