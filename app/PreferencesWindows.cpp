#include "app/PreferencesWindows.h"

#include "app/TrayDisplay.h"
#include "base/Translated.h"
#include "delivery/FileOpener.h"
#include "preferences/MASPreferencesWindowController.h"
#include "preferences/VantrelAdvancedPrefsViewController.h"
#include "preferences/VantrelCustomChannelsPanel.h"
#include "preferences/VantrelGeneralPrefsViewController.h"
#include "preferences/VantrelServicesPrefsViewController.h"
#include "services/PcapApplications.h"
#include "wifi/CWInterface.h"

namespace vantrel {

namespace {
constexpr char windowTitle[] = QT_TRANSLATE_NOOP("vantrel", "Vantrel Preferences");
constexpr QLatin1StringView services{"Services"};

preferences::CaptureApplication asEntry(const PcapApplication& application) {
    return {
        .path = application.path, .name = application.name, .variant = application.variant, .icon = application.icon};
}
} // namespace

PreferencesWindows::PreferencesWindows(Surroundings surroundings) : _around(std::move(surroundings)) {}

PreferencesWindows::~PreferencesWindows() = default;

void PreferencesWindows::showPreferences() {
    if (!_window) {
        const auto around = paneSurroundings();
        preferences::MASPreferencesWindowController::ViewControllers panes;
        panes.push_back(std::make_unique<preferences::VantrelGeneralPrefsViewController>(around));
        panes.push_back(std::make_unique<preferences::VantrelAdvancedPrefsViewController>(around));
        panes.push_back(std::make_unique<preferences::VantrelServicesPrefsViewController>(around));
        _window = preferences::MASPreferencesWindowController::initWithViewControllers(
            std::move(panes), translated(windowTitle), _around.settings);
        // The menu too: its upload commands can be chosen once a service is set up.
        connect(_window.get(), &preferences::MASPreferencesWindowController::preferencesDidChange, this, [this] {
            _around.display.preferencesDidChange();
            _around.display.updateStatusMenu();
        });
    }
    _window->showWindow();
}

void PreferencesWindows::showServices() {
    showPreferences();
    _window->selectControllerWithIdentifier(QString(services));
}

std::optional<std::vector<int>> PreferencesWindows::chooseChannels() {
    preferences::VantrelCustomChannelsPanel panel(_around.settings, _around.airport.supportedWLANChannels());
    return panel.runModal() ? std::optional(panel.customChannels()) : std::nullopt;
}

preferences::PreferencesSurroundings PreferencesWindows::paneSurroundings() {
    return {.settings = _around.settings,
            .desktopFolder = _around.desktopFolder,
            .pcapApplications =
                [] {
                    std::vector<preferences::CaptureApplication> entries;
                    for (const PcapApplication& application : pcapApplications()) {
                        entries.push_back(asEntry(application));
                    }
                    return entries;
                },
            .applicationAt = [](const QString& path) -> std::optional<preferences::CaptureApplication> {
                const auto found = applicationAt(path);
                return found ? std::optional(asEntry(*found)) : std::nullopt;
            },
            .supportedChannels = [this] { return _around.airport.supportedWLANChannels(); },
            .openUrl = [this](const QString& url) { _around.opener.openUrl(url); },
            .openFolder = [this](const QString& path) { _around.opener.openFolder(path); }};
}

} // namespace vantrel
